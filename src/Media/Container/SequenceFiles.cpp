#include "Media/Container/SequenceFiles.h"

#include "Core/Throw.h"
#include "Media/Base/MessageText.h"
#include "Media/Container/OutputFile.h"
#include "Media/MediaExceptions.h"

#include <fmt/format.h>

#include <algorithm>
#include <system_error>
#include <utility>

extern "C" {
#include <libavformat/avio.h>
}

namespace Tarsel::Media {

namespace {

namespace fs = std::filesystem;

/// Of the sequence, if it lies in that folder.
bool Includes(Sequence const& sequence, fs::path const& file) {
    std::error_code error;
    auto const folder = [](fs::path const& path) { return path.empty() ? fs::path(".") : path; };
    return sequence.FindNumber(file.filename().string()) &&
           fs::equivalent(folder(sequence.folder), folder(file.parent_path()), error);
}

} // namespace

void CheckSequenceFiles(Sequence const& sequence, std::int64_t first, fs::path const& input, bool overwrite) {
    auto const refuse = [](fs::path const& file) {
        Core::Throw<OptionsException>(fmt::format("Cannot write {}: it is the input", Quote(file)));
    };
    if (auto const read = FindSequence(input)) {
        for (std::int64_t const number : ListNumbers(*read))
            if (fs::path const file = read->MakePath(number); Includes(sequence, file))
                refuse(file);
    } else if (Includes(sequence, input)) {
        refuse(input);
    }
    std::vector<std::int64_t> const numbers = ListNumbers(sequence);
    auto const known = std::ranges::lower_bound(numbers, first);
    if (known != numbers.end() && !overwrite)
        Core::Throw<OptionsException>(Quote(sequence.MakePath(*known)) + " exists already",
                                      TagMissingOption("overwrite"));
}

SequenceFiles::SequenceFiles(fs::path name, Sequence sequence, std::int64_t first, bool overwrite)
    : m_name(std::move(name)), m_sequence(std::move(sequence)), m_first(first), m_overwrite(overwrite),
      m_next(first) {}

void SequenceFiles::Write(std::span<std::uint8_t const> image) {
    OutputFile file(m_sequence.MakePath(m_next), m_overwrite, {m_name, m_next == m_first});
    avio_write(file.GetIO(), image.data(), static_cast<int>(image.size()));
    file.Close();
    file.Publish();
    ++m_next;
    m_bytes += static_cast<std::int64_t>(image.size());
}

std::vector<std::string> SequenceFiles::GetNotes() const {
    std::vector<std::int64_t> const numbers = ListNumbers(m_sequence);
    auto const later = std::ranges::lower_bound(numbers, m_next);
    if (later == numbers.end())
        return {};
    auto const others = numbers.end() - later - 1;
    return {fmt::format("{}{} from before {} still there, behind the last image that was written.",
                        Quote(m_sequence.MakePath(*later)),
                        others > 0 ? fmt::format(" and {}", CountText(others, "other")) : "",
                        others > 0 ? "are" : "is")};
}

} // namespace Tarsel::Media
