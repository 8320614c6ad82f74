#include "Core/StartThread.h"

#include "Core/CoreExceptions.h"
#include "Core/Throw.h"

#include <string>
#include <system_error>
#include <utility>

namespace Tarsel::Core {

std::jthread StartThread(std::function<void()> work) {
    try {
        return std::jthread(std::move(work));
    } catch (std::system_error const& error) {
        Throw<MemoryException>(std::string("Unable to allocate memory for a thread: ") + error.what());
    }
}

} // namespace Tarsel::Core
