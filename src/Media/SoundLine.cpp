#include "Media/SoundLine.h"

#include "Media/FFmpegRatio.h"
#include "Media/MessageText.h"
#include "Media/SoundFormat.h"
#include "Proc/Data/DataAudioFF.h"
#include "Proc/Wrappers/FrameFields.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

extern "C" {
#include <libavutil/channel_layout.h>
#include <libavutil/frame.h>
#include <libavutil/mathematics.h>
#include <libavutil/samplefmt.h>
}

namespace Tarsel::Media {

namespace {

constexpr AVRational s_microsecond{1, 1000000};
/// In microseconds.
constexpr std::int64_t s_tolerance = 40000;
constexpr std::int64_t s_longestOverlap = 1000000;
constexpr std::int64_t s_longestGap = std::int64_t{12} * 3600 * 1000000;
/// Changes of format that are told one by one.
constexpr std::size_t s_mostChanges = 3;

/// The block from its sample `first` on.
Proc::SafeFrame CopyFrom(AVFrame const& block, int first) {
    Proc::SafeFrame rest;
    Proc::SetFrameSampleInfo(*rest, Proc::GetFrameSampleInfo(block));
    rest->nb_samples = block.nb_samples - first;
    rest.AllocateBuffers();
    av_samples_copy(rest->extended_data, block.extended_data, 0, first, rest->nb_samples,
                    block.ch_layout.nb_channels, static_cast<AVSampleFormat>(block.format));
    return rest;
}

std::string InfoText(Conf::SampleInfo const& info) {
    return fmt::format("{} Hz {} {}", info.rate, Conf::SampleFmtRecord::Find(info.format).name,
                       info.layout.GetName());
}

} // namespace

double SoundLine::ToSeconds(std::int64_t samples) const noexcept {
    return static_cast<double>(samples) / m_format.rate;
}

void SoundLine::StartAt(std::int64_t microseconds) {
    m_started = true;
    m_next = m_given = av_rescale_q(microseconds, s_microsecond, {1, m_format.rate});
    StartSegment();
}

void SoundLine::StartSegment() noexcept {
    m_segmentStart = m_next;
    m_fed = 0;
}

/// Where the next block would begin without a time of its own.
std::int64_t SoundLine::GetExpected() const noexcept {
    return m_segmentStart + av_rescale(m_fed, m_format.rate, m_source->rate);
}

void SoundLine::Feed(AVFrame const& block, std::int64_t time, Ratio timeBase) {
    if (block.nb_samples <= 0)
        return;
    AVRational const sample{1, m_format.rate};
    SetSource(Proc::GetFrameSampleInfo(block));
    int skipped = 0;
    // Times that are no times would overflow.
    constexpr std::int64_t farthest = std::int64_t{1} << 52;
    std::int64_t const stated = time == AV_NOPTS_VALUE ? time : av_rescale_q(time, ToAV(timeBase), sample);
    if (stated >= -farthest && stated <= farthest)
        skipped = Place(stated + m_offset, std::max(av_rescale_q(s_tolerance, s_microsecond, sample),
                                                    av_rescale_q(2, ToAV(timeBase), sample)));
    m_started = true;
    if (skipped >= block.nb_samples)
        return;
    m_fed += block.nb_samples - skipped;
    Proc::SafeFrame kept = skipped > 0 ? CopyFrom(block, skipped) : Proc::SafeFrame::Reference(block);
    if (!m_converter) {
        Add(std::move(kept));
        return;
    }
    kept->pts = AV_NOPTS_VALUE;
    if (auto converted = m_converter.Convert(*kept))
        Add(std::move(*converted));
}

void SoundLine::SetSource(Conf::SampleInfo const& source) {
    if (m_source == source)
        return;
    if (m_source) {
        FlushConverter();
        StartSegment();
        if (!IsSameSound(*m_source, source) && m_changes.size() < s_mostChanges)
            m_changes.push_back(fmt::format("The sound changes from {} to {} at {:.3f} s; it was converted.",
                                            InfoText(*m_source), InfoText(source), ToSeconds(m_next)));
    }
    m_converter =
        IsSameSound(source, m_format) ? Proc::SafeSwrContext() : Proc::SafeSwrContext({source, m_format});
    m_source = source;
}

/// Decides about a block at the position; returns how many of its samples overlap the one before.
int SoundLine::Place(std::int64_t position, std::int64_t tolerance) {
    AVRational const sample{1, m_format.rate};
    if (!m_started) {
        m_next = m_given = position;
        StartSegment();
        return 0;
    }
    std::int64_t const ahead = position - GetExpected();
    if (std::abs(ahead) <= tolerance)
        return 0;
    if (ahead > av_rescale_q(s_longestGap, s_microsecond, sample) ||
        -ahead > av_rescale_q(s_longestOverlap, s_microsecond, sample)) {
        m_offset -= ahead;
        ++m_jumps;
        return 0;
    }
    if (ahead < 0) {
        m_cut -= ahead;
        return static_cast<int>(av_rescale(-ahead, m_source->rate, m_format.rate));
    }
    FlushConverter();
    AddSilence(position - m_next);
    StartSegment();
    return 0;
}

void SoundLine::AddSilence(std::int64_t count) {
    if (count <= 0)
        return;
    m_ready.push_back({{}, count});
    m_next += count;
    m_silence += count;
    ++m_gaps;
}

void SoundLine::Add(Proc::SafeFrame block) {
    m_next += block->nb_samples;
    m_ready.push_back({std::move(block), 0});
}

void SoundLine::FlushConverter() {
    if (!m_converter)
        return;
    if (auto rest = m_converter.Flush())
        Add(std::move(*rest));
}

void SoundLine::End() {
    FlushConverter();
}

std::optional<Proc::SafeFrame> SoundLine::Take() {
    if (m_ready.empty())
        return std::nullopt;
    Piece& first = m_ready.front();
    Proc::SafeFrame block = first.block ? std::move(*first.block) : TakeSilence();
    if (first.silence == 0)
        m_ready.pop_front();
    block->pts = m_given;
    av_channel_layout_uninit(&block->ch_layout);
    Proc::SetFrameSampleInfo(*block, m_format); // channels get their names
    Proc::SetFrameDuration(*block, block->nb_samples);
    m_given += block->nb_samples;
    return block;
}

/// A second of it at most, however long the gap.
Proc::SafeFrame SoundLine::TakeSilence() {
    Piece& piece = m_ready.front();
    int const count = static_cast<int>(std::min<std::int64_t>(piece.silence, m_format.rate));
    piece.silence -= count;
    auto const silent = Proc::DataAudioFF::CreateBySampleCount(m_format, count);
    AVFrame const& frame = *silent->GetAVFrame();
    av_samples_set_silence(frame.extended_data, 0, count, frame.ch_layout.nb_channels,
                           static_cast<AVSampleFormat>(frame.format));
    return Proc::SafeFrame::Reference(frame);
}

std::vector<std::string> SoundLine::GetNotes() const {
    std::vector<std::string> notes = m_changes;
    if (m_gaps > 0)
        notes.push_back(fmt::format("{} filled with silence, {:.3f} s in all.",
                                    CountText(m_gaps, "sound gap"), ToSeconds(m_silence)));
    if (m_cut > 0)
        notes.push_back(
            fmt::format("{:.3f} s of sound were cut that overlapped the sound before.", ToSeconds(m_cut)));
    if (m_jumps > 0)
        notes.push_back(fmt::format("{} passed over: the times of the sound are not continuous.",
                                    CountText(m_jumps, "clock jump")));
    return notes;
}

} // namespace Tarsel::Media
