#pragma once

#include "Proc/Effects/Lumenta/Pixels/ColorCode.h"
#include "Proc/Effects/Lumenta/Pixels/ZeroedArray.h"

#include <cstddef>
#include <cstdint>

namespace Tarsel::Proc {

/// Numbers the cubes of 4x4x4 colours from 1 on as they turn up, so that what is kept of each lies close
/// together. Not synchronised.
class CubeDirectory {
public:
    /// Bits of a color code that tell colours of one cube apart.
    static constexpr unsigned COLOR_BITS = 6;
    static constexpr std::uint32_t MAX_CUBES = 1u << (COLOR_CODE_BITS - COLOR_BITS);
    static constexpr std::uint32_t NONE = 0;

    /// Empty. MemoryException.
    CubeDirectory() : m_numbers(MAX_CUBES) {}

    /// Number of the cube in which a colour lies, NONE when it has not been added.
    std::uint32_t Find(ColorCode color) const noexcept { return m_numbers[color >> COLOR_BITS]; }

    /// The cube must not have been added before.
    std::uint32_t Add(ColorCode color) noexcept { return m_numbers[color >> COLOR_BITS] = ++m_count; }

    /// Also the last number.
    std::uint32_t GetCount() const noexcept { return m_count; }

    /// Gives the memory back; from then on nothing can be found or added.
    void Free() noexcept { m_numbers.Free(); }

private:
    ZeroedArray<std::uint32_t> m_numbers;
    std::uint32_t m_count = 0;
};

} // namespace Tarsel::Proc
