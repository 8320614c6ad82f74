#include "Host/Chain/FrameBlend.h"

#include "Conf/AVFormats.h"
#include "Host/StepTimes.h"

#include <bit>
#include <cstddef>
#include <cstring>
#include <type_traits>

extern "C" {
#include <libavutil/pixdesc.h>
}

namespace Tarsel::Host {
namespace {

/// Of a component; none where it cannot be blended.
enum class Unit : std::uint8_t { None, Byte, Word, Float };

Unit FindUnit(Conf::PixFmt format) noexcept {
    AVPixFmtDescriptor const* const description = av_pix_fmt_desc_get(Conf::ToAVPixelFormat(format));
    constexpr std::uint64_t notPlain =
        AV_PIX_FMT_FLAG_PAL | AV_PIX_FMT_FLAG_BITSTREAM | AV_PIX_FMT_FLAG_HWACCEL;
    bool const isOfOtherOrder = description != nullptr && ((description->flags & AV_PIX_FMT_FLAG_BE) != 0) !=
                                                              (std::endian::native == std::endian::big);
    if (description == nullptr || (description->flags & notPlain) != 0)
        return Unit::None;
    AVComponentDescriptor const& first = description->comp[0];
    for (int i = 0; i < description->nb_components; ++i) {
        AVComponentDescriptor const& component = description->comp[i];
        if (component.shift != 0 || component.depth != first.depth)
            return Unit::None;
    }
    if (first.depth == 8)
        return Unit::Byte;
    if (isOfOtherOrder)
        return Unit::None;
    if ((description->flags & AV_PIX_FMT_FLAG_FLOAT) != 0)
        return first.depth == 32 ? Unit::Float : Unit::None;
    // Two bytes for each, and not several in a word.
    bool const areWords =
        first.depth > 8 && first.depth <= 16 && first.step % 2 == 0 && first.offset % 2 == 0;
    return areWords && (description->nb_components < 2 || description->comp[1].plane != first.plane ||
                        description->comp[1].offset != first.offset)
               ? Unit::Word
               : Unit::None;
}

template <class T>
T Mix(T under, T over, std::uint32_t weight) noexcept {
    if constexpr (std::is_floating_point_v<T>) {
        T const share = static_cast<T>(weight) / static_cast<T>(s_fullWeight);
        return under * (1 - share) + over * share;
    } else {
        return static_cast<T>((under * (s_fullWeight - weight) + over * weight + s_fullWeight / 2) /
                              s_fullWeight);
    }
}

/// Rows may begin anywhere.
template <class T>
void BlendPlane(Proc::ReadOnlyPlane const& under, Proc::WritablePlane const& over, std::uint32_t weight) {
    for (std::uint32_t y = 0; y < over.rows; ++y) {
        std::uint8_t const* from = under.data + static_cast<std::ptrdiff_t>(y) * under.lineSize;
        std::uint8_t* to = over.data + static_cast<std::ptrdiff_t>(y) * over.lineSize;
        for (std::size_t i = 0; i + sizeof(T) <= over.rowBytes; i += sizeof(T)) {
            T a;
            T b;
            std::memcpy(&a, from + i, sizeof(T));
            std::memcpy(&b, to + i, sizeof(T));
            b = Mix(a, b, weight);
            std::memcpy(to + i, &b, sizeof(T));
        }
    }
}

} // namespace

bool CanBlend(Conf::PixFmt format) noexcept {
    return FindUnit(format) != Unit::None;
}

void Blend(Proc::IDataVideo const& under, Proc::IDataVideo& over, std::uint32_t weight) {
    Unit const unit = FindUnit(over.GetPixelFormat());
    int const planes = av_pix_fmt_count_planes(Conf::ToAVPixelFormat(over.GetPixelFormat()));
    for (int i = 0; i < planes; ++i) {
        Proc::ReadOnlyPlane const from = under.GetReadOnlyPlane(i);
        Proc::WritablePlane const to = over.GetWritablePlane(i);
        switch (unit) {
        case Unit::Byte:
            BlendPlane<std::uint8_t>(from, to, weight);
            break;
        case Unit::Word:
            BlendPlane<std::uint16_t>(from, to, weight);
            break;
        case Unit::Float:
            BlendPlane<float>(from, to, weight);
            break;
        case Unit::None:
            break;
        }
    }
}

} // namespace Tarsel::Host
