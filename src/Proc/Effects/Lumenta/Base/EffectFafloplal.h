#pragma once

#include "Core/Throw.h"
#include "Proc/Effects/Lumenta/Base/EffectBase.h"
#include "Proc/Effects/Lumenta/Base/GraphActions.h"

#include <stdexcept>
#include <string>
#include <typeinfo>

namespace Tarsel::Proc {

/// An effect whose work one filter graph does, but for its settings, or a fast way with the same result.
/// Either is built by the first datum and again when data change format or form or the graph has failed;
/// other settings and Reset drop it. Its statistics add "Options", the filter description for the data the
/// graph was built for, or for unknown ones before there is a graph; GetStatistic throws what GetFFString
/// throws.
template <class Medium>
class GraphEffect : public StreamShell<typename Medium::Effect> {
public:
    using Shell = StreamShell<typename Medium::Effect>;
    using Data = typename Medium::Data;
    using Codec = typename Medium::Codec;

    EffectTraits const& GetTraits() const noexcept override { return *m_actions.traits; }
    void Process(SP<Data>& data) override;
    /// Of audio, rate and layout are written only where a graph had to be asked: the filters keep them, but a
    /// layout without names may then have got some.
    void UpdateFormatCodec(SP<Codec>& format) override;

protected:
    explicit GraphEffect(GraphActions<Medium> const& actions);
    ~GraphEffect() override;

    bool IsEmpty() const override;
    /// "GetStatistic" and the like as a full signature.
    std::string MakeSignature(char const* function) const;

private:
    using Format = typename Medium::Format;
    using Info = typename Medium::Info;
    using Graph = typename Medium::Graph;

    void Forget() noexcept override;
    void Work(SP<Data> const& data) override;
    std::string DescribeWork(Codec const& format) const override { return GetText(Medium::GetInfo(format)); }
    std::string GetStatisticName() const override { return MakeSignature("GetStatistic"); }
    void AddStatistics(Core::Property& property) const override;

    std::string GetText(Info const& info) const { return m_actions.getText(this->GetSettingsBase(), info); }
    void CheckFormat(Format format, Info const& info) const;
    void CheckData(Data const& data) const;
    SP<Data> Prepare(SP<Data> const& data) const;
    FastWay MakeFastWay(Format format, Info const& info) const;
    SP<Data> GoFastWay(SP<Data> const& data) const;
    bool IsBuiltFor(Format format, Info const& info) const noexcept;
    bool Build(Format format, Info const& info);
    void Finish(SP<Data>& data) const;

    /// For data.
    SP<Graph> MakeGraph(std::string const& description, Format format, Info const& info) const;
    /// For a question.
    SP<Graph> MakeGraph(std::string const& description, SP<Codec> const& format) const;

    GraphActions<Medium> const& m_actions;
    /// What the graph works on, while it does.
    SP<Data const> m_input;
    /// In place of a graph, where there is one.
    FastWay m_fastWay;
    /// What the graph, or the fast way, was built for.
    Format m_graphFormat{};
    Info m_graphInfo;
};

/// What the effect over that policy makes of any property tree.
template <class Actions>
typename Actions::SettingsType MakeSettings([[maybe_unused]] Core::Property const& property) {
    using S = typename Actions::SettingsType;
    if constexpr (requires { Actions::s_readsProperties; })
        return Property2Settings<S>(property);
    else
        return S();
}

/// The effect on pictures over the policy `Actions`, an EffectActions<S>.
template <class Actions>
class EffectFafloplal : public EffectBase<GraphEffect<VideoMedium>, typename Actions::SettingsType> {
public:
    using S = typename Actions::SettingsType;
    using Base = EffectBase<GraphEffect<VideoMedium>, S>;

    EffectFafloplal() : Base(s_actions) {}

    using Base::SetSettings;
    /// std::bad_cast unless the settings are of exactly the effect's class.
    void SetSettings(Settings const& settings) override {
        if (typeid(settings) != typeid(S))
            ThrowOtherSettings(settings, this->m_settings);
        Base::SetSettings(settings);
    }
    void SetSettings(Core::Property const& property) override {
        SetSettings(MakeSettings<Actions>(property));
    }

private:
    static constexpr GraphActions<VideoMedium> s_actions = MakeGraphActions<VideoMedium, Actions>();
};

/// The effect on audio over the policy `Actions`, an EffectActionsAudio<S>.
template <class Actions>
class EffectFafloplalAudio : public EffectBase<GraphEffect<AudioMedium>, typename Actions::SettingsType> {
public:
    using Base = EffectBase<GraphEffect<AudioMedium>, typename Actions::SettingsType>;

    EffectFafloplalAudio() : Base(s_actions) {}

    /// Always throws std::logic_error "Property settings is not supported".
    Core::Property GetSettings() const override {
        static std::string const s_signature = this->MakeSignature("GetSettings");
        Core::Throw<std::logic_error>({"Proc/Effects/Lumenta/EffectFafloplalAudio", s_signature.c_str()},
                                      "Property settings is not supported");
    }
    using Base::SetSettings;
    void SetSettings(Core::Property const& property) override {
        SetSettings(MakeSettings<Actions>(property));
    }

private:
    static constexpr GraphActions<AudioMedium> s_actions = MakeGraphActions<AudioMedium, Actions>();
};

template <>
SP<EffectFFMPEGVideo> GraphEffect<VideoMedium>::MakeGraph(std::string const& description, Conf::PixFmt format,
                                                          Conf::FrameInfo const& info) const;
template <>
SP<EffectFFMPEGAudio> GraphEffect<AudioMedium>::MakeGraph(std::string const& description,
                                                          Conf::SampleFormats format,
                                                          Conf::SampleInfo const& info) const;
template <>
SP<EffectFFMPEGVideo> GraphEffect<VideoMedium>::MakeGraph(std::string const& description,
                                                          SP<Conf::IFormatCodecVideo> const& format) const;
template <>
SP<EffectFFMPEGAudio> GraphEffect<AudioMedium>::MakeGraph(std::string const& description,
                                                          SP<Conf::IFormatCodecAudio> const& format) const;

extern template class GraphEffect<VideoMedium>;
extern template class GraphEffect<AudioMedium>;

} // namespace Tarsel::Proc
