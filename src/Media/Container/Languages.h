#pragma once

#include <string_view>

struct AVStream;

namespace Tarsel::Media {

/// ISO 639-2 has two codes for some languages, the bibliographic one ("ger") and the terminological one
/// ("deu").

/// The code by which QuickTime's list knows the language; `code` itself where it has one only. Any thread.
std::string_view GetQuickTimeLanguage(std::string_view code) noexcept;

/// What the stream says, as long as its metadata stay; "" where it says nothing, or "und". Any thread.
std::string_view GetLanguage(AVStream const& stream) noexcept;

bool IsSameLanguage(std::string_view a, std::string_view b) noexcept;

} // namespace Tarsel::Media
