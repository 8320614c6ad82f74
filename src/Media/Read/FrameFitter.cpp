#include "Media/Read/FrameFitter.h"

#include "Core/Throw.h"
#include "Media/Base/MessageText.h"
#include "Media/MediaExceptions.h"
#include "Proc/Wrappers/FFmpegText.h"
#include "Proc/Wrappers/FrameFields.h"
#include "Proc/Wrappers/FrameRoom.h"

#include <fmt/format.h>

#include <utility>

extern "C" {
#include <libavutil/frame.h>
}

namespace Tarsel::Media {

namespace {

/// Colors that are stated otherwise from some frame on stay as they are stated.
bool IsAlike(Proc::SwsCtxSide const& a, Proc::SwsCtxSide const& b) noexcept {
    return a.width == b.width && a.height == b.height && a.format == b.format;
}

} // namespace

FrameFitter::FrameFitter(std::filesystem::path path, bool mayScale)
    : m_path(std::move(path)), m_mayScale(mayScale) {}

void FrameFitter::FitTo(AVFrame const& first) {
    m_first = Proc::SafeFrame::Reference(first);
    m_target = m_last = Proc::SideOf(first);
}

Proc::SafeFrame FrameFitter::Fit(Proc::SafeFrame frame, std::int64_t time) {
    Proc::SwsCtxSide const side = Proc::SideOf(*frame);
    if (!m_first)
        FitTo(*frame);
    if (!IsAlike(side, m_last)) {
        if (m_firstChange.empty())
            m_firstChange = fmt::format("to {} at {}", Proc::PictureText(*frame), SecondsText(time));
        ++m_changes;
    }
    bool const isOther = !IsAlike(side, m_target);
    if (isOther && !m_mayScale)
        Core::Throw<InputException>(fmt::format("Allow scaling: the frames of {} change from {} {}",
                                                Quote(m_path), Proc::PictureText(**m_first), m_firstChange));
    if (isOther && !(m_scaler && side == m_last))
        m_scaler = Proc::SafeSwsContext({side, m_target});
    m_last = side;
    if (!isOther)
        return frame;
    ++m_scaled;
    Proc::SafeFrame const source = Proc::MakeRegular(*frame);
    AVFrame const& first = **m_first;
    Proc::SafeFrame scaled(m_target.space, m_target.format, m_target.width, m_target.height,
                           static_cast<std::uint32_t>(first.sample_aspect_ratio.num),
                           static_cast<std::uint32_t>(first.sample_aspect_ratio.den));
    scaled.CopyProperties(*source);
    scaled->sample_aspect_ratio = first.sample_aspect_ratio;
    scaled->chroma_location = first.chroma_location;
    Proc::SetFrameColorSpace(*scaled, m_target.space);
    m_scaler.Scale(*source, *scaled);
    return scaled;
}

std::vector<std::string> FrameFitter::GetNotes() const {
    if (m_scaled == 0)
        return {};
    return {
        fmt::format("Scaled {} to {} like the first: the video changes {}{}.", CountText(m_scaled, "frame"),
                    Proc::PictureText(**m_first), m_firstChange,
                    m_changes > 1 ? fmt::format(", and {} later", CountText(m_changes - 1, "time")) : "")};
}

} // namespace Tarsel::Media
