#pragma once

#include "Core/Property.h"
#include "Proc/Interfaces/IOneInputEffectVideo.h"

namespace Tarsel::Proc {

/// The slots that effects over EffectVideoFF add to those of all video effects; an interface of its own, so
/// that they come before whatever the classes over it add.
class ICustomEffectVideo : public IOneInputEffectVideo {
protected:
    /// Adds to the statistics.
    virtual void UpdateStatistic(Core::Property& statistic) const = 0;
    /// Writes the filter description for the present settings. What it throws reaches whoever sets them, and
    /// the effect goes on with the ones before.
    virtual void SetSettingsImpl() = 0;
};

} // namespace Tarsel::Proc
