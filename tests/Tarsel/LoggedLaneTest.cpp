#include "Tools/Tarsel/LoggedLane.h"

#include "Host/Doubles.h"
#include "Tools/Tarsel/Console.h"
#include "Tools/Tarsel/FFmpegLog.h"

#include <gmock/gmock.h>

#include <cstdint>
#include <stdexcept>
#include <thread>

extern "C" {
#include <libavutil/log.h>
}

namespace Tarsel::Tools {
namespace {

/// Fails as a filter graph does: a line in FFmpeg's log, then an exception.
class FailingEffect final : public HostTest::Effect {
public:
    FailingEffect() : Effect("failing") {}

    void Process(SP<Proc::IDataVideo>&) override {
        av_log(nullptr, AV_LOG_ERROR, "Value 70 for parameter 'x' out of range [0 - 64]\n");
        throw std::runtime_error("Cannot parse graph");
    }
};

TEST(LoggedLane, AFailureIsReportedWithTheLogOfItsThread) {
    Console console;
    FFmpegLog log(console, false);
    std::vector<std::string> notes;
    LoggedPictureLane lane(log, notes);
    lane.Append(MakeSP<FailingEffect>());
    av_log(nullptr, AV_LOG_ERROR, "of the input\n");
    std::thread([&] { EXPECT_THROW(lane.Feed(HostTest::MakeFrame(0)), std::runtime_error); }).join();
    av_log(nullptr, AV_LOG_ERROR, "of the output\n");
    EXPECT_THAT(log.GetFailureLines(),
                testing::ElementsAre("Value 70 for parameter 'x' out of range [0 - 64]"));
}

} // namespace
} // namespace Tarsel::Tools
