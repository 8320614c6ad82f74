#include "Tools/Tarsel/Verbs/FrameFactsFile.h"

#include "Core/Files.h"
#include "Core/Throw.h"
#include "Media/MediaExceptions.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <cerrno>
#include <string>
#include <system_error>

#include <unistd.h>

namespace Tarsel::Tools {
namespace {

using Json = nlohmann::ordered_json;

/// Raised when a member changes its meaning or goes, not when one is added.
constexpr int s_version = 1;

[[noreturn]] void ThrowCannotWrite(std::filesystem::path const& path, int error) {
    Core::Throw<Media::OutputException>(fmt::format("--frame-facts: cannot write \"{}\": {}", path.string(),
                                                    std::generic_category().message(error)));
}

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
    if (!overwrite && Core::FileExists(path))
        Core::Throw<Media::OptionsException>(fmt::format("\"{}\" exists already", path.string()),
                                             Media::TagMissingOption("overwrite"));
    m_path = path;
    m_temporary.emplace(path.parent_path() / fmt::format(".{}.tmp-{}", path.filename().string(), getpid()));
    m_file.reset(std::fopen(m_temporary->Get().c_str(), "wxe"));
    if (m_file == nullptr)
        ThrowCannotWrite(path, errno);
    WriteLine(Dump({{"type", "start"}, {"version", s_version}, {"output", output.string()}}));
}

void FrameFactsFile::Write(Media::FrameFacts const& facts) {
    WriteLine(Dump(ToJson(facts)));
}

void FrameFactsFile::WriteLine(std::string const& line) {
    if (std::fwrite(line.data(), 1, line.size(), m_file.get()) < line.size())
        ThrowCannotWrite(m_path, errno);
}

void FrameFactsFile::Publish() {
    if (m_file == nullptr)
        return;
    if (std::fclose(m_file.release()) != 0)
        ThrowCannotWrite(m_path, errno);
    std::error_code error;
    std::filesystem::rename(m_temporary->Get(), m_path, error);
    if (error)
        ThrowCannotWrite(m_path, error.value());
    m_temporary->Keep();
}

} // namespace Tarsel::Tools
