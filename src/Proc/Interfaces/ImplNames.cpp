#include "Proc/Interfaces/ImplNames.h"

namespace Tarsel::Proc {

std::string const ImplNames::FFMPEG = "ffmpeg";
std::string const ImplNames::DEFAULT = "default";

} // namespace Tarsel::Proc
