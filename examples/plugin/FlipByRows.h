#pragma once

#include "Proc/Interfaces/IEffectFactory.h"

/// Makes an effect that flips pictures in place, row by row, without a filter graph.
Tarsel::SP<Tarsel::Proc::IOneInputEffectVideo>
CreateFlipByRows(Tarsel::SP<Tarsel::Proc::IEffectFactory const> const& effects,
                 Tarsel::SP<Tarsel::Proc::IFactoryDataVideo const> const& frames);
