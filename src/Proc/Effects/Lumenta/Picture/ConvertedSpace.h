#pragma once

#include "Conf/ColorSpace.h"
#include "Conf/PixFmt.h"

namespace Tarsel::Proc {

/// Whether the format is one of red, green and blue at heart: palettes and XYZ too, for they become RGB where
/// they are worked on. CoreException for a format that does not exist. Any thread.
bool IsRgbLike(Conf::PixFmt format);

/// What the values mean once pixels of `from` in `space` are of format `to`. Any thread.
///
/// YUV and gray keep their matrix and the range they really have, which is said where it would not be
/// understood. RGB is of full range, and its matrix is RGB's; where the matrix of the YUV it was made of
/// stood for primaries that nobody named, they are named, for they tell the way back. YUV made of RGB is of
/// limited range, gray of full; its matrix is the one still noted, else that of the primaries, else that of
/// HD. A matrix that nobody named (and counts as BT.601) stays without name both ways.
Conf::ColorSpace ConvertedSpace(Conf::PixFmt from, Conf::ColorSpace space, Conf::PixFmt to);

} // namespace Tarsel::Proc
