#include "Host/Doubles.h"
#include "Proc/Data/DataAudioFF.h"
#include "Proc/Interfaces/ITwoInputEffectVideo.h"
#include "Proc/Interfaces/TimeToProgress.h"
#include "Support/Failure.h"

#include <gmock/gmock.h>

#include <cstdint>
#include <cstdlib>
#include <limits>
#include <stdexcept>
#include <string>
#include <typeinfo>
#include <vector>

using namespace Tarsel;
using namespace Tarsel::Proc;

namespace {

struct TwoInput : HostTest::EffectAs<ITwoInputEffectVideo> {
    TwoInput() : EffectAs("two") {}
    using ITwoInputEffectVideo::ProcessData;
    void Process(SP<IDataVideo>& data, SP<IDataVideo const> const& second) override {
        given = data;
        givenSecond = second;
        data = result;
    }
    void UpdateFormatCodec(SP<Conf::IFormatCodecVideo>&) override {}

    SP<IDataVideo> given, result;
    SP<IDataVideo const> givenSecond;
};

SP<IDataVideo> MakeVideo() {
    return MakeSP<DataVideoFF>(Conf::ColorSpace{}, Conf::PixFmt::GRAY8, Conf::FrameInfo{4, 2, 1, 1});
}

SP<IDataAudio> MakeAudio() {
    return DataAudioFF::CreateBySampleCount(
        Conf::SampleInfo::Init(Conf::SampleFormats::S16, 48000, Conf::ChannelLayout::FromCount(1)), 8);
}

auto MakeOneInput() {
    return MakeSP<HostTest::ProcessEffect>("one", Tarsel::Test::HoldBack<IDataVideo>(1));
}

TEST(OneInputAdapter, AsksWithNullForWhatIsHeldBack) {
    auto const effect = MakeOneInput();
    std::vector<SP<IData>> const inputs{MakeVideo()};
    EXPECT_EQ(effect->ProcessData(inputs), nullptr);
    EXPECT_EQ(effect->ProcessData({SP<IData>()}), inputs[0]); // the caller's element stayed
}

TEST(TwoInputAdapter, CastsBoth) {
    auto const effect = MakeSP<TwoInput>();
    effect->result = MakeVideo();
    SP<IData> const first = MakeVideo();
    SP<IData> const second = MakeVideo();
    std::vector<SP<IData>> const inputs{first, second};
    EXPECT_EQ(effect->ProcessData(inputs), effect->result);
    EXPECT_EQ(effect->given, first);
    EXPECT_EQ(effect->givenSecond, second);
    EXPECT_EQ(inputs, (std::vector{first, second}));

    effect->ProcessData({SP<IData>(), SP<IData>()});
    EXPECT_EQ(effect->given, nullptr);
    EXPECT_EQ(effect->givenSecond, nullptr);

    EXPECT_THROW(effect->ProcessData({MakeAudio(), second}), std::bad_cast);
    EXPECT_THROW(effect->ProcessData({first, MakeAudio()}), std::bad_cast);
    EXPECT_EQ(effect->given, nullptr);
}

TEST(Adapters, RefuseAWrongCountOfInputs) {
    struct {
        SP<IEffect> effect;
        std::size_t count;
        std::string name;
        char const* text;
    } const cases[] = {{MakeOneInput(), 0, "IOneInputEffect", "incorrect data count"},
                       {MakeOneInput(), 2, "IOneInputEffect", "incorrect data count"},
                       {MakeSP<TwoInput>(), 0, "ITwoInputEffect", "invalid data count"},
                       {MakeSP<TwoInput>(), 1, "ITwoInputEffect", "invalid data count"},
                       {MakeSP<TwoInput>(), 3, "ITwoInputEffect", "invalid data count"}};
    for (auto const& row : cases) {
        Tarsel::Test::Failure const failure = Tarsel::Test::Catch<std::logic_error>(
            [&] { row.effect->ProcessData(std::vector<SP<IData>>(row.count)); });
        EXPECT_EQ(failure.text, row.text);
        EXPECT_EQ(failure.file, "Proc/Interfaces/" + row.name);
        EXPECT_THAT(failure.function, testing::HasSubstr("ProcessData"));
        EXPECT_TRUE(failure.hasStack);
    }
}

TEST(TimeToProgress, IsLinearInDouble) {
    TimeToProgress const standard;
    EXPECT_EQ(standard.GetStart(), 0);
    EXPECT_EQ(standard.GetEnd(), 1000000);
    EXPECT_EQ(standard(250000), 0.25);
    EXPECT_EQ(standard(-500000), -0.5); // not clamped
    EXPECT_EQ(TimeToProgress::Linear(15, 10, 20), 0.5);
    constexpr auto least = std::numeric_limits<std::int64_t>::min();
    constexpr auto most = std::numeric_limits<std::int64_t>::max();
    EXPECT_EQ(TimeToProgress::Linear(0, least, most), 0.5); // wider than 64 bits
    TimeToProgress const squared(0, 10, [](auto current, auto start, auto end) {
        double const linear = TimeToProgress::Linear(current, start, end);
        return linear * linear;
    });
    EXPECT_EQ(squared(5), 0.25);
}

constexpr std::size_t s_rowBytes = 5;
constexpr std::uint32_t s_rows = 3;

/// A plane in a buffer of its own, its rows `stride` bytes apart; bottom up where that is negative.
struct Picture {
    Picture(std::ptrdiff_t stride, std::uint8_t fill)
        : bytes(static_cast<std::size_t>(std::abs(stride)) * s_rows, fill), lineSize(stride),
          top(stride < 0 ? bytes.data() - stride * (s_rows - 1) : bytes.data()) {}
    std::uint8_t& At(std::uint32_t row, std::size_t column) const {
        return top[static_cast<std::ptrdiff_t>(row) * lineSize + static_cast<std::ptrdiff_t>(column)];
    }

