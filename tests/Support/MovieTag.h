#pragma once

#include "Conf/DisplayMatrix.h"
#include "Support/TempFolder.h"

#include <stdexcept>
#include <string>

namespace Tarsel::Test {

/// Writes the matrix into the header of an MP4 file's first track; the ffmpeg program puts pictures there.
inline void SetDisplayMatrix(std::filesystem::path const& path, Conf::DisplayMatrix const& matrix) {
    std::string file = ReadFile(path);
    std::size_t const box = file.find("tkhd");
    if (box == std::string::npos || file[box + 4] != 0)
        throw std::runtime_error(path.string() + " has no track header of version 0");
    // ISO/IEC 14496-12, 8.3.2: flags, five times and numbers, eight bytes, four half-words, then the matrix.
    std::size_t at = box + 4 + 4 + 20 + 8 + 8;
    for (std::int32_t const word : matrix.words)
        for (int const shift : {24, 16, 8, 0})
            file.at(at++) = static_cast<char>(static_cast<std::uint32_t>(word) >> shift & 0xff);
    WriteFile(path, file);
}

/// The same for an EXIF orientation code.
inline void SetOrientation(std::filesystem::path const& path, int orientation) {
    SetDisplayMatrix(path, Conf::DisplayMatrix::FromOrientation(orientation).value());
}

} // namespace Tarsel::Test
