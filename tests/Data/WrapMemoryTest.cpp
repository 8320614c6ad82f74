#include "Proc/Data/WrapMemory.h"

#include "Conf/PixFmtDescription.h"
#include "Core/CoreExceptions.h"
#include "Proc/Data/DataAudioFF.h"
#include "Proc/Data/DataVideoFF.h"
#include "Proc/Interfaces/ProcExceptions.h"
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

/// Memory for the planes of a picture, each with room behind its rows.
struct Memory {
    Memory(Conf::PixFmt format, std::uint32_t width, std::uint32_t height, bool bottomUp) {
        SafeFrame const like = MakeNoise(format, width, height);
        auto const& description = PixFmtDescription::Find(format);
        bool const hasPalette = (description.GetFlags() & PixFmtDescription::Palette) != 0;
        for (int i = 0; i < description.GetPlaneCount() + (hasPalette ? 1 : 0); ++i) {
            ReadOnlyPlane plane{nullptr, 1024, 1024, 1};
            if (i < description.GetPlaneCount()) {
                plane = DataVideoFF(*like, {width, height, 1, 1}).GetReadOnlyPlane(i);
                plane.lineSize = static_cast<std::ptrdiff_t>(plane.rowBytes + 3);
            }
            std::vector<std::uint8_t>& own = bytes.emplace_back(
                (plane.rows - 1) * static_cast<std::size_t>(plane.lineSize) + plane.rowBytes);
            std::ranges::generate(own, [next = i]() mutable { return static_cast<std::uint8_t>(next += 7); });
            plane.data = own.data();
            if (bottomUp && plane.rows > 1) {
                plane.data += static_cast<std::ptrdiff_t>(plane.rows - 1) * plane.lineSize;
                plane.lineSize = -plane.lineSize;
            }
            planes.push_back(plane);
        }
    }

    std::vector<std::vector<std::uint8_t>> bytes;
    std::vector<ReadOnlyPlane> planes;
};

TEST(WrapPicture, ReadsTheCallersMemoryAndGivesItBackOnce) {
    for (Conf::PixFmt const format : PixFmtDescription::s_supportedFormats)
        for (bool const bottomUp : {false, true}) {
            SCOPED_TRACE(NameOf(format));
            Memory const memory(format, 19, 5, bottomUp);
            auto const before = memory.bytes;
            std::atomic<int> released = 0;
            SP<IDataVideo> picture =
                WrapPicture({1, 2, 1}, format, {19, 5, 4, 3}, memory.planes, [&] { ++released; });
            EXPECT_EQ(picture->GetPixelFormat(), format);
            EXPECT_EQ(picture->GetFrameInfo(), (Conf::FrameInfo{19, 5, 4, 3}));
            EXPECT_EQ(picture->GetColorSpace(), (Conf::ColorSpace{1, 2, 1}));
            for (std::size_t i = 0; i < memory.planes.size(); ++i)
                EXPECT_EQ(picture->GetAVFrame()->data[i], memory.planes[i].data);

            SP<IDataVideo> writer = picture->Copy();
            WritablePlane const written = writer->GetWritablePlane(0);
            EXPECT_NE(written.data, memory.planes[0].data);
            EXPECT_EQ(PlaneBytes(*writer->GetAVFrame(), 0), PlaneBytes(*picture->GetAVFrame(), 0));
            std::fill_n(written.data, written.rowBytes, std::uint8_t{0});
            EXPECT_EQ(memory.bytes, before);

            SP<IDataVideo> last = picture->Copy();
            picture.reset();
            writer.reset();
            EXPECT_EQ(released, 0);
            std::thread([&] { last.reset(); }).join();
            EXPECT_EQ(released, 1);
        }
}

TEST(WrapPicture, NamesWhatIsMissing) {
    Memory const memory(Conf::PixFmt::YUV420P, 19, 5, false);
    struct Case {
        void (*spoil)(std::vector<ReadOnlyPlane>&);
        char const* text;
    };
    for (Case const& row : {
             Case{[](auto& planes) { planes.pop_back(); }, "there are 2 and yuv420p needs 3"},
             Case{[](auto& planes) { planes[2].data = nullptr; }, "plane 2 has no memory"},
             Case{[](auto& planes) { planes[1].rows = 2; },
                  "plane 1 has 2 rows of 10 bytes and needs 3 of 10"},
             Case{[](auto& planes) { planes[0].rowBytes = 18; },
                  "plane 0 has 5 rows of 18 bytes and needs 5 of 19"},
             Case{[](auto& planes) { planes[0].lineSize = -18; },
                  "plane 0 has a line size of -18 and rows of 19 bytes"},
         }) {
        auto planes = memory.planes;
        row.spoil(planes);
        int released = 0;
        auto const wrap = [&] {
            WrapPicture({}, Conf::PixFmt::YUV420P, {19, 5, 1, 1}, planes, [&] { ++released; });
        };
        EXPECT_EQ(TextOf<EffectException>(wrap),
                  "Cannot make a picture of the planes: " + std::string(row.text));
        EXPECT_EQ(released, 1);
    }
    auto const wrapNothing = [&] { WrapPicture({}, Conf::PixFmt::GRAY8, {0, 5, 1, 1}, memory.planes, {}); };
    EXPECT_EQ(TextOf<EffectException>(wrapNothing),
              "Cannot make a picture of the planes: there is none of 0x5 pixels in gray");

    int released = 0;
    AllocationLimit const limit(16);
    EXPECT_THROW(WrapPicture({}, Conf::PixFmt::YUV420P, {19, 5, 1, 1}, memory.planes, [&] { ++released; }),
                 Core::MemoryException);
    EXPECT_EQ(released, 1);
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
    struct Case {
        int count;
        Samples planes;
        char const* text;
    };
    for (Case const& row : {
             Case{10,
                  {samples},
                  "Cannot make a block of audio of the samples: there are 1 planes and s16p in 2 channels "
                  "needs 2"},
             Case{11,
                  {samples, samples},
                  "Cannot make a block of audio of the samples: plane 0 has 20 bytes and needs 22"},
             Case{-1, {samples, samples}, "Cannot make a block of sound: sample count -1 is below 0"},
         }) {
        int released = 0;
        auto const wrap = [&] { WrapSamples(info, row.count, row.planes, [&] { ++released; }); };
        EXPECT_EQ(TextOf<EffectException>(wrap), row.text);
        EXPECT_EQ(released, 1);
    }
    int released = 0;
    SP<IDataAudio> const none = WrapSamples(info, 0, {}, [&] { ++released; });
    EXPECT_EQ(released, 1); // nothing refers to it
    EXPECT_TRUE(GetReadOnlySamples(*none, 1).empty());
    for (int const index : {-1, 2})
        EXPECT_EQ(TextOf<ProcException>([&] { (void)GetWritableSamples(*none, index); }),
                  "A block of 2 channels in s16p has no plane " + std::to_string(index));
}

} // namespace
} // namespace Tarsel::Proc
