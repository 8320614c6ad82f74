#pragma once

#include "Tools/Tarsel/Catalog/Catalog.h"

#include <string>
#include <vector>

namespace Tarsel::Tools {

/// Commands that show an effect at work, in their order; none for effects of other plug-ins. Any thread.
std::vector<std::string> GetExamples(CatalogEntry const& entry);

} // namespace Tarsel::Tools
