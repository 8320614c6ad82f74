#include "Proc/Interfaces/IAudioGenerator.h"

namespace Tarsel::Proc {

IAudioGenerator::~IAudioGenerator() = default;

} // namespace Tarsel::Proc
