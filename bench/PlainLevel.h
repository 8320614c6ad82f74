#pragma once

#include "Proc/Algorithms/AudioAlg/AudioAlg.h"

#include <cstddef>

/// Peak and level of packed samples by a loop as it is written down first. std::fma is what the compiler
/// makes of it for every machine of the kind: on x86-64 a call.
template <class T>
Tarsel::Proc::AudioLevelInfo EstimateLevelPlainly(T const* samples, std::size_t count);

/// A chain of fused multiply-adds and nothing else, each waiting for the one before: how long the level takes
/// at least. 0 where the machine has no such instruction.
double ChainOfFma(double v, std::size_t count);
