#pragma once

#include "Tools/Tarsel/Catalog/Catalog.h"

#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace Tarsel::Tools {

/// Whether the effect first measures a video and then changes it, as the verb "stabilize" has it do. Any
/// thread.
bool WorksInTwoPasses(std::string_view classId) noexcept;

/// Settings as -e takes them that show what an effect is for, each with another result; none for effects of
/// other plug-ins. Any thread.
std::span<std::string_view const> GetExampleSettings(std::string_view classId) noexcept;

/// The command that works with these settings. Any thread.
std::string MakeExample(CatalogEntry const& entry, std::string_view settings);

/// Commands that show an effect at work, in their order, two at most; none for effects of other plug-ins. Any
/// thread.
std::vector<std::string> GetExamples(CatalogEntry const& entry);

} // namespace Tarsel::Tools
