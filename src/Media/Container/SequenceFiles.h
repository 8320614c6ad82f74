#pragma once

#include "Media/Base/Sequence.h"

#include <cstdint>
#include <filesystem>
#include <span>
#include <string>
#include <vector>

namespace Tarsel::Media {

/// Refuses to write a sequence, from the number on: OptionsException where one of its files is the input, or
/// one of the input's, and, unless they may be replaced, where some exist.
void CheckSequenceFiles(Sequence const& sequence, std::int64_t first, std::filesystem::path const& input,
                        bool overwrite);

/// Writes images to numbered files, each of which appears under its name when it is complete, and stays. One
/// thread at a time.
class SequenceFiles {
public:
    /// `name` is that of the sequence as its user wrote it.
    SequenceFiles(std::filesystem::path name, Sequence sequence, std::int64_t first, bool overwrite);

    /// OutputException.
    void Write(std::span<std::uint8_t const> image);

    std::int64_t GetCount() const noexcept { return m_next - m_first; }
    std::int64_t GetByteCount() const noexcept { return m_bytes; }
    std::filesystem::path GetFirstPath() const { return m_sequence.MakePath(m_first); }
    /// What the user should know, one sentence each: of files behind the last that were there before.
    std::vector<std::string> GetNotes() const;

private:
    std::filesystem::path m_name;
    Sequence m_sequence;
    std::int64_t m_first;
    bool m_overwrite;
    std::int64_t m_next;
    std::int64_t m_bytes = 0;
};

} // namespace Tarsel::Media
