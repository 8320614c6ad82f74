#include "Host/FFmpegMessages.h"
#include "Core/CoreExceptions.h"
#include "Core/Throw.h"
#include "Host/ErrorReport.h"
#include "Host/VideoChain.h"
#include "Proc/Interfaces/ProcExceptions.h"

#include <gmock/gmock.h>

#include <atomic>
#include <functional>
#include <new>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

extern "C" {
#include <libavutil/log.h>
}

using namespace Tarsel;
using Host::DescribeError;
using Host::DescribeErrorFully;
using Host::FFmpegMessages;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

using Lines = std::vector<std::string>;

/// The lines that go with an exception thrown now: one after a call of FFmpeg, or another.
Lines Fail(bool isOfFFmpeg = true) {
    Core::Site const site{"Room/Source", "void Fail()"};
    try {
        if (isOfFFmpeg)
            Core::Throw<Proc::EffectException>(site, "Cannot parse graph", Proc::TagFFmpegError(-22));
        Core::Throw<std::logic_error>(site, "incorrect data count");
    } catch (boost::exception const& failure) {
        FFmpegMessages::AddTo(failure);
        FFmpegMessages::AddTo(failure); // nothing is added to those it has
        auto const* lines = boost::get_error_info<Host::TagFFmpegMessages>(failure);
        return lines != nullptr ? *lines : Lines();
    }
}

void LogError(std::string const& line) {
    av_log(nullptr, AV_LOG_ERROR, "%s\n", line.c_str());
}

template <class Work>
void OnAnotherThread(Work const& work) {
    std::thread(work).join();
}

TEST(FFmpegMessages, GoWithTheNextFailureOfTheirThread) {
    FFmpegMessages const messages;
    av_log(nullptr, AV_LOG_WARNING, "careful\n");
    EXPECT_THAT(Fail(false), ElementsAre("careful")); // for want of errors
    av_log(nullptr, AV_LOG_WARNING, "careful\n");
    av_log(nullptr, AV_LOG_ERROR, "in two ");
    av_log(nullptr, AV_LOG_ERROR, "pieces\n");
    LogError("[f @ 0x55d0c8a0] [g @ 0xab] twice");
    LogError("[f @ 0x55d0c8b0] [g @ 0xac] twice");
    av_log(nullptr, AV_LOG_INFO, "of no interest\n");
    EXPECT_THAT(Fail(), ElementsAre("in two pieces", "[f] [g] twice"));
    EXPECT_THAT(Fail(), IsEmpty());
    for (int i = 0; i < 100; ++i)
        LogError(std::to_string(i));
    EXPECT_THAT(FFmpegMessages::Take(), ElementsAre("92", "93", "94", "95", "96", "97", "98", "99"));
    LogError("[vf] it is\nso");
    try {
        Core::Throw<Proc::EffectException>({"Room/Source", "void F()"}, "it fails");
    } catch (std::exception const& failure) {
        for (int i = 0; i < 2; ++i)
            EXPECT_EQ(Host::DescribeError(failure), "it fails\n  log: [vf] it is\n  log: so");
    }
}

TEST(FFmpegMessages, OfThreadsWithoutAScopeGoWithFailuresOfFFmpegThatHaveNoOthers) {
    FFmpegMessages const messages;
    OnAnotherThread([] { LogError("of a worker"); });
    OnAnotherThread([] {
        FFmpegMessages const itsOwn;
        LogError("of a run");
        OnAnotherThread([] { EXPECT_THAT(Fail(false), IsEmpty()); });
        LogError("of a run, after");
        EXPECT_THAT(Fail(), ElementsAre("of a run", "of a run, after"));
        LogError("left over");
    });
    LogError("own");
    EXPECT_THAT(Fail(), ElementsAre("own"));
    EXPECT_THAT(Fail(false), IsEmpty());
    EXPECT_THAT(Fail(), ElementsAre("of a worker"));
    EXPECT_THAT(Fail(), IsEmpty());
}

TEST(FFmpegMessages, NestAndKeepThreadsApart) {
    FFmpegMessages const outer;
    LogError("before");
    {
        FFmpegMessages::Trial const trial;
        LogError("an answer");
    }
    {
        FFmpegMessages const inner;
        EXPECT_THAT(Fail(), IsEmpty());
        LogError("before");
        EXPECT_THAT(Fail(), ElementsAre("before"));
        LogError("inside");
        LogError("inside, last");
        EXPECT_THAT(Fail(), ElementsAre("inside", "inside, last"));
        LogError("left over");
    }
    EXPECT_THAT(Fail(), ElementsAre("before"));

    std::vector<std::jthread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([own = std::to_string(i)] {
            for (int turn = 0; turn < 200; ++turn) {
                FFmpegMessages const messages;
                LogError(own);
                EXPECT_THAT(Fail(), ElementsAre(own));
            }
        });
}

std::atomic<int> s_calls{0};
void Count(void*, int, char const*, std::va_list) {
    ++s_calls;
}

TEST(FFmpegMessages, GiveTheCallbackBack) {
    av_log_set_callback(Count);
    std::optional<FFmpegMessages> outer(std::in_place, FFmpegMessages::Listener(), Count);
    std::optional<FFmpegMessages> inner(std::in_place);
    outer.reset();
    LogError("caught");
    EXPECT_EQ(s_calls, 0);
    inner.reset();
    LogError("not caught");
    EXPECT_EQ(s_calls, 1);
    EXPECT_THAT(Fail(), IsEmpty());
    { FFmpegMessages const messages; }
    testing::internal::CaptureStderr(); // FFmpeg's own again
    LogError("printed");
    EXPECT_EQ(s_calls, 1);
    EXPECT_THAT(testing::internal::GetCapturedStderr(), testing::HasSubstr("printed"));
}

TEST(FFmpegMessages, AreHeardAtOnce) {
    Lines heard;
    FFmpegMessages const messages([&](int level, std::string_view line) {
        heard.push_back(std::to_string(level) + " " + std::string(line));
        LogError("of the listener itself");
        throw std::runtime_error("lost");
    });
    FFmpegMessages const deaf;
    av_log(nullptr, AV_LOG_INFO, "stream 0\n");
    av_log(nullptr, AV_LOG_VERBOSE, "nobody asked\n");
    {
        FFmpegMessages::Trial const trial;
        { FFmpegMessages::Trial const inner; }
        LogError("an answer");
    }
    OnAnotherThread([] {
        FFmpegMessages const alsoDeaf;
        LogError("there");
    });
    OnAnotherThread([] {
        FFmpegMessages const hears([](int, std::string_view) {});
        LogError("not here");
    });
    EXPECT_THAT(heard, ElementsAre("32 stream 0", "32 an answer", "16 there"));
}

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
