#include "Tools/Tarsel/Chain/FrameText.h"

#include "Conf/PixFmtDescription.h"
#include "Core/Text.h"
#include "Core/Throw.h"
#include "Tools/Tarsel/Console/UsageException.h"

#include <fmt/format.h>

#include <limits>
#include <optional>
#include <string>
#include <vector>

namespace Tarsel::Tools {
namespace {

constexpr std::int64_t s_maxSize = 65535;
constexpr std::int64_t s_maxInt = std::numeric_limits<std::int32_t>::max();

/// The parts of `text` between separators; at most `count` of them, the last takes the rest.
std::vector<std::string_view> Split(std::string_view text, char separator, std::size_t count) {
    std::vector<std::string_view> parts;
    while (parts.size() + 1 < count) {
        std::size_t const end = text.find(separator);
        if (end == std::string_view::npos)
            break;
        parts.push_back(text.substr(0, end));
        text.remove_prefix(end + 1);
    }
    parts.push_back(text);
    return parts;
}

std::optional<std::int64_t> ToNumber(std::string_view text, std::int64_t min, std::int64_t max) {
    auto const value = Core::TextToInt64(text);
    return value && *value >= min && *value <= max ? value : std::nullopt;
}

/// Two numbers with a separator between them, each in its range.
struct Pair {
    std::uint32_t first;
    std::uint32_t second;
};

std::optional<Pair> ToPair(std::string_view text, char separator, std::int64_t min, std::int64_t max) {
    auto const parts = Split(text, separator, 2);
    if (parts.size() != 2)
        return std::nullopt;
    auto const first = ToNumber(parts[0], min, max);
    auto const second = ToNumber(parts[1], min, max);
    if (!first || !second)
        return std::nullopt;
    return Pair{static_cast<std::uint32_t>(*first), static_cast<std::uint32_t>(*second)};
}

[[noreturn]] void ThrowFrame(std::string_view text, std::string const& reason) {
    Core::Throw<UsageException>(fmt::format("--frame \"{}\": {}", text, reason));
}

[[noreturn]] void ThrowSample(std::string_view text, std::string const& reason) {
    Core::Throw<UsageException>(fmt::format("--audio \"{}\": {}", text, reason));
}

} // namespace

FrameText ParseFrameText(std::string_view text) {
    auto const parts = Split(text, ':', 3);
    if (parts.size() < 2)
        ThrowFrame(text, "give WIDTHxHEIGHT:FORMAT[:NUM/DEN], such as 1920x1080:yuv420p");

    auto const size = ToPair(parts[0], 'x', 1, s_maxSize);
    if (!size)
        ThrowFrame(text, fmt::format("give the size as WIDTHxHEIGHT, each from 1 to {}, not \"{}\"",
                                     s_maxSize, parts[0]));
    auto const format = Conf::PixFmtDescription::FindByName(parts[1]);
    if (!format)
        ThrowFrame(text, fmt::format("\"{}\" is not a pixel format that FFmpeg knows", parts[1]));
    if (!Conf::PixFmtDescription::IsSupported(*format))
        ThrowFrame(text, fmt::format("choose another pixel format: effects cannot access \"{}\" in memory",
                                     parts[1]));

    FrameText result{{size->first, size->second, 1, 1}, *format};
    if (parts.size() == 3) {
        auto const aspect = ToPair(parts[2], '/', 1, s_maxInt);
        if (!aspect)
            ThrowFrame(text,
                       fmt::format("give the pixel aspect ratio as NUM/DEN, each from 1 to {}, not \"{}\"",
                                   s_maxInt, parts[2]));
        result.frame.aspectNum = aspect->first;
        result.frame.aspectDen = aspect->second;
    }
    return result;
}

Conf::SampleInfo ParseSampleText(std::string_view text) {
    auto const parts = Split(text, ':', 3);
    if (parts.size() != 3)
        ThrowSample(text, "give RATE:FORMAT:LAYOUT, such as 48000:fltp:stereo");

    auto const rate = ToNumber(parts[0], 1, s_maxInt);
    if (!rate)
        ThrowSample(text, fmt::format("give a sample rate from 1 to {}, not \"{}\"", s_maxInt, parts[0]));
    auto const format = Conf::SampleFmtRecord::FindByName(parts[1]);
    if (!format)
        ThrowSample(text, fmt::format("\"{}\" is not a sample format that effects support", parts[1]));
    auto const layout = Conf::ChannelLayout::FromName(std::string(parts[2]));
    if (!layout)
        ThrowSample(text, fmt::format("\"{}\" is not a channel layout that FFmpeg knows", parts[2]));
    return Conf::SampleInfo::Init(*format, static_cast<std::int32_t>(*rate), *layout);
}

} // namespace Tarsel::Tools
