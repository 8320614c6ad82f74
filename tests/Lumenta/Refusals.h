#pragma once

#include "Conf/PixFmtDescription.h"
#include "Frames.h"
#include "Proc/Interfaces/IOneInputEffectVideo.h"
#include "Support/Watch.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

/// Effects that will not take a frame.
namespace Tarsel::Test {

/// A frame's format and size, and what an effect says to it; "" where it takes it.
struct SizeCase {
    char const* format;
    std::uint32_t width;
    std::uint32_t height;
    std::string text;
};

/// What is refused stays as it was, and the effect goes on with the next frame.
inline void ExpectSizes(Proc::IOneInputEffectVideo& effect, std::string const& function,
                        std::vector<SizeCase> const& rows) {
    for (SizeCase const& row : rows) {
        SCOPED_TRACE(std::string(row.format) + ' ' + std::to_string(row.width) + 'x' +
                     std::to_string(row.height));
        Conf::PixFmt const format = Conf::PixFmtDescription::FindByName(row.format).value();
        Conf::FrameInfo const info{row.width, row.height, 1, 1};
        SP<Proc::IDataVideo> const frame = MakeFrame(format, info);
        SP<Proc::IDataVideo> data = frame;
        if (row.text.empty()) {
            effect.Process(data);
            EXPECT_NE(data, frame);
            continue;
        }
        Failure const failure = Catch([&] { effect.Process(data); });
        EXPECT_EQ(failure.text, row.text);
        EXPECT_EQ(failure.file, "Proc/Effects/Lumenta/EffectFafloplalVideo");
        EXPECT_EQ(failure.function, function);
        EXPECT_TRUE(failure.hasStack);
        EXPECT_EQ(data, frame);
    }
}

} // namespace Tarsel::Test
