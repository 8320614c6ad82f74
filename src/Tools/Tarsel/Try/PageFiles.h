#pragma once

#include <span>
#include <string_view>

namespace Tarsel::Tools {

/// A file of the page that the program has within.
struct PageFile {
    /// Below the token of the address; the page itself is "index.html".
    std::string_view name;
    std::string_view text;
};

/// All of src/Tools/Tarsel/Page. Any thread.
std::span<PageFile const> GetPageFiles() noexcept;

} // namespace Tarsel::Tools
