// Applies video effects to a media file: media INPUT OUTPUT EFFECT..., as in
//   media in.mp4 out.mp4 "flip vertical=1" "blur sigma=2"

#include "Host/EffectSettings.h"
#include "Host/EffectStep.h"
#include "Host/ErrorReport.h"
#include "Host/FFmpegMessages.h"
#include "Host/Plugin.h"
#include "Host/VideoChain.h"
#include "Media/InputErrors.h"
#include "Media/Run.h"

#include <cstdio>
#include <memory>

namespace Host = Tarsel::Host;
namespace Media = Tarsel::Media;

static int Run(int argc, char** argv) {
    auto const registry = std::make_shared<Host::EffectRegistry>();
    Host::Plugin(Host::Plugin::Find("lumenta")).Register(*registry);
    auto const factory = Tarsel::MakeSP<Host::EffectFactory>(registry);

    Media::RunOptions options;
    options.input = argv[1];
    options.output = argv[2];
    options.overwrite = true;
    options.makeVideoEffects = [&](Media::VideoStreamInfo const&) {
        auto chain = std::make_unique<Host::VideoChain>();
        for (int i = 3; i < argc; ++i)
            chain->Append(Host::MakeVideoEffect(*factory, Host::ParseEffectStep(argv[i])));
        return chain;
    };
    options.onProgress = [](Media::RunProgress const& progress) {
        std::printf("%lld frames\n", static_cast<long long>(progress.frames));
    };
    Media::RunResult const result = Media::Run(options);
    for (std::string const& note : result.notes)
        std::printf("%s\n", note.c_str());
    std::printf("%lld frames, encoded by %s\n", static_cast<long long>(result.framesOut),
                result.videoEncoder.c_str());
    return 0;
}

int main(int argc, char** argv) {
    if (argc < 4) {
        std::printf("usage: media INPUT OUTPUT EFFECT...\n");
        return 1;
    }
    // FFmpeg prints nothing while this lives; what it says of the input is kept.
    Media::InputErrors inputErrors;
    Host::FFmpegMessages const messages(
        [&](int level, std::string_view line) { inputErrors.Hear(level, line); });
    try {
        int const code = Run(argc, argv);
        for (std::string const& note : inputErrors.GetNotes())
            std::printf("%s\n", note.c_str());
        return code;
    } catch (std::exception const& failure) {
        std::printf("%s\n", Host::DescribeError(failure).c_str());
        return 1;
    }
}
