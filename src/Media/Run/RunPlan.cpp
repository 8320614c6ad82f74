#include "Media/RunPlan.h"

namespace Tarsel::Media {

std::string_view GetStreamKindName(StreamKind kind) noexcept {
    switch (kind) {
    case StreamKind::Video:
        return "video";
    case StreamKind::Cover:
        return "cover";
    case StreamKind::Audio:
        return "audio";
    case StreamKind::Subtitles:
        return "subtitles";
    case StreamKind::Attachment:
        return "attachment";
    case StreamKind::Data:
        break;
    }
    return "data";
}

std::string_view GetFateName(Fate fate) noexcept {
    switch (fate) {
    case Fate::Drop:
        break;
    case Fate::Copy:
        return "copy";
    case Fate::Encode:
        return "encode";
    case Fate::Convert:
        return "convert";
    }
    return "drop";
}

std::vector<std::string> RunPlan::ListNotes() const {
    std::vector<std::string> all;
    for (StreamPlan const& stream : streams)
        all.insert(all.end(), stream.notes.begin(), stream.notes.end());
    all.insert(all.end(), notes.begin(), notes.end());
    return all;
}

} // namespace Tarsel::Media
