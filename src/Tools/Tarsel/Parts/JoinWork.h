#pragma once

#include "Tools/Tarsel/Parts/PartFile.h"

#include <filesystem>
#include <string>
#include <vector>

namespace Tarsel::Tools {

/// A part and what is said of it.
struct DescribedPart {
    std::filesystem::path file;
    PartFile description;
};

/// The parts of one video, in their order, all of them and each once, made in the same way of this input by
/// these versions, and as they were written. UsageException where they are not, which names the part and what
/// is to be done; Media::InputException for a file that cannot be read.
std::vector<DescribedPart> ReadParts(std::vector<std::string> const& files,
                                     std::filesystem::path const& input);

} // namespace Tarsel::Tools
