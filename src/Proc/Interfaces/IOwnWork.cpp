#include "Proc/Interfaces/IOwnWork.h"

namespace Tarsel::Proc {

IOwnWork::~IOwnWork() = default;

} // namespace Tarsel::Proc
