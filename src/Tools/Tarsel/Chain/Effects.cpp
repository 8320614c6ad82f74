#include "Tools/Tarsel/Chain/Effects.h"

#include "Host/Plugin.h"

#include <utility>

namespace Tarsel::Tools {

std::filesystem::path FindPlugin(std::filesystem::path plugin) {
    return Host::Plugin::Find(plugin.empty() ? "lumenta" : plugin.string());
}

Effects LoadEffects(std::filesystem::path plugin) {
    plugin = FindPlugin(std::move(plugin));
    auto const registry = std::make_shared<Host::EffectRegistry>();
    Host::Plugin(plugin).Register(*registry);
    return {std::move(plugin), registry, MakeSP<Host::EffectFactory>(registry)};
}

} // namespace Tarsel::Tools
