#pragma once

#include "Core/Api.h"

struct AVFrame;

namespace Tarsel::Proc {

class SafeFrame;

/// libswscale and filters read some bytes past the last row: with a caller's memory these may belong to
/// nobody. Both functions are for pictures, and for any thread.

/// Whether there is as much memory behind the last row of every plane as FFmpeg's own pictures have, as the
/// buffer references tell; not so for a plane without one.
TARSEL_API bool HasRoomBehind(AVFrame const& frame) noexcept;

/// A copy with such room, with the same properties. MemoryException; ProcException for a frame that holds no
/// picture.
TARSEL_API SafeFrame CopyWithRoomBehind(AVFrame const& frame);

/// Whether the picture is stored as FFmpeg allocates pictures: rows from the top down, aligned, and with room
/// behind. Others are legal too (vflip turns line sizes negative, crop moves the starts of planes), but not
/// every encoder takes them: some crash.
TARSEL_API bool IsRegular(AVFrame const& frame) noexcept;

/// The picture itself where it is regular, as SafeFrame::Reference; else a copy that is. MemoryException;
/// ProcException as there.
TARSEL_API SafeFrame MakeRegular(AVFrame const& frame);

} // namespace Tarsel::Proc
