#include "Media/MediaExceptions.h"

namespace Tarsel::Media {

InputException::~InputException() noexcept = default;
OutputException::~OutputException() noexcept = default;
ClosedPipeException::~ClosedPipeException() noexcept = default;
OptionsException::~OptionsException() noexcept = default;
InterruptedException::~InterruptedException() noexcept = default;

} // namespace Tarsel::Media
