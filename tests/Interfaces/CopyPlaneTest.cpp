#include "Proc/Interfaces/IDataVideo.h"
#include "Support/Failure.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <vector>

using namespace Tarsel::Proc;

namespace {

constexpr std::size_t s_rowBytes = 5;
constexpr std::uint32_t s_rows = 3;

/// A plane in a buffer of its own, its rows `stride` bytes apart; bottom up where that is negative.
struct Picture {
    Picture(std::ptrdiff_t stride, std::uint8_t fill)
        : bytes(static_cast<std::size_t>(std::abs(stride)) * s_rows, fill), lineSize(stride),
          top(stride < 0 ? bytes.data() - stride * (s_rows - 1) : bytes.data()) {}
    std::uint8_t& At(std::uint32_t row, std::size_t column) const {
        return top[static_cast<std::ptrdiff_t>(row) * lineSize + static_cast<std::ptrdiff_t>(column)];
    }

    std::vector<std::uint8_t> bytes;
    std::ptrdiff_t lineSize;
    std::uint8_t* top;
};

TEST(CopyPlane, CopiesRowsWhateverTheLineSizes) {
    for (std::ptrdiff_t const from : {5, 8, -6})
        for (std::ptrdiff_t const to : {5, 7, -9}) {
            SCOPED_TRACE(testing::Message() << from << " to " << to);
            Picture source(from, 0xEE);
            Picture target(to, 0x77);
            for (std::uint32_t row = 0; row < s_rows; ++row)
                for (std::size_t column = 0; column < s_rowBytes; ++column)
                    source.At(row, column) = static_cast<std::uint8_t>(row * 16 + column);
            CopyPlane({source.top, from, s_rowBytes, s_rows}, {target.top, to, s_rowBytes, s_rows});
            for (std::uint32_t row = 0; row < s_rows; ++row)
                for (std::size_t column = 0; column < static_cast<std::size_t>(std::abs(to)); ++column)
                    EXPECT_EQ(target.At(row, column),
                              column < s_rowBytes ? row * 16 + column : 0x77U); // padding stays
        }
}

TEST(CopyPlane, RefusesPlanesOfDifferentSize) {
    Picture source(5, 1);
    Picture target(5, 2);
    EXPECT_EQ(Tarsel::Test::TextOf<ProcException>([&] {
                  CopyPlane({source.top, 5, 5, 3}, {target.top, 5, 5, 2});
              }),
              "Cannot copy a plane of 5 bytes by 3 rows into one of 5 by 2");
    EXPECT_THROW(CopyPlane({source.top, 5, 4, 3}, {target.top, 5, 5, 3}), ProcException);
    EXPECT_EQ(target.bytes, std::vector<std::uint8_t>(15, 2));
    CopyPlane({nullptr, 0, 0, 3}, {nullptr, 0, 0, 3}); // nothing to copy, nothing read
}

} // namespace
