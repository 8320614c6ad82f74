#pragma once

namespace Tarsel::Test {

// FFmpeg has code of its own for each machine: on arm64 its scaler rounds a little otherwise than on x86-64,
// and its resampler depends on how audio is cut into blocks.
#ifdef __aarch64__
constexpr int s_scalerSlack = 2;
constexpr bool s_resamplesByBlock = true;
/// Floats become whole numbers by cutting off.
constexpr bool s_cutsFloats = true;
#else
constexpr int s_scalerSlack = 0;
constexpr bool s_resamplesByBlock = false;
constexpr bool s_cutsFloats = false;
#endif

} // namespace Tarsel::Test
