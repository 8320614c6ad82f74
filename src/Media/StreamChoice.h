#pragma once

#include "Media/Api.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

namespace Tarsel::Media {

/// Which streams of a kind are wanted.
struct StreamChoice {
    enum class By : std::uint8_t { All, None, Number, Language };

    By by = By::All;
    /// Among those of the kind, from 0, in the order of the file; covers are not counted.
    int number = 0;
    /// ISO 639-2, "deu" or "ger".
    std::string language;

    static StreamChoice None() { return {By::None, 0, {}}; }
    static StreamChoice Number(int number) { return {By::Number, number, {}}; }
    static StreamChoice Language(std::string language) { return {By::Language, 0, std::move(language)}; }

    friend bool operator==(StreamChoice const&, StreamChoice const&) = default;
};

/// Whether the stream of that number and language is one of them. Any thread.
TARSEL_MEDIA_API bool Includes(StreamChoice const& choice, int number, std::string_view language) noexcept;

/// What is wanted of a file. The best of the videos is worked on, the others are copied. Without video there
/// are no covers either; otherwise they stay.
struct StreamSelection {
    StreamChoice video;
    StreamChoice audio;
    StreamChoice subtitles;

    friend bool operator==(StreamSelection const&, StreamSelection const&) = default;
};

} // namespace Tarsel::Media
