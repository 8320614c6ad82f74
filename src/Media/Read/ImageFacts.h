#pragma once

#include <filesystem>
#include <string>
#include <vector>

struct AVFrame;

namespace Tarsel::Media {

/// What an image says beside its pixels: where and by what it was taken, and what its colors mean.
struct ImageFacts {
    /// Keys of EXIF and of texts, but that of the orientation.
    std::vector<std::string> tags;
    bool hasProfile = false;
};

/// Any thread. std::bad_alloc.
ImageFacts ListImageFacts(AVFrame const& image);

/// Reads the image file back: one sentence for what it has not of `asked`. Empty where it cannot be read. Any
/// thread. MemoryException.
std::vector<std::string> DescribeLostFacts(ImageFacts const& asked, std::filesystem::path const& written);

} // namespace Tarsel::Media
