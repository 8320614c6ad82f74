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

/// Loads the plug-in, the one that Host::Plugin::Find finds under this project's name when `plugin` is empty.
/// Host::PluginException when there is none or it cannot be used.
Effects LoadEffects(std::filesystem::path plugin);

} // namespace Tarsel::Tools
