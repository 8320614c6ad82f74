#pragma once

#include "Conf/PixFmt.h"
#include "Proc/Interfaces/IDataVideo.h"

#include <cstdint>

namespace Tarsel::Host {

/// Whether frames of the format can be laid over one another component by component: whole bytes, 16-bit
/// words in the machine's order or floats, and no palette. Any thread.
bool CanBlend(Conf::PixFmt format) noexcept;

/// Makes of every component of `over`, whose buffers become its own, (under * (65536 - weight) + over *
/// weight) / 65536, rounded. Both have the same form, which CanBlend takes; `weight` is at most 65536.
/// MemoryException. Any thread that alone uses `over`.
void Blend(Proc::IDataVideo const& under, Proc::IDataVideo& over, std::uint32_t weight);

} // namespace Tarsel::Host
