#include "Host/Chain/TimedAudio.h"

#include "Conf/FormatCodecAudio.h"
#include "Core/Throw.h"
#include "Core/TimeText.h"
#include "Host/Chain/AudioStep.h"
#include "Host/EffectSettings.h"
#include "Proc/Data/DataAudioFF.h"
#include "Proc/Interfaces/IEffectDetails.h"
#include "Proc/Interfaces/ProcExceptions.h"
#include "Proc/Settings/Settings.h"
#include "Proc/Wrappers/FFmpegText.h"
#include "Proc/Wrappers/SafeFrame.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

extern "C" {
#include <libavutil/avutil.h>
#include <libavutil/frame.h>
}

namespace Tarsel::Host {
namespace {

using Core::s_second;

/// How long a change of values takes: a window too short for ears to follow, and long enough not to click.
constexpr std::int64_t s_hopTime = 20000;
/// What a range without a fade takes to come in and to go.
constexpr std::int64_t s_edgeTime = 10000;
/// Stated times may be off by so much where samples go on: clocks count in milliseconds, or tremble.
constexpr std::int64_t s_jitter = 40000;
/// What an effect gives lies no further from what it gave before.
constexpr std::int64_t s_mostGap = 60'000'000;

double const* GetChannel(AVFrame const& frame, std::size_t channel) {
    return reinterpret_cast<double const*>(frame.extended_data[channel]);
}

double* GetChannel(AVFrame& frame, std::size_t channel) {
    return reinterpret_cast<double*>(frame.extended_data[channel]);
}

} // namespace

Proc::SafeFrame TimedAudio::Converter::Convert(AVFrame const& frame, Conf::SampleInfo const& from,
                                               Conf::SampleInfo const& to) {
    if (from == to)
        return Proc::SafeFrame::Reference(frame);
    if (!m_context || m_context.GetParams() != Proc::SwrCtxParams{from, to})
        m_context = Proc::SafeSwrContext({from, to});
    auto result = m_context.Convert(frame);
    return result ? std::move(*result) : Proc::SafeFrame();
}

TimedAudio::TimedAudio(SP<Effect> effect, std::string label, MakeEffect another, StepTimes times)
    : m_effect(std::move(effect)), m_another(std::move(another)), m_times(std::move(times)),
      m_asked(std::make_unique<AudioStep>(m_effect, label)), m_spent{.label = std::move(label)} {
    CheckMovingValues(m_times.moving, m_effect->GetSettingsBase());
    if (!m_times.moving.empty() && !m_another)
        Core::Throw<Proc::SettingsException>("Values on audio move only where more effects can be made");
    auto const* const details = dynamic_cast<Proc::IEffectDetailsAudio const*>(m_effect.get());
    if (details != nullptr && details->GetTraits().size != Proc::Keeps::Always)
        Core::Throw<Proc::SettingsException>(
            fmt::format("{} changes the length of audio: it works on all of it, with the same settings",
                        m_effect->GetSettingsBase().GetClassId()));
}

TimedAudio::~TimedAudio() = default;

void TimedAudio::UpdateFormatCodec(SP<Conf::IFormatCodecAudio>& format) const {
    AtStep(m_spent.label, [&] {
        Conf::SampleInfo const before = format->GetSampleInfo();
        m_asked->UpdateFormatCodec(format);
        Conf::SampleInfo const after = format->GetSampleInfo();
        if (before.rate != after.rate || before.layout != after.layout)
            Core::Throw<Proc::EffectException>(
                fmt::format("It makes {} of {}: it cannot work on a part of the audio",
                            Proc::AudioText(after), Proc::AudioText(before)));
    });
}

std::int64_t TimedAudio::ToTime(std::int64_t sample) const noexcept {
    return std::llround(static_cast<double>(sample) / m_exact.rate * s_second);
}

std::int64_t TimedAudio::ToSample(std::int64_t time) const noexcept {
    constexpr std::int64_t most = std::numeric_limits<std::int64_t>::max() / 4;
    double const sample = static_cast<double>(time) / s_second * m_exact.rate;
    return std::abs(sample) < static_cast<double>(most) ? std::llround(sample) : (time < 0 ? -most : most);
}

void TimedAudio::Begin(Conf::SampleInfo const& info, std::int64_t position) {
    SP<Conf::IFormatCodecAudio> format = MakeSP<Conf::FormatCodecAudio>(info);
    UpdateFormatCodec(format);
    m_output = format->GetSampleInfo();
    m_input = info;
    m_hop = std::max<std::int64_t>(ToSample(s_hopTime), 1);
    m_from = ToSample(m_times.from);
    m_to = ToSample(m_times.to);
    m_fed = m_next = position;
    m_mixed.assign(static_cast<std::size_t>(info.layout.channels), {});
}

/// Where the block begins: where the one before ends, unless there is a gap.
std::int64_t TimedAudio::FindPosition(Proc::IDataAudio const& block) const noexcept {
    if (block.GetTime() == AV_NOPTS_VALUE)
        return m_input ? m_fed : 0;
    std::int64_t const position = ToSample(block.GetTime());
    return m_input && std::abs(position - m_fed) <= ToSample(s_jitter) ? m_fed : position;
}

void TimedAudio::Feed(SP<Proc::IDataAudio> const& block) {
    AtStep(m_spent.label, [&] { FeedBlock(*block); });
}

void TimedAudio::FeedBlock(Proc::IDataAudio const& block) {
    Conf::SampleInfo const info = block.GetSampleInfo();
    if (m_input && (info != *m_input || FindPosition(block) < m_fed))
        CloseStream();
    else if (m_input && FindPosition(block) > m_fed)
        SkipTo(FindPosition(block));
    m_exact = info;
    m_exact.format = Conf::SampleFormats::DoublePlanar;
    std::int64_t const position = FindPosition(block);
    if (!m_input)
        Begin(info, position);
    Proc::SafeFrame const audio =
        m_toExact.Convert(Proc::Details::GetAVFrameRef(block.GetAVFrame()), info, m_exact);
    std::int64_t const end = position + block.GetSampleCount();
    for (std::int64_t from = position; from < end;) {
        std::int64_t const to = FindChunkEnd(from, end);
        PlanVoices(from);
        Work(*audio, position, from, to);
        m_fed = from = to;
    }
}

/// Within a chunk the same voices are heard.
std::int64_t TimedAudio::FindChunkEnd(std::int64_t from, std::int64_t end) const noexcept {
    for (std::int64_t const edge : {m_from, m_to})
        if (edge > from)
            end = std::min(end, edge);
    if (!m_times.moving.empty())
        end = std::min(end, (from / m_hop + (from >= 0 ? 1 : 0)) * m_hop);
    return std::max(end, from + 1);
}

void TimedAudio::PlanVoices(std::int64_t from) {
    if (from < m_from || from >= m_to) {
        EndVoices();
        return;
    }
    auto const isOver = [&](Voice const& voice) { return voice.end && from >= *voice.end + m_hop; };
    for (Voice& voice : m_voices)
        if (isOver(voice))
            EndVoice(voice);
    std::erase_if(m_voices, isOver);
    if (m_voices.empty()) {
        AddVoice(from - m_hop, from); // it is there at once
        return;
    }
    Voice& present = m_voices.back();
    if (present.end || from % m_hop != 0 ||
        HasValuesAt(ToTime(from + m_hop), m_times.moving, present.effect->GetSettingsBase()))
        return;
    present.end = from;
    AddVoice(from, from + m_hop);
}

void TimedAudio::AddVoice(std::int64_t begin, std::int64_t valuesAt) {
    SP<Effect> effect = m_times.moving.empty() ? m_effect : m_another();
    if (!effect)
        Core::Throw<Proc::EffectException>("The maker of " + m_spent.label + " returned no effect");
    if (!m_times.moving.empty()) {
        auto const settings = m_effect->GetSettingsBase().Clone();
        WriteValuesAt(ToTime(valuesAt), m_times.moving, *settings);
        SetEffectSettings(*effect, *settings);
    }
    auto step = std::make_unique<AudioStep>(effect, m_spent.label);
    m_voices.push_back({std::move(effect), std::move(step), begin, {}, std::max(begin, m_fed)});
}

double TimedAudio::GetRange(std::int64_t sample) const noexcept {
    if (!m_times.IsLimited())
        return 1;
    double const edge =
        std::max(1.0, static_cast<double>(ToSample(m_times.fade > 0 ? m_times.fade : s_edgeTime)));
    double gain = 1;
    if (m_times.from != StepTimes::s_always)
        gain = std::min(gain, static_cast<double>(sample - m_from) / edge);
    if (m_times.to != StepTimes::s_forever)
        gain = std::min(gain, static_cast<double>(m_to - sample) / edge);
    return std::max(gain, 0.0);
}

double TimedAudio::GetWindow(Voice const& voice, std::int64_t sample) const noexcept {
    auto const share = [&](std::int64_t since) {
        return std::clamp(static_cast<double>(sample - since) / static_cast<double>(m_hop), 0.0, 1.0);
    };
    return GetRange(sample) * (voice.end ? 1 - share(*voice.end) : share(voice.begin));
}

void TimedAudio::Work(AVFrame const& audio, std::int64_t position, std::int64_t from, std::int64_t to) {
    int const first = static_cast<int>(from - position);
    if (m_voices.empty() || m_times.IsLimited())
        Mix(audio, first, from, to - from,
            [&](std::int64_t sample) { return m_voices.empty() ? 1 : 1 - GetRange(sample); });
    for (Voice& voice : m_voices) {
        SP<Proc::DataAudioFF> const part =
            Proc::DataAudioFF::CreateBySampleCount(m_exact, static_cast<int>(to - from));
        for (std::size_t channel = 0; channel < m_mixed.size(); ++channel) {
            double const* const source = GetChannel(audio, channel) + first;
            double* const target = GetChannel(*part->GetAVFrame(), channel);
            for (std::int64_t i = 0; i < to - from; ++i)
                target[i] = source[i] * GetWindow(voice, from + i);
        }
        part->SetTime(ToTime(from));
        part->SetDuration(ToTime(to) - ToTime(from));
        auto const windowed =
            MakeSP<Proc::DataAudioFF>(m_toInput.Convert(*part->GetAVFrame(), m_exact, *m_input));
        voice.step->Feed(windowed);
        TakeFrom(voice);
    }
}

void TimedAudio::TakeFrom(Voice& voice) {
    while (SP<Proc::IDataAudio> const result = voice.step->Take()) {
        if (result->GetSampleInfo() != m_output)
            voice.step->Blame("it returned audio in another form than it states");
        std::int64_t const stated =
            result->GetTime() == AV_NOPTS_VALUE ? voice.given : ToSample(result->GetTime());
        std::int64_t const position = std::abs(stated - voice.given) <= 1 ? voice.given : stated;
        if (std::abs(position - voice.given) > ToSample(s_mostGap))
            voice.step->Blame("it returned audio of a time far from what it got");
        Proc::SafeFrame const audio = m_resultToExact.Convert(*result->GetAVFrame(), m_output, m_exact);
        // What is out already is as it is.
        std::int64_t const late = std::clamp<std::int64_t>(m_next - position, 0, result->GetSampleCount());
        Mix(*audio, static_cast<int>(late), position + late, result->GetSampleCount() - late,
            [](std::int64_t) { return 1; });
        voice.given = position + result->GetSampleCount();
    }
}

/// Adds samples, from number `first` of the frame on, at that place.
void TimedAudio::Mix(AVFrame const& audio, int first, std::int64_t position, std::int64_t count,
                     std::function<double(std::int64_t)> const& gain) {
    if (count <= 0)
        return;
    auto const begin = static_cast<std::size_t>(position - m_next);
    for (std::size_t channel = 0; channel < m_mixed.size(); ++channel) {
        std::vector<double>& mixed = m_mixed[channel];
        double const* const source = GetChannel(audio, channel) + first;
        mixed.resize(std::max(mixed.size(), begin + static_cast<std::size_t>(count)));
        for (std::int64_t i = 0; i < count; ++i)
            mixed[begin + static_cast<std::size_t>(i)] += source[i] * gain(position + i);
    }
}

void TimedAudio::EndVoice(Voice& voice) {
    voice.step->End();
    TakeFrom(voice);
    std::vector<StepTime> spent;
    voice.step->AddTimes(spent);
    for (StepTime const& time : spent)
        Host::Add(m_spent, time);
    for (std::string& note : voice.step->GetNotes())
        if (std::ranges::find(m_notes, note) == m_notes.end())
            m_notes.push_back(std::move(note));
}

void TimedAudio::EndVoices() {
    for (Voice& voice : m_voices)
        EndVoice(voice);
    m_voices.clear();
}

SP<Proc::IDataAudio> TimedAudio::Emit(std::int64_t to) {
    auto const count = static_cast<int>(std::min<std::int64_t>(to - m_next, m_exact.rate));
    SP<Proc::DataAudioFF> const block = Proc::DataAudioFF::CreateBySampleCount(m_exact, count);
    for (std::size_t channel = 0; channel < m_mixed.size(); ++channel) {
        std::vector<double>& mixed = m_mixed[channel];
        mixed.resize(std::max(mixed.size(), static_cast<std::size_t>(count)));
        std::copy_n(mixed.begin(), count, GetChannel(*block->GetAVFrame(), channel));
        mixed.erase(mixed.begin(), mixed.begin() + count);
    }
    auto result = MakeSP<Proc::DataAudioFF>(m_toOutput.Convert(*block->GetAVFrame(), m_exact, m_output));
    result->SetTime(ToTime(m_next));
    result->SetDuration(ToTime(m_next + count) - ToTime(m_next));
    m_next += count;
    return result;
}

SP<Proc::IDataAudio> TimedAudio::Take() {
    if (!m_ready.empty()) {
        SP<Proc::IDataAudio> result = std::move(m_ready.front());
        m_ready.pop_front();
        return result;
    }
    std::int64_t complete = m_fed;
    for (Voice const& voice : m_voices)
        complete = std::min(complete, voice.given);
    if (!m_input || complete <= m_next)
        return nullptr;
    return AtStep(m_spent.label, [&] { return Emit(complete); });
}

/// Where the input has a gap: what still sounds is heard in it, and beyond it under what comes then.
void TimedAudio::SkipTo(std::int64_t position) {
    EndVoices();
    std::int64_t const end = std::min(position, FindMixedEnd());
    while (m_next < end)
        m_ready.push_back(Emit(end));
    m_fed = m_next = position;
}

std::int64_t TimedAudio::FindMixedEnd() const noexcept {
    return m_next + static_cast<std::int64_t>(m_mixed.empty() ? 0 : m_mixed.front().size());
}

/// With all that still sounds.
void TimedAudio::CloseStream() {
    EndVoices();
    std::int64_t const end = FindMixedEnd();
    while (m_next < end)
        m_ready.push_back(Emit(end));
    m_input.reset();
    m_mixed.clear();
}

void TimedAudio::End() {
    if (m_input)
        AtStep(m_spent.label, [&] { CloseStream(); });
}

void TimedAudio::AddStatistics(std::vector<Core::Property>& statistics) const {
    m_asked->AddStatistics(statistics);
}

void TimedAudio::AddTimes(std::vector<StepTime>& times) const {
    StepTime sum = m_spent;
    for (Voice const& voice : m_voices) {
        std::vector<StepTime> spent;
        voice.step->AddTimes(spent);
        for (StepTime const& time : spent)
            Host::Add(sum, time);
    }
    times.push_back(std::move(sum));
}

} // namespace Tarsel::Host
