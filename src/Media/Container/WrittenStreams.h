#pragma once

#include <filesystem>
#include <string>
#include <vector>

struct AVFormatContext;

namespace Tarsel::Media {

/// Reads a finished file back: titles, languages, dispositions and pixel aspects that `asked`, whose header
/// was written into it, has for its streams and the file has not. One sentence for each stream, which is
/// called by its number in the input: `indexes` gives the stream of `asked` for each of those, −1 for none.
/// Empty where the file cannot be read. Any thread. MemoryException.
std::vector<std::string> DescribeLostTags(AVFormatContext const& asked, std::vector<int> const& indexes,
                                          std::filesystem::path const& written);

} // namespace Tarsel::Media
