#include "Proc/Data/WrapMemory.h"

#include "Conf/AVFormats.h"
#include "Conf/PixFmtDescription.h"
#include "Core/CoreExceptions.h"
#include "Core/Throw.h"
#include "Proc/Data/DataAudioFF.h"
#include "Proc/Data/DataVideoFF.h"
#include "Proc/Interfaces/ProcExceptions.h"
#include "Proc/Wrappers/FrameFields.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <memory>
#include <new>
#include <string_view>
#include <utility>

extern "C" {
#include <libavutil/buffer.h>
#include <libavutil/error.h>
#include <libavutil/frame.h>
#include <libavutil/imgutils.h>
#include <libavutil/mem.h>
}

namespace Tarsel::Proc {
namespace {

using Bytes = std::span<std::uint8_t const>;

[[noreturn]] void ThrowNoMemory(Core::Site const& site = Core::Site::Here()) {
    Core::Throw<Core::MemoryException>(site, "Unable to allocate memory for AVFrame buffers");
}

/// The caller's memory: given back when the last buffer over it is gone.
class Loan {
public:
    explicit Loan(ReleaseMemory release) try : m_end(std::make_shared<End>(std::move(release))) {
    } catch (std::bad_alloc const&) {
        if (release)
            release();
        ThrowNoMemory();
    }

    AVBufferRef* MakeBuffer(Bytes bytes) const {
        auto share = std::make_unique<Share>(m_end);
        // FFmpeg has no pointer to bytes that are only read: the flag says so.
        AVBufferRef* const buffer = av_buffer_create(const_cast<std::uint8_t*>(bytes.data()), bytes.size(),
                                                     GiveBack, share.get(), AV_BUFFER_FLAG_READONLY);
        if (buffer == nullptr)
            ThrowNoMemory();
        (void)share.release(); // the buffer's
        return buffer;
    }

private:
    struct End {
        explicit End(ReleaseMemory call) : release(std::move(call)) {}
        ~End() {
            if (release)
                release();
        }
        ReleaseMemory release;
    };
    using Share = std::shared_ptr<End const>;

    static void GiveBack(void* share, std::uint8_t*) noexcept { delete static_cast<Share*>(share); }

