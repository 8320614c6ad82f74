#pragma once

#include "Core/RefCount.h"
#include "Proc/Interfaces/IDataAudio.h"
#include "Proc/Interfaces/IDataVideo.h"
#include "Tools/Tarsel/Preview/Canvas.h"

#include <array>
#include <cstdint>
#include <vector>

namespace Tarsel::Tools {

/// What suits an effect to be shown on.
enum class Material : std::uint8_t {
    /// Sky, hills, and soft things of all colors in front of a fine texture.
    Photo,
    /// The same in the evening.
    Dusk,
    /// The same with the grain of a sensor.
    Grainy,
    /// The same from a hand that trembles.
    Shaky,
    /// The same panned, every other row being half a frame later.
    Interlaced,
};

/// What clips are taken of: value noise in octaves over smooth shapes, computed, and the same each time.
/// Immutable; any thread.
class Scene {
public:
    /// For frames of that size, both sides at least 16. std::bad_alloc.
    explicit Scene(Size size);

    /// A clip of so many frames of packed RGB, 25 a second from time 0. MemoryException.
    std::vector<SP<Proc::IDataVideo>> MakeClip(Material material, int frames) const;

private:
    /// Pixels beyond the frame, for clips that move.
    std::uint32_t GetMargin() const noexcept;
    SP<Proc::IDataVideo> MakeFrame(Material material, int number) const;

    Size m_size;
    std::uint32_t m_stride;
    /// Red, green and blue, 0 to 1 and more.
    std::vector<std::array<double, 3>> m_lights;
};

/// Two and a half seconds of stereo, 32 kHz floats, in blocks from time 0: plucked tones of decaying
/// harmonics, bursts of noise, and quiet noise below. Computed, and the same each time. MemoryException. Any
/// thread.
std::vector<SP<Proc::IDataAudio>> MakeMusic();

} // namespace Tarsel::Tools
