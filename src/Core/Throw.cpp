#include "Core/Throw.h"

namespace Tarsel::Core {

boost::exception const& AddStack(boost::exception const& exception) {
    return exception << TagCallStack(GetCallStack());
}

void AddFacts(boost::exception const& exception, std::string const& description, std::uint32_t column) {
    exception << TagDescription(description) << TagThrowColumn(column);
    AddStack(exception);
}

} // namespace Tarsel::Core
