#include "Proc/Settings/Settings.h"

namespace Tarsel::Proc {

Settings::~Settings() = default;

} // namespace Tarsel::Proc