    Share m_end;
};

[[noreturn]] void ThrowNoPicture(std::string const& fault) {
    Core::Throw<EffectException>("Cannot wrap the planes: " + fault);
}

[[noreturn]] void ThrowNoBlock(std::string const& fault) {
    Core::Throw<EffectException>("Cannot wrap the samples: " + fault);
}

/// What a plane has to have.
struct PlaneNeed {
    std::size_t rowBytes;
    std::uint32_t rows;
};

std::vector<PlaneNeed> GetNeeds(Conf::PixFmt format, Conf::FrameInfo const& info) {
    auto const avFormat = Conf::ToAVPixelFormat(format);
    auto const& description = Conf::PixFmtDescription::Find(format);
    if (description.GetPlaneCount() == 0 || info.width == 0 || info.height == 0 ||
        av_image_check_size2(info.width, info.height, std::numeric_limits<std::int64_t>::max(), avFormat, 0,
                             nullptr) < 0)
        ThrowNoPicture(
            fmt::format("no frame has {}x{} pixels in {}", info.width, info.height, description.GetName()));
    std::vector<PlaneNeed> needs;
    for (int i = 0; i < description.GetPlaneCount(); ++i)
        needs.push_back({static_cast<std::size_t>(
                             std::max(av_image_get_linesize(avFormat, static_cast<int>(info.width), i), 0)),
                         description.GetPlanHeight(i, info.height)});
    if ((description.GetFlags() & Conf::PixFmtDescription::Palette) != 0)
        needs.push_back({AVPALETTE_SIZE, 1});
    return needs;
}

void CheckPlane(ReadOnlyPlane const& plane, PlaneNeed const& need, std::size_t index) {
    if (plane.data == nullptr)
        ThrowNoPicture(fmt::format("plane {} has no memory", index));
    if (plane.rowBytes < need.rowBytes || plane.rows < need.rows)
        ThrowNoPicture(fmt::format("plane {} has {} rows of {} bytes and needs {} of {}", index, plane.rows,
                                   plane.rowBytes, need.rows, need.rowBytes));
    if (std::cmp_less(std::abs(plane.lineSize), plane.rowBytes) ||
        std::abs(plane.lineSize) > std::numeric_limits<int>::max())
        ThrowNoPicture(fmt::format("plane {} has a line size of {} and rows of {} bytes", index,
                                   plane.lineSize, plane.rowBytes));
}

/// All bytes of a plane, from the lowest address on.
Bytes GetExtent(ReadOnlyPlane const& plane) {
    auto const between = static_cast<std::ptrdiff_t>(plane.rows - 1) * plane.lineSize;
    return {plane.data + std::min<std::ptrdiff_t>(between, 0),
            static_cast<std::size_t>(std::abs(between)) + plane.rowBytes};
}

/// Places for the planes and buffers of a block beyond the eight that a frame has itself.
void MakeRoom(AVFrame& frame, std::size_t planes) {
    if (planes <= AV_NUM_DATA_POINTERS)
        return;
    auto** const data = static_cast<std::uint8_t**>(av_calloc(planes, sizeof(std::uint8_t*)));
    if (data == nullptr)
        ThrowNoMemory();
    frame.extended_data = data;
    std::size_t const more = planes - AV_NUM_DATA_POINTERS;
    frame.extended_buf = static_cast<AVBufferRef**>(av_calloc(more, sizeof(AVBufferRef*)));
    if (frame.extended_buf == nullptr)
        ThrowNoMemory();
    frame.nb_extended_buf = static_cast<int>(more);
}

/// Planes and bytes of each, for so many samples.
std::pair<std::size_t, std::size_t> GetLayout(Conf::SampleInfo const& info, std::int64_t sampleCount) {
    auto const& record = Conf::SampleFmtRecord::Find(info.format);
    std::size_t const planes = record.planar ? info.layout.channels : 1;
    return {planes, static_cast<std::size_t>(sampleCount) * record.size * (info.layout.channels / planes)};
}

/// The bytes of a plane of the block's; ProcException where there are none.
std::span<std::uint8_t> FindSamples(IDataAudio const& block, int index) {
    AVFrame const& frame = Details::GetAVFrameRef(block.GetAVFrame());
    if (index < 0 || index >= GetSamplePlaneCount(block) || !HasSamples(frame))
        Core::Throw<ProcException>(
            fmt::format("A block of {} channels in {} has no plane {}", block.GetSampleInfo().layout.channels,
                        Conf::SampleFmtRecord::Find(block.GetSampleFormat()).name, index));
    if (frame.nb_samples == 0)
        return {};
    return {frame.extended_data[index], GetLayout(block.GetSampleInfo(), frame.nb_samples).second};
}

} // namespace

SP<IDataVideo> WrapPicture(Conf::ColorSpace const& space, Conf::PixFmt format, Conf::FrameInfo const& info,
                           std::vector<ReadOnlyPlane> const& planes, ReleaseMemory release) {
    Loan const loan(std::move(release));
    std::vector<PlaneNeed> const needs = GetNeeds(format, info);
    if (planes.size() != needs.size())
        ThrowNoPicture(fmt::format("there are {} and {} needs {}", planes.size(),
                                   Conf::PixFmtDescription::Find(format).GetName(), needs.size()));
    SafeFrame frame;
    frame->format = static_cast<int>(format);
    frame->width = static_cast<int>(info.width);
    frame->height = static_cast<int>(info.height);
    SetFrameColorSpace(*frame, space);
    for (std::size_t i = 0; i < planes.size(); ++i) {
        CheckPlane(planes[i], needs[i], i);
        frame->buf[i] = loan.MakeBuffer(GetExtent(planes[i]));
        frame->data[i] = const_cast<std::uint8_t*>(planes[i].data);
        frame->linesize[i] = static_cast<int>(planes[i].lineSize);
    }
    frame->pts = 0;
    return MakeSP<DataVideoFF>(std::move(frame), info);
}

SP<IDataAudio> WrapSamples(Conf::SampleInfo const& info, int sampleCount, std::vector<Bytes> const& planes,
                           ReleaseMemory release) {
    Loan const loan(std::move(release));
    SP<IDataAudio> none = DataAudioFF::CreateBySampleCount(info, std::min(sampleCount, 0)); // checks the info
    if (sampleCount == 0)
        return none;
    auto const [count, size] = GetLayout(info, sampleCount);
    if (planes.size() != count)
        ThrowNoBlock(fmt::format("there are {} planes and {} in {} channels needs {}", planes.size(),
                                 Conf::SampleFmtRecord::Find(info.format).name, info.layout.channels, count));
    if (size > static_cast<std::size_t>(std::numeric_limits<int>::max()))
        ThrowNoBlock(fmt::format("{} samples for each channel are too many for one", sampleCount));
    SafeFrame frame;
    SetFrameSampleInfo(*frame, info);
    frame->nb_samples = sampleCount;
    frame->linesize[0] = static_cast<int>(size);
    MakeRoom(*frame, count);
    for (std::size_t i = 0; i < count; ++i) {
        if (planes[i].data() == nullptr || planes[i].size() < size)
            ThrowNoBlock(fmt::format("plane {} has {} bytes and needs {}", i, planes[i].size(), size));
        AVBufferRef* const buffer = loan.MakeBuffer(planes[i]);
        (i < AV_NUM_DATA_POINTERS ? frame->buf[i] : frame->extended_buf[i - AV_NUM_DATA_POINTERS]) = buffer;
        frame->extended_data[i] = const_cast<std::uint8_t*>(planes[i].data());
        if (i < AV_NUM_DATA_POINTERS)
            frame->data[i] = frame->extended_data[i];
    }
    frame->pts = 0;
    return MakeSP<DataAudioFF>(std::move(frame));
}

int GetSamplePlaneCount(IDataAudio const& block) {
    Conf::SampleInfo const info = block.GetSampleInfo();
    auto const& record = Conf::SampleFmtRecord::Find(info.format);
    if (record.format == Conf::SampleFormats::Unknown)
        return 0;
    return record.planar ? info.layout.channels : 1;
}

Bytes GetReadOnlySamples(IDataAudio const& block, int index) {
    return FindSamples(block, index);
}

std::span<std::uint8_t> GetWritableSamples(IDataAudio& block, int index) {
    (void)FindSamples(block, index); // before anything is copied for nothing
    AVFrame& frame = *block.GetAVFrame();
    int const error = frame.nb_samples > 0 && frame.buf[0] != nullptr ? av_frame_make_writable(&frame) : 0;
    if (error == AVERROR(ENOMEM))
        ThrowNoMemory();
    if (error < 0)
        Core::Throw<ProcException>("AVFrame cannot be made writable", TagFFmpegError(error));
    return FindSamples(block, index);
}

} // namespace Tarsel::Proc
