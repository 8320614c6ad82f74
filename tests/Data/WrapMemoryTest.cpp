#include "Proc/Data/WrapMemory.h"

#include "Conf/PixFmtDescription.h"
#include "Core/CoreExceptions.h"
#include "Proc/Data/DataAudioFF.h"
#include "Proc/Data/DataVideoFF.h"
#include "Proc/Interfaces/ProcExceptions.h"
#include "Proc/Wrappers/FrameFields.h"
#include "Proc/Wrappers/SafeFrame.h"
#include "Support/AllocationLimit.h"
#include "Support/Failure.h"
#include "Support/Planes.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <atomic>
#include <thread>

extern "C" {
#include <libavutil/frame.h>
}

namespace Tarsel::Proc {
namespace {

using namespace Tarsel::Test;
using Conf::PixFmtDescription;
using Conf::SampleFormats;
using Conf::SampleInfo;
using Samples = std::vector<std::span<std::uint8_t const>>;

/// The planes of a frame, the palette among them.
std::vector<ReadOnlyPlane> PlanesOf(AVFrame const& frame) {
    DataVideoFF const data(frame, GetFrameInfo(frame));
    auto const& description = PixFmtDescription::Find(data.GetPixelFormat());
    std::vector<ReadOnlyPlane> planes;
    for (int i = 0; i < description.GetPlaneCount(); ++i)
        planes.push_back(data.GetReadOnlyPlane(i));
    if ((description.GetFlags() & PixFmtDescription::Palette) != 0)
        planes.push_back({frame.data[1], 1024, 1024, 1});
    return planes;
}

TEST(WrapPicture, ReadsTheCallersMemoryAndGivesItBackOnce) {
    for (Conf::PixFmt const format : PixFmtDescription::s_supportedFormats)
        for (bool const bottomUp : {false, true}) {
            SCOPED_TRACE(NameOf(format));
            SafeFrame const upright = MakeNoise(format, 19, 5);
            SafeFrame const memory = bottomUp ? StoreBottomUp(*upright) : SafeFrame::Reference(*upright);
            std::vector<ReadOnlyPlane> const planes = PlanesOf(*memory);
            std::atomic<int> released = 0;
            SP<IDataVideo> picture =
                WrapPicture({1, 2, 1}, format, {19, 5, 4, 3}, planes, [&] { ++released; });
            EXPECT_EQ(picture->GetPixelFormat(), format);
            EXPECT_EQ(picture->GetFrameInfo(), (Conf::FrameInfo{19, 5, 4, 3}));
            EXPECT_EQ(picture->GetColorSpace(), (Conf::ColorSpace{1, 2, 1}));
            for (std::size_t i = 0; i < planes.size(); ++i)
                EXPECT_EQ(picture->GetAVFrame()->data[i], planes[i].data);

            SP<IDataVideo> writer = picture->Copy();
            WritablePlane const written = writer->GetWritablePlane(0);
            EXPECT_NE(written.data, planes[0].data);
            EXPECT_EQ(PlaneBytes(*writer->GetAVFrame(), 0), PlaneBytes(*upright, 0));
            std::uint8_t const before = *planes[0].data;
            *written.data = static_cast<std::uint8_t>(before + 1);
            EXPECT_EQ(*planes[0].data, before);

            SP<IDataVideo> last = picture->Copy();
            picture.reset();
            writer.reset();
            EXPECT_EQ(released, 0);
            std::thread([&] { last.reset(); }).join();
            EXPECT_EQ(released, 1);
        }
}

TEST(WrapPicture, NamesWhatIsMissing) {
    SafeFrame const memory = MakeNoise(Conf::PixFmt::YUV420P, 19, 5);
    std::vector<ReadOnlyPlane> const whole = PlanesOf(*memory);
    struct {
        void (*spoil)(std::vector<ReadOnlyPlane>&, std::uint32_t& width);
        char const* text;
    } const cases[] = {
        {[](auto& planes, auto&) { planes.pop_back(); }, "there are 2 and yuv420p needs 3"},
        {[](auto& planes, auto&) { planes[2].data = nullptr; }, "plane 2 has no memory"},
        {[](auto& planes, auto&) { planes[1].rows = 2; }, "plane 1 has 2 rows of 10 bytes and needs 3 of 10"},
        {[](auto& planes, auto&) { planes[0].rowBytes = 18; },
         "plane 0 has 5 rows of 18 bytes and needs 5 of 19"},
        {[](auto& planes, auto&) { planes[0].lineSize = -18; },
         "plane 0 has a line size of -18 and rows of 19 bytes"},
        {[](auto&, auto& width) { width = 0; }, "no frame has 0x5 pixels in yuv420p"},
    };
    int released = 0;
    for (auto const& row : cases) {
        auto planes = whole;
        std::uint32_t width = 19;
        row.spoil(planes, width);
        released = 0;
        EXPECT_EQ(TextOf<EffectException>([&] {
                      WrapPicture({}, Conf::PixFmt::YUV420P, {width, 5, 1, 1}, planes, [&] { ++released; });
                  }),
                  "Cannot wrap the planes: " + std::string(row.text));
        EXPECT_EQ(released, 1);
    }
    AllocationLimit const limit(16);
    EXPECT_THROW(WrapPicture({}, Conf::PixFmt::YUV420P, {19, 5, 1, 1}, whole, [&] { ++released; }),
                 Core::MemoryException);
    EXPECT_EQ(released, 2);
}

TEST(WrapSamples, ReadsTheCallersMemoryAndGivesItBackOnce) {
    for (std::uint32_t format = 0; format < 10; ++format)
        for (Conf::ChannelLayout const layout : {Conf::ChannelLayout{4, 1}, {3, 2}, {0, 12}}) {
            SampleInfo const info = SampleInfo::Init(static_cast<SampleFormats>(format), 44100, layout);
            auto const like = DataAudioFF::CreateBySampleCount(info, 7);
            std::vector<std::vector<std::uint8_t>> memory;
            Samples planes;
            for (int i = 0; i < GetSamplePlaneCount(*like); ++i) {
                memory.emplace_back(GetReadOnlySamples(*like, i).size(), static_cast<std::uint8_t>(i + 1));
                planes.emplace_back(memory.back());
            }
            auto const before = memory;
            int released = 0;
            SP<IDataAudio> block = WrapSamples(info, 7, planes, [&] { ++released; });
            EXPECT_EQ(block->GetSampleInfo(), info);
            EXPECT_EQ(block->GetSampleCount(), 7);
            SP<IDataAudio> const writer = MakeSP<DataAudioFF>(*block->GetAVFrame());
            for (int i = 0; i < GetSamplePlaneCount(*block); ++i) {
                EXPECT_EQ(GetReadOnlySamples(*block, i).data(), planes[static_cast<std::size_t>(i)].data());
                std::span<std::uint8_t> const own = GetWritableSamples(*writer, i);
                EXPECT_EQ(own[own.size() - 1], i + 1);
                std::ranges::fill(own, std::uint8_t{99});
                EXPECT_EQ(GetWritableSamples(*writer, i).data(), own.data()); // its own by now
            }
            EXPECT_EQ(memory, before);
            block.reset();
            EXPECT_EQ(released, 1);
        }
}

TEST(WrapSamples, NamesWhatIsMissing) {
    SampleInfo const info = SampleInfo::Init(SampleFormats::S16Planar, 48000, {3, 2});
    std::vector<std::uint8_t> const samples(20);
    std::string const cannot = "Cannot wrap the samples: ";
    struct {
        int count;
        Samples planes;
        std::string text;
    } const cases[] = {
        {10, {samples}, cannot + "there are 1 planes and s16p in 2 channels needs 2"},
        {11, {samples, samples}, cannot + "plane 0 has 20 bytes and needs 22"},
        {-1, {samples, samples}, "Cannot make a block of audio: sample count -1 is below 0"},
    };
    int released = 0;
    auto const wrap = [&](int count, Samples const& planes) {
        return WrapSamples(info, count, planes, [&] { ++released; });
    };
    for (auto const& row : cases)
        EXPECT_EQ(TextOf<EffectException>([&] { wrap(row.count, row.planes); }), row.text);
    EXPECT_EQ(released, 3);
    SP<IDataAudio> const none = wrap(0, {});
    EXPECT_EQ(released, 4); // nothing refers to it
    EXPECT_TRUE(GetReadOnlySamples(*none, 1).empty());
    for (int const index : {-1, 2})
        EXPECT_EQ(TextOf<ProcException>([&] { (void)GetWritableSamples(*none, index); }),
                  "A block of 2 channels in s16p has no plane " + std::to_string(index));
}

} // namespace
} // namespace Tarsel::Proc
