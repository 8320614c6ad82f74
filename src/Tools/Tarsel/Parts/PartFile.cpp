#include "Tools/Tarsel/Parts/PartFile.h"

#include "Core/Throw.h"
#include "Media/MediaExceptions.h"
#include "Tools/Tarsel/Console/Json.h"
#include "Tools/Tarsel/Console/Version.h"
#include "Tools/Tarsel/Console/WholeFile.h"

#include <fmt/format.h>

#include <cstdint>
#include <cstdio>
#include <utility>

namespace Tarsel::Tools {
namespace {

using Json = nlohmann::ordered_json;

constexpr char const* s_partType = "part";
/// Raised when a member changes its meaning or goes, not when one is added.
constexpr int s_partVersion = 1;
constexpr char const* s_commonKeys[] = {"input", "references", "run", "versions"};

Json IdentityToJson(FileIdentity const& identity) {
    return {{"bytes", identity.bytes}, {"sha256_of_samples", identity.samples}};
}

FileIdentity IdentityFromJson(Json const& json) {
    return {json.at("bytes").get<std::uintmax_t>(), json.at("sha256_of_samples").get<std::string>()};
}

Json RatioToJson(Ratio ratio) {
    return fmt::format("{}/{}", ratio.numerator, ratio.denominator);
}

Ratio RatioFromJson(Json const& json) {
    Ratio ratio;
    long long numerator = 0;
    long long denominator = 0;
    if (std::sscanf(json.get<std::string>().c_str(), "%lld/%lld", &numerator, &denominator) == 2)
        ratio = {numerator, denominator};
    return ratio;
}

Json TimeToJson(std::int64_t ticks, Ratio timeBase) {
    return {{"ticks", ticks},
            {"seconds", static_cast<double>(ticks) * static_cast<double>(timeBase.numerator) /
                            static_cast<double>(timeBase.denominator)}};
}

constexpr char const* s_atBegin = "begin";
constexpr char const* s_atEnd = "end";

Json BoundToJson(std::int64_t microseconds) {
    return microseconds == Media::PartFacts::s_begin ? Json(s_atBegin)
           : microseconds == Media::PartFacts::s_end ? Json(s_atEnd)
                                                     : Json(microseconds);
}

std::int64_t BoundFromJson(Json const& json) {
    return json == s_atBegin ? Media::PartFacts::s_begin
           : json == s_atEnd ? Media::PartFacts::s_end
                             : json.get<std::int64_t>();
}

Json FactsToJson(Media::PartFacts const& facts) {
    if (facts.frames == 0)
        return nullptr;
    return {{"encoder", facts.encoder},
            {"frames", facts.frames},
            {"packets", facts.packets},
            {"frame_rate", RatioToJson(facts.frameRate)},
            {"time_base", RatioToJson(facts.timeBase)},
            {"first", TimeToJson(facts.first, facts.timeBase)},
            {"last", TimeToJson(facts.last, facts.timeBase)},
            {"end", TimeToJson(facts.end, facts.timeBase)}};
}

Media::PartFacts FactsFromJson(Json const& range, Json const& video) {
    Media::PartFacts facts;
    facts.from = BoundFromJson(range.at("from"));
    facts.to = BoundFromJson(range.at("to"));
    if (video.is_null())
        return facts;
    facts.encoder = video.at("encoder").get<std::string>();
    facts.frames = video.at("frames").get<std::int64_t>();
    facts.packets = video.at("packets").get<std::int64_t>();
    facts.frameRate = RatioFromJson(video.at("frame_rate"));
    facts.timeBase = RatioFromJson(video.at("time_base"));
    facts.first = video.at("first").at("ticks").get<std::int64_t>();
    facts.last = video.at("last").at("ticks").get<std::int64_t>();
    facts.end = video.at("end").at("ticks").get<std::int64_t>();
    return facts;
}

} // namespace

std::filesystem::path GetDescriptionPath(std::filesystem::path const& part) {
    return part.string() + ".json";
}

Json MakeCommon(std::filesystem::path const& input, std::vector<std::filesystem::path> const& references,
                Json settings) {
    Json others = Json::array();
    for (std::filesystem::path const& reference : references)
        others.push_back(IdentityToJson(ReadIdentity(reference)));
    Json versions;
    for (auto const& [name, version] : ListVersions())
        versions[name] = version;
    return {{"input", IdentityToJson(ReadIdentity(input))},
            {"references", std::move(others)},
            {"run", std::move(settings)},
            {"versions", std::move(versions)}};
}

std::string WritePartFile(PartFile const& file) {
    Json json{{"type", s_partType},
              {"version", s_partVersion},
              {"part", file.part.number},
              {"parts", file.part.count}};
    json["range"] = {{"from", BoundToJson(file.facts.from)}, {"to", BoundToJson(file.facts.to)}};
    json["video"] = FactsToJson(file.facts);
    json["output"] = IdentityToJson(file.identity);
    for (char const* const key : s_commonKeys)
        json[key] = file.common.at(key);
    // A path need not be UTF-8.
    return json.dump(2, ' ', false, Json::error_handler_t::replace) + '\n';
}

PartFile ReadPartFile(std::filesystem::path const& path) {
    std::string const text = ReadWholeFile(path);
    auto const fail = [&](std::string const& reason) {
        Core::Throw<Media::InputException>(
            fmt::format("\"{}\" does not describe a part of a video: {}", path.string(), reason));
    };
    PartFile file;
    try {
        Json const json = Json::parse(text);
        if (json.at("type") != s_partType)
            fail("its type is another");
        if (json.at("version") != s_partVersion)
            fail(fmt::format("it has version {}, not {}", json.at("version").dump(), s_partVersion));
        file.part = {json.at("part").get<int>(), json.at("parts").get<int>()};
        for (char const* const key : s_commonKeys)
            file.common[key] = json.at(key);
        file.identity = IdentityFromJson(json.at("output"));
        file.facts = FactsFromJson(json.at("range"), json.at("video"));
    } catch (Json::exception const& exception) {
        fail(exception.what());
    }
    return file;
}

std::string FindDifference(Json const& is, Json const& due) {
    if (is.type() != due.type() || !is.is_structured())
        return is == due ? std::string() : fmt::format(" is {}, not {}", is.dump(), due.dump());
    if (is.is_array() && is.size() != due.size())
        return fmt::format(" has {} entries, not {}", is.size(), due.size());
    Json const none;
    for (auto const& [key, value] : due.items()) {
        Json const& other = is.is_array() ? is.at(std::stoul(key)) : is.contains(key) ? is.at(key) : none;
        if (std::string const text = FindDifference(other, value); !text.empty())
            return (text.starts_with(' ') ? key : key + '.') + text;
    }
    for (auto const& [key, value] : is.items())
        if (is.is_object() && !due.contains(key))
            return fmt::format("{} is {}, not null", key, value.dump());
    return {};
}

std::string FindDifference(std::filesystem::path const& file, FileIdentity const& due) {
    FileIdentity const is = ReadIdentity(file);
    if (is == due)
        return {};
    return is.bytes != due.bytes ? fmt::format("it has {} bytes, not {}", is.bytes, due.bytes)
                                 : std::string("its content is another");
}

} // namespace Tarsel::Tools
