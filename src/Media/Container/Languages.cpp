#include "Media/Container/Languages.h"

extern "C" {
#include <libavformat/avformat.h>
#include <libavutil/dict.h>
}

namespace Tarsel::Media {

namespace {

/// QuickTime's code comes second.
constexpr std::string_view s_codes[][2] = {{"cze", "ces"}, {"cym", "wel"}, {"deu", "ger"}, {"ell", "gre"},
                                           {"eus", "baq"}, {"bod", "tib"}, {"fas", "per"}, {"fre", "fra"},
                                           {"hye", "arm"}, {"isl", "ice"}, {"kat", "geo"}, {"mkd", "mac"},
                                           {"msa", "may"}, {"mya", "bur"}, {"nld", "dut"}, {"rum", "ron"},
                                           {"slo", "slk"}, {"sqi", "alb"}, {"zho", "chi"}};

} // namespace

std::string_view GetQuickTimeLanguage(std::string_view code) noexcept {
    for (auto const& [other, known] : s_codes)
        if (code == other)
            return known;
    return code;
}

std::string_view GetLanguage(AVStream const& stream) noexcept {
    AVDictionaryEntry const* const entry = av_dict_get(stream.metadata, "language", nullptr, 0);
    std::string_view const language = entry != nullptr ? entry->value : "";
    return language == "und" ? "" : language;
}

bool IsSameLanguage(std::string_view a, std::string_view b) noexcept {
    return GetQuickTimeLanguage(a) == GetQuickTimeLanguage(b);
}

} // namespace Tarsel::Media
