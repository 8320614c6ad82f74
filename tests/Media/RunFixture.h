#pragma once

#include "Effects.h"
#include "Media/Run.h"
#include "ReadBack.h"
#include "Support/Failure.h"
#include "Support/TempFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <utility>
#include <vector>

extern "C" {
#include <libavutil/log.h>
}

namespace Tarsel::Test {

/// Arguments of the ffmpeg program for small films of a second.
inline std::string const s_pictures = "-f lavfi -i testsrc2=s=64x48:r=25:d=1 ";
inline std::string const s_audio = "-f lavfi -i sine=d=1:r=48000 ";
inline std::string const s_bFrames = "-c:v libx264 -preset veryfast -bf 3 -pix_fmt yuv420p ";
inline std::string const s_noBFrames = "-c:v libx264 -preset veryfast -bf 0 -pix_fmt yuv420p ";

/// Runs over files in a folder of the test's own.
class RunFixture : public testing::Test {
protected:
    RunFixture() { av_log_set_level(AV_LOG_QUIET); }

    std::filesystem::path File(std::string const& name) const { return m_folder / name; }

    void Write(std::string const& name, std::string const& text) const { WriteFile(File(name), text); }
    std::string Read(std::string const& name) const { return ReadFile(File(name)); }
    /// Names in the folder, sorted.
    std::vector<std::string> List() const { return m_folder.List(); }

    /// Options that pass pictures through unchanged, into a file that may be there already.
    Media::RunOptions Options(std::string const& input, std::string const& output) const {
        Media::RunOptions options = AudioOptions(input, output, {});
        options.makeVideoEffects = PassThrough();
        return options;
    }

    /// Options for audio alone: through the chain, or copied.
    Media::RunOptions AudioOptions(std::string const& input, std::string const& output,
                                   Media::MakeAudioEffects chain = AudioThrough()) const {
        Media::RunOptions options;
        options.input = File(input);
        options.output = File(output);
        options.makeAudioEffects = std::move(chain);
        options.overwrite = true;
        return options;
    }

    /// The same, encoding without loss.
    Media::RunOptions Lossless(std::string const& input, std::string const& output) const {
        Media::RunOptions options = Options(input, output);
        if (options.output.extension() == ".mkv")
            options.videoEncoder = "ffv1";
        else if (options.output.extension() == ".mp4")
            options.videoEncoderOptions = {{"qp", "0"}, {"preset", "ultrafast"}};
        return options;
    }

    TempFolder m_folder;
};

/// A run, and what is in its files.
struct Trip {
    explicit Trip(Media::RunOptions const& options)
        : result(Media::Run(options)), in(ReadMedia(options.input.GetName())),
          out(ReadMedia(options.output)) {}

    Media::RunResult result;
    MediaRecord in;
    MediaRecord out;
};

/// Runs, expecting an exception of the type; its text.
template <class E>
std::string RunForFailure(Media::RunOptions const& options, std::stop_token stop = {}) {
    return TextOf<E>([&] { Media::Run(options, std::move(stop)); });
}

} // namespace Tarsel::Test
