// Feeds every effect a long stream and measures what memory the process takes on the way. Each effect has a
// process of its own, so that none pays for another.
#include "Check/ProcessState.h"
#include "Check/Subject.h"
#include "Host/FFmpegMessages.h"
#include "Support/LibraryEffects.h"

#include <fmt/core.h>

#include <cstdlib>
#include <filesystem>
#include <sys/wait.h>
#include <unistd.h>

namespace Tarsel::Check {
namespace {

constexpr std::size_t s_most = 1 << 20;
/// What is fed before the first look: queues and pools have their size by then.
constexpr int s_warmUp = 1000;
constexpr int s_looks = 8;

template <class Medium>
bool Soak(Host::EffectEntry const& entry, int count) {
    Subject<Medium> preparing(Tarsel::Test::GetFactory(), entry, {}, 1, 5);
    Subject<Medium> const subject(Tarsel::Test::GetFactory(), entry, preparing.Prepare(), 1, 5);
    auto const effect = subject.Make();
    auto const datum = subject.MakeDatum(0);
    auto* const stream = dynamic_cast<typename Medium::Stream*>(effect.get());
    std::int64_t time = 0;
    auto const feed = [&](int data) {
        for (int i = 0; i < data; ++i) {
            datum->SetTime(time);
            time += datum->GetDuration();
            auto fed = datum;
            if (stream == nullptr) {
                effect->Process(fed);
                continue;
            }
            stream->Feed(fed);
            (void)TakeAll(*stream);
        }
    };
    feed(s_warmUp);
    std::size_t const before = MeasureMemory();
    std::size_t most = before;
    for (int look = 0; look < s_looks; ++look) {
        feed(count / s_looks);
        most = std::max(most, MeasureMemory());
    }
    bool const isFlat = most < before + s_most;
    fmt::print("{:24} {:>8} {}  {:>8} bytes more{}\n", entry.classId, count,
               std::is_same_v<Medium, Video> ? "frames" : "blocks", most - before,
               isFlat ? "" : ": MORE THAN 1 MiB");
    return isFlat;
}

bool SoakAlone(Host::EffectEntry const& entry, int frames, int blocks) {
    (void)std::fflush(stdout);
    pid_t const child = fork();
    if (child == 0) {
        Host::FFmpegMessages const quiet;
        bool const isFlat = entry.GetKind() == Host::EffectKind::Audio ? Soak<Audio>(entry, blocks)
                                                                       : Soak<Video>(entry, frames);
        (void)std::fflush(stdout);
        _exit(isFlat ? 0 : 1);
    }
    int status = 0;
    if (waitpid(child, &status, 0) == child && status == 0)
        return true;
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 1)
        fmt::print("{}: ended with status {}\n", entry.classId, status);
    return false;
}

} // namespace
} // namespace Tarsel::Check

int main(int argc, char* argv[]) {
    if (argc > 3) {
        fmt::print("usage: proof_soak [FRAMES [BLOCKS]]\n");
        return 2;
    }
    int const frames = argc > 1 ? std::atoi(argv[1]) : 1000;
    int const blocks = argc > 2 ? std::atoi(argv[2]) : 10 * frames;
    auto const folder = std::filesystem::temp_directory_path() / fmt::format("soak-{}", getpid());
    std::filesystem::create_directory(folder);
    std::filesystem::current_path(folder); // effects that write files do so here
    std::size_t effects = 0;
    std::size_t faults = 0;
    for (auto const& entry : Tarsel::Test::GetFactory()->GetRegistry().GetEntries()) {
        ++effects;
        faults += Tarsel::Check::SoakAlone(entry, frames, blocks) ? 0 : 1;
    }
    std::filesystem::current_path("/");
    std::filesystem::remove_all(folder);
    fmt::print("{{\"attack\": \"soak\", \"effects\": {}, \"frames\": {}, \"blocks\": {}, \"faults\": {}}}\n",
               effects, frames, blocks, faults);
    return faults == 0 ? 0 : 1;
}
