#pragma once

#include "Host/Doubles.h"
#include "Support/LibraryEffects.h"

#include <functional>
#include <string>
#include <utility>
#include <vector>

/// What effects that use other effects are given by tests.
namespace Tarsel::Test {

/// Keeps any settings and lets frames pass; `work` may do something to each of them.
struct IdleEffect : HostTest::Effect {
    IdleEffect() : Effect("idle") {}

    using Effect::SetSettings;
    void SetSettings(Proc::Settings const& settings) override { kept = settings.Clone(); }
    Proc::Settings const& GetSettingsBase() const override {
        return kept ? *kept : Effect::GetSettingsBase();
    }
    void Process(SP<Proc::IDataVideo>& data) override {
        ++calls;
        if (work)
            work(data);
    }
    void UpdateFormatCodec(SP<Conf::IFormatCodecVideo>& format) override {
        format->SetPixelFormat(Conf::PixFmt::PAL8);
    }

    std::shared_ptr<Proc::Settings const> kept;
    std::function<void(SP<Proc::IDataVideo>&)> work;
    int calls = 0;
};

/// Gives out one effect, whatever is asked for, and notes the questions.
struct OneEffectFactory : Core::RefCounted<Proc::IEffectFactory> {
    explicit OneEffectFactory(SP<Proc::IOneInputEffectVideo> given) : effect(std::move(given)) {}

    SP<Proc::IOneInputEffectVideo>
    CreateVideoEffect(std::string const& classId, std::string const& implName,
                      SP<Proc::IFactoryDataVideo const> const& data) const override {
        asked.push_back(classId + ' ' + implName + (data ? " with data factory" : ""));
        return effect;
    }
    SP<Proc::IOneInputEffectAudio>
    CreateAudioEffect(std::string const&, std::string const&,
                      SP<Proc::IFactoryDataAudio const> const&) const override {
        return {};
    }
    SP<Proc::ITwoInputEffectVideo>
    CreateTwoInputVideoEffect(std::string const&, std::string const&,
                              SP<Proc::IFactoryDataVideo const> const&) const override {
        return {};
    }

    SP<Proc::IOneInputEffectVideo> effect;
    mutable std::vector<std::string> asked;
};

} // namespace Tarsel::Test
