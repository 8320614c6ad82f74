#include "Media/Read/Interrupted.h"

#include "Core/Throw.h"
#include "Media/Base/MessageText.h"
#include "Media/MediaExceptions.h"

#include <fmt/format.h>

namespace Tarsel::Media {

void ThrowInterrupted(std::filesystem::path const& path) {
    Core::Throw<InterruptedException>(fmt::format("Interrupted: {} was not read to its end", Quote(path)));
}

} // namespace Tarsel::Media
