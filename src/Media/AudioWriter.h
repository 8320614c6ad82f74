#pragma once

#include "Conf/SampleInfo.h"
#include "Media/Api.h"

#include <filesystem>
#include <memory>
#include <stop_token>
#include <string>
#include <utility>
#include <vector>

namespace Tarsel::Proc {
class IDataAudio;
}

namespace Tarsel::Media {

class AudioWriting;

/// An audio file to be made.
struct AudioFileOptions {
    /// As in RunOptions.
    std::filesystem::path output;
    /// What it is made of: the output may not be one of them.
    std::vector<std::filesystem::path> inputs;
    /// An existing output may be replaced.
    bool overwrite = false;
    /// FFmpeg's encoder name; empty: the usual one of the container for blocks of the format.
    std::string encoder;
    /// Options of the encoder, key and value, in FFmpeg's words ("b", "192k").
    std::vector<std::pair<std::string, std::string>> encoderOptions;
    /// Of the blocks.
    Conf::SampleInfo format;
    /// Bits of a sample that carry audio, by which an encoder is chosen that loses none; 0: all of the
    /// format's.
    int depth = 0;
    /// As in RunOptions.
    std::string container = {};
};

/// Writes blocks of audio into a file of its own. It appears under its name when it is published, and only
/// then: otherwise the destructor leaves nothing behind. One thread at a time.
class TARSEL_MEDIA_API AudioWriter {
public:
    /// `stop` ends waiting for whoever reads a pipe, here and below. OptionsException, OutputException,
    /// InterruptedException.
    explicit AudioWriter(AudioFileOptions const& options, std::stop_token stop = {});
    AudioWriter(AudioWriter const&) = delete;
    AudioWriter& operator=(AudioWriter const&) = delete;
    ~AudioWriter();

    /// Appends a block; what its time says of gaps and overlaps is treated as AudioEffects says, a block
    /// without a time follows the one before. Others than of the format are converted, with a note. The block
    /// is read, not kept. OutputException, EffectException, InterruptedException.
    void Write(Proc::IDataAudio const& block);
    /// Ends the file and gives it its name; no more blocks. OutputException, InterruptedException.
    void Publish();
    /// What the user should know, one sentence each.
    std::vector<std::string> GetNotes() const;

private:
    std::unique_ptr<AudioWriting> m_writing;
};

} // namespace Tarsel::Media
