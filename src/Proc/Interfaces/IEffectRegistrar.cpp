#include "Proc/Interfaces/IEffectRegistrar.h"

namespace Tarsel::Proc {

IEffectRegistrar::~IEffectRegistrar() = default;

} // namespace Tarsel::Proc
