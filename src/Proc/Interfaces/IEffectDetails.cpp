#include "Proc/Interfaces/IEffectDetails.h"

namespace Tarsel::Proc {

IEffectDetails::~IEffectDetails() = default;

} // namespace Tarsel::Proc
