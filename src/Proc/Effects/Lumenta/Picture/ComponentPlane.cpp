#include "Proc/Effects/Lumenta/Picture/ComponentPlane.h"

#include "Conf/AVFormats.h"
#include "Conf/PixFmtDescription.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <vector>

extern "C" {
#include <libavutil/frame.h>
#include <libavutil/pixdesc.h>
}

namespace Tarsel::Proc {
namespace {

template <class Word>
Word SwapBytes(Word word) noexcept {
    if constexpr (sizeof(Word) == 4)
        return __builtin_bswap32(word);
    else if constexpr (sizeof(Word) == 2)
        return __builtin_bswap16(word);
    else
        return word;
}

template <class Word>
Word Load(std::uint8_t const* at, bool isSwapped) noexcept {
    Word word = 0;
    std::memcpy(&word, at, sizeof word);
    return isSwapped ? SwapBytes(word) : word;
}

template <class Word>
void Store(Word word, std::uint8_t* at, bool isSwapped) noexcept {
    if (isSwapped)
        word = SwapBytes(word);
    std::memcpy(at, &word, sizeof word);
}

AVPixFmtDescriptor const& DescriptorOf(AVFrame const& frame) noexcept {
    return *av_pix_fmt_desc_get(Conf::ToAVPixelFormat(frame.format));
}

} // namespace

ComponentPlane::ComponentPlane(AVFrame const& frame, int component) noexcept {
    AVPixFmtDescriptor const& format = DescriptorOf(frame);
    AVComponentDescriptor const& place = format.comp[component];
    auto const& description = Conf::PixFmtDescription::Find(static_cast<Conf::PixFmt>(frame.format));
    bool const isBig = (format.flags & AV_PIX_FMT_FLAG_BE) != 0;
    int const bits = place.shift + place.depth;
    m_isByte = bits <= 8;
    // Of a 16-bit word in big-endian order, a component within 8 bits is said to lie in the wrong byte.
    int const offset = place.offset + (isBig && m_isByte ? 1 : 0);
    m_first = frame.data[place.plane] + offset;
    m_stride = frame.linesize[place.plane];
    m_step = place.step;
    // Components 1 and 2 of YUV are chroma, as planes 1 and 2 are where each has its own.
    m_width = description.GetPlanWidth(component, static_cast<std::uint32_t>(frame.width));
    m_height = description.GetPlanHeight(component, static_cast<std::uint32_t>(frame.height));
    m_mask = static_cast<std::uint32_t>((std::uint64_t{1} << place.depth) - 1);
    m_shift = place.shift;
    m_isSwapped = isBig != (std::endian::native == std::endian::big);
    m_isFloat = (format.flags & AV_PIX_FMT_FLAG_FLOAT) != 0;
}

template <class Word>
void ComponentPlane::Read(std::uint8_t const* at, float* values) const noexcept {
    auto const read = [&](std::ptrdiff_t step) {
        for (std::uint32_t x = 0; x < m_width; ++x)
            values[x] = static_cast<float>(Load<Word>(at + x * step, m_isSwapped) >> m_shift & m_mask);
    };
    // Side by side is the common case, and vectorised where it is known.
    m_step == sizeof(Word) ? read(sizeof(Word)) : read(m_step);
}

template <class Word>
void ComponentPlane::Write(std::uint8_t* at, float const* values) const noexcept {
    auto const maximum = static_cast<float>(m_mask);
    // In this order NaN becomes 0.
    auto const round = [&](float value) {
        return static_cast<std::uint32_t>(
            static_cast<std::int32_t>(std::min(std::max(0.0F, value + 0.5F), maximum)));
    };
    auto const beside = static_cast<Word>(~(m_mask << m_shift));
    if (beside != 0)
        for (std::uint32_t x = 0; x < m_width; ++x, at += m_step)
            Store(static_cast<Word>((Load<Word>(at, m_isSwapped) & beside) | round(values[x]) << m_shift), at,
                  m_isSwapped);
    else if (m_step != sizeof(Word) || m_isSwapped)
        for (std::uint32_t x = 0; x < m_width; ++x, at += m_step)
            Store(static_cast<Word>(round(values[x])), at, m_isSwapped);
    else // vectorised
        for (std::uint32_t x = 0; x < m_width; ++x)
            Store(static_cast<Word>(round(values[x])), at + x * sizeof(Word), false);
}

void ComponentPlane::ReadRow(std::uint32_t y, float* values) const noexcept {
    std::uint8_t const* const at = m_first + static_cast<std::ptrdiff_t>(y) * m_stride;
    if (m_isFloat)
        for (std::uint32_t x = 0; x < m_width; ++x)
            values[x] = std::bit_cast<float>(Load<std::uint32_t>(at + x * m_step, m_isSwapped));
    else if (m_isByte)
        Read<std::uint8_t>(at, values);
    else
        Read<std::uint16_t>(at, values);
}

void ComponentPlane::WriteRow(std::uint32_t y, float const* values) const noexcept {
    std::uint8_t* const at = m_first + static_cast<std::ptrdiff_t>(y) * m_stride;
    if (m_isFloat)
        for (std::uint32_t x = 0; x < m_width; ++x)
            Store(std::bit_cast<std::uint32_t>(values[x]), at + x * m_step, m_isSwapped);
    else if (m_isByte)
        Write<std::uint8_t>(at, values);
    else
        Write<std::uint16_t>(at, values);
}

void CopyComponent(ComponentPlane const& from, ComponentPlane const& to) {
    std::vector<float> row(std::max(from.GetWidth(), to.GetWidth()));
    float const stretch = to.GetMaximum() / from.GetMaximum();
    for (std::uint32_t y = 0; y < from.GetHeight(); ++y) {
        from.ReadRow(y, row.data());
        for (float& value : row)
            value *= stretch;
        to.WriteRow(y, row.data());
    }
}

int GetComponentCount(AVFrame const& frame) noexcept {
    return DescriptorOf(frame).nb_components;
}

int GetColorCount(AVFrame const& frame) noexcept {
    AVPixFmtDescriptor const& format = DescriptorOf(frame);
    return format.nb_components - ((format.flags & AV_PIX_FMT_FLAG_ALPHA) != 0 ? 1 : 0);
}

} // namespace Tarsel::Proc
