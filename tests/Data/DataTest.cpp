#include "Conf/PixFmtDescription.h"
#include "Core/CoreExceptions.h"
#include "Proc/Data/DataAudioFF.h"
#include "Proc/Data/DataVideoFF.h"
#include "Proc/Data/FactoryData.h"
#include "Proc/Data/WrapMemory.h"
#include "Proc/Interfaces/ProcExceptions.h"
#include "Proc/Wrappers/FrameFields.h"
#include "Proc/Wrappers/SafeFrame.h"
#include "Support/AllocationLimit.h"
#include "Support/Failure.h"
#include "Support/Planes.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <atomic>
#include <cstring>
#include <string>
#include <thread>
#include <utility>

extern "C" {
#include <libavutil/channel_layout.h>
#include <libavutil/frame.h>
}

namespace Tarsel::Proc {

namespace {

using namespace Tarsel::Test;

std::vector<std::uint8_t> Bytes(ReadOnlyPlane const& plane) {
    std::vector<std::uint8_t> bytes(plane.rowBytes * plane.rows);
    CopyPlane(plane, {bytes.data(), static_cast<std::ptrdiff_t>(plane.rowBytes), plane.rowBytes, plane.rows});
    return bytes;
}

void Fill(WritablePlane const& plane, std::uint8_t value) {
    for (std::uint32_t row = 0; row < plane.rows; ++row)
        std::memset(plane.data + std::ptrdiff_t(row) * plane.lineSize, value, plane.rowBytes);
}

TEST(DataVideoFFTest, PlanesThatAFormatDoesNotHave) {
    for (auto const& [format, index] : {std::pair{0, 3}, {0, -1}, {0, 8}, {11, 1}}) {
        DataVideoFF data({}, static_cast<Conf::PixFmt>(format), {5, 3, 1, 1});
        std::string const text =
            "A frame in pixel format " + std::to_string(format) + " has no plane " + std::to_string(index);
        EXPECT_EQ(TextOf<ProcException>([&, i = index] { data.GetReadOnlyPlane(i); }), text);
        EXPECT_EQ(TextOf<ProcException>([&, i = index] { data.GetWritablePlane(i); }), text);
    }
    EXPECT_THROW(DataVideoFF(SafeFrame(), {}).GetReadOnlyPlane(0), ProcException);
    EXPECT_THROW(DataVideoFF(*SafeFrame(), {}), ProcException);
}

TEST(DataVideoFFTest, CopiesShareUntilOneSideWrites) {
    SafeFrame const frame = MakeNoise(Conf::PixFmt::YUV420P, 33, 17);
    std::vector<std::uint8_t> const luma = PlaneBytes(*frame, 0);
    DataVideoFF data(*frame, {33, 17, 4, 3});
    data.SetTime(7);
    data.SetDuration(8);
    SP<IDataVideo> const copy = data.Copy();
    EXPECT_EQ(copy->GetFrameInfo(), data.GetFrameInfo());
    EXPECT_EQ(copy->GetReadOnlyPlane(0).data, frame->data[0]);
    Fill(copy->GetWritablePlane(0), 99);
    EXPECT_EQ(Bytes(copy->GetReadOnlyPlane(0)), std::vector<std::uint8_t>(luma.size(), 99));
    EXPECT_EQ(Bytes(copy->GetReadOnlyPlane(1)), PlaneBytes(*frame, 1));
    EXPECT_EQ(Bytes(data.GetReadOnlyPlane(0)), luma);
    EXPECT_EQ(std::pair(copy->GetTime(), copy->GetDuration()), std::pair(7L, 8L));

    // Its own by now: nothing is copied again.
    std::uint8_t const* const own = copy->GetReadOnlyPlane(2).data;
    EXPECT_EQ(copy->GetWritablePlane(2).data, own);
}

TEST(DataVideoFFTest, FailedWritesLoseNothing) {
    SafeFrame const frame = MakeNoise(Conf::PixFmt::RGB24, 320, 240);
    DataVideoFF data(*frame, {320, 240, 1, 1});
    {
        AllocationLimit const limit(20000);
        EXPECT_THROW(data.GetWritablePlane(0), Core::MemoryException);
    }
    EXPECT_EQ(Bytes(data.GetReadOnlyPlane(0)), PlaneBytes(*frame, 0));
    Fill(data.GetWritablePlane(0), 1);
    EXPECT_NE(Bytes(data.GetReadOnlyPlane(0)), PlaneBytes(*frame, 0));
}

TEST(DataVideoFFTest, PixelsThatNobodyCountsAreCopied) {
    std::vector<std::uint8_t> pixels{1, 2, 3, 4, 5, 6};
    std::vector<std::uint8_t> const before = pixels;
    DataVideoFF referenced(*MakeUncounted(pixels.data(), 3, 2), {3, 2, 1, 1});
    DataVideoFF takenOver(MakeUncounted(pixels.data(), 3, 2), {3, 2, 1, 1});
    Fill(takenOver.GetWritablePlane(0), 9);
    EXPECT_EQ(pixels, before);
    pixels.assign(6, 0);
    EXPECT_EQ(Bytes(referenced.GetReadOnlyPlane(0)), before);
}

TEST(DataVideoFFTest, PlanesStayWithinBothFrameAndGeometry) {
    DataVideoFF const small(MakeNoise(Conf::PixFmt::YUV420P, 16, 8), {640, 480, 1, 1});
    EXPECT_EQ(small.GetFrameInfo(), (Conf::FrameInfo{640, 480, 1, 1}));
    EXPECT_EQ(small.GetReadOnlyPlane(0).rowBytes, 16U);
    EXPECT_EQ(small.GetReadOnlyPlane(1).rows, 4U);
    DataVideoFF const large(MakeNoise(Conf::PixFmt::YUV420P, 16, 8), {9, 5, 1, 1});
    EXPECT_EQ(large.GetReadOnlyPlane(0).rows, 5U);
    EXPECT_EQ(large.GetReadOnlyPlane(1).rowBytes, 5U);
}

TEST(DataVideoFFTest, PixelAspectOfFrameAndGeometryAgree) {
    DataVideoFF data({}, Conf::PixFmt::GRAY8, {4, 4, 5, 0});
    EXPECT_EQ(data.GetFrameInfo(), (Conf::FrameInfo{4, 4, 0, 1}));
    for (auto const& [num, den] : {std::pair{16U, 15U}, {30U, 20U}, {0U, 3U}, {3U, 0U}}) {
        data.SetPixelAspect(num, den);
        bool const known = num != 0 && den != 0;
        EXPECT_EQ(data.GetFrameInfo(), (Conf::FrameInfo{4, 4, known ? num : 0, known ? den : 1}));
        EXPECT_EQ(GetFrameInfo(*data.GetAVFrame()), data.GetFrameInfo());
    }
    data.SetPixelAspect(4000000000U, 2000000000U); // more than FFmpeg counts
    EXPECT_EQ(data.GetAVFrame()->sample_aspect_ratio.num, 2);
    data.GetAVFrame()->sample_aspect_ratio = {-1, 2};
    EXPECT_EQ(GetFrameInfo(*data.GetAVFrame()), (Conf::FrameInfo{4, 4, 0, 1}));
}

using Conf::SampleFormats;
using Conf::SampleInfo;

TEST(DataAudioFFTest, BlocksThatCannotBe) {
    SampleInfo const good = SampleInfo::Init(SampleFormats::S16, 48000, {3, 2});
    struct {
        SampleInfo info;
        int count;
        char const* text;
    } const cases[] = {
        {{SampleFormats::Unknown, 48000, {3, 2}}, 1, "sample format -1 is not one of 0 to 9"},
        {{SampleFormats::S16, -1, {3, 2}}, 1, "sample rate -1 is not above 0"},
        {{SampleFormats::S16, 0, {3, 2}}, 1, "sample rate 0 is not above 0"},
        {{SampleFormats::S16, 48000, {}}, 1, "there are no channels"},
        {{SampleFormats::S16, 48000, {7, 2}}, 1, "channel mask 0x7 is not one of 2 channels"},
        {good, -1, "sample count -1 is below 0"},
    };
    for (auto const& example : cases)
        EXPECT_THAT([&] { DataAudioFF::CreateBySampleCount(example.info, example.count); },
                    testing::ThrowsMessage<EffectException>("Cannot make a block of audio: " +
                                                            std::string(example.text)));

    AllocationLimit const limit(20000);
    try {
        DataAudioFF::CreateBySampleCount(good, 10000);
        ADD_FAILURE();
    } catch (Core::MemoryException const& exception) {
        EXPECT_EQ(*boost::get_error_info<Core::MemoryException::TagBlockSize>(exception), 40000U);
    }
}

TEST(DataAudioFFTest, ReadsForeignFrames) {
    SafeFrame frame;
    frame->format = AV_SAMPLE_FMT_S64;
    frame->nb_samples = 10;
    frame->ch_layout.order = AV_CHANNEL_ORDER_UNSPEC;
    frame->ch_layout.nb_channels = 3;
    frame.AllocateBuffers();
    DataAudioFF data(*frame);
    EXPECT_EQ(data.GetSampleInfo(), SampleInfo::Init(SampleFormats::Unknown, -1, {0, 3}));
    data.SetTime(5);
    data.SetDuration(6);
    EXPECT_EQ(std::pair(data.GetTime(), data.GetDuration()), std::pair(5L, 6L));
    EXPECT_NE(frame->pts, 5);
    SafeFrame const empty;
    EXPECT_THROW(DataAudioFF{*empty}, ProcException);
}

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
