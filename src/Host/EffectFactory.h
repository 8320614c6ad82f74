#pragma once

#include "Host/CheckingEffect.h"
#include "Host/EffectRegistry.h"
#include "Proc/Interfaces/IEffectFactory.h"

#include <memory>

namespace Tarsel::Host {

/// Makes effects out of a registry. A null data factory stands for this host's own.
class TARSEL_API EffectFactory final : public Core::RefCounted<Proc::IEffectFactory> {
public:
    /// Shares the registry, which must not be added to any more. With a listener every effect comes behind
    /// checks (see CheckEffect) that report to it, from any thread that calls an effect.
    explicit EffectFactory(std::shared_ptr<EffectRegistry const> registry,
                           MisuseListener listener = GetMisuseListener());

    SP<Proc::IOneInputEffectVideo>
    CreateVideoEffect(std::string const& classId, std::string const& implName,
                      SP<Proc::IFactoryDataVideo const> const& data) const override;
    SP<Proc::IOneInputEffectAudio>
    CreateAudioEffect(std::string const& classId, std::string const& implName,
                      SP<Proc::IFactoryDataAudio const> const& data) const override;
    SP<Proc::ITwoInputEffectVideo>
    CreateTwoInputVideoEffect(std::string const& classId, std::string const& implName,
                              SP<Proc::IFactoryDataVideo const> const& data) const override;

    /// An effect of the entry, whatever its kind; null for a kind that there is no operation for.
    SP<Proc::IEffect> Create(EffectEntry const& entry) const;

    EffectRegistry const& GetRegistry() const noexcept { return *m_registry; }

private:
    /// Lives by its references alone: effects are given one.
    ~EffectFactory() override = default;

    template <EffectKind kind, class FactoryData, class HostFactoryData>
    auto CreateOfKind(std::string const& classId, std::string const& implName,
                      SP<FactoryData const> const& data, char const* signature) const;

    std::shared_ptr<EffectRegistry const> m_registry;
    MisuseListener m_listener;
};

} // namespace Tarsel::Host
