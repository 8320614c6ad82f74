#include "Media/Codec/AudioAligner.h"

#include "Conf/AVFormats.h"
#include "Core/Throw.h"
#include "Media/Base/MessageText.h"
#include "Media/Base/Times.h"
#include "Media/Codec/AudioFormat.h"
#include "Proc/Data/DataAudioFF.h"
#include "Proc/Interfaces/ProcExceptions.h"
#include "Proc/Wrappers/FFmpegText.h"
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

/// In microseconds.
constexpr std::int64_t s_tolerance = 40000;
/// No packet of any codec is as short.
constexpr std::int64_t s_precision = 2000;
constexpr std::int64_t s_longestOverlap = 1000000;
constexpr std::int64_t s_longestGap = std::int64_t{12} * 3600 * 1000000;
/// Changes of format that are told one by one.
constexpr std::size_t s_mostChanges = 3;

/// Whoever comes next reads as many samples as a block says it has.
void CheckBlock(AVFrame const& block) {
    auto const fail = [](std::string const& description) { Core::Throw<Proc::EffectException>(description); };
    if (block.nb_samples < 0)
        fail(fmt::format("A block of audio is said to be of {} samples", block.nb_samples));
    if (!Proc::HasSamples(block))
        fail(fmt::format("A block of audio said to be of {} samples of {} holds fewer", block.nb_samples,
                         Proc::AudioText(Proc::GetFrameSampleInfo(block))));
}

Proc::SafeFrame CopyFrom(AVFrame const& block, int first) {
    return CopySamples(block, first, block.nb_samples - first);
}

} // namespace

Proc::SafeFrame CopySamples(AVFrame const& block, int first, int count) {
    Proc::SafeFrame part;
    Proc::SetFrameSampleInfo(*part, Proc::GetFrameSampleInfo(block));
    part->nb_samples = count;
    part.AllocateBuffers();
    av_samples_copy(part->extended_data, block.extended_data, 0, first, count, block.ch_layout.nb_channels,
                    Conf::ToAVSampleFormat(block.format));
    return part;
}

double AudioAligner::ToSeconds(std::int64_t samples) const noexcept {
    return static_cast<double>(samples) / m_format.rate;
}

void AudioAligner::StartAt(std::int64_t microseconds) {
    m_started = true;
    m_next = m_given = av_rescale_q(microseconds, ToAV(s_microsecond), {1, m_format.rate});
    StartSegment();
}

void AudioAligner::StartSegment() noexcept {
    m_segmentStart = m_next;
    m_fed = 0;
}

/// Where the next block would begin without a time of its own.
std::int64_t AudioAligner::GetExpected() const noexcept {
    return m_segmentStart + av_rescale(m_fed + m_samplesWaiting, m_format.rate, m_source->rate);
}

void AudioAligner::Feed(AVFrame const& block, std::int64_t time, Ratio timeBase) {
    CheckBlock(block);
    if (block.nb_samples == 0)
        return;
    SetSource(Proc::GetFrameSampleInfo(block));
    AVRational const sample{1, m_format.rate};
    std::int64_t const twoTicks = av_rescale_q(2, ToAV(timeBase), sample);
    m_tolerance = std::max(av_rescale_q(s_tolerance, ToAV(s_microsecond), sample), twoTicks);
    m_precision = std::max(av_rescale_q(s_precision, ToAV(s_microsecond), sample), twoTicks);
    // Times that are no times would overflow.
    constexpr std::int64_t farthest = std::int64_t{1} << 52;
    std::int64_t const stated = time == AV_NOPTS_VALUE ? time : av_rescale_q(time, ToAV(timeBase), sample);
    bool const isTime = stated >= -farthest && stated <= farthest;
    auto const position = isTime ? std::optional(stated + m_offset) : std::nullopt;
    if (!HasToWait(position)) {
        Accept({Proc::SafeFrame::Reference(block), position});
        return;
    }
    m_waiting.push_back({CopyFrom(block, 0), position}); // the caller may write to its own
    m_samplesWaiting += block.nb_samples;
    if (m_waiting.size() >= s_enoughBlocks)
        Settle(true);
}

/// Whether only those to come will tell what to make of a block at the position. Those that wait do so no
/// longer where it shows that they were inexact.
bool AudioAligner::HasToWait(std::optional<std::int64_t> position) {
    if (!position || !m_started || m_isExact || m_isCutting) {
        Settle(false);
        return false;
    }
    std::int64_t const ahead = *position - GetExpected();
    bool const keepsStep = std::abs(ahead - m_ahead) <= m_precision;
    if (keepsStep && !m_waiting.empty())
        return true;
    bool const mayBeStep = !keepsStep && m_waiting.empty() && m_inStep >= s_enoughBlocks &&
                           std::abs(ahead) > m_precision && std::abs(ahead) <= m_tolerance;
    Settle(false);
    m_ahead = ahead;
    m_inStep = keepsStep || mayBeStep ? std::min(m_inStep + 1, s_enoughBlocks) : 0;
    return mayBeStep;
}

