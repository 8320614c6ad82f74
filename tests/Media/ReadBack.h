#pragma once

#include "Proc/Wrappers/FrameFields.h"

#include <cstdint>
#include <filesystem>
#include <map>
#include <ostream>
#include <string>
#include <vector>

/// What is in a media file, read by plain FFmpeg calls. Times in nanoseconds, so that equal times of
/// different time bases are equal.
namespace Tarsel::Test {

struct PictureRecord {
    std::int64_t time = 0;
    std::int64_t duration = 0;
    /// Of the pixels.
    std::uint64_t hash = 0;

    friend bool operator==(PictureRecord const&, PictureRecord const&) = default;
    friend std::ostream& operator<<(std::ostream& stream, PictureRecord const& record) {
        return stream << record.time << "ns+" << record.duration << "ns #" << record.hash;
    }
};

struct PacketRecord {
    std::int64_t pts = 0;
    std::int64_t dts = 0;
    std::int64_t duration = 0;
    int flags = 0;
    std::string data;

    friend bool operator==(PacketRecord const&, PacketRecord const&) = default;
    friend std::ostream& operator<<(std::ostream& stream, PacketRecord const& record) {
        return stream << "pts " << record.pts << " dts " << record.dts << " +" << record.duration << " flags "
                      << record.flags << ", " << record.data.size() << " bytes";
    }
};

using Metadata = std::map<std::string, std::string>;

struct StreamRecord {
    std::string kind;
    std::string codec;
    Metadata metadata;
    int disposition = 0;
    std::string extradata;
    bool hasMatrix = false;
    std::vector<PacketRecord> packets;
};

struct ChapterRecord {
    std::int64_t start = 0;
    std::int64_t end = 0;
    std::string title;

    friend bool operator==(ChapterRecord const&, ChapterRecord const&) = default;
};

/// What a frame says of its values.
struct ColorRecord {
    int matrix = 2;
    int range = 0;
    int primaries = 2;
    int transfer = 2;
    int chromaLocation = 0;

    friend bool operator==(ColorRecord const&, ColorRecord const&) = default;
};

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
    ColorRecord color;
    Proc::FieldOrder fields = Proc::FieldOrder::Progressive;
    /// Nominal, "30000/1001".
    std::string rate;
    /// Mean of the first plane's bytes.
    double brightness = 0;

    std::vector<StreamRecord> Of(std::string const& kind) const;
    std::vector<std::int64_t> GetTimes() const;
    std::vector<std::uint64_t> GetHashes() const;
};

/// Throws std::runtime_error when the file cannot be read.
MediaRecord ReadMedia(std::filesystem::path const& path);

/// An audio stream, decoded by plain FFmpeg calls.
struct AudioRecord {
    std::string codec;
    std::string format;
    std::string layout;
    int rate = 0;
    int channels = 0;
    /// Of the first sample, in seconds.
    double start = 0;
    /// All samples, a channel after the other at each time; integers as they are.
    std::vector<double> samples;

    double GetDuration() const { return static_cast<double>(samples.size()) / channels / rate; }
    /// Where the middle of the first channel's energy lies, in seconds.
    double GetMiddle() const;
};

/// Decodes the audio stream of that number. Throws std::runtime_error when there is none, or a gap in it.
AudioRecord ReadAudio(std::filesystem::path const& path, int number = 0);

/// Runs the ffmpeg program: its arguments, separated by blanks, then the file to make. Throws when it fails.
std::filesystem::path Make(std::filesystem::path const& file, std::string const& arguments);

} // namespace Tarsel::Test
