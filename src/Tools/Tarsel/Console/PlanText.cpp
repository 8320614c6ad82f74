#include "Tools/Tarsel/Console/PlanText.h"

#include "Tools/Tarsel/Console/Json.h"

#include <fmt/format.h>

#include <utility>

namespace Tarsel::Tools {
namespace {

using Json = nlohmann::ordered_json;

std::string DescribeFate(Media::StreamPlan const& stream) {
    std::string const because = stream.reason.empty() ? "" : ": " + stream.reason;
    switch (stream.fate) {
    case Media::Fate::Drop:
        return "left out" + because;
    case Media::Fate::Copy:
        return "copied";
    case Media::Fate::Encode:
        return fmt::format("encoded with {} from {}{}", stream.encoder, stream.format, because);
    case Media::Fate::Convert:
        break;
    }
    return fmt::format("converted to {}{}", stream.outputCodec, because);
}

} // namespace

std::string ToText(Media::StreamPlan const& stream) {
    std::string text = fmt::format("{} {}", Media::GetStreamKindName(stream.kind), stream.number);
    if (!stream.language.empty() && stream.language != "und")
        text += fmt::format(" ({})", stream.language);
    std::string const what =
        stream.codec + (stream.codec.empty() || stream.inputFormat.empty() ? "" : " ") + stream.inputFormat;
    return text + (what.empty() ? "" : ": ") + what + "\n  " + DescribeFate(stream) + '\n';
}

nlohmann::ordered_json ToJson(Media::StreamPlan const& stream) {
    Json output;
    if (stream.output >= 0) {
        Json options = Json::object();
        for (auto const& [key, value] : stream.encoderOptions)
            options[key] = value;
        output = {{"index", stream.output},
                  {"codec", stream.outputCodec},
                  {"encoder", OrNull(stream.encoder)},
                  {"options", std::move(options)},
                  {"format", OrNull(stream.format)}};
    }
    return {{"kind", Media::GetStreamKindName(stream.kind)},
            {"number", stream.number},
            {"codec", OrNull(stream.codec)},
            {"language", OrNull(stream.language)},
            {"format", OrNull(stream.inputFormat)},
            {"fate", Media::GetFateName(stream.fate)},
            {"reason", OrNull(stream.reason)},
            {"output", std::move(output)},
            {"notes", stream.notes}};
}

} // namespace Tarsel::Tools
