#include "Proc/Effects/Lumenta/Graph/FrameSize.h"

#include "Conf/PixFmtDescription.h"
#include "Proc/Interfaces/ProcExceptions.h"

#include <fmt/format.h>

namespace Tarsel::Proc {

void RequireFrameSize(Conf::PixFmt format, Conf::FrameInfo const& info, SmallestFrame const& smallest,
                      std::string_view effect, Core::Site const& site) {
    if (info.width < smallest.width || info.height < smallest.height)
        Core::Throw<EffectException>(site,
                                     fmt::format("{} takes {} frames of {}x{} pixels at least, not of {}x{}",
                                                 effect, Conf::PixFmtDescription::Find(format).GetName(),
                                                 smallest.width, smallest.height, info.width, info.height));
}

} // namespace Tarsel::Proc
