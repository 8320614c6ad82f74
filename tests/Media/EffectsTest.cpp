// What chains may do with pictures, what becomes of it, and on which threads.

#include "Core/ThreadBudget.h"
#include "Media/MediaExceptions.h"
#include "Proc/Data/DataVideoFF.h"
#include "RunFixture.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <memory>
#include <stdexcept>
#include <stop_token>
#include <thread>

namespace Tarsel::Test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

class Effects : public RunFixture {
protected:
    /// Runs a small film through the chain.
    MediaRecord Run(Media::MakeVideoEffects chain, std::string const& output = "out.mp4") {
        Make(File("in.mp4"), s_pictures + s_bFrames);
        Media::RunOptions options = Lossless("in.mp4", output);
        options.makeVideoEffects = std::move(chain);
        m_result = Media::Run(options);
        m_in = ReadMedia(File("in.mp4")).pictures;
        return ReadMedia(File(output));
    }

    Media::RunResult m_result;
    std::vector<PictureRecord> m_in;
};

TEST_F(Effects, MayDropPictures) {
    int number = 0;
    MediaRecord const out = Run(MakeEffects(
        [&](Picture const& picture) { return number++ % 3 == 1 ? Pictures{picture} : Pictures{}; }));
    ASSERT_EQ(out.pictures.size(), 8U);
    for (std::size_t i = 0; i < out.pictures.size(); ++i) {
        // MP4 has no gap before the first picture but one in the edit list, which FFmpeg reads back.
        EXPECT_EQ(out.pictures[i].time, m_in[3 * i + 1].time);
        EXPECT_EQ(out.pictures[i].hash, m_in[3 * i + 1].hash);
    }
    EXPECT_EQ(m_result.framesIn, 25);
    EXPECT_EQ(m_result.framesOut, 8);
}

TEST_F(Effects, MayMakeTwoPicturesOfOne) {
    MediaRecord const out = Run(MakeEffects([](Picture const& picture) {
        Picture const second = picture->Copy();
        picture->SetDuration(20000);
        second->SetTime(picture->GetTime() + 20000);
        second->SetDuration(20000);
        return Pictures{picture, second};
    }));
    ASSERT_EQ(out.pictures.size(), 50U);
    for (std::size_t i = 0; i < out.pictures.size(); ++i) {
        EXPECT_EQ(out.pictures[i].time, static_cast<std::int64_t>(i) * 20000000);
        EXPECT_EQ(out.pictures[i].duration, 20000000);
        EXPECT_EQ(out.pictures[i].hash, m_in[i / 2].hash);
    }
}

TEST_F(Effects, MayHoldBackEverythingUntilTheEnd) {
    EXPECT_EQ(Run(HoldBackPictures(100)).pictures, m_in);
}

// One that repeats a picture at the same time: every picture is written, a step later.
TEST_F(Effects, MayRepeatATime) {
    MediaRecord const out = Run(MakeEffects([](Picture const& picture) {
        return Pictures{picture, picture};
    }));
    ASSERT_EQ(out.pictures.size(), 50U);
    for (std::size_t i = 0; i < out.pictures.size(); i += 2) {
        EXPECT_EQ(out.pictures[i].time, m_in[i / 2].time);
        EXPECT_GT(out.pictures[i + 1].time, m_in[i / 2].time);
        EXPECT_LT(out.pictures[i + 1].time, m_in[i / 2].time + 100000);
    }
    EXPECT_THAT(m_result.notes, ElementsAre(HasSubstr("Moved 25 frame timestamps, which did not increase")));
}

class FailingEffects : public RunFixture {
protected:
    /// Runs a small film through the chain and expects an exception of the type; nothing may stay behind.
    template <class E>
    std::string Fail(Media::MakeVideoEffects chain, std::string const& output = "out.mp4") {
        Make(File("in.mp4"), s_pictures + s_audio + s_bFrames + "-c:a aac");
        Media::RunOptions options = Lossless("in.mp4", output);
        options.makeVideoEffects = std::move(chain);
        std::string text = RunForFailure<E>(options);
        EXPECT_THAT(List(), ElementsAre("in.mp4"));
        return text;
    }
};

TEST_F(FailingEffects, ItsExceptionsComeOutUnchanged) {
    auto const pass = [](Picture const& picture) { return Pictures{picture}; };
    auto const raise = []() -> Pictures { throw std::runtime_error("late"); };
    EXPECT_EQ(Fail<std::runtime_error>(MakeEffects(pass, raise)), "late");
    EXPECT_EQ(Fail<std::runtime_error>(
                  [](Media::VideoStreamInfo const&) -> std::unique_ptr<FunctionStream<Proc::IDataVideo>> {
                      throw std::runtime_error("early");
                  }),
              "early");
}

TEST_F(FailingEffects, PicturesThatCannotBeWrittenAreRefused) {
    EXPECT_EQ(Fail<Media::OutputException>(MakeEffects([](Picture const&) { return Pictures{}; })),
              "Cannot write \"" + File("out.mp4").string() + "\": the effects returned no frames");
    auto const grow = [](Picture const& picture) {
        if (picture->GetTime() < 400000)
            return Pictures{picture};
        Picture const larger = MakeSP<Proc::DataVideoFF>(Conf::ColorSpace{}, Conf::PixFmt::YUV444P,
                                                         Conf::FrameInfo{80, 48, 1, 1});
        larger->SetTime(picture->GetTime());
        return Pictures{larger};
    };
    EXPECT_EQ(Fail<Media::OutputException>(MakeEffects(grow)),
              "The frames change from 64x48 yuv420p to 80x48 yuv444p at 0.4 s: one stream cannot hold both");
}

