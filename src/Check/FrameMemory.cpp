#include "Check/FrameMemory.h"

#include "Conf/PixFmtDescription.h"
#include "Proc/Data/WrapMemory.h"

extern "C" {
#include <libavutil/frame.h>
}

#include <cstring>
#include <new>
#include <sys/mman.h>
#include <unistd.h>
#include <utility>

namespace Tarsel::Check {
namespace {

constexpr std::uint8_t s_pattern = 0xA5;

std::size_t GetPageSize() {
    return static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
}

} // namespace

std::string_view GetName(Layout layout) noexcept {
    switch (layout) {
    case Layout::Dense:
        return "dense rows";
    case Layout::BottomUp:
        return "rows from the bottom up";
    case Layout::Odd:
        return "rows at odd addresses";
    case Layout::PageEnd:
        return "rows that end with a page";
    case Layout::PageEndBottomUp:
        return "rows from the bottom up that end with a page";
    }
    return "unknown";
}

/// The memory of one plane: whole pages, and one after them that may not be touched.
struct PlacedPicture::Block {
    Block(Proc::ReadOnlyPlane const& from, Layout layout) {
        bool const isDense =
            layout == Layout::Dense || layout == Layout::PageEnd || layout == Layout::PageEndBottomUp;
        std::size_t const padding = isDense ? 0 : layout == Layout::Odd ? 13 + from.rowBytes % 2 : 64;
        lineSize = from.rowBytes + padding;
        std::size_t const used = lineSize * from.rows;
        std::size_t const page = GetPageSize();
        // Room before the first row, which a filter must not write to either.
        size = (used + 2 * page - 1) / page * page;
        void* const all =
            mmap(nullptr, size + page, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (all == MAP_FAILED)
            throw std::bad_alloc();
        memory = static_cast<std::uint8_t*>(all);
        std::memset(memory, s_pattern, size);
        (void)mprotect(memory + size, page, PROT_NONE);
        bool const atEnd = layout == Layout::PageEnd || layout == Layout::PageEndBottomUp;
        std::size_t const room = size - used;
        std::size_t const start = atEnd ? room : room / 2 | (layout == Layout::Odd ? 1U : 0U);
        bool const isTurned =
            (layout == Layout::BottomUp || layout == Layout::PageEndBottomUp) && from.rows > 1;
        auto const step = static_cast<std::ptrdiff_t>(lineSize);
        std::uint8_t* const first = memory + start;
        plane = {isTurned ? first + step * static_cast<std::ptrdiff_t>(from.rows - 1) : first,
                 isTurned ? -step : step, from.rowBytes, from.rows};
        Proc::CopyPlane(from,
                        {const_cast<std::uint8_t*>(plane.data), plane.lineSize, plane.rowBytes, plane.rows});
    }
    Block(Block const&) = delete;
    Block(Block&& other) noexcept
        : plane(other.plane), lineSize(other.lineSize), memory(std::exchange(other.memory, nullptr)),
          size(other.size) {}
    ~Block() {
        if (memory != nullptr)
            (void)munmap(memory, size + GetPageSize());
    }

    bool IsRow(std::size_t at) const {
        std::uint8_t const* const lowest =
            plane.lineSize < 0 ? plane.data + plane.lineSize * static_cast<std::ptrdiff_t>(plane.rows - 1)
                               : plane.data;
        auto const offset = memory + at - lowest;
        return offset >= 0 && static_cast<std::size_t>(offset) < lineSize * plane.rows &&
               static_cast<std::size_t>(offset) % lineSize < plane.rowBytes;
    }

    Proc::ReadOnlyPlane plane;
    std::size_t lineSize = 0;
    std::uint8_t* memory = nullptr;
    /// Without the page after it.
    std::size_t size = 0;
};

PlacedPicture::PlacedPicture(Proc::IDataVideo const& picture, Layout layout)
    : m_blocks(std::make_shared<std::vector<Block>>()), m_isReleased(std::make_shared<bool>(false)) {
    Conf::PixFmt const format = picture.GetPixelFormat();
    int const planes = Conf::PixFmtDescription::Find(format).GetPlaneCount();
    m_blocks->reserve(static_cast<std::size_t>(planes) + 1);
    for (int i = 0; i < planes; ++i)
        m_blocks->emplace_back(picture.GetReadOnlyPlane(i), layout);
    if (format == Conf::PixFmt::PAL8)
        m_blocks->emplace_back(
            Proc::ReadOnlyPlane{picture.GetAVFrame()->data[1], s_paletteBytes, s_paletteBytes, 1},
            Layout::Dense);
    std::vector<Proc::ReadOnlyPlane> views;
    for (Block const& block : *m_blocks)
        views.push_back(block.plane);
    m_picture = Proc::WrapPicture(picture.GetColorSpace(), format, picture.GetFrameInfo(), views,
                                  [blocks = m_blocks, released = m_isReleased] { *released = true; });
    m_picture->SetTime(picture.GetTime());
    m_picture->SetDuration(picture.GetDuration());
}

void PlacedPicture::Protect() {
    for (Block const& block : *m_blocks)
        (void)mprotect(block.memory, block.size, PROT_READ);
}

std::size_t PlacedPicture::CountChanges() const {
    std::size_t changes = 0;
    for (Block const& block : *m_blocks)
        for (std::size_t at = 0; at < block.size; ++at)
            changes += !block.IsRow(at) && block.memory[at] != s_pattern;
    return changes;
}

} // namespace Tarsel::Check
