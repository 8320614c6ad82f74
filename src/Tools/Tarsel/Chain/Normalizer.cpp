#include "Tools/Tarsel/Chain/Normalizer.h"

#include "Core/Text.h"
#include "Core/Throw.h"
#include "Media/AudioReader.h"
#include "Tools/Tarsel/Audio/GainStream.h"
#include "Tools/Tarsel/Audio/Levels.h"
#include "Tools/Tarsel/Console/UsageException.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <optional>
#include <string_view>
#include <utility>

namespace Tarsel::Tools {
namespace {

constexpr double s_leastLoudness = -70;
constexpr double s_leastPeak = -20;

double FromDecibels(double decibels) {
    return std::pow(10, decibels / 20);
}

/// "-16LUFS" with the unit or without it; nothing for what is no number from `least` to 0.
std::optional<double> ParseLevel(std::string_view text, std::string_view unit, double least) {
    if (text.ends_with(unit))
        text.remove_suffix(unit.size());
    auto const level = Core::TextToDouble(text);
    return level && *level >= least && *level <= 0 ? level : std::nullopt;
}

/// "raised by 3.2 dB from -19.2 to -16.0 LUFS; limited peaks by up to 1.1 dB".
std::string DescribeChange(double before, double after, double leastGain, bool isReached) {
    constexpr double shown = 0.05;
    std::string text =
        fmt::format("{} by {:.1f} dB from {:.1f} to {:.1f} LUFS", after >= before ? "raised" : "lowered",
                    std::abs(after - before), before, after);
    if (double const limited = -ToDecibels(leastGain); limited >= shown)
        text += fmt::format("; limited peaks by up to {:.1f} dB", limited);
    return text + (isReached ? "." : "; the peak limit prevents more.");
}

} // namespace

LoudnessTarget ParseLoudnessTarget(std::string const& text) {
    std::size_t const comma = std::min(text.find(','), text.size());
    LoudnessTarget target;
    auto const loudness = ParseLevel(std::string_view(text).substr(0, comma), "LUFS", s_leastLoudness);
    auto const peak = comma < text.size()
                          ? ParseLevel(std::string_view(text).substr(comma + 1), "dBTP", s_leastPeak)
                          : target.peak;
    if (!loudness || !peak)
        Core::Throw<UsageException>(
            fmt::format("--normalize: give a loudness from {} to 0 LUFS and perhaps a true peak from {} to 0 "
                        "dBTP, such as -16LUFS or -16LUFS,-1dBTP, not \"{}\"",
                        s_leastLoudness, s_leastPeak, text));
    return {*loudness, *peak};
}

Normalizer::Normalizer(LoudnessTarget const& target, Media::Input input, Media::TimeRange const& range,
                       Media::MakeAudioEffects makeEffects, std::stop_token stop)
    : m_target(target), m_input(std::move(input)), m_range(range), m_makeEffects(std::move(makeEffects)),
      m_stop(std::move(stop)) {
    if (!LoudnessMeter::IsAvailable())
        Core::Throw<UsageException>("Remove --normalize: this program was built without libebur128");
}

Media::AudioEffects Normalizer::MakeEffects(Media::AudioStreamInfo const& stream) const {
    Media::AudioEffects effects = m_makeEffects ? m_makeEffects(stream) : Media::AudioEffects{};
    if (effects.chain == nullptr)
        effects.output = stream.format;
    return effects;
}

Normalizer::Measured Normalizer::Measure(Media::AudioStreamInfo const& stream, Change const& change) const {
    Media::AudioReader reader(m_input, stream.number, m_stop, m_range);
    Media::AudioEffects effects = MakeEffects(stream);
    GainStream chain(std::move(effects.chain), effects.output, change.gain, change.limit);
    LoudnessMeter meter(chain.GetFormat());
    auto const takeAll = [&] {
        while (SP<Proc::IDataAudio> const block = chain.Take())
            meter.Add(*block);
    };
    Media::RunProgress progress;
    auto const all = static_cast<double>(reader.GetDuration());
    while (SP<Proc::IDataAudio> const block = reader.Next()) {
        if (all > 0)
            progress.done = static_cast<double>(block->GetTime()) / all;
        chain.Feed(block);
        takeAll();
        if (m_onProgress)
            m_onProgress(progress);
    }
    chain.End();
    takeAll();
    auto const loudness = meter.Get();
    if (!loudness)
        Core::Throw<UsageException>(
            fmt::format("Remove --normalize: audio of {} channels at {} Hz has no loudness",
                        chain.GetFormat().layout.channels, chain.GetFormat().rate));
    return {*loudness, chain.GetLeastGain()};
}

Media::AudioEffects Normalizer::Make(Media::AudioStreamInfo const& stream) {
    constexpr double nothing = 0.05; // dB, what notes would show as 0.0 or 0.1
    constexpr double enough = 0.1;
    constexpr double margin = 0.02;
    constexpr int mostTries = 6;
    constexpr int gainTries = 3; // then the peaks alone: their limit is a promise
    Loudness const before = Measure(stream, {}).loudness;
    if (!std::isfinite(before.integrated)) {
        m_notes.push_back({stream.number, "left as it is: silent, or too short to have a loudness."});
        return m_makeEffects ? m_makeEffects(stream) : Media::AudioEffects{};
    }
    double gain = m_target.loudness - before.integrated;
    double limit = m_target.peak;
    Measured after{{.integrated = m_target.loudness, .truePeak = before.truePeak + gain}, 1};
    bool const limits = after.loudness.truePeak > m_target.peak;
    if (!limits && std::abs(gain) < nothing) {
        m_notes.push_back({stream.number, fmt::format("left as it is, at {:.1f} LUFS.", before.integrated)});
        return m_makeEffects ? m_makeEffects(stream) : Media::AudioEffects{};
    }
    // A limiter takes some of the loudness, and filters behind its peaks raise them a little.
    for (int i = 0; limits && i < mostTries; ++i) {
        after = Measure(stream, {FromDecibels(gain), FromDecibels(limit)});
        double const over = after.loudness.truePeak - m_target.peak;
        double const missing = m_target.loudness - after.loudness.integrated;
        bool const movesGain = std::abs(missing) > enough && i < gainTries;
        if (over <= 0 && !movesGain)
            break;
        gain += movesGain ? missing : 0;
        limit -= over > 0 ? over + margin : 0;
    }
    m_notes.push_back(
        {stream.number, DescribeChange(before.integrated, after.loudness.integrated, after.leastGain,
                                       std::abs(m_target.loudness - after.loudness.integrated) <= enough)});
    Media::AudioEffects effects = MakeEffects(stream);
    auto chain = std::make_unique<GainStream>(std::move(effects.chain), effects.output, FromDecibels(gain),
                                              limits ? FromDecibels(limit) : 0);
    effects.output = chain->GetFormat();
    effects.chain = std::move(chain);
    return effects;
}

std::vector<std::string> Normalizer::GetNotes() const {
    std::vector<std::string> notes;
    for (auto const& [stream, text] : m_notes)
        notes.push_back((m_notes.size() > 1 ? fmt::format("Audio stream {}: ", stream) : "Audio: ") + text);
    return notes;
}

} // namespace Tarsel::Tools
