#pragma once

#include "Conf/SampleInfo.h"
#include "Host/AudioChain.h"
#include "Host/Chain/ChainStep.h"
#include "Host/StepTimes.h"
#include "Proc/Wrappers/SafeSwrContext.h"

#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace Tarsel::Host {

/// An effect on audio that works at times only, or has values that move. What it gets is the audio under a
/// window, and what it makes of that is added to the audio that is left: nothing clicks, and what sounds on
/// (an echo) is heard to its end. Where values move, effects with the values of the moment take over from one
/// another every 20 ms, under windows that add up to one. Audio between the times comes out as it went in,
/// though in the format of the results. Not synchronized.
class TimedAudio final : public IChainStep<AudioMedium> {
public:
    using Effect = Proc::IOneInputEffectAudio;
    using MakeEffect = std::function<SP<Effect>()>;

    /// `another` makes effects of the same class; only where values move. SettingsException where they are
    /// not legal, there is none, or the effect changes the length of audio.
    TimedAudio(SP<Effect> effect, std::string label, MakeEffect another, StepTimes times);
    ~TimedAudio() override;

    void Feed(SP<Proc::IDataAudio> const& block) override;
    SP<Proc::IDataAudio> Take() override;
    void End() override;
    void UpdateFormatCodec(SP<Conf::IFormatCodecAudio>& format) const override;
    void AddStatistics(std::vector<Core::Property>& statistics) const override;
    void AddTimes(std::vector<StepTime>& times) const override;
    std::vector<std::string> GetNotes() const override { return m_notes; }

private:
    /// An effect with the values of a moment, and its window.
    struct Voice {
        SP<Effect> effect;
        std::unique_ptr<AudioStep> step;
        /// The samples at which it begins to come in and to go, which takes a hop.
        std::int64_t begin = 0;
        std::optional<std::int64_t> end{};
        /// Where what it gave last ends.
        std::int64_t given = 0;
    };
    /// From one sample format to another; keeps what it converted with.
    class Converter {
    public:
        Proc::SafeFrame Convert(AVFrame const& frame, Conf::SampleInfo const& from,
                                Conf::SampleInfo const& to);

    private:
        Proc::SafeSwrContext m_context;
    };

    void FeedBlock(Proc::IDataAudio const& block);
    void Begin(Conf::SampleInfo const& info, std::int64_t position);
    void SkipTo(std::int64_t position);
    std::int64_t FindMixedEnd() const noexcept;
    void CloseStream();
    std::int64_t FindPosition(Proc::IDataAudio const& block) const noexcept;
    std::int64_t FindChunkEnd(std::int64_t from, std::int64_t end) const noexcept;
    void PlanVoices(std::int64_t from);
    void AddVoice(std::int64_t begin, std::int64_t valuesAt);
    void Work(AVFrame const& audio, std::int64_t position, std::int64_t from, std::int64_t to);
    void TakeFrom(Voice& voice);
    void EndVoice(Voice& voice);
    void EndVoices();
    void Mix(AVFrame const& audio, int first, std::int64_t position, std::int64_t count,
             std::function<double(std::int64_t)> const& gain);
    SP<Proc::IDataAudio> Emit(std::int64_t to);
    double GetRange(std::int64_t sample) const noexcept;
    double GetWindow(Voice const& voice, std::int64_t sample) const noexcept;
    std::int64_t ToTime(std::int64_t sample) const noexcept;
    std::int64_t ToSample(std::int64_t time) const noexcept;

    SP<Effect> m_effect;
    MakeEffect m_another;
    StepTimes m_times;
    /// Over the effect itself, for what it says.
    std::unique_ptr<AudioStep> m_asked;

    /// Of the present stream: what comes, what goes out, and both in the samples that are added up.
    std::optional<Conf::SampleInfo> m_input;
    Conf::SampleInfo m_output;
    Conf::SampleInfo m_exact;
    std::int64_t m_hop = 1;
    std::int64_t m_from = 0;
    std::int64_t m_to = 0;
    /// Samples: how far the input has come, and what comes out next.
    std::int64_t m_fed = 0;
    std::int64_t m_next = 0;
    /// Of each channel, from m_next on.
    std::vector<std::vector<double>> m_mixed;
    std::vector<Voice> m_voices;
    Converter m_toExact;
    Converter m_toInput;
    Converter m_resultToExact;
    Converter m_toOutput;
    std::deque<SP<Proc::IDataAudio>> m_ready;
    StepTime m_spent;
    std::vector<std::string> m_notes;
};

} // namespace Tarsel::Host
