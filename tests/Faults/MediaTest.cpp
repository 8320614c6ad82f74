#include "Core/ThreadBudget.h"
#include "Faults/Trial.h"
#include "Host/AudioChain.h"
#include "Host/EffectStep.h"
#include "Host/VideoChain.h"
#include "Media/AudioReader.h"
#include "Media/Run.h"
#include "Media/VideoReader.h"
#include "Support/LibraryEffects.h"
#include "Support/Process.h"
#include "Support/TempFolder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

extern "C" {
#include <libavutil/log.h>
}

namespace Tarsel::Test {
namespace {

/// Runs of a small film into the folder in which each is tried.
class MediaFaults : public testing::Test {
protected:
    MediaFaults() { av_log_set_level(AV_LOG_QUIET); }
    ~MediaFaults() override { av_log_set_level(AV_LOG_INFO); }

    void MakeInput(std::string const& codec) const {
        RunFFmpeg(
            "-f lavfi -i testsrc2=s=64x48:r=25:d=0.2 -f lavfi -i sine=d=0.2:r=48000 -c:a pcm_s16le -c:v " +
            codec + " -y " + GetInput());
    }
    std::string GetInput() const { return m_folder / "in.mkv"; }

    Operation MakeRun(std::string const& output, bool worksOnAudio = true,
                      std::string const& encoder = {}) const {
        Media::RunOptions options;
        options.input = GetInput();
        options.output = output;
        options.overwrite = true;
        options.videoEncoder = encoder;
        options.makeVideoEffects = [](Media::VideoStreamInfo const&) {
            auto chain = std::make_unique<Host::VideoChain>();
            chain->Append(Host::MakeVideoEffect(*GetFactory(), {"blur", "sigma=1"}));
            return chain;
        };
        if (worksOnAudio)
            options.makeAudioEffects = [](Media::AudioStreamInfo const& info) {
                auto chain = std::make_unique<Host::AudioChain>();
                chain->Append(Host::MakeAudioEffect(*GetFactory(), {"reverb", ""}));
                return Media::AudioEffects{std::move(chain), info.format};
            };
        auto const work = [options] {
            Media::RunResult const result = Media::Run(options);
            return std::to_string(result.framesOut) + ' ' +
                   std::to_string(std::filesystem::file_size(options.output));
        };
        Operation operation = MakeOperation(output, work);
        operation.begin = [begin = operation.begin, output] {
            Round round = begin();
            // What failed has left nothing behind.
            round.prepare = [output] {
                for (auto const& entry : std::filesystem::directory_iterator("."))
                    if (entry.path().filename() != output)
                        throw std::runtime_error("left behind: " + entry.path().string());
            };
            return round;
        };
        return operation;
    }

    TempFolder m_folder;
};

TEST_F(MediaFaults, RunsSurviveThem) {
    Core::ThreadBudget::Set(1);
    MakeInput("mpeg4");
    TryEverywhere({MakeRun("out.mkv"), MakeRun("out.mp4", false),
                   MakeOperation("video reader",
                                 [input = GetInput()] {
                                     Media::VideoReader reader(input);
                                     return std::to_string(reader.GetShownAt(100000)->GetTime());
                                 }),
                   MakeOperation("audio reader", [input = GetInput()] {
                       Media::AudioReader reader(input);
                       std::int64_t count = 0;
                       while (SP<Proc::IDataAudio> const block = reader.Next())
                           count += block->GetSampleCount();
                       return std::to_string(count);
                   })});
}

// The stages on threads of their own. A decoder with threads may wait for ever for a frame that it got no
// memory for, so this one has none.
TEST_F(MediaFaults, StagesSurviveThem) {
    Core::ThreadBudget::Set(2);
    MakeInput("rawvideo");
    TryEverywhere({MakeRun("out.mkv", true, "ffv1")});
}

} // namespace
} // namespace Tarsel::Test
