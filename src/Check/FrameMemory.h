#pragma once

#include "Check/Data.h"

#include <memory>
#include <string>
#include <vector>

/// Pictures in memory of all kinds that hosts have. Any thread.
namespace Tarsel::Check {

/// Where the rows of a picture lie.
enum class Layout : std::uint8_t {
    /// Rows without padding.
    Dense,
    /// Rows from the bottom up, with padding.
    BottomUp,
    /// Rows with padding of an odd number of bytes, which begin at odd addresses.
    Odd,
    /// Each plane ends with a page, after which nothing may be read.
    PageEnd,
    /// The same from the bottom up: the top row ends with the page.
    PageEndBottomUp,
};

/// "dense rows" and so on.
std::string_view GetName(Layout layout) noexcept;

/// The same picture in other memory. What is around its rows is filled with a pattern.
class PlacedPicture {
public:
    PlacedPicture(Proc::IDataVideo const& picture, Layout layout);

    SP<Proc::IDataVideo> const& Get() const noexcept { return m_picture; }
    /// Gives the picture away; what others still have of it keeps the memory.
    void Drop() { m_picture.reset(); }
    /// From now on whoever writes to the memory ends the process.
    void Protect();
    /// Whether nobody has the memory any more.
    bool IsReleased() const noexcept { return *m_isReleased; }
    /// What has changed around the rows: the number of bytes.
    std::size_t CountChanges() const;

private:
    struct Block;

    std::shared_ptr<std::vector<Block>> m_blocks;
    std::shared_ptr<bool> m_isReleased;
    SP<Proc::IDataVideo> m_picture;
};

} // namespace Tarsel::Check
