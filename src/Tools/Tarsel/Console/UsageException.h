#pragma once

#include "Core/Exception.h"

namespace Tarsel::Tools {

/// The command line asks for something that cannot be.
class UsageException : public Exception {};

} // namespace Tarsel::Tools
