#include "Host/ErrorReport.h"

#include "Core/CoreExceptions.h"
#include "Core/Throw.h"
#include "Host/VideoChain.h"
#include "Proc/Interfaces/ProcExceptions.h"

#include <gmock/gmock.h>

#include <functional>
#include <new>
#include <stdexcept>

using namespace Tarsel;
using Host::DescribeError;
using Host::DescribeErrorFully;

namespace {

std::string Report(std::string (*describe)(std::exception const&), std::function<void()> const& fail) {
    try {
        fail();
    } catch (std::exception const& exception) {
        return describe(exception);
    }
    return "nothing thrown";
}

void FailWithEverything() {
    Core::Throw<Proc::EffectException>(
        {"Proc/Room/Graph", "void Graph::Build()", {12, 5}}, "Cannot parse graph", Proc::TagFFmpegError(-22),
        Proc::TagFilterText("hqdn3d=999"), Proc::TagDetail("value 999\nlegal: 0 to 255"),
        Host::TagStep("step 2 (denoise)"),
        Proc::TagTranscodingErrorCode(Proc::TranscodingErrors::NotEnoughMemory));
}

TEST(ErrorReport, TellsPeopleWhatFailedAndDevelopersWhere) {
    std::string const forPeople = Report(DescribeError, FailWithEverything);
    EXPECT_EQ(forPeople, "step 2 (denoise): Cannot parse graph\n"
                         "  FFmpeg: Invalid argument (-22)\n"
                         "  filter: hqdn3d=999\n"
                         "  detail: value 999\n"
                         "    legal: 0 to 255");
    EXPECT_THAT(Report(DescribeErrorFully, FailWithEverything),
                testing::StartsWith(forPeople + "\n  exception: Tarsel::Proc::EffectException\n"
                                                "  code: 35\n"
                                                "  thrown at: Proc/Room/Graph:12:5, void Graph::Build()\n"
                                                "  in: (anonymous namespace)::FailWithEverything()\n"
                                                "  in: "));
    EXPECT_EQ(Report(DescribeError, [] { throw Core::MemoryException(); }), "Tarsel::Core::MemoryException");
    EXPECT_THAT(Report(DescribeErrorFully, [] { Core::Property("p", "text").GetInt64(); }),
                testing::HasSubstr("\n  method: GetInt64\n  property: p\n  property type: string\n"));
    EXPECT_EQ(Report(DescribeErrorFully, [] { throw std::bad_alloc(); }),
              "Out of memory\n  exception: std::bad_alloc");
}

} // namespace
