#include "Tools/Tarsel/Effects.h"

#include "Host/Plugin.h"

#include <utility>

namespace Tarsel::Tools {

Effects LoadEffects(std::filesystem::path plugin) {
    if (plugin.empty())
        plugin = Host::Plugin::Find("lumenta");
    auto const registry = std::make_shared<Host::EffectRegistry>();
    Host::Plugin(plugin).Register(*registry);
    return {std::move(plugin), registry, MakeSP<Host::EffectFactory>(registry)};
}

} // namespace Tarsel::Tools
