#pragma once

#include "Conf/SampleInfo.h"
#include "Core/Property.h"
#include "Core/RefCount.h"
#include "Proc/Effects/Lumenta/EffectFFMPEGAudio.h"
#include "Proc/Effects/Lumenta/Graph/SoundStream.h"
#include "Proc/Interfaces/IDataAudio.h"
#include "Proc/Interfaces/IEffectDetails.h"
#include "Proc/Interfaces/IEffectFactory.h"
#include "Proc/Interfaces/IEffectStream.h"
#include "Proc/Interfaces/IOneInputEffectAudio.h"
#include "Proc/Settings/CastSettings.h"

#include <cstdint>
#include <mutex>
#include <string>
#include <string_view>

namespace Tarsel::Proc {

/// The policy of the audio effect over settings class S: what sets it apart from the others. Specialised
/// beside its family (Audio/); only static members, all free of state:
///
///   using SettingsType = S;
///   static constexpr std::string_view s_settingsName;      the class's name, as statistics tell it
///   static constexpr EffectTraits s_traits;
///   static std::string GetFFString(S const&, Conf::SampleInfo const&);
///       The filter description for such blocks; "" where they pass untouched.
///
/// and, where the effect needs them:
///
///   static S FromProperty(Core::Property const&);          default settings without it
///   static void CheckFormat(S const&, Conf::SampleInfo const&);
///       Throws EffectException for blocks that the filter must not see; before any graph is built for them.
///   static std::int64_t GetWarmUp(S const&, Conf::SampleInfo const&);
///       Samples of silence that bring a new graph into the state in which it is meant to begin.
///   static void PostProcess(S const&, SP<IDataAudio>&);
///       Finishes each block that came out of the graph; may replace it.
template <class S>
struct EffectActionsAudio;

/// An audio effect whose work one filter graph does: everything but what hangs on the settings class. Blocks
/// pass untouched where the settings are empty or their description is. The graph is built by the first block
/// and again when blocks change format, rate or layout or the graph has failed; other settings and Reset drop
/// it. All operations may be called from any thread; one lock for each effect. What GetSettingsBase gives is
/// not to be read while another thread sets settings.
class EffectFafloplalAudioBase : public Core::RefCounted<IOneInputEffectAudio>,
                                 public IEffectStreamAudio,
                                 public IEffectDetailsAudio {
public:
    using IOneInputEffectAudio::SetSettings;
    void Reset() override;
    std::int32_t GetInputFrameType() const override;
    /// Adds "Options", the filter description for the blocks the graph was built for, or for unknown ones
    /// before there is a graph.
    Core::Property GetStatistic() const override;
    void Process(SP<IDataAudio>& data) override;
    /// Always writes the sample format; rate and layout, which the filters keep, only where a graph had to be
    /// asked: a layout without names may then have got some.
    void UpdateFormatCodec(SP<Conf::IFormatCodecAudio>& format) override;

    void Feed(SP<IDataAudio> const& data) override;
    SP<IDataAudio> Take() override;
    void End() override;

    std::string Describe(Conf::IFormatCodecAudio const& format) const override;

protected:
    /// The effect gives a sample for each that goes in (before any tail) if `keepsCount`.
    explicit EffectFafloplalAudioBase(bool keepsCount);
    ~EffectFafloplalAudioBase() override;

    /// Drops the graph and takes the settings, unless they equal the present ones. What a stream holds back
    /// comes out under the old settings.
    void Apply(Settings const& settings);

    /// The full signature of a getter of properties, of the effect over that settings class.
    static std::string MakeSignature(std::string_view settingsName, std::string_view function);
    /// Throws from the function of that signature, which has to live as long as the exception.
    [[noreturn]] static void RefuseProperty(char const* signature);

private:
    virtual std::string_view GetSettingsName() const noexcept = 0;
    virtual void StoreSettings(Settings const& settings) = 0;
    /// The policy's functions on the present settings.
    virtual std::string GetFFString(Conf::SampleInfo const& info) const = 0;
    virtual void CheckFormat(Conf::SampleInfo const& info) const = 0;
    virtual std::int64_t GetWarmUp(Conf::SampleInfo const& info) const = 0;
    virtual void PostProcess(SP<IDataAudio>& data) const = 0;

    bool IsEmpty() const { return GetSettingsBase().IsEmpty(); }
    bool IsBuiltFor(Conf::SampleFormats format, Conf::SampleInfo const& info) const noexcept;
    bool Build(IDataAudio const& data);
    void DropGraph() noexcept;
    void FinishStream();

    SP<EffectFFMPEGAudio> m_graph;
    Conf::SampleFormats m_graphFormat = Conf::SampleFormats::Unknown;
    Conf::SampleInfo m_graphInfo;
    std::uint64_t m_blocks = 0;
    SoundStream m_stream;
    mutable std::recursive_mutex m_lock;
};

/// The effect over the policy `Actions`, an EffectActionsAudio<S>.
template <class Actions>
class EffectFafloplalAudio : public EffectFafloplalAudioBase {
public:
    using SettingsType = typename Actions::SettingsType;

    EffectFafloplalAudio() : EffectFafloplalAudioBase(Actions::s_traits.size == Keeps::Always) {}

    /// Always throws std::logic_error "Property settings is not supported".
    Core::Property GetSettings() const override {
        static std::string const s_signature = MakeSignature(Actions::s_settingsName, "GetSettings");
        RefuseProperty(s_signature.c_str());
    }
    void SetSettings(SettingsType const& settings) { Apply(settings); }
    /// std::bad_cast for settings of another class.
    void SetSettings(Settings const& settings) override {
        Apply(CastSettings<SettingsType>(settings, GetSettingsBase()));
    }
    void SetSettings(Core::Property const& property) override {
        if constexpr (requires { Actions::FromProperty(property); })
            Apply(Actions::FromProperty(property));
        else
            Apply(SettingsType());
    }
    Settings const& GetSettingsBase() const override { return m_settings; }
    EffectTraits const& GetTraits() const noexcept override { return Actions::s_traits; }

private:
    std::string_view GetSettingsName() const noexcept override { return Actions::s_settingsName; }
    void StoreSettings(Settings const& settings) override {
        m_settings = static_cast<SettingsType const&>(settings);
    }
    std::string GetFFString(Conf::SampleInfo const& info) const override {
        return Actions::GetFFString(m_settings, info);
    }
    void CheckFormat([[maybe_unused]] Conf::SampleInfo const& info) const override {
        if constexpr (requires { Actions::CheckFormat(m_settings, info); })
            Actions::CheckFormat(m_settings, info);
    }
    std::int64_t GetWarmUp([[maybe_unused]] Conf::SampleInfo const& info) const override {
        if constexpr (requires { Actions::GetWarmUp(m_settings, info); })
            return Actions::GetWarmUp(m_settings, info);
        else
            return 0;
    }
    void PostProcess([[maybe_unused]] SP<IDataAudio>& data) const override {
        if constexpr (requires { Actions::PostProcess(m_settings, data); })
            Actions::PostProcess(m_settings, data);
    }

    SettingsType m_settings;
};

/// Creator (see AudioEffectCreator) of the effect over settings class S; it uses neither factory.
template <class S>
SP<IOneInputEffectAudio> CreateEffectAudioFF(SP<IEffectFactory const> const&,
                                             SP<IFactoryDataAudio const> const&) {
    return MakeSP<EffectFafloplalAudio<EffectActionsAudio<S>>>();
}

} // namespace Tarsel::Proc
