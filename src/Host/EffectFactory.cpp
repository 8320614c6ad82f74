#include "Host/EffectFactory.h"

#include "Core/Throw.h"
#include "Proc/Data/FactoryData.h"
#include "Proc/Interfaces/ImplNames.h"
#include "Proc/Interfaces/ProcExceptions.h"

#include <fmt/format.h>

#include <utility>

namespace Tarsel::Host {

namespace {

/// The creator of one kind for class and implementation. The kind counts, other than for
/// EffectRegistry::Find: one class may be registered for several.
template <EffectKind kind>
auto FindCreator(EffectRegistry const& registry, std::string const& classId, std::string const& implName,
                 char const* signature) {
    for (EffectEntry const& entry : registry.GetEntries())
        if (entry.classId == classId && (implName == Proc::ImplNames::DEFAULT || entry.implName == implName))
            if (auto const* creator = std::get_if<static_cast<std::size_t>(kind)>(&entry.creator))
                return *creator;
    Core::Throw<Proc::EffectException>(
        {"Host/EffectFactory", signature},
        fmt::format("No {} effect \"{}\" of implementation \"{}\" is registered", GetName(kind), classId,
                    implName));
}

} // namespace

EffectFactory::EffectFactory(std::shared_ptr<EffectRegistry const> registry, MisuseListener listener)
    : m_registry(std::move(registry)), m_listener(std::move(listener)) {
    if (!m_registry)
        Core::Throw<Proc::EffectException>("An effect factory needs a registry");
}

template <EffectKind kind, class FactoryData, class HostFactoryData>
auto EffectFactory::CreateOfKind(std::string const& classId, std::string const& implName,
                                 SP<FactoryData const> const& data, char const* signature) const {
    auto const creator = FindCreator<kind>(*m_registry, classId, implName, signature);
    auto effect = creator(SP<Proc::IEffectFactory const>(this),
                          data ? data : SP<FactoryData const>(MakeSP<HostFactoryData>()));
    if (!effect)
        Core::Throw<Proc::EffectException>(
            {"Host/EffectFactory", signature},
            fmt::format("The creator of the {} effect \"{}\" of implementation \"{}\" returned no effect",
                        GetName(kind), classId, implName));
    return m_listener ? CheckEffect(std::move(effect), m_listener) : effect;
}

SP<Proc::IOneInputEffectVideo>
EffectFactory::CreateVideoEffect(std::string const& classId, std::string const& implName,
                                 SP<Proc::IFactoryDataVideo const> const& data) const {
    return CreateOfKind<EffectKind::Video, Proc::IFactoryDataVideo, Proc::FactoryDataVideo>(
        classId, implName, data,
        "virtual SP<IOneInputEffectVideo> Tarsel::Host::EffectFactory::CreateVideoEffect(const std::string "
        "&, const std::string &, const SP<const IFactoryDataVideo> &) const");
}

SP<Proc::IOneInputEffectAudio>
EffectFactory::CreateAudioEffect(std::string const& classId, std::string const& implName,
                                 SP<Proc::IFactoryDataAudio const> const& data) const {
    return CreateOfKind<EffectKind::Audio, Proc::IFactoryDataAudio, Proc::FactoryDataAudio>(
        classId, implName, data,
        "virtual SP<IOneInputEffectAudio> Tarsel::Host::EffectFactory::CreateAudioEffect(const std::string "
        "&, const std::string &, const SP<const IFactoryDataAudio> &) const");
}

SP<Proc::ITwoInputEffectVideo>
EffectFactory::CreateTwoInputVideoEffect(std::string const& classId, std::string const& implName,
                                         SP<Proc::IFactoryDataVideo const> const& data) const {
    return CreateOfKind<EffectKind::TwoInputVideo, Proc::IFactoryDataVideo, Proc::FactoryDataVideo>(
        classId, implName, data,
        "virtual SP<ITwoInputEffectVideo> Tarsel::Host::EffectFactory::CreateTwoInputVideoEffect("
        "const std::string &, const std::string &, const SP<const IFactoryDataVideo> &) const");
}

SP<Proc::IEffect> EffectFactory::Create(EffectEntry const& entry) const {
    switch (entry.GetKind()) {
    case EffectKind::Video:
        return CreateVideoEffect(entry.classId, entry.implName, {});
    case EffectKind::Audio:
        return CreateAudioEffect(entry.classId, entry.implName, {});
    case EffectKind::TwoInputVideo:
        return CreateTwoInputVideoEffect(entry.classId, entry.implName, {});
    case EffectKind::TwoInputAudio:
        break;
    }
    return {};
}

} // namespace Tarsel::Host
