#pragma once

#include "Core/Api.h"

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace Tarsel::Core {

/// A path as files are opened by it.
using ioPath = std::filesystem::path;

/// Whether anything lies at `path`, links followed; a path that may not be looked at counts as absent. Any
/// thread.
TARSEL_API bool FileExists(ioPath const& path) noexcept;

/// The names of what lies in `folder`, in no order, without "." and ".."; empty where it cannot be read.
/// std::bad_alloc, by which the iterators of the standard library would end the process. Any thread.
TARSEL_API std::vector<std::string> ListFolder(ioPath const& folder);

/// Writes all of `text` to an open file, pipe or socket, and waits where that takes no more just now: 0, or
/// errno of what failed. Any thread; may be called where there is no memory left.
TARSEL_API int WriteAll(int descriptor, std::string_view text) noexcept;

} // namespace Tarsel::Core
