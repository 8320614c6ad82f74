#pragma once

#include "Conf/ColorSpace.h"
#include "Conf/PixColor.h"
#include "Proc/Interfaces/IDataVideo.h"

#include <cstdint>
#include <functional>
#include <vector>

/// Pictures of known colors, and the colors of pictures.
namespace Tarsel::Test {

/// The color of each pixel.
using Painter = std::function<Conf::PixColor(std::uint32_t x, std::uint32_t y)>;

/// A picture of any format but palettes, by FFmpeg's own scaler.
SP<Proc::IDataVideo> PaintFrame(Conf::PixFmt format, Conf::ColorSpace const& space,
                                Conf::FrameInfo const& info, Painter const& painter);

/// What it shows, row after row, as straight RGB with alpha: by FFmpeg's own scaler, and what the frame says
/// of its colors.
std::vector<Conf::PixColor> ReadColors(Proc::IDataVideo const& data);

/// The samples of one component, row after row, by FFmpeg's own reader; floats as their bits.
std::vector<std::uint32_t> ReadSamples(Proc::IDataVideo const& data, int component);

/// The same as shares of full intensity; floats as they are, and 0 for what is no number.
std::vector<double> ReadShares(Proc::IDataVideo const& data, int component);

/// The greatest difference of a component; of alpha too where `withAlpha`.
int Difference(Conf::PixColor a, Conf::PixColor b, bool withAlpha);

/// The same picture stored the other way up: rows with negative line sizes.
SP<Proc::IDataVideo> StoreBottomUp(Proc::IDataVideo const& data);

} // namespace Tarsel::Test
