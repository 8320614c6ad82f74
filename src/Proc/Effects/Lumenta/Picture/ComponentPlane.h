#pragma once

#include <cstddef>
#include <cstdint>

struct AVFrame;

namespace Tarsel::Proc {

/// One component of a picture (red, luma, alpha...), row by row as real numbers, however it lies in memory:
/// planar, packed, of 1 to 16 bits in either byte order, or 32-bit floats. Numbers are in the component's own
/// units, 0 to GetMaximum(). A view: the frame stays the owner of its memory, and has to be the only one to
/// write. Any thread, as long as no other uses the same rows.
class ComponentPlane {
public:
    /// Of a format the host takes (PixFmtDescription::IsSupported) other than palettes; components are
    /// counted as FFmpeg's descriptors do: R, G, B, A or Y, U, V, A or Y, A.
    ComponentPlane(AVFrame const& frame, int component) noexcept;

    /// In samples of the component.
    std::uint32_t GetWidth() const noexcept { return m_width; }
    std::uint32_t GetHeight() const noexcept { return m_height; }
    /// What stands for full intensity: 2^depth - 1, or 1 of floats.
    float GetMaximum() const noexcept { return m_isFloat ? 1 : static_cast<float>(m_mask); }

    /// GetWidth() numbers of row `y`.
    void ReadRow(std::uint32_t y, float* values) const noexcept;
    /// Rounds to the nearest and saturates. Bits beside the component's stay as they are: in new pictures
    /// they have to be set before (FillPadding).
    void WriteRow(std::uint32_t y, float const* values) const noexcept;

private:
    template <class Word>
    void Read(std::uint8_t const* at, float* values) const noexcept;
    template <class Word>
    void Write(std::uint8_t* at, float const* values) const noexcept;

    std::uint8_t* m_first = nullptr;
    std::ptrdiff_t m_stride = 0;
    std::ptrdiff_t m_step = 0;
    std::uint32_t m_width = 0;
    std::uint32_t m_height = 0;
    std::uint32_t m_mask = 0;
    int m_shift = 0;
    /// Samples lie in bytes, else in words of 16 bits or in floats.
    bool m_isByte = false;
    bool m_isSwapped = false;
    bool m_isFloat = false;
};

/// Moves a component to one that is no smaller, stretched to its depth.
void CopyComponent(ComponentPlane const& from, ComponentPlane const& to);

/// How many components a format has, and how many of them are color: all but its alpha, which is the last.
int GetComponentCount(AVFrame const& frame) noexcept;
int GetColorCount(AVFrame const& frame) noexcept;

} // namespace Tarsel::Proc
