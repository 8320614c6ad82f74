#include "Core/NearNames.h"

#include <gmock/gmock.h>

using namespace Tarsel::Core;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

TEST(NearNames, AreTheNearestFirst) {
    std::vector<std::string> const names{"libx265", "libx264rgb", "libx264", "mpeg4",
                                         "msmpeg4", "h264_nvenc", "libx264"};
    EXPECT_THAT(FindNearNames("x264", names), ElementsAre("libx264", "libx264rgb"));
    EXPECT_THAT(FindNearNames("libx263", names), ElementsAre("libx264", "libx265"));
    EXPECT_THAT(FindNearNames("mpg4", names), ElementsAre("mpeg4"));
    EXPECT_THAT(FindNearNames("lbix264", names), ElementsAre("libx264", "libx265"));
    EXPECT_THAT(FindNearNames("xyz", names), IsEmpty());
    EXPECT_EQ(NearNamesText("libx263", names), "; near names: libx264, libx265");
    EXPECT_EQ(NearNamesText("h265", names), "");
    std::vector<std::string> const many{"ab", "ac", "ad", "ae", "af", "ag"};
    EXPECT_THAT(FindNearNames("aa", many), ElementsAre("ab", "ac", "ad", "ae", "af"));
}

TEST(NearNames, OneIsTheNearestHoweverFar) {
    std::vector<std::string> const names{"flip", "transpose", "blur", "blue"};
    EXPECT_EQ(FindNearestName("blor", names), "blur");
    EXPECT_EQ(FindNearestName("blu", names), "blur"); // the first of two
    EXPECT_EQ(FindNearestName("trampoline", names), "transpose");
    EXPECT_EQ(FindNearestName("", names), "flip");
    EXPECT_EQ(FindNearestName("blur", {}), "");
}

} // namespace
