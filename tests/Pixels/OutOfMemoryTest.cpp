// What happens when the quantiser gets no memory. Sanitizers have an allocator of their own; these tests need
// the usual one.
#if !defined(__has_feature)
#define __has_feature(feature) 0
#endif
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__) && !__has_feature(address_sanitizer) &&  \
    !__has_feature(thread_sanitizer)

#include "Conf/FrameInfo.h"
#include "Core/CoreExceptions.h"
#include "Pixels/Pictures.h"
#include "Proc/Effects/Lumenta/Pixels/ColorQuant.h"
#include "Proc/Interfaces/ProcExceptions.h"
#include "Proc/Wrappers/SafeFrame.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <fstream>
#include <malloc.h>
#include <string>
#include <sys/resource.h>
#include <unistd.h>
#include <vector>

extern "C" {
#include <libavutil/frame.h>
}

namespace {

/// How many calls of realloc still succeed; less than 0: all.
int s_reallocsLeft = -1;

} // namespace

extern "C" void* __libc_realloc(void* memory, std::size_t size);

// NOLINTNEXTLINE(readability-inconsistent-declaration-parameter-name)
extern "C" void* realloc(void* memory, std::size_t size) {
    if (s_reallocsLeft == 0)
        return nullptr;
    if (s_reallocsLeft > 0)
        --s_reallocsLeft;
    return __libc_realloc(memory, size);
}

namespace Tarsel::Proc {
namespace {

constexpr std::size_t WIDTH = 96;
constexpr std::size_t HEIGHT = 64;

class OutOfMemory : public testing::Test {
protected:
    OutOfMemory()
        : m_pixels(MakePicture(PictureKind::Noise, PictureAlpha::Opaque, WIDTH, HEIGHT)),
          m_indices(WIDTH * HEIGHT), m_palette(4 * 256) {
        m_in->data[0] = m_pixels.data();
        m_in->linesize[0] = static_cast<int>(4 * WIDTH);
        m_out->data[0] = m_indices.data();
        m_out->linesize[0] = static_cast<int>(WIDTH);
        m_out->data[1] = m_palette.data();
    }

    /// The description of what is thrown.
    template <class E>
    std::string Process(int dither) {
        try {
            ColorQuant::Process(*m_in, *m_out, {WIDTH, HEIGHT, 1, 1}, 255, dither, {});
        } catch (E const& exception) {
            return exception.what();
        }
        return "none";
    }

private:
    std::vector<std::uint8_t> m_pixels;
    std::vector<std::uint8_t> m_indices;
    std::vector<std::uint8_t> m_palette;
    SafeFrame m_in;
    SafeFrame m_out;
};

// The heap grows by 1024 nodes at a time, and the picture has about 6000 cells.
TEST_F(OutOfMemory, HeapThatCannotGrow) {
    Process<FilterException>(0);
    std::size_t used = 0;
    for (int round = 0; round < 2; ++round) // What the first exception leaves behind is no leak.
        for (int left = 0; left < 5; ++left) {
            used = mallinfo2().uordblks + mallinfo2().hblkhd;
            s_reallocsLeft = left;
            std::string const text = Process<FilterException>(0);
            s_reallocsLeft = -1;
            EXPECT_EQ(text, "Cannot realloc heap memmory");
        }
    EXPECT_EQ(mallinfo2().uordblks + mallinfo2().hblkhd, used);
    EXPECT_EQ(Process<FilterException>(0), "none");
}

std::size_t GetAddressSpace() {
    std::size_t pages = 0;
    std::ifstream("/proc/self/statm") >> pages;
    return pages * static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
}

class AddressSpaceLimit {
public:
    explicit AddressSpaceLimit(std::size_t more) {
        getrlimit(RLIMIT_AS, &m_before);
        rlimit limit = m_before;
        limit.rlim_cur = GetAddressSpace() + more;
        setrlimit(RLIMIT_AS, &limit);
    }
    ~AddressSpaceLimit() { setrlimit(RLIMIT_AS, &m_before); }
    AddressSpaceLimit(AddressSpaceLimit const&) = delete;
    AddressSpaceLimit& operator=(AddressSpaceLimit const&) = delete;

private:
    rlimit m_before{};
};

// With ever more address space, one table more can be had each time, until there is enough.
TEST_F(OutOfMemory, TablesThatCannotBeHad) {
    constexpr std::size_t megabyte = 1 << 20;
    for (int const dither : {0, 1}) {
        Process<Core::MemoryException>(dither);
        std::size_t const before = GetAddressSpace();
        int failures = 0;
        std::string text;
        for (std::size_t more = megabyte / 2; text != "none" && more < 500 * megabyte; more += 2 * megabyte) {
            {
                AddressSpaceLimit const limit(more);
                text = Process<Core::MemoryException>(dither);
            }
            EXPECT_TRUE(text == "none" || text == "Unable to allocate memory for a table of colours") << text;
            failures += text != "none" ? 1 : 0;
            EXPECT_LT(GetAddressSpace(), before + megabyte / 2);
        }
        EXPECT_EQ(text, "none");
        EXPECT_GT(failures, 5);
    }
}

} // namespace
} // namespace Tarsel::Proc

#endif
