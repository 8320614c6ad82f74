#pragma once

struct AVFrame;

namespace Tarsel::Proc {

/// Whether the colors of `from` and `to` are the same numbers in another order, or in more bits: then they
/// are moved without loss, where the scaler would go through YUV and lose some of RGB's bits. Both of the
/// same size; 8-bit RGB is left to the scaler, which is fast and exact there. Any thread.
bool CanRepack(AVFrame const& from, AVFrame const& to);

/// Moves them; alpha of `to` is left to others (CopyAlpha). `to` has buffers of its own.
void Repack(AVFrame const& from, AVFrame& to);

} // namespace Tarsel::Proc
