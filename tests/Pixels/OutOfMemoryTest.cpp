// What happens when the quantizer gets no memory. Sanitizers have an allocator of their own; these tests need
// the usual one.
#if !defined(__has_feature)
#define __has_feature(feature) 0
#endif
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__) && !__has_feature(address_sanitizer) &&  \
    !__has_feature(thread_sanitizer)

#include "Conf/FrameInfo.h"
#include "Pixels/Pictures.h"
#include "Proc/Effects/Lumenta/Pixels/ColorQuant.h"
#include "Proc/Interfaces/ProcExceptions.h"
#include "Proc/Wrappers/SafeFrame.h"
#include "Support/MemoryWatch.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <new>
#include <vector>

extern "C" {
#include <libavutil/frame.h>
}

namespace {

enum class Call { None, Realloc, Calloc };

/// How many calls of realloc and calloc still succeed before one fails; less than 0: all.
int s_callsLeft = -1;
Call s_failed = Call::None;

bool FailsNow(Call call) {
    if (s_callsLeft < 0 || s_callsLeft-- != 0)
        return false;
    s_failed = call;
    return true;
}

} // namespace

extern "C" {
// NOLINTBEGIN(bugprone-reserved-identifier): glibc's own names of what is replaced here.
void* __libc_realloc(void* memory, std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
// NOLINTEND(bugprone-reserved-identifier)

void* realloc(void* memory, std::size_t size) {
    return FailsNow(Call::Realloc) ? nullptr : __libc_realloc(memory, size);
}

void* calloc(std::size_t count, std::size_t size) {
    return FailsNow(Call::Calloc) ? nullptr : __libc_calloc(count, size);
}
}

namespace Tarsel::Proc {
namespace {

class OutOfMemory : public testing::TestWithParam<int> {
protected:
    static constexpr std::size_t s_width = 96;
    static constexpr std::size_t s_height = 64;

    OutOfMemory() {
        m_in->data[0] = m_pixels.data();
        m_in->linesize[0] = static_cast<int>(4 * s_width);
        m_out->data[0] = m_indices.data();
        m_out->linesize[0] = static_cast<int>(s_width);
        m_out->data[1] = m_palette.data();
    }

    /// After so many allocations one fails. Which exception tells of what: the heap's growth by its text,
    /// the rest as the language does.
    Call Process(int successes) {
        Call told = Call::None;
        s_failed = Call::None;
        s_callsLeft = successes;
        try {
            ColorQuant::Process(*m_in, *m_out, {s_width, s_height, 1, 1}, 255, GetParam(), {});
        } catch (FilterException const& exception) {
            EXPECT_STREQ(exception.what(), "Cannot realloc heap memmory");
            told = Call::Realloc;
        } catch (std::bad_alloc const&) {
            told = Call::Calloc;
        }
        s_callsLeft = -1;
        return told;
    }

private:
    std::vector<std::uint8_t> m_pixels =
        MakePicture(PictureKind::Noise, PictureAlpha::Opaque, s_width, s_height);
    std::vector<std::uint8_t> m_indices = std::vector<std::uint8_t>(s_width * s_height);
    std::vector<std::uint8_t> m_palette = std::vector<std::uint8_t>(std::size_t{4} * 256);
    SafeFrame m_in;
    SafeFrame m_out;
};

// Each allocation of a run in turn.
TEST_P(OutOfMemory, AtEveryAllocation) {
    for (int round = 0; round < 2; ++round) { // What the first exceptions leave behind is no leak.
        std::size_t const used = Tarsel::Test::GetMemoryInUse();
        int growths = 0;
        int successes = 0;
        do {
            EXPECT_EQ(Process(successes++), s_failed);
            growths += s_failed == Call::Realloc ? 1 : 0;
        } while (s_failed != Call::None);
        EXPECT_GT(growths, 1);
        EXPECT_GT(successes - 1, growths);
        if (round != 0) {
            EXPECT_EQ(Tarsel::Test::GetMemoryInUse(), used);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Dither, OutOfMemory, testing::Values(0, 1));

} // namespace
} // namespace Tarsel::Proc

#endif
