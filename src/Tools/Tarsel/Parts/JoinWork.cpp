#include "Tools/Tarsel/Parts/JoinWork.h"

#include "Core/Throw.h"
#include "Tools/Tarsel/Console/UsageException.h"
#include "Tools/Tarsel/Console/Version.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstddef>

namespace Tarsel::Tools {
namespace {

constexpr std::size_t s_mostNamed = 5;

[[noreturn]] void RefuseParts(std::string const& reason) {
    Core::Throw<UsageException>(reason);
}

/// "part 3 (\"c.mkv\")".
std::string GetName(DescribedPart const& part) {
    return fmt::format("part {} (\"{}\")", part.description.part.number, part.file.string());
}

/// Each number once.
void CheckNumbers(std::vector<DescribedPart> const& parts) {
    int const count = parts.front().description.part.count;
    for (std::size_t i = 0; i + 1 < parts.size(); ++i) {
        PartNumber const& next = parts[i + 1].description.part;
        if (next.count != count)
            RefuseParts(fmt::format("Leave out {}, which is one of {}: {} is one of {}",
                                    GetName(parts[i + 1]), next.count, GetName(parts.front()), count));
        if (next.number == parts[i].description.part.number)
            RefuseParts(fmt::format("Give part {} once: \"{}\" and \"{}\" both are", next.number,
                                    parts[i].file.string(), parts[i + 1].file.string()));
    }
    std::string missing;
    std::size_t named = 0;
    for (int number = 1; number <= count; ++number)
        if (!std::ranges::binary_search(parts, number, {},
                                        [](auto const& part) { return part.description.part.number; }))
            if (++named <= s_mostNamed)
                missing += fmt::format("{}{}", missing.empty() ? "" : ", ", number);
    if (named > 0)
        RefuseParts(fmt::format("Add part {}{} of {}: {} missing", missing,
                                named > s_mostNamed ? ", ..." : "", count,
                                named == 1 ? "it is" : fmt::format("{} are", named)));
}

/// No gap and no overlap.
void CheckRanges(std::vector<DescribedPart> const& parts) {
    std::int64_t at = Media::PartFacts::s_begin;
    for (DescribedPart const& part : parts) {
        Media::PartFacts const& facts = part.description.facts;
        bool const isLast = &part == &parts.back();
        if (facts.from != at || facts.to < facts.from || (isLast && facts.to != Media::PartFacts::s_end))
            RefuseParts(
                fmt::format("Make {} again: it does not begin where the part before ends", GetName(part)));
        at = facts.to;
    }
}

void CheckAlike(std::vector<DescribedPart> const& parts) {
    DescribedPart const& first = parts.front();
    for (DescribedPart const& part : parts)
        if (std::string const other = FindDifference(part.description.common, first.description.common);
            !other.empty())
            RefuseParts(fmt::format("Make {} again, like {}: {}", GetName(part), GetName(first), other));
}

/// What is added to the video comes from this program.
void CheckVersions(PartFile const& first) {
    for (auto const& [name, version] : ListVersions())
        if (auto const made = first.common.at("versions").value(name, version); made != version)
            RefuseParts(
                fmt::format("Join with {} {}, which made the parts: this is {}", name, made, version));
}

} // namespace

std::vector<DescribedPart> ReadParts(std::vector<std::string> const& files,
                                     std::filesystem::path const& input) {
    std::vector<DescribedPart> parts;
    for (std::string const& file : files) {
        if (std::filesystem::path(file).extension() == ".json")
            RefuseParts(fmt::format("Give the parts alone: \"{}\" describes one", file));
        parts.push_back({file, ReadPartFile(GetDescriptionPath(file))});
    }
    std::ranges::stable_sort(parts, {}, [](auto const& part) { return part.description.part.number; });
    CheckNumbers(parts);
    CheckAlike(parts);
    CheckVersions(parts.front().description);
    CheckRanges(parts);
    for (DescribedPart const& part : parts)
        if (std::string const other = FindDifference(part.file, part.description.identity); !other.empty())
            RefuseParts(fmt::format("Make {} again: {}", GetName(part), other));
    auto const& due = parts.front().description.common.at("input");
    FileIdentity const identity{due.at("bytes").get<std::uintmax_t>(),
                                due.at("sha256_of_samples").get<std::string>()};
    if (std::string const other = FindDifference(input, identity); !other.empty())
        RefuseParts(fmt::format("Give the video that the parts are of: \"{}\" is another: {}", input.string(),
                                other));
    return parts;
}

} // namespace Tarsel::Tools