TEST_F(FailingEffects, ReportsOfProgressMayThrow) {
    Make(File("in.mp4"), s_pictures + s_bFrames);
    Media::RunOptions options = Lossless("in.mp4", "out.mp4");
    options.onProgress = [caller = std::this_thread::get_id()](Media::RunProgress const&) {
        EXPECT_EQ(std::this_thread::get_id(), caller);
        throw std::runtime_error("no");
    };
    EXPECT_EQ(RunForFailure<std::runtime_error>(options), "no");
    EXPECT_THAT(List(), ElementsAre("in.mp4"));
}

// The chain is asked to stop while it works and while others wait for it; on one thread alone, too.
TEST_F(FailingEffects, StopsWithinMoments) {
    Make(File("in.mp4"), "-f lavfi -i testsrc2=s=64x48:r=25:d=20 " + s_audio + s_bFrames + "-c:a aac");
    int const before = Core::ThreadBudget::Get();
    for (int const budget : {before, 1}) {
        Core::ThreadBudget::Set(budget);
        std::stop_source stop;
        Media::RunOptions options = Lossless("in.mp4", "out.mp4");
        int pictures = 0;
        std::chrono::steady_clock::time_point asked;
        options.makeVideoEffects = MakeEffects([&](Picture const& picture) {
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
            if (++pictures == 20) {
                asked = std::chrono::steady_clock::now();
                stop.request_stop();
            }
            return Pictures{picture};
        });
        EXPECT_EQ(RunForFailure<Media::InterruptedException>(options, stop.get_token()),
                  "Interrupted: \"" + File("out.mp4").string() + "\" was not written");
        EXPECT_LT(std::chrono::steady_clock::now() - asked, std::chrono::seconds(1));
        EXPECT_LT(pictures, budget == 1 ? 21 : 25);
        EXPECT_THAT(List(), ElementsAre("in.mp4"));

        // Before the start: nothing is made at all.
        options.makeVideoEffects = {};
        RunForFailure<Media::InterruptedException>(options, stop.get_token());
        EXPECT_THAT(List(), ElementsAre("in.mp4"));
    }
    Core::ThreadBudget::Set(before);
}

auto CountThreads() {
    return std::distance(std::filesystem::directory_iterator("/proc/self/task"), {});
}

class RunThreads : public RunFixture {
protected:
    ~RunThreads() override { Core::ThreadBudget::Set(m_budget); }

    /// Runs a film through a chain that passes it on; how many threads there were beyond those before, at
    /// most.
    std::ptrdiff_t CountMost(std::string const& output, std::string const& encoder) {
        auto const before = CountThreads();
        auto most = before;
        Media::RunOptions options = Options("in.mp4", output);
        options.videoEncoder = encoder;
        options.makeVideoEffects = MakeEffects([&](Picture const& picture) {
            most = std::max(most, CountThreads());
            m_worker = std::this_thread::get_id();
            return Pictures{picture};
        });
        EXPECT_EQ(Media::Run(options).framesOut, 25);
        return most - before;
    }

    std::thread::id m_worker;

private:
    int m_budget = Core::ThreadBudget::Get();
};

TEST_F(RunThreads, KeepToTheBudget) {
    Make(File("in.mp4"), s_pictures + s_audio + s_bFrames + "-c:a aac");
    struct {
        char const* output;
        char const* encoder;
    } const cases[] = {{"out.mp4", "libx264"},
                       {"out.webm", "libvpx-vp9"},
                       {"out.avi", "mpeg4"},
                       {"out.mkv", "ffv1"},
                       {"out.gif", ""}};
    for (auto const& row : cases) {
        SCOPED_TRACE(std::string(row.output) + " " + row.encoder);
        Core::ThreadBudget::Set(1);
        EXPECT_LE(CountMost(row.output, row.encoder), 0);
        EXPECT_EQ(m_worker, std::this_thread::get_id());
    }
    Core::ThreadBudget::Set(1000);
    EXPECT_GT(CountMost("out.mp4", "libx264"), 3);
    EXPECT_NE(m_worker, std::this_thread::get_id());
}

TEST_F(RunThreads, OneIsEnough) {
    Core::ThreadBudget::Set(1);
    Make(File("in.mp4"), s_pictures + s_audio + s_bFrames + "-c:a aac");
    Media::RunOptions options = Lossless("in.mp4", "out.mp4");
    int reports = 0;
    options.onProgress = [&](Media::RunProgress const&) { ++reports; };
    options.makeVideoEffects = MakeEffects([](Picture const& picture) {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        return Pictures{picture};
    });
    auto const [result, in, out] = Trip(options);
    EXPECT_GT(reports, 2);
    EXPECT_EQ(out.pictures, in.pictures);
    EXPECT_EQ(out.streams.at(1).packets, in.streams.at(1).packets);
}

TEST_F(RunThreads, RunsSideBySide) {
    Make(File("in.mp4"), "-f lavfi -i testsrc2=s=64x48:r=25:d=4 " + s_audio + s_bFrames + "-c:a aac");
    std::atomic<int> inEffects{0};
    std::atomic<bool> together{false};
    auto const run = [&](std::string const& output) {
        Media::RunOptions options = Lossless("in.mp4", output);
        options.makeVideoEffects = MakeEffects([&](Picture const& picture) {
            together = ++inEffects > 1 || together;
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
            --inEffects;
            return Pictures{picture};
        });
        auto const [result, in, out] = Trip(options);
        EXPECT_EQ(result.framesOut, 100);
        EXPECT_EQ(out.pictures, in.pictures);
        EXPECT_EQ(out.streams.at(1).packets, in.streams.at(1).packets);
    };
    std::jthread const other(run, "other.mp4");
    run("out.mp4");
    EXPECT_TRUE(together);
}

} // namespace
} // namespace Tarsel::Test
