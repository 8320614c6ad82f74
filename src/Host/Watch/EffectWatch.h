#pragma once

#include "Host/AudioChain.h"
#include "Host/CheckingEffect.h"
#include "Host/VideoChain.h"
#include "Proc/Interfaces/EffectTraits.h"
#include "Proc/Settings/Settings.h"

#include <atomic>
#include <cstdint>
#include <deque>
#include <functional>
#include <mutex>
#include <set>
#include <string>
#include <tuple>
#include <vector>

namespace Tarsel::Host {

/// What host and effect have done so far, and whether they may do what they do next. Its operations make the
/// calls of the effect that they are given as `call`, one at a time.
template <class Medium>
class EffectWatch {
public:
    using Data = typename Medium::Data;
    using Format = typename Medium::Format;
    using Call = std::function<void()>;

    /// Looks at the effect, of one input or two.
    EffectWatch(Proc::IEffect const& effect, MisuseListener listener);

    /// A call that neither data nor settings depend on.
    void Do(char const* method, Call const& call);
    /// A call of Process or ProcessData that replaces `data`.
    void Process(char const* method, SP<Data>& data, Call const& call);
    void Feed(SP<Data> const& data, Call const& call);
    void Take(SP<Data>& result, Call const& call);
    void End(Call const& call);
    void Reset(Call const& call);
    void UpdateFormat(SP<Format>& format, Call const& call);
    /// `settings` is null for those of a property tree.
    void SetSettings(Proc::Settings const* settings, Call const& call);
    /// Within a call.
    void Report(Party party, std::string_view rule, std::string text);

private:
    /// Data that the effect may still read.
    struct Input {
        SP<Data> data;
        std::uint64_t digest;
        std::string form;
        /// Whether the settings stated that the effect does nothing.
        bool isNeutral;
        /// The measure of the stream up to its end.
        double end;
    };
    /// Of UpdateFormatCodec.
    struct Answer {
        std::string asked;
        std::string stated;
    };
    enum class Mode : std::uint8_t { None, Process, Stream };
    enum class Phase : std::uint8_t { Running, Ending, Ended };

    void ReportOf(std::string_view method, Party party, std::string_view rule, std::string text);
    void Guard(Call const& call);
    void VerifyUnchanged(Party party);
    void StartOver();
    void Accept(SP<Data> const& data, Mode mode, Call const& call);
    void Inspect(SP<Data> const& result);
    void InspectPair(Input const& input, Data const& result);
    void InspectTime(Data const& result);
    void InspectForm(std::string const& input, Data const& result);
    void InspectMemory(Data& result);
    void InspectDelay();
    void InspectEnd();
    bool IsOneToOne() const;
    double GetMost() const;
    std::string const* FindAnswer(std::string const& form) const;

    Proc::IEffect const& m_effect;
    std::string m_classId;
    /// Null for an effect that states none.
    Proc::EffectTraits const* m_traits = nullptr;
    MisuseListener m_listener;
    std::atomic<int> m_callers{0};
    std::atomic<char const*> m_method{""};
    /// For all below but what is reported, which the other is for: calls that wait for their turn report too.
    std::mutex m_mutex;
    std::mutex m_reportMutex;
    std::set<std::tuple<Party, std::string_view, std::string_view>> m_reported;

    /// Forms asked about under the present settings, and the answers.
    std::vector<Answer> m_answers;
    std::deque<Input> m_inputs;
    /// The last result, unless nobody else has it any more.
    SP<Data> m_given;
    std::uint64_t m_givenDigest = 0;

    Mode m_mode = Mode::None;
    Phase m_phase = Phase::Running;
    /// Frames, or microseconds of audio, of the stream so far.
    double m_in = 0;
    double m_out = 0;
    /// Of the last input: how exact the measure can be.
    double m_tolerance = 0;
    /// Neither failures nor new settings, after which less may come.
    bool m_isWhole = true;
    bool m_inputsRise = true;
    std::int64_t m_lastIn = 0;
    std::int64_t m_lastOut = 0;
};

extern template class EffectWatch<VideoMedium>;
extern template class EffectWatch<AudioMedium>;

} // namespace Tarsel::Host
