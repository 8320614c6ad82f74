#pragma once

#include "Conf/ColorSpace.h"
#include "Conf/PixColor.h"
#include "Conf/PixFmtDescription.h"

#include <array>

struct AVFrame;

namespace Tarsel::Proc {

/// The components of a color in a format other than palettes and XYZ, in the order and the units of
/// ComponentPlane; places left over hold 0. By PixFmtDescription::MakeColor, whose 8 bits are stretched to
/// the format's depth as its range wants it. Any thread.
std::array<float, 4> ComponentsOfColor(Conf::PixFmtDescription const& format, Conf::PixColor color,
                                       Conf::ColorSpace const& space);

/// Sets the bits of a picture that belong to no component, and all others with them: to ones in packed RGB,
/// as where there is alpha instead, else to 0.
void FillPadding(AVFrame& frame);

/// Fills a picture of such a format with a color, alpha and all.
void FillPicture(AVFrame& frame, Conf::PixColor color);

} // namespace Tarsel::Proc
