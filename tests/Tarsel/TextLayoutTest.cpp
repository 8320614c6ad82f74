#include "Tools/Tarsel/TextLayout.h"

#include <gtest/gtest.h>

namespace Tarsel::Tools {
namespace {

TEST(TextLayout, BreaksAtBlanksBehindTheLead) {
    std::string out;
    AppendWrapped(out, "  key", 7, "one two three", 14);
    EXPECT_EQ(out, "  key  one two\n"
                   "       three\n");

    out.clear();
    AppendWrapped(out, "  key", 7, "one two", 13);
    EXPECT_EQ(out, "  key  one\n"
                   "       two\n");

    out.clear();
    AppendWrapped(out, "  a-long-key", 6, "unbreakable word", 12);
    EXPECT_EQ(out, "  a-long-key\n"
                   "      unbreakable\n"
                   "      word\n");

    out.clear();
    AppendWrapped(out, "", 2, "\xC3\xA4\xC3\xB6 \xC3\xBC", 6);
    EXPECT_EQ(out, "  \xC3\xA4\xC3\xB6 \xC3\xBC\n");

    out.clear();
    AppendWrapped(out, "", 2, "", 10);
    EXPECT_EQ(out, "");
}

} // namespace
} // namespace Tarsel::Tools
