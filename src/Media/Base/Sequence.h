#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Tarsel::Media {

/// Files with a number in their names, as "shots/%04d.png" tells them: "%d" stands for a number, "%04d" for
/// one of at least four digits, with zeros before it, and "%%" beside these for '%'. Folders have no numbers.
struct Sequence {
    /// Ends in a '/', or is "".
    std::string folder;
    /// Of the name, around the number.
    std::string head;
    std::string tail;
    /// The least number of digits.
    int digits = 1;

    std::filesystem::path MakePath(std::int64_t number) const;
    /// The number of a file of that name in the folder; nothing for one that does not belong here.
    std::optional<std::int64_t> FindNumber(std::string_view name) const;
    /// As FFmpeg takes it, where '%' in folders means something too.
    std::string MakePattern() const;
};

/// Nothing for a name without one number, and for that of a file that is there: it means that file.
std::optional<Sequence> FindSequence(std::filesystem::path const& name);

/// The numbers of the files that there are, in order. std::bad_alloc.
std::vector<std::int64_t> ListNumbers(Sequence const& sequence);

/// The first number of files that are to be read one after the other. InputException where there are none,
/// or one is missing between others.
std::int64_t FindFirstNumber(Sequence const& sequence);

} // namespace Tarsel::Media
