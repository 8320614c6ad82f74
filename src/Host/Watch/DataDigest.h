#pragma once

#include "Proc/Interfaces/IDataAudio.h"
#include "Proc/Interfaces/IDataVideo.h"

#include <cstdint>

struct AVFrame;

/// What tells whether data have changed. All functions: any thread.
namespace Tarsel::Host {

/// A number for all that can be read of the data: form, times, content, and the padding between rows; 0 for
/// data with a fault (see FindFault).
std::uint64_t GetDigest(Proc::IDataVideo const& frame);
std::uint64_t GetDigest(Proc::IDataAudio const& block);
/// The same without times and padding.
std::uint64_t GetContentDigest(Proc::IDataVideo const& frame);
std::uint64_t GetContentDigest(Proc::IDataAudio const& block);

/// Whether writing to `result` changes memory of `input`, another object.
bool SharesMemory(AVFrame& result, AVFrame const& input);

} // namespace Tarsel::Host
