#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <iosfwd>
#include <map>
#include <string>
#include <vector>

struct AVFormatContext;

/// What is in a media file, read by plain FFmpeg calls. Times in nanoseconds, so that equal times of
/// different time bases are equal.
namespace Tarsel::Test {

struct PictureRecord {
    std::int64_t time = 0;
    std::int64_t duration = 0;
    /// Of the pixels.
    std::uint64_t hash = 0;

    friend bool operator==(PictureRecord const&, PictureRecord const&) = default;
};
void PrintTo(PictureRecord const& record, std::ostream* stream);

struct PacketRecord {
    std::int64_t pts = 0;
    std::int64_t dts = 0;
    std::int64_t duration = 0;
    int flags = 0;
    std::string data;

    friend bool operator==(PacketRecord const&, PacketRecord const&) = default;
};
void PrintTo(PacketRecord const& record, std::ostream* stream);

using Metadata = std::map<std::string, std::string>;

struct StreamRecord {
    std::string kind;
    std::string codec;
    Metadata metadata;
    int disposition = 0;
    std::string extradata;
    bool hasMatrix = false;
    /// Mastering display and content light side data: "max 1000 white 0.3127 cll 1000 400".
    std::string lightLevels;
    std::vector<PacketRecord> packets;
};

struct ChapterRecord {
    std::int64_t start = 0;
    std::int64_t end = 0;
    std::string title;

    friend bool operator==(ChapterRecord const&, ChapterRecord const&) = default;
};
void PrintTo(ChapterRecord const& record, std::ostream* stream);

/// What a frame says of its values.
struct ColourRecord {
    int matrix = 2;
    int range = 0;
    int primaries = 2;
    int transfer = 2;
    int chromaLocation = 0;

    friend bool operator==(ColourRecord const&, ColourRecord const&) = default;
};
void PrintTo(ColourRecord const& record, std::ostream* stream);

struct MediaRecord {
    std::string container;
    Metadata metadata;
    std::vector<StreamRecord> streams;
    std::vector<ChapterRecord> chapters;
    /// Of the best picture stream, decoded; what follows is the first one's.
    std::vector<PictureRecord> pictures;
    int width = 0;
    int height = 0;
    std::string format;
    std::string aspect;
    ColourRecord colour;
    /// Mean of the first plane's bytes.
    double brightness = 0;

    std::vector<StreamRecord> Of(std::string const& kind) const;
};

/// Throws std::runtime_error when the file cannot be read.
MediaRecord ReadMedia(std::filesystem::path const& path);

/// Runs the ffmpeg program: its arguments, separated by blanks, then the file to make. Throws when it fails.
std::filesystem::path Make(std::filesystem::path const& file, std::string const& arguments);

/// Copies a file's streams and packets into another, which `edit` may change before its header is written.
std::filesystem::path Remux(std::filesystem::path const& from, std::filesystem::path const& to,
                            std::function<void(AVFormatContext&)> const& edit);

/// As a recorder that was held sideways does: a display matrix of 90 degrees.
void TagAsTurned(AVFormatContext& context);

} // namespace Tarsel::Test
