#include "Tools/Tarsel/FFmpegLog.h"

#include "Tools/Tarsel/Console.h"

#include <gmock/gmock.h>

#include <cstdint>
#include <thread>

extern "C" {
#include <libavutil/log.h>
}

namespace Tarsel::Tools {
namespace {

using testing::ElementsAre;

TEST(FFmpegLog, TellsWhatTheFailingThreadLogged) {
    Console console;
    FFmpegLog log(console, false);
    av_log(nullptr, AV_LOG_ERROR, "of the input\n");
    EXPECT_THAT(log.GetFailureLines(), ElementsAre("of the input"));

    std::thread([&] {
        av_log(nullptr, AV_LOG_WARNING, "careful\n");
        av_log(nullptr, AV_LOG_ERROR, "in two ");
        av_log(nullptr, AV_LOG_ERROR, "pieces\n");
        av_log(nullptr, AV_LOG_ERROR, "[f @ 0x55d0c8a0] [g @ 0xab] twice\n");
        av_log(nullptr, AV_LOG_ERROR, "[f @ 0x55d0c8b0] [g @ 0xac] twice\n");
        av_log(nullptr, AV_LOG_INFO, "of no interest\n");
        log.MarkFailure();
    }).join();
    av_log(nullptr, AV_LOG_ERROR, "a consequence\n");
    EXPECT_THAT(log.GetFailureLines(), ElementsAre("in two pieces", "[f] [g] twice"));
}

TEST(FFmpegLog, KeepsTheLastLinesAndFallsBackToWarnings) {
    Console console;
    FFmpegLog log(console, false);
    for (int i = 0; i < 100; ++i)
        av_log(nullptr, AV_LOG_WARNING, "%d\n", i);
    EXPECT_THAT(log.GetFailureLines(), ElementsAre("92", "93", "94", "95", "96", "97", "98", "99"));
}

} // namespace
} // namespace Tarsel::Tools
