#include "Media/Base/Sequence.h"
#include "Media/MediaExceptions.h"
#include "Support/TempFolder.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

namespace Tarsel::Media {
namespace {

TEST(Sequence, NamesStandForNumberedFiles) {
    Tarsel::Test::TempFolder const folder;
    Tarsel::Test::WriteFile(folder / "there%d.png", "a file of that very name");
    std::filesystem::create_directory(folder / "100%d");
    struct {
        char const* name;
        /// Of number 7, of 12345, and FFmpeg's; "" where it is no sequence.
        std::string seventh;
        std::string large;
        std::string pattern;
    } const cases[] = {
        {"%d.png", "7.png", "12345.png", "%01d.png"},
        {"a%04db", "a0007b", "a12345b", "a%04db"},
        {"%3d.png", "007.png", "12345.png", "%03d.png"},
        {"5%% of %d%%.png", "5% of 7%.png", "5% of 12345%.png", "5%% of %01d%%.png"},
        {"100%d/%02d.png", "100%d/07.png", "100%d/12345.png", "100%%d/%02d.png"},
        {"100%d/x.png", "", "", ""},
        {"there%d.png", "", "", ""},
        {"100%.png", "", "", ""},
        {"%%d.png", "", "", ""},
        {"%d-%d.png", "", "", ""},
        {"%04x.png", "", "", ""},
        {"%012d.png", "", "", ""},
    };
    for (auto const& [name, seventh, large, pattern] : cases) {
        auto const sequence = FindSequence(folder / name);
        ASSERT_EQ(sequence.has_value(), !seventh.empty()) << name;
        if (!sequence)
            continue;
        EXPECT_EQ(sequence->MakePath(7), folder / seventh);
        EXPECT_EQ(sequence->MakePath(12345), folder / large);
        EXPECT_TRUE(sequence->MakePattern().ends_with(pattern)) << sequence->MakePattern();
        EXPECT_EQ(sequence->FindNumber(std::filesystem::path(large).filename().string()), 12345);
    }
}

TEST(Sequence, NumbersAreThoseOfItsFiles) {
    Tarsel::Test::TempFolder const folder;
    for (char const* const name : {"a07.png", "a08.png", "a9.png", "a010.png", "a11.png", "a112.png", "a.png",
                                   "a-7.png", "b12.png", "a12.jpg", "a20250101120000.png"})
        Tarsel::Test::WriteFile(folder / name, "");
    auto const list = [&](char const* name) { return ListNumbers(FindSequence(folder / name).value()); };
    EXPECT_THAT(list("a%02d.png"), testing::ElementsAre(7, 8, 11, 112));
    EXPECT_THAT(list("a%d.png"), testing::ElementsAre(9, 11, 112));
    EXPECT_THAT(list("c%d.png"), testing::IsEmpty());
    EXPECT_EQ(FindFirstNumber(FindSequence(folder / "b%d.png").value()), 12);
    EXPECT_THROW(FindFirstNumber(FindSequence(folder / "a%02d.png").value()), InputException);
    EXPECT_THROW(FindFirstNumber(FindSequence(folder / "c%d.png").value()), InputException);
}

} // namespace
} // namespace Tarsel::Media
