#pragma once

#include "Check/Data.h"
#include "Check/FrameMemory.h"
#include "Conf/PixFmtDescription.h"
#include "Fuzz/Fuzz.h"
#include "Host/AudioChain.h"
#include "Host/EffectSettings.h"
#include "Host/PairedEffect.h"
#include "Host/VideoChain.h"
#include "Proc/Data/WrapMemory.h"
#include "Support/TempFolder.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <type_traits>
#include <vector>

extern "C" {
#include <libavutil/log.h>
}

namespace Tarsel::Fuzz {

inline Check::Video::Form DrawForm(Draws& draws, Check::Video) {
    auto const drawSide = [&] { return draws.Between(1, draws.Pick(std::array{4U, 40U, 40U, 200U})); };
    return {draws.Pick(Conf::PixFmtDescription::s_supportedFormats), drawSide(), drawSide()};
}

inline Check::Audio::Form DrawForm(Draws& draws, Check::Audio) {
    constexpr std::array<std::uint32_t, 5> rates{48000, 44100, 8000, 384000, 0};
    std::uint32_t rate = draws.Pick(rates);
    std::uint32_t most = draws.Pick(std::array{10U, 2000U});
    if (rate == 0) {
        rate = draws.Between(1, 400000);
        most = std::min(most, 1 + rate / 10); // resampling makes as many of them as there are in the time
    }
    auto layout = Conf::ChannelLayout::FromCount(static_cast<std::uint8_t>(draws.Between(1, 16)));
    if (draws.OneIn(4))
        layout.mask = 0;
    return {{static_cast<Conf::SampleFormats>(draws.Below(10)), static_cast<std::int32_t>(rate), layout},
            static_cast<int>(draws.Between(1, most))};
}

/// A datum whose memory tells when anybody writes to it.
struct Input {
    Input(Draws& draws, Check::Video::Form const& form, int index) {
        SP<Proc::IDataVideo> const made = MakeDatum(form, index);
        if (draws.OneIn(4)) // also beyond the depth of the samples
            Check::Invert(*made);
        placed.emplace(*made, static_cast<Check::Layout>(draws.Below(5)));
        datum = placed->Get();
        witness = datum->Copy();
    }
    /// The datum itself is the host's to write to where it passed untouched.
    std::string GetMemory() const { return Check::GetContent(*witness); }
    bool IsWhole() const { return placed->CountChanges() == 0; }

    std::optional<Check::PlacedPicture> placed;
    SP<Proc::IDataVideo> datum;
    SP<Proc::IDataVideo const> witness;
};

/// Of blocks the samples are all there is; they end with the memory.
struct InputAudio {
    InputAudio(Draws& draws, Check::Audio::Form const& form, int index) {
        SP<Proc::IDataAudio> const made = MakeDatum(form, index);
        if (draws.OneIn(4)) // numbers that are none, too
            Check::Invert(*made);
        std::vector<std::span<std::uint8_t const>> planes;
        for (int i = 0; i < Proc::GetSamplePlaneCount(*made); ++i) {
            auto const samples = Proc::GetReadOnlySamples(*made, i);
            memory->emplace_back(samples.begin(), samples.end());
        }
        for (auto const& plane : *memory)
            planes.emplace_back(plane);
        datum = Proc::WrapSamples(form.info, form.samples, planes, [owner = memory] {});
        datum->SetTime(made->GetTime());
        datum->SetDuration(made->GetDuration());
    }
    static bool IsWhole() { return true; }
    std::string GetMemory() const {
        std::string bytes;
        for (auto const& plane : *memory)
            bytes.append(plane.begin(), plane.end());
        return bytes;
    }

    using Memory = std::vector<std::vector<std::uint8_t>>;
    std::shared_ptr<Memory> memory = std::make_shared<Memory>();
    SP<Proc::IDataAudio> datum;
};

/// One to three effects with any settings, driven in any way that a host may, over data of forms that change.
/// Each call gives a result or an exception; data that went in stay as they are.
template <class Medium>
class ChainRun {
public:
    explicit ChainRun(Draws& draws) : m_draws(draws) {
        for (std::uint32_t i = draws.Between(1, 3); i > 0; --i)
            Change(*m_effects.emplace_back(Make()));
        for (int session = 0; session < 3 && (session == 0 || !draws.IsEmpty()); ++session)
            Run();
    }

private:
    static constexpr bool s_isVideo = std::is_same_v<Medium, Check::Video>;
    using Effect = typename Medium::Effect;
    using Data = typename Medium::Data;
    using Stream = typename Medium::Stream;
    using Chain = std::conditional_t<s_isVideo, Host::VideoChain, Host::AudioChain>;
    using Placed = std::conditional_t<s_isVideo, Input, InputAudio>;

    SP<Effect> Make() {
        while (true) {
            Host::EffectEntry const& entry = m_draws.Pick(Test::GetFactory()->GetRegistry().GetEntries());
            SP<Effect> effect;
            if constexpr (s_isVideo) {
                if (entry.GetKind() == Host::EffectKind::Video)
                    effect = Test::GetFactory()->CreateVideoEffect(entry.classId, entry.implName, {});
                else if (entry.GetKind() == Host::EffectKind::TwoInputVideo)
                    effect = Host::PairEffect(
                        Test::GetFactory()->CreateTwoInputVideoEffect(entry.classId, entry.implName, {}),
                        [this, form = DrawForm(m_draws, Medium())](std::int64_t time) -> SP<Data const> {
                            return m_draws.OneIn(8) ? nullptr : MakeDatum(form, static_cast<int>(time % 7));
                        });
            } else if (entry.GetKind() == Host::EffectKind::Audio) {
                effect = Test::GetFactory()->CreateAudioEffect(entry.classId, entry.implName, {});
            }
            m_comparesValues = m_comparesValues || entry.GetKind() == Host::EffectKind::TwoInputVideo;
            if (effect)
                return effect;
        }
    }

