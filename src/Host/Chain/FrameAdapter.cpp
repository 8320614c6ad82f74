#include "Host/Chain/FrameAdapter.h"

#include "Conf/Color.h"
#include "Conf/PixFmtDescription.h"
#include "Core/Throw.h"
#include "Proc/Data/DataVideoFF.h"
#include "Proc/Interfaces/ProcExceptions.h"
#include "Proc/Wrappers/SafeFrame.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstring>
#include <utility>
#include <vector>

extern "C" {
#include <libavutil/frame.h>
#include <libavutil/imgutils.h>
#include <libavutil/pixfmt.h>
}

namespace Tarsel::Host {
namespace {

using Conf::PixFmt;
using Conf::PixFmtDescription;

/// Formats that nobody converts to of his own accord.
constexpr int s_awkward = PixFmtDescription::BigEndian | PixFmtDescription::Float;

/// One component a plane, so that samples are repeated without knowing what lies beside them; and none that
/// FFmpeg would make RGB of for a filter that does not know it.
bool IsResizableYuv(PixFmt format) {
    return Conf::Color::HasPlanePerComponent(format) && !Conf::Color::IsRgbLike(format) &&
           format != PixFmt::YUVJ444P;
}

/// To a whole number of chroma samples, and of pixel pairs.
std::uint32_t RoundUp(std::uint32_t size, int chromaShift) {
    std::uint32_t const step = std::max(2U, 1U << chromaShift);
    return (size + step - 1) / step * step;
}

/// The planar YUV format that loses least of `format`, alpha and depth counted.
PixFmt ChoosePlanarYuv(PixFmt format) {
    static std::vector<PixFmt> const candidates = [] {
        std::vector<PixFmt> all;
        for (PixFmt const each : PixFmtDescription::s_supportedFormats)
            if (IsResizableYuv(each) && (PixFmtDescription::Find(each).GetFlags() & s_awkward) == 0 &&
                Conf::WithoutFixedRange(each) == each)
                all.push_back(each);
        // Of several that lose as little the first one is taken.
        std::ranges::stable_sort(all, {},
                                 [](PixFmt each) { return PixFmtDescription::Find(each).GetDepth(); });
        return all;
    }();
    return FindBestPixelFormatOfList(candidates, format, true, nullptr);
}

/// Fills `to`, which is no smaller than `from` in any direction, by repeating the last sample and row.
void CopyRepeatingEdges(Proc::ReadOnlyPlane const& from, Proc::WritablePlane const& to, std::size_t sample) {
    for (std::uint32_t y = 0; y < to.rows; ++y) {
        std::uint8_t const* const source =
            from.data + static_cast<std::ptrdiff_t>(std::min(y, from.rows - 1)) * from.lineSize;
        std::uint8_t* const target = to.data + static_cast<std::ptrdiff_t>(y) * to.lineSize;
        std::memcpy(target, source, from.rowBytes);
        for (std::size_t x = from.rowBytes; x < to.rowBytes; x += sample)
            std::memcpy(target + x, target + x - sample, sample);
    }
}

} // namespace

std::optional<FrameAdapter> FrameAdapter::Make(Proc::EffectTraits const& traits, PictureForm const& form) {
    if (traits.roundsToChroma) {
        std::optional<ChromaPair> const pair = FindChromaPair(form.format);
        return pair ? std::optional(FrameAdapter(form, {pair->full, form.width, form.height}, pair))
                    : std::nullopt;
    }
    // Where the size changes, nobody could tell what belongs to the edge.
    if (traits.size != Proc::Keeps::Always)
        return std::nullopt;
    PictureForm inner = form;
    if (traits.takes == Proc::Takes::PlanarYuv && !IsResizableYuv(form.format))
        inner.format = ChoosePlanarYuv(form.format);
    if (traits.evenSize) {
        auto const& description = PixFmtDescription::Find(inner.format);
        inner.width = RoundUp(inner.width, description.GetChromaShiftX());
        inner.height = RoundUp(inner.height, description.GetChromaShiftY());
    }
    if (inner == form)
        return std::nullopt;
    return FrameAdapter(form, inner, std::nullopt);
}

SP<Proc::IDataVideo> FrameAdapter::Adapt(Proc::IDataVideo const& frame) {
    m_outerSpace = frame.GetColorSpace();
    SP<Proc::IDataVideo> converted;
    Proc::IDataVideo const* source = &frame;
    if (m_chroma) {
        if (m_chroma->subsampled != m_outer.format) {
            converted = ConvertPixels(frame, m_chroma->subsampled, m_outerSpace, m_there);
            source = converted.get();
        }
        return SpreadChroma(*source, *m_chroma);
    }
    if (m_inner.format != m_outer.format) {
        Conf::ColorSpace const space =
            Conf::Color::After({m_outer.format, m_outerSpace}, m_inner.format, Conf::Color::For::RoundTrip);
        converted = ConvertPixels(frame, m_inner.format, space, m_there);
        source = converted.get();
    }
    if (m_inner.width == m_outer.width && m_inner.height == m_outer.height)
        return converted;

    Conf::FrameInfo info = frame.GetFrameInfo();
    info.width = m_inner.width;
    info.height = m_inner.height;
    SP<Proc::IDataVideo> padded =
        Proc::DataVideoFF::CreateLike(frame, source->GetColorSpace(), m_inner.format, info);
    auto const& format = PixFmtDescription::Find(m_inner.format);
    std::size_t const sample = format.GetDepth() > 16 ? 4 : format.GetDepth() > 8 ? 2 : 1;
    for (int plane = 0; plane < format.GetPlaneCount(); ++plane)
        CopyRepeatingEdges(source->GetReadOnlyPlane(plane), padded->GetWritablePlane(plane), sample);
    return padded;
}

SP<Proc::IDataVideo> FrameAdapter::Restore(SP<Proc::IDataVideo> const& result) {
    if (m_chroma)
        return RestoreChroma(result);
    SP<Proc::IDataVideo> const cut = RestoreSize(result);
    if (m_outer.format == m_inner.format || cut->GetPixelFormat() == m_outer.format)
        return cut;
    return ConvertPixels(*cut, Conf::Color::WithoutPalette(m_outer.format), m_outerSpace, m_back);
}

SP<Proc::IDataVideo> FrameAdapter::RestoreChroma(SP<Proc::IDataVideo> const& result) {
    if (result->GetPixelFormat() != m_inner.format)
        return result;
    SP<Proc::IDataVideo> gathered = GatherChroma(*result, *m_chroma);
    if (m_chroma->subsampled == m_outer.format)
        return gathered;
    return ConvertPixels(*gathered, m_outer.format, gathered->GetColorSpace(), m_back);
}

void FrameAdapter::Restore(Conf::IFormatCodecVideo& format) const {
    if (!m_chroma || format.GetPixelFormat() == m_inner.format)
        format.SetPixelFormat(Conf::Color::WithoutPalette(m_outer.format));
    if (!m_chroma) {
        Conf::FrameInfo const info = format.GetFrameInfo();
        format.InitByPixelAspect(m_outer.width, m_outer.height, info.aspectNum, info.aspectDen);
    }
}

SP<Proc::IDataVideo> FrameAdapter::RestoreSize(SP<Proc::IDataVideo> const& result) const {
    PictureForm const form = GetForm(*result);
    if (form.width != m_inner.width || form.height != m_inner.height)
        Core::Throw<Proc::EffectException>(fmt::format("The effect breaks its contract: it states that it "
                                                       "keeps the size, but turned {2}x{3} into {0}x{1}",
                                                       form.width, form.height, m_inner.width,
                                                       m_inner.height));
    // Cutting off at the right and below is a matter of the size alone.
    Proc::SafeFrame frame = Proc::SafeFrame::Reference(*result->GetAVFrame());
    frame->width = static_cast<int>(m_outer.width);
    frame->height = static_cast<int>(m_outer.height);
    Conf::FrameInfo info = result->GetFrameInfo();
    info.width = m_outer.width;
    info.height = m_outer.height;
    return MakeSP<Proc::DataVideoFF>(std::move(frame), info);
}

std::string FrameAdapter::Describe() const {
    if (m_chroma)
        return {};
    auto const name = [](PictureForm const& form) {
        return fmt::format("{} {}x{}", PixFmtDescription::Find(form.format).GetName(), form.width,
                           form.height);
    };
    return fmt::format("{} as {} and back", name(m_outer), name(m_inner));
}

} // namespace Tarsel::Host
