#include "Core/Files.h"

#include "Support/TempFolder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

namespace {

TEST(Files, ExistsFollowsLinksAndNeverThrows) {
    Tarsel::Test::TempFolder const folder;
    std::filesystem::create_symlink(folder.GetPath(), folder / "to-folder");
    std::filesystem::create_symlink(folder / "nowhere", folder / "dangling");

    EXPECT_TRUE(Tarsel::Core::FileExists(folder.GetPath()));
    EXPECT_TRUE(Tarsel::Core::FileExists(folder / "to-folder"));
    EXPECT_FALSE(Tarsel::Core::FileExists(folder / "dangling"));
    EXPECT_FALSE(Tarsel::Core::FileExists(""));
    EXPECT_FALSE(Tarsel::Core::FileExists(folder / std::string(10000, 'x'))); // name too long for the system
}

} // namespace
