#pragma once

#include "Conf/ColorSpace.h"
#include "Conf/PixColor.h"
#include "Proc/Data/DataVideoFF.h"
#include "Proc/Interfaces/IEffectStream.h"
#include "Proc/Interfaces/IOneInputEffectVideo.h"
#include "Support/Planes.h"

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

extern "C" {
#include <libavutil/avutil.h>
}

/// Pictures for tests, and their colors.
namespace Tarsel::Test {

constexpr Conf::FrameInfo s_small{64, 48, 1, 1};

/// A picture of noise that `seed` determines. Samples of 9 to 15 bits stay within them.
SP<Proc::IDataVideo> MakeFrame(Conf::PixFmt format = Conf::PixFmt::YUV420P,
                               Conf::FrameInfo const& info = s_small, std::int64_t time = 0,
                               std::int64_t duration = 40000, std::uint32_t seed = 1);

/// A picture of bytes that have every bit set: of 9 to 15 bits a sample, too many.
SP<Proc::IDataVideo> MakeOverfullFrame(Conf::PixFmt format, Conf::FrameInfo const& info = s_small);

/// A picture of one size that is said to be of another.
SP<Proc::IDataVideo> MakeLiar(Conf::FrameInfo const& real, Conf::FrameInfo const& stated = s_small);

/// The bytes of each plane, row after row from the top, no padding.
using Pixels = std::vector<std::vector<std::uint8_t>>;
Pixels GetPixels(Proc::IDataVideo const& data);
/// As the ffmpeg program writes raw video: plane after plane, a palette after its picture.
std::string GetRaw(Proc::IDataVideo const& data);

using FrameList = std::vector<SP<Proc::IDataVideo>>;

Proc::IEffectStreamVideo& StreamOf(Proc::IOneInputEffectVideo& effect);
/// All that is ready.
FrameList TakeAll(Proc::IEffectStreamVideo& stream);
/// All that comes of the frames, the end included.
FrameList RunStream(Proc::IOneInputEffectVideo& effect, FrameList const& in);

/// What one call makes of the frame.
SP<Proc::IDataVideo> Apply(Proc::IOneInputEffectVideo& effect, SP<Proc::IDataVideo> data);

SP<Conf::IFormatCodecVideo> MakeCodec(Conf::PixFmt format = Conf::PixFmt::YUV420P,
                                      Conf::FrameInfo const& info = s_small);
/// What the effect makes of that format.
SP<Conf::IFormatCodecVideo> Ask(Proc::IOneInputEffectVideo& effect,
                                Conf::PixFmt format = Conf::PixFmt::YUV420P,
                                Conf::FrameInfo const& info = s_small);
/// What the effect says that it does with frames of that format.
std::string Describe(Proc::IOneInputEffectVideo const& effect, Conf::PixFmt format = Conf::PixFmt::YUV420P,
                     Conf::FrameInfo const& info = s_small);

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