    void Change(Effect& effect) {
        std::unique_ptr<Proc::Settings> const before = effect.GetSettingsBase().Clone();
        std::unique_ptr<Proc::Settings> const settings = m_draws.DrawSettings(*before);
        if (Proc::Field const* const enabled = Proc::FindField(settings->GetFields(), "enabled"))
            enabled->set(*settings, !m_draws.OneIn(8));
        bool const isTaken = Succeeds([&] { Host::SetEffectSettings(effect, *settings); });
        Require(effect.GetSettingsBase().IsEqualTo(isTaken ? *settings : *before),
                "{} has other settings than it was given", before->GetClassId());
        if constexpr (s_isVideo)
            if (MakesLarge())
                Host::SetEffectSettings(effect, *before);
    }

    /// Whether a frame may need so much memory that a run ends for want of it, with nothing learned.
    bool MakesLarge() const {
        constexpr std::uint64_t most = 4'000'000;
        for (auto const& [width, height] : {std::pair{200U, 200U}, {200U, 1U}, {1U, 200U}}) {
            auto format = Check::MakeFormat(Check::Video::Form{Conf::PixFmt::YUV420P, width, height});
            for (SP<Effect> const& effect : m_effects)
                Succeeds([&] { effect->UpdateFormatCodec(format); });
            if (format && std::uint64_t{format->GetFrameInfo().width} * format->GetFrameInfo().height > most)
                return true;
        }
        return false;
    }

    /// A chain, the first effect as a stream, or all of them call by call.
    void Run() {
        for (SP<Effect> const& effect : m_effects)
            effect->Reset();
        Chain chain;
        for (SP<Effect> const& effect : m_effects)
            chain.Append(effect);
        Stream* stream = &chain;
        std::uint32_t const way = m_draws.Below(3);
        if (way == 1)
            stream = dynamic_cast<Stream*>(m_effects.front().get());
        if (way == 2)
            stream = nullptr;
        auto form = DrawForm(m_draws, Medium());
        for (std::uint32_t steps = m_draws.Between(1, 12); steps > 0; --steps) {
            switch (m_draws.Below(8)) {
            case 0:
                form = DrawForm(m_draws, Medium());
                break;
            case 1:
                Change(*m_draws.Pick(m_effects));
                break;
            case 2:
                End(stream);
                break;
            case 3:
                Ask(form);
                break;
            default:
                break;
            }
            Feed(stream, form);
        }
        End(stream);
    }

    void Feed(Stream* stream, typename Medium::Form const& form) {
        if constexpr (s_isVideo)
            if (m_comparesValues && Conf::PixFmtDescription::Find(form.format).GetDepth() > 12)
                return; // seconds a frame
        Placed const input(m_draws, form, m_index++);
        std::string const before = input.GetMemory();
        Succeeds([&] {
            if (stream != nullptr)
                stream->Feed(input.datum);
            else
                Process(input.datum);
        });
        if (stream != nullptr)
            TakeAll(*stream);
        Require(input.GetMemory() == before && input.IsWhole(), "{} was written to", Check::GetText(form));
    }

    void Process(SP<Data> datum) {
        for (SP<Effect> const& effect : m_effects)
            effect->Process(datum);
        Look(datum);
    }

    void End(Stream* stream) {
        if (stream == nullptr) {
            Succeeds([&] { Process(nullptr); });
            return;
        }
        Succeeds([&] { stream->End(); });
        TakeAll(*stream);
    }

    void TakeAll(Stream& stream) {
        Succeeds([&] {
            while (SP<Data> const result = stream.Take())
                Look(result);
        });
    }

    /// Results are the host's: it reads all of them, and writes to them.
    static void Look(SP<Data> const& result) {
        if (!result)
            return;
        bool const isEmpty = Check::GetContent(*result).empty();
        Require(!isEmpty, "a result of {} without content", Check::GetText(Check::GetForm(*result)));
        Succeeds([&] { Check::Invert(*result); });
    }

    void Ask(typename Medium::Form const& form) {
        for (SP<Effect> const& effect : m_effects) {
            auto format = Check::MakeFormat(form);
            Succeeds([&] { effect->UpdateFormatCodec(format); });
            Require(format != nullptr, "UpdateFormatCodec leaves a null");
            auto const* const details = dynamic_cast<typename Medium::Details const*>(effect.get());
            if (details != nullptr)
                Succeeds([&] { (void)details->Describe(*format); });
            Succeeds([&] { (void)effect->GetStatistic(); });
        }
    }

    Draws& m_draws;
    std::vector<SP<Effect>> m_effects;
    int m_index = 0;
    /// It has an effect that compares every value of a component with every other.
    bool m_comparesValues = false;
};

/// Files that effects write lie in a folder of the process.
inline void EnterOwnFolder() {
    static Test::TempFolder const s_folder;
    static bool const s_isEntered = [] {
        std::filesystem::current_path(s_folder.GetPath());
        av_log_set_level(AV_LOG_QUIET);
        return true;
    }();
    (void)s_isEntered;
}

} // namespace Tarsel::Fuzz
