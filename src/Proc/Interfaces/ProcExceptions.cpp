#include "Proc/Interfaces/ProcExceptions.h"

namespace Tarsel::Proc {

ProcException::~ProcException() noexcept = default;

EffectException::~EffectException() noexcept = default;

FilterException::~FilterException() noexcept = default;

SettingsException::~SettingsException() noexcept = default;

} // namespace Tarsel::Proc