    std::vector<std::uint8_t> bytes;
    std::ptrdiff_t lineSize;
    std::uint8_t* top;
};

TEST(CopyPlane, CopiesRowsWhateverTheLineSizes) {
    for (std::ptrdiff_t const from : {5, 8, -6})
        for (std::ptrdiff_t const to : {5, 7, -9}) {
            SCOPED_TRACE(testing::Message() << from << " to " << to);
            Picture source(from, 0xEE);
            Picture target(to, 0x77);
            for (std::uint32_t row = 0; row < s_rows; ++row)
                for (std::size_t column = 0; column < s_rowBytes; ++column)
                    source.At(row, column) = static_cast<std::uint8_t>(row * 16 + column);
            CopyPlane({source.top, from, s_rowBytes, s_rows}, {target.top, to, s_rowBytes, s_rows});
            for (std::uint32_t row = 0; row < s_rows; ++row)
                for (std::size_t column = 0; column < static_cast<std::size_t>(std::abs(to)); ++column)
                    EXPECT_EQ(target.At(row, column),
                              column < s_rowBytes ? row * 16 + column : 0x77U); // padding stays
        }
}

TEST(CopyPlane, RefusesPlanesOfDifferentSize) {
    Picture source(5, 1);
    Picture target(5, 2);
    EXPECT_EQ(Tarsel::Test::TextOf<ProcException>([&] {
                  CopyPlane({source.top, 5, 5, 3}, {target.top, 5, 5, 2});
              }),
              "Cannot copy a plane of 5 bytes by 3 rows into one of 5 by 2");
    EXPECT_THROW(CopyPlane({source.top, 5, 4, 3}, {target.top, 5, 5, 3}), ProcException);
    EXPECT_EQ(target.bytes, std::vector<std::uint8_t>(15, 2));
    CopyPlane({nullptr, 0, 0, 3}, {nullptr, 0, 0, 3}); // nothing to copy, nothing read
}

} // namespace
