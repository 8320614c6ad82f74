#include "Media/Read/ImageFacts.h"

#include "Host/FFmpegMessages.h"
#include "Media/MediaExceptions.h"
#include "Media/Read/VideoSource.h"

#include <boost/algorithm/string/predicate.hpp>
#include <fmt/format.h>

#include <algorithm>
#include <cstddef>

extern "C" {
#include <libavutil/dict.h>
#include <libavutil/frame.h>
}

namespace Tarsel::Media {

namespace {

/// Named in a message.
constexpr std::size_t s_mostNamed = 6;

std::string DescribeTags(std::vector<std::string> const& tags) {
    std::size_t const named = std::min(tags.size(), s_mostNamed);
    std::string const names =
        fmt::format("{}", fmt::join(tags.begin(), tags.begin() + static_cast<std::ptrdiff_t>(named), ", "));
    return fmt::format("{} tag{} ({}{})", tags.size(), tags.size() == 1 ? "" : "s", names,
                       named < tags.size() ? ", ..." : "");
}

} // namespace

ImageFacts ListImageFacts(AVFrame const& image) {
    ImageFacts facts;
    AVDictionaryEntry const* entry = nullptr;
    while ((entry = av_dict_get(image.metadata, "", entry, AV_DICT_IGNORE_SUFFIX)) != nullptr)
        // The orientation has been dealt with, and filters say what they measure.
        if (!boost::iequals(entry->key, "Orientation") && !boost::starts_with(entry->key, "lavfi."))
            facts.tags.emplace_back(entry->key);
    facts.hasProfile = av_frame_get_side_data(&image, AV_FRAME_DATA_ICC_PROFILE) != nullptr;
    return facts;
}

std::vector<std::string> DescribeLostFacts(ImageFacts const& asked, std::filesystem::path const& written) {
    if (asked.tags.empty() && !asked.hasProfile)
        return {};
    Host::FFmpegMessages::Trial const trial;
    ImageFacts kept;
    try {
        VideoSource source(written, {});
        static_cast<void>(source.GetInfo());
        kept = source.ListFacts();
    } catch (InputException const&) {
        return {};
    }
    std::vector<std::string> lost = asked.tags;
    std::erase_if(lost, [&](std::string const& tag) { return std::ranges::count(kept.tags, tag) > 0; });
    std::vector<std::string> notes;
    if (!lost.empty())
        notes.push_back(
            fmt::format("Left out {} of the image: FFmpeg does not write them.", DescribeTags(lost)));
    if (asked.hasProfile && !kept.hasProfile)
        notes.emplace_back(
            "Left out the color profile of the image, so its colors may look different: choose "
            ".png or .jpg to keep it.");
    return notes;
}

} // namespace Tarsel::Media
