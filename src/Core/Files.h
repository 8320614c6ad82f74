#pragma once

#include "Core/Api.h"

#include <filesystem>

namespace Tarsel::Core {

/// A path as files are opened by it.
using ioPath = std::filesystem::path;

/// Whether anything lies at `path`, links followed; a path that may not be looked at counts as absent. Any
/// thread.
TARSEL_API bool FileExists(ioPath const& path) noexcept;

} // namespace Tarsel::Core
