#pragma once

#include "Conf/PixFmtDescription.h"
#include "Proc/Data/DataVideoFF.h"
#include "Proc/Data/WrapMemory.h"
#include "Proc/Wrappers/FrameFields.h"

#include <cstring>
#include <memory>
#include <new>
#include <vector>

extern "C" {
#include <libavutil/frame.h>
}

#include <sys/mman.h>
#include <unistd.h>

namespace Tarsel::Test {

/// Memory that ends with a page; a touch of the byte after it ends the process.
class PageEnd {
public:
    explicit PageEnd(std::size_t size) {
        auto const page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
        std::size_t const usable = (size + page - 1) / page * page;
        m_length = usable + page;
        void* const all = mmap(nullptr, m_length, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (all == MAP_FAILED)
            throw std::bad_alloc();
        m_start = static_cast<std::uint8_t*>(all);
        mprotect(m_start + usable, page, PROT_NONE);
        m_data = m_start + usable - size;
    }
    PageEnd(PageEnd const&) = delete;
    PageEnd& operator=(PageEnd const&) = delete;
    ~PageEnd() { munmap(m_start, m_length); }

    std::uint8_t* GetData() const noexcept { return m_data; }

private:
    std::size_t m_length = 0;
    std::uint8_t* m_start = nullptr;
    std::uint8_t* m_data = nullptr;
};

/// The same picture, each plane without padding in memory of its own that ends with a page; bottom up where
/// that is asked for.
inline SP<Proc::IDataVideo> AtPageEnds(AVFrame const& frame, bool bottomUp = false) {
    auto const format = static_cast<Conf::PixFmt>(frame.format);
    Proc::DataVideoFF const data(frame, Proc::GetFrameInfo(frame));
    auto const memory = std::make_shared<std::vector<std::unique_ptr<PageEnd>>>();
    std::vector<Proc::ReadOnlyPlane> planes;
    auto const add = [&](Proc::ReadOnlyPlane const& from) {
        auto const lineSize = static_cast<std::ptrdiff_t>(from.rowBytes);
        std::uint8_t* const start =
            memory->emplace_back(std::make_unique<PageEnd>(from.rowBytes * from.rows))->GetData();
        bool const turned = bottomUp && from.rows > 1;
        std::uint8_t* const top =
            turned ? start + lineSize * static_cast<std::ptrdiff_t>(from.rows - 1) : start;
        Proc::WritablePlane const to{top, turned ? -lineSize : lineSize, from.rowBytes, from.rows};
        Proc::CopyPlane(from, to);
        planes.push_back({to.data, to.lineSize, to.rowBytes, to.rows});
    };
    for (int i = 0; i < Conf::PixFmtDescription::Find(format).GetPlaneCount(); ++i)
        add(data.GetReadOnlyPlane(i));
    if (format == Conf::PixFmt::PAL8)
        add({frame.data[1], 1024, 1024, 1});
    return Proc::WrapPicture(data.GetColorSpace(), format, data.GetFrameInfo(), planes, [memory] {});
}

} // namespace Tarsel::Test
