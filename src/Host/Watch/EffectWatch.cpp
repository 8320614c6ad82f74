#include "Host/Watch/EffectWatch.h"

#include "Host/EffectRules.h"
#include "Host/Watch/DataDigest.h"
#include "Proc/Interfaces/IEffectDetails.h"
#include "Proc/Settings/Field.h"
#include "Proc/Settings/SettingsText.h"

#include <boost/core/demangle.hpp>
#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <limits>
#include <typeinfo>

namespace Tarsel::Host {
namespace {

constexpr std::int64_t s_unknown = std::numeric_limits<std::int64_t>::min();
/// A host that asks about more forms than that is compared no further.
constexpr std::size_t s_mostAnswers = 1000;

/// What a stream is measured in: frames, or microseconds of audio.
double Measure(Proc::IDataVideo const&) {
    return 1;
}

double Measure(Proc::IDataAudio const& block) {
    std::int32_t const rate = block.GetSampleInfo().rate;
    return rate > 0 ? static_cast<double>(block.GetSampleCount()) * 1e6 / rate : 0;
}

template <class Medium>
constexpr std::string_view GetUnit() {
    return std::is_same_v<Medium, VideoMedium> ? "frames" : "us";
}

/// How far a measure can be off: a conversion of the rate rounds to whole samples, far below a millisecond.
template <class Medium>
constexpr double s_inexact = std::is_same_v<Medium, VideoMedium> ? 0 : 1000;

std::string GetTimeText(Proc::IDataMedia const& data) {
    return data.GetTime() == s_unknown ? "an unknown time" : fmt::format("{} us", data.GetTime());
}

/// Settings as their own text, or their class where they have none.
std::string GetText(Proc::Settings const& settings) {
    return settings.GetClassId() + (settings.GetFields().empty() ? "" : ' ' + Proc::Serialize(settings));
}

} // namespace

template <class Medium>
EffectWatch<Medium>::EffectWatch(Proc::IEffect const& effect, MisuseListener listener)
    : m_effect(effect), m_classId(effect.GetSettingsBase().GetClassId()), m_listener(std::move(listener)) {
    m_method = "GetTraits";
    if (auto const* const details = dynamic_cast<Proc::IEffectDetails const*>(&effect)) {
        m_traits = &details->GetTraits();
        if (std::string const fault = FindFault(*m_traits); !fault.empty())
            Report(Party::Effect, "traits-make-sense", fault);
    }
    m_method = "GetInputFrameType";
    constexpr std::int32_t due =
        std::is_same_v<Medium, VideoMedium> ? Proc::IEffect::VideoFrames : Proc::IEffect::AudioFrames;
    if (std::int32_t const type = effect.GetInputFrameType(); type != due)
        Report(Party::Effect, "input-type", fmt::format("it is {} instead of {}", type, due));
}

template <class Medium>
void EffectWatch<Medium>::Report(Party party, std::string_view rule, std::string text) {
    ReportOf(m_method.load(), party, rule, std::move(text));
}

template <class Medium>
void EffectWatch<Medium>::ReportOf(std::string_view method, Party party, std::string_view rule,
                                   std::string text) {
    {
        std::lock_guard const lock(m_reportMutex);
        if (!m_reported.emplace(party, rule, method).second)
            return;
    }
    m_listener({party, rule, m_classId, method, std::move(text)});
}

template <class Medium>
void EffectWatch<Medium>::Do(char const* method, Call const& call) {
    struct Caller {
        explicit Caller(std::atomic<int>& callers) : others(callers++), m_callers(callers) {}
        Caller(Caller const&) = delete;
        Caller& operator=(Caller const&) = delete;
        ~Caller() { --m_callers; }
        int const others;

    private:
        std::atomic<int>& m_callers;
    };
    Caller const caller(m_callers);
    if (caller.others > 0)
        ReportOf(method, Party::Host, "one-thread-at-a-time",
                 fmt::format("called while another thread is in {}", m_method.load()));
    std::lock_guard const lock(m_mutex);
    m_method = method;
    VerifyUnchanged(Party::Host);
    Guard(call);
    VerifyUnchanged(Party::Effect);
}

/// Reports exceptions that no host can read; all pass.
template <class Medium>
void EffectWatch<Medium>::Guard(Call const& call) {
    try {
        call();
    } catch (std::exception const& exception) {
        if (exception.what() == nullptr || *exception.what() == '\0')
            Report(
                Party::Effect, "exceptions-say-why",
                fmt::format("it throws {} without a text", boost::core::demangle(typeid(exception).name())));
        VerifyUnchanged(Party::Effect);
        throw;
    } catch (...) {
        Report(Party::Effect, "exceptions-say-why", "it throws something that is no std::exception");
        throw;
    }
}

template <class Medium>
void EffectWatch<Medium>::VerifyUnchanged(Party party) {
    for (Input& input : m_inputs) {
        std::uint64_t const before = std::exchange(input.digest, GetDigest(*input.data));
        if (input.digest != before)
            Report(party, "input-unchanged",
                   fmt::format("the {} at {}, which the effect may still read, has changed", Medium::s_datum,
                               GetTimeText(*input.data)));
    }
    if (!m_given)
        return;
    if (m_given->GetRefCount() == 1) { // the host has dropped it
        m_given.reset();
        return;
    }
    // The host may write to what it was given.
    std::uint64_t const before = std::exchange(m_givenDigest, GetContentDigest(*m_given));
    if (m_givenDigest != before && party == Party::Effect)
        Report(party, "result-untouched",
               fmt::format("the {} at {}, which the host was given, has changed", Medium::s_datum,
                           GetTimeText(*m_given)));
}

template <class Medium>
void EffectWatch<Medium>::StartOver() {
    m_inputs.clear();
    m_mode = Mode::None;
    m_phase = Phase::Running;
    m_in = m_out = m_tolerance = 0;
    m_isWhole = m_inputsRise = true;
}

/// The call that takes `data` in; what fails is lost.
template <class Medium>
void EffectWatch<Medium>::Accept(SP<Data> const& data, Mode mode, Call const& call) {
    if (m_mode != Mode::None && m_mode != mode)
        Report(Party::Host, "interfaces-apart", "Process and Feed on one stream; call Reset between them");
    if (m_phase == Phase::Ending)
        Report(Party::Host, "taken-to-the-end", "fed after End, before Take has returned null");
    if (std::string const fault = FindFault(*data); !fault.empty())
        Report(Party::Host, "data-with-memory", fault);
    std::string form = GetFormText(*data);
    if (m_in == 0 && !m_answers.empty() && FindAnswer(form) == nullptr) {
        std::vector<std::string> asked;
        for (Answer const& answer : m_answers)
            asked.push_back(answer.asked);
        Report(Party::Host, "format-asked",
               fmt::format("the first {} is {}; the format was asked for {}", Medium::s_datum, form,
                           fmt::join(asked, ", ")));
    }
    m_mode = mode;
    m_phase = Phase::Running;
    std::int64_t const time = data->GetTime();
    m_inputsRise = m_inputsRise && time != s_unknown && (m_in == 0 || time >= m_lastIn);
    m_lastIn = time;
    double const size = Measure(*data);
    m_in += size;
    m_tolerance = std::is_same_v<Medium, VideoMedium> ? 0 : size / 2;
    m_inputs.push_back({data, GetDigest(*data), std::move(form), m_effect.GetSettingsBase().IsEmpty(), m_in});
    try {
        call();
    } catch (...) {
        m_in -= size;
        m_isWhole = false;
        VerifyUnchanged(Party::Effect);
        m_inputs.pop_back();
        throw;
    }
    VerifyUnchanged(Party::Effect);
}

template <class Medium>
void EffectWatch<Medium>::Process(char const* method, SP<Data>& data, Call const& call) {
    SP<Data> const input = data;
    Do(method, [&] {
        if (input)
            Accept(input, Mode::Process, call);
        else
            call();
        if (data)
            Inspect(data);
        if (input)
            InspectDelay();
    });
}

template <class Medium>
void EffectWatch<Medium>::Feed(SP<Data> const& data, Call const& call) {
    Do("Feed", [&] {
        if (!data) {
            Report(Party::Host, "data-not-null", fmt::format("a null {}", Medium::s_datum));
            return call();
        }
        Accept(data, Mode::Stream, call);
    });
}

template <class Medium>
void EffectWatch<Medium>::Take(SP<Data>& result, Call const& call) {
    Do("Take", [&] {
        if (m_phase == Phase::Ended)
            Report(Party::Host, "taken-to-the-end", "taken again after the null that ends the stream");
        try {
            call();
        } catch (...) {
            m_isWhole = false;
            throw;
        }
        if (result)
            return Inspect(result);
        if (m_phase != Phase::Ending)
            return InspectDelay();
        InspectEnd();
        StartOver();
        m_phase = Phase::Ended;
    });
}

template <class Medium>
void EffectWatch<Medium>::End(Call const& call) {
    Do("End", [&] {
        call();
        if (m_in > 0)
            m_phase = Phase::Ending;
    });
}

template <class Medium>
void EffectWatch<Medium>::Reset(Call const& call) {
    Do("Reset", [&] {
        auto const before = m_effect.GetSettingsBase().Clone();
        call();
        Proc::Settings const& now = m_effect.GetSettingsBase();
        if (!now.IsEqualTo(*before))
            Report(Party::Effect, "settings-kept",
                   fmt::format("\"{}\" becomes \"{}\"", GetText(*before), GetText(now)));
        StartOver();
    });
}

template <class Medium>
void EffectWatch<Medium>::UpdateFormat(SP<Format>& format, Call const& call) {
    Do("UpdateFormatCodec", [&] {
        if (!format) {
            Report(Party::Host, "format-not-null", "a null format");
            return call();
        }
        std::string const asked = GetFormText(*format);
        call();
        if (!format)
            return Report(Party::Effect, "format-not-null", "it leaves a null format");
        std::string const answer = GetFormText(*format);
        std::string const* const known = FindAnswer(asked);
        if (known == nullptr && m_answers.size() < s_mostAnswers)
            m_answers.push_back({asked, answer});
        else if (known != nullptr && *known != answer)
            Report(Party::Effect, "format-asked-again",
                   fmt::format("for {} it states {}, before {}", asked, answer, *known));
    });
}

template <class Medium>
void EffectWatch<Medium>::SetSettings(Proc::Settings const* settings, Call const& call) {
    Do("SetSettings", [&] {
        auto const before = m_effect.GetSettingsBase().Clone();
        Proc::Settings const& own = *before;
        bool const isOther = settings != nullptr && typeid(*settings) != typeid(own);
        if (isOther)
            Report(Party::Host, "settings-of-its-class",
                   fmt::format("settings of \"{}\" for an effect with those of \"{}\"",
                               settings->GetClassId(), before->GetClassId()));
        auto const verifyKept = [&] {
            if (!m_effect.GetSettingsBase().IsEqualTo(*before))
                Report(Party::Effect, "refused-settings",
                       fmt::format("it refuses them and changes \"{}\" into \"{}\"", GetText(*before),
                                   GetText(m_effect.GetSettingsBase())));
        };
        try {
            call();
        } catch (std::bad_cast const&) {
            verifyKept();
            throw;
        } catch (std::exception const& refusal) {
            if (isOther)
                Report(Party::Effect, "settings-of-its-class",
                       fmt::format("it throws {} instead of std::bad_cast",
                                   boost::core::demangle(typeid(refusal).name())));
            verifyKept();
            throw;
        }
        if (isOther)
            return Report(Party::Effect, "settings-of-its-class", "it takes settings of another class");
        Proc::Settings const& now = m_effect.GetSettingsBase();
        if (settings != nullptr && !now.IsEqualTo(*settings))
            Report(Party::Effect, "settings-kept",
                   fmt::format("it has \"{}\" instead of \"{}\"", GetText(now), GetText(*settings)));
        if (std::string const fault = FindFault(now); !fault.empty())
            Report(Party::Effect, "settings-text", fault);
        if (!now.IsEqualTo(*before)) {
            m_answers.clear();
            m_isWhole = m_isWhole && m_in == 0;
        }
    });
}

/// Whether the next result is that of the first input there is.
template <class Medium>
bool EffectWatch<Medium>::IsOneToOne() const {
    return m_isWhole && m_traits != nullptr &&
           (std::is_same_v<Medium, VideoMedium> ? m_traits->framesPerFrame == 1 : HoldsNothing(*m_traits));
}

template <class Medium>
void EffectWatch<Medium>::Inspect(SP<Data> const& result) {
    m_out += Measure(*result);
    bool const isPassed = std::ranges::find(m_inputs, result, &Input::data) != m_inputs.end();
    if (std::string const fault = FindFault(*result); !fault.empty() && !isPassed)
        return Report(Party::Effect, "data-with-memory", "it returns " + fault);
    if (m_in == 0 || m_out > GetMost())
        return Report(Party::Effect, "nothing-of-nothing",
                      fmt::format("{} {} come out of {}", m_out, GetUnit<Medium>(), m_in));
    InspectTime(*result);
    InspectMemory(*result);
    if (IsOneToOne() && !m_inputs.empty()) {
        InspectPair(m_inputs.front(), *result);
        m_inputs.pop_front();
    } else if (!m_inputs.empty()) {
        if (std::ranges::all_of(m_inputs, [&](Input const& input) { return input.form == m_inputs[0].form; }))
            InspectForm(m_inputs[0].form, *result);
        while (!m_inputs.empty() && m_inputs.front().end <= m_out)
            m_inputs.pop_front();
    }
    // What the effect passes through is the host's again.
    std::erase_if(m_inputs, [&](Input const& input) { return input.data == result; });
    m_given = result;
    m_givenDigest = GetContentDigest(*result);
}

/// What can be said of a result of which the input is known.
template <class Medium>
void EffectWatch<Medium>::InspectPair(Input const& input, Data const& result) {
    InspectForm(input.form, result);
    if (input.digest == 0)
        return;
    Data const& data = *input.data;
    if (input.isNeutral && GetContentDigest(data) != GetContentDigest(result))
        Report(Party::Effect, "settings-neutral",
               fmt::format("the settings \"{}\" state that they do nothing, and the {} at {} changes",
                           GetText(m_effect.GetSettingsBase()), Medium::s_datum, GetTimeText(data)));
    if constexpr (std::is_same_v<Medium, VideoMedium>) {
        if (std::string const loss = FindLoss(*m_traits, data, result); !loss.empty())
            Report(Party::Effect, "traits-true", loss);
        bool const isUnknown = data.GetTime() == s_unknown;
        if (HoldsNothing(*m_traits) &&
            (data.GetTime() != result.GetTime() || data.GetDuration() != result.GetDuration()))
            Report(Party::Effect, isUnknown ? "times-unknown" : "times-kept",
                   fmt::format("a frame at {} for {} us comes out at {} for {}", GetTimeText(data),
                               data.GetDuration(), GetTimeText(result), result.GetDuration()));
    }
}

template <class Medium>
void EffectWatch<Medium>::InspectTime(Data const& result) {
    bool const isFirst = m_out <= Measure(result);
    if (!isFirst && m_inputsRise && result.GetTime() < m_lastOut)
        Report(
            Party::Effect, "times-rise",
            fmt::format("a {} at {} follows one at {} us", Medium::s_datum, GetTimeText(result), m_lastOut));
    m_lastOut = result.GetTime();
}

template <class Medium>
void EffectWatch<Medium>::InspectForm(std::string const& input, Data const& result) {
    std::string const* const stated = FindAnswer(input);
    if (std::string const form = GetFormText(result); stated != nullptr && *stated != form)
        Report(Party::Effect, "format-agrees",
               fmt::format("for {} it states {} and outputs {}", input, *stated, form));
}

/// What the effect stated for that form; null if nobody asked.
template <class Medium>
std::string const* EffectWatch<Medium>::FindAnswer(std::string const& form) const {
    auto const found = std::ranges::find(m_answers, form, &Answer::asked);
    return found == m_answers.end() ? nullptr : &found->stated;
}

template <class Medium>
void EffectWatch<Medium>::InspectMemory(Data& result) {
    for (Input const& input : m_inputs)
        if (input.data.get() != &result && input.digest != 0 &&
            SharesMemory(*result.GetAVFrame(), *input.data->GetAVFrame()))
            Report(Party::Effect, "result-apart",
                   fmt::format("its result at {} lies in the memory of the {} at {}: writing to one changes "
                               "the other",
                               GetTimeText(result), Medium::s_datum, GetTimeText(*input.data)));
}

/// Once all results are taken that there are.
template <class Medium>
void EffectWatch<Medium>::InspectDelay() {
    if (m_traits == nullptr || !m_isWhole)
        return;
    auto const most = std::is_same_v<Medium, VideoMedium> ? static_cast<double>(m_traits->delayFrames)
                                                          : static_cast<double>(m_traits->delayTime);
    if (m_in - m_out > most + m_tolerance)
        Report(Party::Effect, "queue-bounded",
               fmt::format("of {} {} it holds {} back; the traits state {}", m_in, GetUnit<Medium>(),
                           m_in - m_out, most));
}

/// What the traits allow to come out of the input so far.
template <class Medium>
double EffectWatch<Medium>::GetMost() const {
    if (m_traits == nullptr || !m_isWhole || m_traits->tail)
        return std::numeric_limits<double>::infinity();
    return m_in * m_traits->framesPerFrame + s_inexact<Medium>;
}

template <class Medium>
void EffectWatch<Medium>::InspectEnd() {
    if (m_traits != nullptr && m_isWhole && m_out < m_in - s_inexact<Medium>)
        Report(Party::Effect, "nothing-lost",
               fmt::format("{} {} come out of {}", m_out, GetUnit<Medium>(), m_in));
}

template class EffectWatch<VideoMedium>;
template class EffectWatch<AudioMedium>;

} // namespace Tarsel::Host
