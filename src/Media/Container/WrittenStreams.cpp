#include "Media/Container/WrittenStreams.h"

#include "Core/NearNames.h"
#include "Host/FFmpegMessages.h"
#include "Media/Base/FFmpegOwners.h"
#include "Media/Container/Containers.h"
#include "Media/Container/Languages.h"

#include <boost/algorithm/string/case_conv.hpp>
#include <boost/algorithm/string/predicate.hpp>
#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <iterator>
#include <string_view>
#include <utility>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/dict.h>
#include <libavutil/pixdesc.h>
}

namespace Tarsel::Media {

namespace {

/// What no container keeps as such, or what shows in other ways.
constexpr int s_untoldDispositions = AV_DISPOSITION_DEFAULT | AV_DISPOSITION_ATTACHED_PIC |
                                     AV_DISPOSITION_TIMED_THUMBNAILS | AV_DISPOSITION_STILL_IMAGE |
                                     AV_DISPOSITION_DEPENDENT;

std::string_view GetValue(AVStream const& stream, char const* key) noexcept {
    AVDictionaryEntry const* const entry = av_dict_get(stream.metadata, key, nullptr, 0);
    return entry != nullptr ? entry->value : "";
}

AVRational GetAspect(AVStream const& stream) noexcept {
    AVRational const own = stream.sample_aspect_ratio;
    AVRational const aspect = own.num > 0 ? own : stream.codecpar->sample_aspect_ratio;
    return aspect.num > 0 && aspect.den > 0 ? aspect : AVRational{1, 1};
}

/// Containers round to whole pixels.
bool IsSameAspect(AVRational a, AVRational b, int width) noexcept {
    constexpr double visible = 0.01;
    double const difference = std::abs(av_q2d(a) - av_q2d(b));
    return difference < visible * av_q2d(b) || difference * width < 1;
}

bool IsOfKind(AVStream const& stream, AVMediaType kind) noexcept {
    return stream.codecpar->codec_type == kind;
}

/// The streams of a kind in their order, by which those of the file and those asked for belong together: some
/// containers have an order of their own.
std::vector<AVStream const*> ListOfKind(AVFormatContext const& context, AVMediaType kind) {
    std::vector<AVStream const*> streams;
    for (unsigned i = 0; i < context.nb_streams; ++i)
        if (IsOfKind(*context.streams[i], kind))
            streams.push_back(context.streams[i]);
    return streams;
}

/// Players take the first stream of a kind where none is marked.
bool IsDefaultInVain(AVStream const& stream, std::vector<AVStream const*> const& ofItsKind) {
    return (stream.disposition & AV_DISPOSITION_DEFAULT) != 0 && &stream != ofItsKind.front() &&
           (ofItsKind.front()->disposition & AV_DISPOSITION_DEFAULT) == 0;
}

using Tag = std::pair<std::string_view, std::string_view>;

/// What the tag is about is the file itself, or who wrote it.
bool IsOfWriter(std::string_view key) {
    constexpr std::string_view keys[] = {"encoder",          "software",    "language",
                                         "variant_bitrate",  "major_brand", "minor_version",
                                         "compatible_brands"};
    return std::ranges::any_of(keys, [&](std::string_view each) { return boost::iequals(key, each); });
}

std::vector<Tag> ListTags(AVDictionary const* metadata) {
    std::vector<Tag> tags;
    AVDictionaryEntry const* entry = nullptr;
    while ((entry = av_dict_get(metadata, "", entry, AV_DICT_IGNORE_SUFFIX)) != nullptr)
        if (!IsOfWriter(entry->key) && *entry->value != '\0')
            tags.emplace_back(entry->key, entry->value);
    return tags;
}

/// Matroska has them in capitals.
std::string ToUsualForm(std::string_view key) {
    bool const isInCapitals =
        std::ranges::none_of(key, [](char letter) { return letter >= 'a' && letter <= 'z'; });
    return isInCapitals ? boost::algorithm::to_lower_copy(std::string(key)) : std::string(key);
}

/// Some containers have the tags of the file in its streams, some have other names for a few.
std::vector<std::string> ListLostTags(AVDictionary const* asked, AVFormatContext const& file,
                                      std::string_view unread) {
    std::vector<Tag> written = ListTags(file.metadata);
    for (unsigned i = 0; i < file.nb_streams; ++i)
        std::ranges::copy(ListTags(file.streams[i]->metadata), std::back_inserter(written));
    for (unsigned i = 0; i < file.nb_programs; ++i)
        std::ranges::copy(ListTags(file.programs[i]->metadata), std::back_inserter(written));
    std::vector<std::string> lost;
    for (Tag const& tag : ListTags(asked)) {
        bool const isThere = Core::HasWord(unread, ToUsualForm(tag.first)) ||
                             std::ranges::any_of(written, [&](Tag const& each) {
                                 return boost::iequals(tag.first, each.first) || tag.second == each.second;
                             });
        if (!isThere)
            lost.push_back(ToUsualForm(tag.first));
    }
    return lost;
}

/// A high dynamic range or a wide gamut: taken for the usual colors they look dull.
std::vector<std::string> ListWideColors(AVCodecParameters const& stream) {
    std::vector<std::string> colors;
    bool const isHdr = stream.color_trc == AVCOL_TRC_SMPTE2084 || stream.color_trc == AVCOL_TRC_ARIB_STD_B67;
    if (isHdr)
        colors.push_back(fmt::format("the transfer curve {}", av_color_transfer_name(stream.color_trc)));
    if (stream.color_primaries == AVCOL_PRI_BT2020)
        colors.push_back(fmt::format("the primaries {}", av_color_primaries_name(stream.color_primaries)));
    return colors;
}

bool SaysAnything(AVFormatContext const& asked) {
    return std::any_of(asked.streams, asked.streams + asked.nb_streams, [&](AVStream const* stream) {
        return !GetValue(*stream, "title").empty() || !GetLanguage(*stream).empty() ||
               (stream->disposition & ~s_untoldDispositions) != 0 ||
               !IsSameAspect(GetAspect(*stream), {1, 1}, stream->codecpar->width) ||
               IsDefaultInVain(*stream, ListOfKind(asked, stream->codecpar->codec_type)) ||
               !ListWideColors(*stream->codecpar).empty();
    });
}

UniqueInput Open(std::filesystem::path const& path) {
    AVFormatContext* context = nullptr;
    if (avformat_open_input(&context, ("file:" + path.string()).c_str(), nullptr, nullptr) < 0)
        return nullptr;
    UniqueInput input(context);
    return avformat_find_stream_info(context, nullptr) >= 0 ? std::move(input) : nullptr;
}

std::vector<std::string> ListLostDispositions(AVStream const& asked, AVStream const& written,
                                              bool isDefault) {
    std::vector<std::string> lost;
    int const bits = asked.disposition & ~written.disposition & ~s_untoldDispositions;
    for (int bit = 1; bit > 0 && bit <= bits; bit <<= 1)
        if (char const* const name = (bits & bit) != 0 ? av_disposition_to_string(bit) : nullptr) {
            lost.emplace_back(name);
            std::ranges::replace(lost.back(), '_', ' ');
        }
    if (isDefault && (written.disposition & AV_DISPOSITION_DEFAULT) == 0)
        lost.emplace_back("default");
    return lost;
}

std::vector<std::string> ListLost(AVStream const& asked, AVStream const& written, bool isDefault) {
    std::vector<std::string> lost;
    if (auto const title = GetValue(asked, "title"); !title.empty() && title != GetValue(written, "title"))
        lost.push_back(fmt::format("the title \"{}\"", title));
    if (auto const language = GetLanguage(asked);
        !language.empty() && !IsSameLanguage(language, GetLanguage(written)))
        lost.push_back(fmt::format("the language {}", language));
    if (auto const marks = ListLostDispositions(asked, written, isDefault); !marks.empty())
        lost.push_back(fmt::format("the mark{} {}", marks.size() > 1 ? "s" : "", fmt::join(marks, ", ")));
    return lost;
}

} // namespace

std::vector<std::string> DescribeLostTags(AVFormatContext const& asked, AVDictionary const* fileTags,
                                          std::vector<int> const& indexes,
                                          std::filesystem::path const& written) {
    std::vector<std::string> notes;
    if (ListTags(fileTags).empty() && !SaysAnything(asked))
        return notes;
    Host::FFmpegMessages::Trial const trial;
    UniqueInput const file = Open(written);
    if (file == nullptr)
        return notes;
    std::string const name = GetFileKind(asked);
    if (auto const tags = ListLostTags(fileTags, *file, GetTraits(*asked.oformat).unreadTags); !tags.empty())
        notes.push_back(fmt::format("Left out the tag{} {}: {} has no place for {}.",
                                    tags.size() > 1 ? "s" : "", fmt::join(tags, ", "), name,
                                    tags.size() > 1 ? "them" : "it"));
    for (std::size_t i = 0; i < indexes.size(); ++i) {
        if (indexes[i] < 0)
            continue;
        AVStream const& stream = *asked.streams[indexes[i]];
        AVMediaType const kind = stream.codecpar->codec_type;
        auto const wanted = ListOfKind(asked, kind);
        auto const made = ListOfKind(*file, kind);
        auto const number = static_cast<std::size_t>(std::ranges::find(wanted, &stream) - wanted.begin());
        if (number >= made.size())
            continue;
        AVStream const& same = *made[number];
        auto const lost = ListLost(stream, same, IsDefaultInVain(stream, wanted));
        if (!lost.empty())
            notes.push_back(fmt::format("Left out {} of stream {} ({}): {} has no place for {}.",
                                        fmt::join(lost, ", "), i, av_get_media_type_string(kind), name,
                                        lost.size() > 1 ? "them" : "it"));
        auto const colors = ListWideColors(*stream.codecpar);
        if (!colors.empty() && colors != ListWideColors(*same.codecpar))
            notes.push_back(fmt::format("Choose another container or encoder to keep {}: {} in {} does not "
                                        "state {}, and players show "
                                        "dull colors.",
                                        fmt::join(colors, " and "),
                                        avcodec_get_name(stream.codecpar->codec_id), name,
                                        colors.size() > 1 ? "them" : "it"));
        AVRational const aspect = GetAspect(stream);
        AVRational const shown = GetAspect(same);
        if (kind == AVMEDIA_TYPE_VIDEO && !IsSameAspect(aspect, shown, stream.codecpar->width))
            notes.push_back(
                fmt::format("Resize to square pixels to keep the shape of the frames: {} in {} says a "
                            "pixel aspect of {}:{}, not {}:{}.",
                            avcodec_get_name(stream.codecpar->codec_id), name, shown.num, shown.den,
                            aspect.num, aspect.den));
    }
    return notes;
}

} // namespace Tarsel::Media
