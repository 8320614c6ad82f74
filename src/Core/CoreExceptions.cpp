#include "Core/CoreExceptions.h"

namespace Tarsel::Core {

CoreException::~CoreException() noexcept = default;

MemoryException::~MemoryException() noexcept = default;

PropertyException::~PropertyException() noexcept = default;

MethodIsNotApplicable::~MethodIsNotApplicable() noexcept = default;

} // namespace Tarsel::Core
