#include "Proc/Data/DataAudioFF.h"

#include "Conf/FFmpegFormats.h"
#include "Core/Throw.h"
#include "Proc/Interfaces/ProcExceptions.h"
#include "Proc/Wrappers/FrameFields.h"

#include <fmt/format.h>

#include <algorithm>
#include <bit>
#include <utility>

extern "C" {
#include <libavutil/frame.h>
}

namespace Tarsel::Proc {

namespace {

/// What is wrong with the fields of a block; empty when nothing is.
std::string FindFault(Conf::SampleInfo const& info, int sampleCount) {
    if (Conf::SampleFmtRecord::Find(info.format).format == Conf::SampleFormats::Unknown)
        return fmt::format("sample format {} is not one of 0 to 9", static_cast<std::int32_t>(info.format));
    if (info.rate <= 0)
        return fmt::format("sample rate {} is not above 0", info.rate);
    if (info.layout.channels == 0)
        return "there are no channels";
    if (info.layout.mask != 0 && std::popcount(info.layout.mask) != info.layout.channels)
        return fmt::format("channel mask {:#x} is not one of {} channels", info.layout.mask,
                           info.layout.channels);
    if (sampleCount < 0)
        return fmt::format("sample count {} is below 0", sampleCount);
    return {};
}

} // namespace

DataAudioFF::DataAudioFF(AVFrame const& frame) : DataAudioFF(SafeFrame::Reference(frame)) {}

DataAudioFF::DataAudioFF(SafeFrame&& frame) noexcept : m_frame(std::move(frame)) {}

SP<DataAudioFF> DataAudioFF::CreateBySampleCount(Conf::SampleInfo const& info, int sampleCount) {
    if (std::string const fault = FindFault(info, sampleCount); !fault.empty())
        Core::Throw<EffectException>("Cannot make a block of audio: " + fault);

    SafeFrame frame;
    SetFrameSampleInfo(*frame, info);
    frame->nb_samples = std::max(sampleCount, 1); // FFmpeg has no buffers for none
    frame.AllocateBuffers();
    frame->nb_samples = sampleCount;
    frame->pts = 0;
    return MakeSP<DataAudioFF>(std::move(frame));
}

std::int64_t DataAudioFF::GetTime() const {
    return m_frame->pts;
}

void DataAudioFF::SetTime(std::int64_t microseconds) {
    m_frame->pts = microseconds;
}

std::int64_t DataAudioFF::GetDuration() const {
    return GetFrameDuration(*m_frame);
}

void DataAudioFF::SetDuration(std::int64_t microseconds) {
    SetFrameDuration(*m_frame, microseconds);
}

Conf::SampleFormats DataAudioFF::GetSampleFormat() const {
    return Conf::SampleFormatTarselFromFFMPEG(m_frame->format);
}

Conf::SampleInfo DataAudioFF::GetSampleInfo() const {
    return GetFrameSampleInfo(*m_frame);
}

std::int64_t DataAudioFF::GetSampleCount() const {
    return m_frame->nb_samples;
}

AVFrame const* DataAudioFF::GetAVFrame() const {
    return m_frame.Get();
}

AVFrame* DataAudioFF::GetAVFrame() {
    return m_frame.Get();
}

} // namespace Tarsel::Proc
