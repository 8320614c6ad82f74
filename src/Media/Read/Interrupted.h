#pragma once

#include <filesystem>

namespace Tarsel::Media {

/// For readers that were told to stop. InterruptedException.
[[noreturn]] void ThrowInterrupted(std::filesystem::path const& path);

} // namespace Tarsel::Media
