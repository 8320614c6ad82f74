#include "Proc/Interfaces/IResample.h"
#include "Proc/Interfaces/IResizeComplex.h"
#include "Proc/Interfaces/ImplNames.h"

namespace Tarsel::Proc {

std::string const ImplNames::FFMPEG = "ffmpeg";
std::string const ImplNames::DEFAULT = "default";
std::string const IResample::CLASS_ID = "resample";
std::string const IResizeComplex::EXTENDED_CLASS_ID = "resize-complex";

} // namespace Tarsel::Proc
