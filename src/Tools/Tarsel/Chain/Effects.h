#pragma once

#include "Host/EffectFactory.h"
#include "Host/EffectRegistry.h"

#include <filesystem>
#include <memory>

namespace Tarsel::Tools {

/// The effects of one plug-in.
struct Effects {
    std::filesystem::path plugin;
    std::shared_ptr<Host::EffectRegistry const> registry;
    SP<Host::EffectFactory> factory;
};

/// `plugin` itself, or the one that Host::Plugin::Find finds under this project's name when it is empty.
/// Host::PluginException when there is none.
std::filesystem::path FindPlugin(std::filesystem::path plugin);

/// Loads the plug-in that FindPlugin finds. Host::PluginException when it cannot be used.
Effects LoadEffects(std::filesystem::path plugin);

} // namespace Tarsel::Tools
