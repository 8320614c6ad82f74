#pragma once

#include "Lanes.h"
#include "Media/Run.h"
#include "ReadBack.h"
#include "Support/TempFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <string>
#include <utility>
#include <vector>

extern "C" {
#include <libavutil/log.h>
}

namespace Tarsel::Test {

/// Arguments of the ffmpeg program for small films of a second.
inline std::string const s_pictures = "-f lavfi -i testsrc2=s=64x48:r=25:d=1 ";
inline std::string const s_sound = "-f lavfi -i sine=d=1:r=48000 ";
inline std::string const s_bFrames = "-c:v libx264 -preset veryfast -bf 3 -pix_fmt yuv420p ";
inline std::string const s_noBFrames = "-c:v libx264 -preset veryfast -bf 0 -pix_fmt yuv420p ";

/// Runs over files in a folder of the test's own.
class RunFixture : public testing::Test {
protected:
    RunFixture() { av_log_set_level(AV_LOG_QUIET); }

    std::filesystem::path File(std::string const& name) const { return m_folder / name; }

    void Write(std::string const& name, std::string const& text) const {
        std::ofstream(File(name), std::ios::binary) << text;
    }

    std::string Read(std::string const& name) const {
        std::ifstream file(File(name), std::ios::binary);
        return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    }

    /// Options that pass pictures through unchanged.
    Media::RunOptions Options(std::string const& input, std::string const& output) const {
        Media::RunOptions options;
        options.input = File(input);
        options.output = File(output);
        options.makeVideoLane = PassThrough();
        return options;
    }

    /// Options for sound alone: through the lane, or copied.
    Media::RunOptions SoundOptions(std::string const& input, std::string const& output,
                                   Media::MakeSoundLane lane = SoundThrough()) const {
        Media::RunOptions options;
        options.input = File(input);
        options.output = File(output);
        options.makeSoundLane = std::move(lane);
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

    /// Names in the folder, sorted.
    std::vector<std::string> List() const {
        std::vector<std::string> names;
        for (auto const& entry : std::filesystem::directory_iterator(m_folder.GetPath()))
            names.push_back(entry.path().filename());
        std::sort(names.begin(), names.end());
        return names;
    }

    TempFolder m_folder;
};

/// Runs, expecting an exception of the type; its text.
template <class E>
std::string RunForFailure(Media::RunOptions const& options, std::stop_token stop = {}) {
    try {
        Media::Run(options, std::move(stop));
        ADD_FAILURE() << "nothing was thrown";
    } catch (E const& exception) {
        return exception.what();
    }
    return {};
}

} // namespace Tarsel::Test
