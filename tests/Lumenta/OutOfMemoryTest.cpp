// What happens when an effect gets no memory. Sanitizers have an allocator of their own; these tests need the
// usual one.
#if !defined(__has_feature)
#define __has_feature(feature) 0
#endif
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__) && !__has_feature(address_sanitizer) &&  \
    !__has_feature(thread_sanitizer)

#include "Check/RandomSettings.h"
#include "Core/CoreExceptions.h"
#include "EffectCases.h"
#include "Frames.h"
#include "Proc/Interfaces/ProcExceptions.h"
#include "Support/Audio.h"
#include "Support/LibraryEffects.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <iterator>
#include <new>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

/// How many calls of this thread still succeed before one fails; less than 0: all.
thread_local int s_callsLeft = -1;

} // namespace

// Not inline: compilers warn of malloc and delete when they see both.
[[gnu::noinline]] void* operator new(std::size_t size) {
    if (s_callsLeft >= 0 && s_callsLeft-- == 0)
        throw std::bad_alloc();
    if (void* const memory = std::malloc(size))
        return memory;
    throw std::bad_alloc();
}

[[gnu::noinline]] void operator delete(void* memory) noexcept {
    std::free(memory);
}

[[gnu::noinline]] void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}

namespace Tarsel::Test {
namespace {

/// Every few calls: a graph's own take a while.
constexpr int s_step = 3;

/// Lets `work` fail at one place after the other, and do its work in between. What it throws is caught; what
/// ends the process is not.
template <class Work>
void FailEverywhere(std::string const& what, Work const& work) {
    for (int calls = 0;; calls += s_step) {
        s_callsLeft = calls;
        bool hasFailed = false;
        try {
            work();
            hasFailed = s_callsLeft < 0;
        } catch (std::bad_alloc const&) {
            hasFailed = true;
        } catch (Core::MemoryException const&) {
            hasFailed = true;
        }
        s_callsLeft = -1;
        ASSERT_NO_THROW(work()) << what << " after call " << calls << " failed";
        if (!hasFailed)
            return;
    }
}

TEST(OutOfMemory, EndsNoProcessAndSpoilsNoVideoEffect) {
    std::set<std::string> seen;
    std::vector<EffectCase> rows = GetWorkingCases();
    std::ranges::move(GetPictureCases(), std::back_inserter(rows));
    for (EffectCase const& row : rows) {
        if (!seen.insert(row.classId).second)
            continue;
        FailEverywhere(row.classId, [&] { row.Make(); });
        auto const effect = row.Make();
        auto const settings = row.MakeSettings();
        auto const others = FindSettingsClass(row.classId).Create();
        FailEverywhere(row.classId, [&] {
            Apply(*effect, MakeFrame());
            try {
                Ask(*effect);
            } catch (std::logic_error const&) { // the format has no display matrix to be taken out
            }
            RunStream(*effect, {MakeFrame(), MakeFrame()});
            effect->SetSettings(*others);
            effect->Reset();
            effect->SetSettings(*settings);
        });
    }
}

TEST(OutOfMemory, EndsNoProcessAndSpoilsNoAudioEffect) {
    auto const info = Conf::SampleInfo::Init(Conf::SampleFormats::Float, 44100, {3, 2});
    for (Host::EffectEntry const& entry : GetFactory()->GetRegistry().GetEntries()) {
        if (entry.GetKind() != Host::EffectKind::Audio)
            continue;
        auto const make = [&] { return GetFactory()->CreateAudioEffect(entry.classId, "default", {}); };
        FailEverywhere(entry.classId, make);
        auto const effect = make();
        auto const others = FindSettingsClass(entry.classId).Create();
        Check::RandomSettings random(5);
        auto settings = random.Draw(*others);
        auto const work = [&] {
            effect->SetSettings(*settings);
            SP<Proc::IDataAudio> data = Proc::DataAudioFF::CreateBySampleCount(info, 1024);
            effect->Process(data);
            effect->Reset();
            effect->SetSettings(*others);
        };
        auto const isRefused = [&] {
            try {
                work();
                return settings->IsEmpty();
            } catch (Proc::EffectException const&) {
                return true;
            }
        };
        while (isRefused())
            settings = random.Draw(*others);
        FailEverywhere(entry.classId, work);
    }
}

} // namespace
} // namespace Tarsel::Test

#endif
