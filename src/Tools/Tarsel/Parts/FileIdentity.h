#pragma once

#include <cstdint>
#include <filesystem>
#include <string>

namespace Tarsel::Tools {

/// By what a file is known again on another machine, where it may have another name and other times.
struct FileIdentity {
    std::uintmax_t bytes = 0;
    /// SHA-256, in hexadecimal, of 64 pieces of 64 KiB that lie evenly in the file, the first at its
    /// beginning and the last at its end; of all of a file that is no larger than these. Another film,
    /// another encoding of it and a file that is not yet complete differ there, and no more than 4 MiB are
    /// read.
    std::string samples;

    friend bool operator==(FileIdentity const&, FileIdentity const&) = default;
};

/// Media::InputException for what is no regular file or cannot be read. Any thread.
FileIdentity ReadIdentity(std::filesystem::path const& path);

} // namespace Tarsel::Tools
