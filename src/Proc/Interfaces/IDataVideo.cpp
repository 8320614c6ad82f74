#include "Proc/Interfaces/IDataVideo.h"

#include "Core/Throw.h"
#include "Proc/Interfaces/ProcExceptions.h"

#include <fmt/format.h>

#include <cstring>

namespace Tarsel::Proc {

void CopyPlane(ReadOnlyPlane const& from, WritablePlane const& to) {
    if (from.rowBytes != to.rowBytes || from.rows != to.rows)
        Core::Throw<ProcException>(
            fmt::format("Cannot copy a plane of {} bytes by {} rows into one of {} by {}", from.rowBytes,
                        from.rows, to.rowBytes, to.rows));
    if (from.rowBytes == 0)
        return; // such a plane may have no memory at all
    for (std::uint32_t row = 0; row < from.rows; ++row)
        std::memcpy(to.data + static_cast<std::ptrdiff_t>(row) * to.lineSize,
                    from.data + static_cast<std::ptrdiff_t>(row) * from.lineSize, from.rowBytes);
}

} // namespace Tarsel::Proc
