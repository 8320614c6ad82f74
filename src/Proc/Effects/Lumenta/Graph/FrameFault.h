#pragma once

#include "Proc/Interfaces/IDataVideo.h"

#include <string>
#include <string_view>

namespace Tarsel::Proc {

/// What keeps the pixels of `data` from being read as it says it holds them: another format in its frame,
/// fewer pixels, a plane or all of them missing; "" when nothing does. `name`, "Frame", begins the text. Any
/// thread.
std::string FindFrameFault(IDataVideo const& data, AVFrame const& frame, std::string_view name);

} // namespace Tarsel::Proc
