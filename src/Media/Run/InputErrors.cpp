#include "Media/InputErrors.h"

#include "Media/Base/MessageText.h"

#include <fmt/format.h>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/log.h>
}

namespace Tarsel::Media {
namespace {

/// Of "[h264] text" the name; "" where there is none.
std::string GetSource(std::string_view line) {
    std::size_t const end = line.find(']');
    return line.starts_with('[') && end != std::string_view::npos ? std::string(line.substr(1, end - 1)) : "";
}

bool Reads(std::string const& source) {
    return avcodec_find_decoder_by_name(source.c_str()) != nullptr ||
           av_find_input_format(source.c_str()) != nullptr;
}

} // namespace

void InputErrors::Hear(int level, std::string_view line) {
    if (level > AV_LOG_ERROR || !Reads(GetSource(line)))
        return;
    if (++m_count == 1)
        m_first = line;
}

std::vector<std::string> InputErrors::GetNotes() const {
    if (m_count == 0)
        return {};
    return {fmt::format("The input may be damaged: reading it, FFmpeg reported {}: {}{}",
                        CountText(m_count, "error"), m_first, m_count > 1 ? " ..." : "")};
}

} // namespace Tarsel::Media
