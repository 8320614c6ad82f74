#pragma once

#include "Core/Api.h"

#include <functional>
#include <thread>

namespace Tarsel::Core {

/// A thread that does `work` and is waited for by its owner's destructor. MemoryException where the system
/// has no memory for one more, or allows none. `work` throws nothing. Any thread.
TARSEL_API std::jthread StartThread(std::function<void()> work);

} // namespace Tarsel::Core
