#pragma once

#include "Core/Throw.h"

#include <filesystem>

namespace Tarsel::Media {

/// Throws what an AVERROR means for whoever writes to `path`: OutputException, which is a ClosedPipeException
/// where nobody reads any more; Stopped. Any thread.
[[noreturn]] void ThrowCannotWrite(std::filesystem::path const& path, int error,
                                   Core::Site const& site = Core::Site::Here());

} // namespace Tarsel::Media
