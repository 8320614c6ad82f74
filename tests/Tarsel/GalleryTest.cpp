#include "Tarsel/Tool.h"

#include <nlohmann/json.hpp>

#include <csignal>
#include <regex>
#include <set>

namespace Tarsel::Tools {
namespace {

using testing::HasSubstr;
using testing::Not;

class GalleryTool : public Tool {
protected:
    GalleryTool() { TellLeaksApart(); } // the stabilizer is among the effects

    static std::set<std::string> FindAll(std::string const& text, std::string const& pattern) {
        std::set<std::string> found;
        std::regex const regex(pattern);
        for (std::sregex_iterator it(text.begin(), text.end(), regex); it != std::sregex_iterator(); ++it)
            found.insert((*it)[1].str());
        return found;
    }
    static std::set<std::string> ListFiles(std::string const& folder) {
        std::set<std::string> names;
        for (auto const& entry : std::filesystem::directory_iterator(folder))
            names.insert(entry.path().filename());
        return names;
    }
};

TEST_F(GalleryTool, ShowsEveryEffectAtWork) {
    std::set<std::string> effects;
    auto const list = nlohmann::json::parse(Run("list --json").out);
    for (auto const& effect : list.at("effects"))
        effects.insert(effect.at("id").get<std::string>());
    EXPECT_EQ(RunForNotes("gallery pages"), "");
    std::string const page = ReadFile("pages/index.html");
    EXPECT_EQ(FindAll(page, "<section id=\"([^\"]+)\""), effects);
    EXPECT_THAT(page, Not(HasSubstr("changes nothing here")));
    EXPECT_THAT(page, Not(HasSubstr("://")));
    auto files = FindAll(page, "src=\"([^\"]+)\"");
    EXPECT_TRUE(files.contains("overview.png"));
    files.insert("index.html");
    EXPECT_EQ(ListFiles("pages"), files);
    EXPECT_THAT(ListFolder(), testing::ElementsAre("pages"));
    EXPECT_EQ(Probe("pages/transpose-1.jpg", "stream=width,height"), "220 352");
    EXPECT_EQ(ProbeAudio("pages/resample-1.wav"), "pcm_s16le 8000 2 20000");
}

TEST_F(GalleryTool, IsWrittenWholeAndReplacesNothingElse) {
    MakeFilm("still.png", "-f lavfi -i testsrc2=s=64x48 -frames:v 1");
    EXPECT_EQ(RunForNotes("gallery still.png pages"), "");
    EXPECT_THAT(ReadFile("pages/index.html"), HasSubstr("still.png"));
    EXPECT_EQ(Probe("pages/before.jpg", "stream=width,height"), "64 48");
    Interrupt("gallery pages", 3, SIGINT);
    EXPECT_EQ(Probe("pages/before.jpg", "stream=width,height"), "64 48");

    std::filesystem::create_directory("mine");
    WriteFile("mine/index.html", "precious");
    ExpectRefusals({
        {"gallery mine", 1, "Choose another folder: \"mine\" exists and is not a gallery"},
        {"gallery still.png", 1, "Choose another folder: \"still.png\" is not a folder"},
        {"gallery no/pages", 4, "Cannot write \"no/pages\": No such file or directory"},
        {"gallery none.mp4 new", 2, "reference: Cannot open \"none.mp4\": No such file or directory"},
    });
    WriteFile("pages/mine.txt", "precious");
    ExpectRefusals(
        {{"gallery pages", 1,
          "Choose another folder: \"pages\" also holds \"mine.txt\", which is not of the gallery"}});
}

} // namespace
} // namespace Tarsel::Tools
