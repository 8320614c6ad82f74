#pragma once

#include "Proc/Algorithms/Api.h"
#include "Proc/Algorithms/AudioAlg/AudioRef.h"

#include <vector>

namespace Tarsel::Proc {

// Algorithms over blocks of audio. All take the ten formats of Conf::SampleFormats; another one is an
// EffectException "<function> doesn't support this sample format". The caller answers for the sizes of the
// buffers. Any thread, as long as no other uses the same memory.
//
// Where a destination and a source are given, the source's format decides what a sample is, and the
// destination's line size how many there are: as many as fit into it, times its channels when its format is
// planar. Padding counts. The source has to hold as many; whether it is packed or planar does not matter. The
// two may be the same memory, or overlap: samples are taken one after the other, each as those before it have
// left it.

/// Largest value and root mean square, both with full scale at 1.0.
struct AudioLevelInfo {
    double peak = 0.0;
    double rms = 0.0;
};

/// One of the audio streams that make up a mix. Volume is a linear factor.
struct Audio2Mix {
    AudioRef source;
    double volume = 1.0;
};

/// Brings real samples into the range -1 to 1, NaN to -1. Integers are copied unchanged (as by memmove).
LUMENTA_API void ClipAudio(AudioRef const& dst, AudioRef const& src);

/// Multiplies samples by `volume`, a linear factor. Real samples are then clipped as by ClipAudio. Integers
/// are multiplied by F / 256, rounded to the nearest (halves upwards) and saturated, F being volume * 256 +
/// 0.5 (fused) truncated to 32 bits, for 32-bit samples to 64 bits; F saturates, and is 0 where the volume is
/// no number. No product overflows; but the 8-bit one is kept in 16 bits before it saturates, and wraps there
/// from a volume of about 256 upwards.
LUMENTA_API void VolumizeAudio(AudioRef const& dst, AudioRef const& src, double volume);

/// Peak and level of all samples of all channels. Peak is the largest value, not the largest magnitude: 0
/// where no sample is above 0. The squares are summed one sample after the other, with fused multiply-adds in
/// double: plane by plane, packed audio in the order of memory.
LUMENTA_API AudioLevelInfo EstimateLevel(AudioRef const& ref);

/// Appends one sample of each channel, as a real number with full scale at 1.0 (u8: (x - 128) / 128; s16:
/// x / 32767; s32: x / 2147483647). `sampleIndex` is not checked against the sample count. May fail for want
/// of memory.
LUMENTA_API void GetAudioSamples(AudioRef const& ref, int sampleIndex, std::vector<double>& out);

/// Sets the samples of `dst` (`sampleCount` for each channel; no padding) to the sum of the sources' samples,
/// each multiplied by its source's volume. Sources that are shorter are silent after their end; without any
/// source the result is silence. Sums are made in the order of the sources: in float for 16-bit samples, else
/// in double, products rounded before they are added. Integers are rounded to the nearest (halves to even)
/// and saturated; real samples are clipped as by ClipAudio. Volumes are held within -2^64 and 2^64, and one
/// that is no number is 0.
///
/// 8-bit samples are summed in fixed point, exactly, and rounded once (halves upwards, as by VolumizeAudio).
/// Their volumes are held within -127 and 127, where every sample but silence saturates (within 2^15 divided
/// by their number, where there are more than 258), and rounded to multiples of 2^-b: b is the largest up to
/// 15 with which no volume exceeds 32767 * 2^-b, nor the sum of their magnitudes 2^(23 - b).
///
/// A source may be the destination itself, and may not overlap it otherwise. EffectException when a source's
/// format or number of channels differs from the destination's. May fail for want of memory.
LUMENTA_API void MixAudio(AudioRef const& dst, std::vector<Audio2Mix> const& sources);

} // namespace Tarsel::Proc
