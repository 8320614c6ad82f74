#pragma once

#include <filesystem>
#include <string>
#include <vector>

struct AVDictionary;
struct AVFormatContext;

namespace Tarsel::Media {

/// Reads a finished file back: tags of the file (`fileTags`; writers rename those in `asked`), and titles,
/// languages, dispositions, pixel aspects and wide colors of its streams that `asked`, whose header was
/// written into it, has and the file has not. One sentence for the tags and a few for each stream, which is
/// called by its number in the input: `indexes` gives the stream of `asked` for each of those, −1 for none.
/// Empty where the file cannot be read. Any thread. MemoryException.
std::vector<std::string> DescribeLostTags(AVFormatContext const& asked, AVDictionary const* fileTags,
                                          std::vector<int> const& indexes,
                                          std::filesystem::path const& written);

} // namespace Tarsel::Media
