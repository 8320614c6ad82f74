// Which threads runs work on, and runs side by side.

#include "Core/ThreadBudget.h"
#include "RunFixture.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <iterator>
#include <thread>

namespace Tarsel::Test {
namespace {

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
