#include "Tools/Tarsel/Work/FrameFactsFile.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <string>

namespace Tarsel::Tools {
namespace {

using Json = nlohmann::ordered_json;

/// Raised when a member changes its meaning or goes, not when one is added.
constexpr int s_factsVersion = 1;

std::string Dump(Json const& line) {
    // A path need not be UTF-8.
    return line.dump(-1, ' ', false, Json::error_handler_t::replace) + '\n';
}

Json ToJson(Media::FrameFacts const& facts) {
    using Kind = Media::FrameFacts::Kind;
    if (facts.kind == Kind::Copied)
        return {{"type", "copied"}, {"stream", facts.stream}, {"codec", facts.format}};
    auto const seconds = [&](std::int64_t ticks) {
        return static_cast<double>(ticks) * static_cast<double>(facts.timeBase.numerator) /
               static_cast<double>(facts.timeBase.denominator);
    };
    Json line{{"type", facts.kind == Kind::Video ? "video" : "audio"},
              {"stream", facts.stream},
              {"time", seconds(facts.time)},
              {"duration", seconds(facts.duration)},
              {"ticks", facts.time},
              {"duration_ticks", facts.duration},
              {"time_base", fmt::format("{}/{}", facts.timeBase.numerator, facts.timeBase.denominator)},
              {"format", facts.format}};
    if (facts.kind == Kind::Video) {
        line["width"] = facts.width;
        line["height"] = facts.height;
    } else {
        line["rate"] = facts.rate;
        line["channels"] = facts.channels;
        line["samples"] = facts.samples;
    }
    line["murmur3"] = facts.hash;
    return line;
}

} // namespace

void FrameFactsFile::Open(std::filesystem::path const& path, bool overwrite,
                          std::filesystem::path const& output) {
    m_file = WholeFile(path, overwrite);
    m_file.Write(Dump({{"type", "start"}, {"version", s_factsVersion}, {"output", output.string()}}));
}

void FrameFactsFile::Write(Media::FrameFacts const& facts) {
    m_file.Write(Dump(ToJson(facts)));
}

} // namespace Tarsel::Tools
