#include "Core/RefCount.h"

namespace Tarsel::Core {

IRefCountable::~IRefCountable() = default;

} // namespace Tarsel::Core
