#include "Media/CodecThreads.h"

#include "Core/ThreadBudget.h"

#include <thread>

namespace Tarsel::Media {

int ChooseCodecThreads() noexcept {
    int const budget = Core::ThreadBudget::Get();
    int const processors = static_cast<int>(std::thread::hardware_concurrency());
    return budget == 1 || budget < processors ? budget : 0;
}

} // namespace Tarsel::Media
