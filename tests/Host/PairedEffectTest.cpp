#include "Host/PairedEffect.h"

#include "Conf/FormatCodecVideo.h"
#include "Conf/PixFmtDescription.h"
#include "Host/Doubles.h"
#include "Proc/Interfaces/ProcExceptions.h"
#include "Support/Planes.h"

#include <gmock/gmock.h>

#include <stdexcept>
#include <vector>

extern "C" {
#include <libavutil/frame.h>
}

using namespace Tarsel;
using namespace Tarsel::HostTest;
using Conf::PixFmt;
using Conf::PixFmtDescription;
using testing::ElementsAre;

namespace {

using Frame = SP<Proc::IDataVideo>;

/// Notes what goes in, and gives what `m_result` says.
class TwoInputEffect : public EffectAs<Proc::ITwoInputEffectVideo> {
public:
    TwoInputEffect() : EffectAs("pairing") {}
    void Process(Frame& data, SP<Proc::IDataVideo const> const& second) override {
        m_first = data;
        m_second = second;
        data = m_result(data);
    }
    void UpdateFormatCodec(SP<Conf::IFormatCodecVideo>& format) override {
        m_asked = format->GetPixelFormat();
    }

    std::function<Frame(Frame const&)> m_result = [](Frame const& first) { return first->Copy(); };
    Frame m_first;
    SP<Proc::IDataVideo const> m_second;
    PixFmt m_asked = PixFmt::None;
};

/// A picture of one value in each byte.
Frame MakePlain(char const* format, Conf::FrameInfo const& info, Conf::ColorSpace const& space, int value,
                std::int64_t time = 0) {
    PixFmt const pixels = Tarsel::Test::ByName(format);
    Frame const frame = MakeSP<Proc::DataVideoFF>(space, pixels, info);
    for (int i = 0; i < PixFmtDescription::Find(pixels).GetPlaneCount(); ++i)
        Tarsel::Test::FillPlane(*frame->GetAVFrame(), i, static_cast<std::uint8_t>(value));
    if (pixels == PixFmt::PAL8)
        for (std::size_t i = 0; i < std::size_t{256} * 4; ++i) // every entry opaque white
            frame->GetAVFrame()->data[1][i] = 0xFF;
    frame->SetTime(time);
    return frame;
}

/// The first value of each plane.
std::vector<int> GetValues(Proc::IDataVideo const& frame) {
    std::vector<int> values;
    for (int i = 0; i < PixFmtDescription::Find(frame.GetPixelFormat()).GetPlaneCount(); ++i)
        values.push_back(*frame.GetReadOnlyPlane(i).data);
    return values;
}

constexpr Conf::FrameInfo s_size{16, 8, 1, 1};
constexpr Conf::FrameInfo s_otherSize{6, 10, 4, 3};
constexpr Conf::ColorSpace s_limited601{6, 1, 6};
constexpr Conf::ColorSpace s_full601{6, 2, 6};

TEST(PairedEffect, SecondFramesBecomeLikeTheFirst) {
    struct {
        char const* format;
        Conf::ColorSpace space;
        char const* secondFormat;
        Conf::ColorSpace secondSpace;
        int secondValue;
        std::vector<int> expected;
    } const cases[] = {
        {"yuv420p", s_limited601, "yuv420p", s_limited601, 100, {100, 100, 100}},
        {"gray", {}, "gray", {}, 7, {7}},
        {"yuv420p", s_limited601, "gray", {2, 2, 2}, 255, {235, 128, 128}},
        {"yuv420p", s_full601, "yuv444p", s_limited601, 235, {255, 250, 250}},
        {"yuv420p", s_limited601, "yuv420p", s_full601, 128, {126, 128, 128}},
        {"rgb24", {0, 2, 1}, "yuv420p", s_limited601, 128, {130}},
        {"yuv420p", {1, 1, 1}, "rgb24", {0, 2, 1}, 255, {235, 128, 128}},
        {"gray", {}, "pal8", {}, 3, {255}},
        {"yuv420p", {6, 1, 9}, "yuv420p", s_limited601, 100, {100, 100, 100}}, // other primaries alone
    };
    for (auto const& row : cases) {
        SCOPED_TRACE(std::string(row.secondFormat) + " to " + row.format);
        auto const effect = MakeSP<TwoInputEffect>();
        Frame const second = MakePlain(row.secondFormat, s_otherSize, row.secondSpace, row.secondValue, 5);
        auto const paired = Host::PairEffect(effect, [&](std::int64_t) { return second; });
        Frame const first = MakePlain(row.format, s_size, row.space, 50, 777);
        first->SetDuration(33);
        Frame data = first;
        paired->Process(data);
        EXPECT_EQ(effect->m_first, first);
        EXPECT_NE(data, first);
        ASSERT_NE(effect->m_second, nullptr);
        Proc::IDataVideo const& got = *effect->m_second;
        EXPECT_EQ(got.GetPixelFormat(), first->GetPixelFormat());
        EXPECT_EQ(got.GetColorSpace(), first->GetColorSpace());
        EXPECT_EQ(got.GetFrameInfo(), s_otherSize);
        EXPECT_EQ(got.GetTime(), 777);
        EXPECT_EQ(got.GetDuration(), 33);
        EXPECT_EQ(GetValues(got), row.expected);
        // The caller's own stays as it was.
        EXPECT_EQ(second->GetTime(), 5);
        EXPECT_EQ(second->GetColorSpace(), row.secondSpace);
    }
}

TEST(PairedEffect, PalettesGoInAsRgb) {
    auto const effect = MakeSP<TwoInputEffect>();
    auto const paired =
        Host::PairEffect(effect, [](std::int64_t) { return MakePlain("gray", s_otherSize, {}, 0); });
    Frame data = MakePlain("pal8", s_size, {}, 9);
    paired->Process(data);
    EXPECT_EQ(effect->m_first->GetPixelFormat(), PixFmt::RGBA);
    EXPECT_EQ(GetValues(*effect->m_first), std::vector<int>{255});
    EXPECT_EQ(effect->m_second->GetPixelFormat(), PixFmt::RGBA);
    EXPECT_EQ(GetValues(*effect->m_second), std::vector<int>{0});

    SP<Conf::IFormatCodecVideo> format = MakeSP<Conf::FormatCodecVideo>(PixFmt::PAL8, s_size);
    paired->UpdateFormatCodec(format);
    EXPECT_EQ(effect->m_asked, PixFmt::RGBA);
}

TEST(PairedEffect, FirstFramesWithoutASecondPassUntouched) {
    auto const effect = MakeSP<TwoInputEffect>();
    std::vector<std::int64_t> asked;
    auto const paired = Host::PairEffect(effect, [&](std::int64_t time) {
        asked.push_back(time);
        return time < 20 ? MakeFrame(0) : Frame();
    });
    for (Frame const& first : {MakeFrame(10), MakeFrame(20), Frame()}) {
        Frame data = first;
        paired->Process(data);
        EXPECT_EQ(data == first, first == nullptr || first->GetTime() == 20);
    }
    EXPECT_EQ(effect->m_first->GetTime(), 10);
    EXPECT_THAT(asked, ElementsAre(10, 20));
    EXPECT_THROW(Host::PairEffect({}, [](std::int64_t) { return Frame(); }), Proc::EffectException);
    EXPECT_THROW(Host::PairEffect(effect, {}), Proc::EffectException);
}

// What is shown for long is not converted each time.
TEST(PairedEffect, TheSamePictureIsConvertedOnce) {
    auto const effect = MakeSP<TwoInputEffect>();
    Frame second = MakePlain("gray", s_otherSize, {}, 10);
    auto const paired = Host::PairEffect(effect, [&](std::int64_t) { return second; });
    Conf::ColorSpace space = s_limited601;
    auto const process = [&](char const* format) {
        Frame data = MakePlain(format, s_size, space, 50);
        paired->Process(data);
        return effect->m_second;
    };
    auto const a = process("yuv420p");
    auto const b = process("yuv420p");
    EXPECT_NE(a, b);
    EXPECT_EQ(a->GetReadOnlyPlane(0).data, b->GetReadOnlyPlane(0).data);
    EXPECT_EQ(process("yuv444p")->GetPixelFormat(), PixFmt::YUV444P);
    space = s_full601;
    EXPECT_EQ(process("yuv444p")->GetColorSpace(), s_full601);
    second = MakePlain("gray", s_otherSize, {}, 200);
    EXPECT_NE(GetValues(*process("yuv444p")), GetValues(*a));
}

TEST(PairedEffect, FailuresLeaveTheFrameAndAreNotKept) {
    auto const effect = MakeSP<TwoInputEffect>();
    Frame second = MakePlain("uyyvyy411", s_otherSize, {}, 1); // the scaler cannot read it
    auto const paired = Host::PairEffect(effect, [&](std::int64_t) { return second; });
    Frame const first = MakePlain("yuv420p", s_size, s_limited601, 50);
    Frame data = first;
    EXPECT_THROW(paired->Process(data), Proc::EffectException);
    EXPECT_EQ(data, first);
    second = MakePlain("gray", s_otherSize, {}, 10);
    effect->m_result = [](Frame const&) -> Frame { throw std::runtime_error("refused"); };
    EXPECT_THROW(paired->Process(data), std::runtime_error);
    EXPECT_EQ(data, first);
    effect->m_result = [](Frame const&) { return MakeFrame(3); };
    paired->Process(data);
    EXPECT_EQ(data->GetTime(), 3);
}

} // namespace
