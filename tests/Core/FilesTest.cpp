#include "Core/Files.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>

namespace {

TEST(Files, ExistsFollowsLinksAndNeverThrows) {
    std::string pattern = (std::filesystem::temp_directory_path() / "files-test-XXXXXX").string();
    ASSERT_NE(mkdtemp(pattern.data()), nullptr);
    std::filesystem::path const folder = pattern;
    std::filesystem::create_symlink(folder, folder / "to-folder");
    std::filesystem::create_symlink(folder / "nowhere", folder / "dangling");

    EXPECT_TRUE(Tarsel::Core::FileExists(folder));
    EXPECT_TRUE(Tarsel::Core::FileExists(folder / "to-folder"));
    EXPECT_FALSE(Tarsel::Core::FileExists(folder / "dangling"));
    EXPECT_FALSE(Tarsel::Core::FileExists(""));
    EXPECT_FALSE(Tarsel::Core::FileExists(folder / std::string(10000, 'x'))); // name too long for the system
    std::filesystem::remove_all(folder);
}

} // namespace