/// Those that wait are accepted: where they say, or one after the other.
void AudioAligner::Settle(bool atTheirPlace) {
    m_samplesWaiting = 0;
    m_isExact = m_isExact || (atTheirPlace && !m_waiting.empty());
    for (Waiting& waiting : std::exchange(m_waiting, {})) {
        if (!atTheirPlace)
            waiting.position.reset();
        Accept(std::move(waiting));
    }
}

void AudioAligner::Accept(Waiting waiting) {
    AVFrame const& block = *waiting.block;
    int const skipped = waiting.position ? Place(*waiting.position, block.nb_samples) : 0;
    m_started = true;
    if (skipped >= block.nb_samples)
        return;
    m_fed += block.nb_samples - skipped;
    Proc::SafeFrame kept = skipped > 0 ? CopyFrom(block, skipped) : std::move(waiting.block);
    if (!m_converter) {
        Add(std::move(kept));
        return;
    }
    kept->pts = AV_NOPTS_VALUE;
    if (auto converted = m_converter.Convert(*kept))
        Add(std::move(*converted));
}

void AudioAligner::SetSource(Conf::SampleInfo const& source) {
    if (m_source == source)
        return;
    if (m_source) {
        Settle(false);
        FlushConverter();
        StartSegment();
        if (!IsSameAudio(*m_source, source) && m_changes.size() < s_mostChanges)
            m_changes.push_back(
                fmt::format("Converted the audio from {2:.3f} s on, where it changes from {0} to {1}.",
                            Proc::AudioText(*m_source), Proc::AudioText(source), ToSeconds(m_next)));
    }
    m_converter =
        IsSameAudio(source, m_format) ? Proc::SafeSwrContext() : Proc::SafeSwrContext({source, m_format});
    m_source = source;
}

/// Decides about a block of `count` samples at the position; returns how many of them overlap the one before.
int AudioAligner::Place(std::int64_t position, int count) {
    AVRational const sample{1, m_format.rate};
    if (!m_started) {
        m_next = m_given = position;
        StartSegment();
        return 0;
    }
    std::int64_t const ahead = position - GetExpected();
    std::int64_t const latest = m_isCutting || m_isExact ? m_precision : m_tolerance;
    m_isExact = false;
    // The next of some that overlapped is cut to where they end.
    bool const isCutting = std::exchange(m_isCutting, false);
    if (ahead <= latest && -ahead <= (isCutting ? 0 : latest))
        return 0;
    m_ahead = 0;
    if (ahead > av_rescale_q(s_longestGap, ToAV(s_microsecond), sample) ||
        -ahead > av_rescale_q(s_longestOverlap, ToAV(s_microsecond), sample)) {
        m_offset -= ahead;
        ++m_jumps;
        return 0;
    }
    if (ahead < 0) {
        std::int64_t const overlap = av_rescale(-ahead, m_source->rate, m_format.rate);
        int const skipped = static_cast<int>(std::min<std::int64_t>(overlap, count));
        m_isCutting = skipped == count;
        m_cut += av_rescale(skipped, m_format.rate, m_source->rate);
        return skipped;
    }
    FlushConverter();
    AddSilence(position - m_next);
    StartSegment();
    return 0;
}

void AudioAligner::AddSilence(std::int64_t count) {
    if (count <= 0)
        return;
    m_ready.push_back({{}, count});
    m_next += count;
    m_silence += count;
    ++m_gaps;
}

void AudioAligner::Add(Proc::SafeFrame block) {
    m_next += block->nb_samples;
    m_ready.push_back({std::move(block), 0});
}

void AudioAligner::FlushConverter() {
    if (!m_converter)
        return;
    if (auto rest = m_converter.Flush())
        Add(std::move(*rest));
}

void AudioAligner::End() {
    Settle(false);
    FlushConverter();
}

std::optional<Proc::SafeFrame> AudioAligner::Take() {
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
Proc::SafeFrame AudioAligner::TakeSilence() {
    Piece& piece = m_ready.front();
    int const count = static_cast<int>(std::min<std::int64_t>(piece.silence, m_format.rate));
    piece.silence -= count;
    auto const silent = Proc::DataAudioFF::CreateBySampleCount(m_format, count);
    AVFrame const& frame = *silent->GetAVFrame();
    av_samples_set_silence(frame.extended_data, 0, count, frame.ch_layout.nb_channels,
                           Conf::ToAVSampleFormat(frame.format));
    return Proc::SafeFrame::Reference(frame);
}

std::vector<std::string> AudioAligner::GetNotes() const {
    std::vector<std::string> notes = m_changes;
    if (m_gaps > 0)
        notes.push_back(fmt::format("Filled {} with silence, {:.3f} s in all.",
                                    CountText(m_gaps, "audio gap"), ToSeconds(m_silence)));
    if (m_cut > 0)
        notes.push_back(
            fmt::format("Cut {:.3f} s of audio that overlapped earlier audio.", ToSeconds(m_cut)));
    if (m_jumps > 0)
        notes.push_back(fmt::format("Ignored {}: the timestamps of the audio are not continuous.",
                                    CountText(m_jumps, "clock jump")));
    return notes;
}

} // namespace Tarsel::Media
