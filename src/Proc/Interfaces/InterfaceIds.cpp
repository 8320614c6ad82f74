#include "Proc/Interfaces/IResample.h"
#include "Proc/Interfaces/IResizeComplex.h"

namespace Tarsel::Proc {

std::string const IResample::CLASS_ID = "resample";
std::string const IResizeComplex::EXTENDED_CLASS_ID = "resize-complex";

} // namespace Tarsel::Proc
