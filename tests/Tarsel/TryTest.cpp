#include "Tarsel/Tool.h"

#include <httplib.h>
#include <nlohmann/json.hpp>

#include <chrono>
#include <csignal>
#include <functional>
#include <future>
#include <memory>
#include <regex>
#include <thread>

namespace Tarsel::Tools {
namespace {

using nlohmann::json;
using testing::HasSubstr;

/// A page that is served of a film of 96x64, and what a client gets of it.
class TryTool : public Tool {
protected:
    TryTool() {
        MakeFilm("film.mkv", "-f lavfi -i testsrc2=s=96x64:r=25:d=1.2 -f lavfi -i sine=d=1.2 "
                             "-vf noise=alls=12:allf=t,format=yuv420p -c:v ffv1 -c:a pcm_s16le");
        std::filesystem::create_directory("made");
    }

    void Start(std::string const& options) {
        m_process = std::make_unique<Process>(Command("try " + options + " --no-browser > address"));
        std::smatch parts;
        std::string address;
        while (
            !std::regex_match(address, parts, std::regex("(http://127.0.0.1:([0-9]+))(/[0-9a-f]{32}/)\n"))) {
            if (++m_tries > 6000)
                throw std::runtime_error("no address: " + address);
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
            if (std::filesystem::exists("address"))
                address = ReadFile("address");
        }
        m_origin = parts[1];
        m_port = parts[2];
        m_root = parts[3];
    }

    httplib::Client MakeClient() const {
        httplib::Client client(m_origin);
        client.set_read_timeout(Tarsel::Test::GetPatience());
        client.set_url_encode(false);
        return client;
    }
    httplib::Response Post(std::string const& path, json const& body) const {
        return Get(MakeClient().Post(m_root + "api/" + path, body.dump(), "application/json"));
    }
    json GetJson(std::string const& path) const {
        return json::parse(Get(MakeClient().Get(m_root + "api/" + path)).body);
    }
    static httplib::Response Get(httplib::Result const& result) {
        if (!result)
            throw std::runtime_error(httplib::to_string(result.error()));
        return *result;
    }
    /// Of the last line that is told of a film.
    json WaitForFilm() const {
        json line;
        for (std::string type; type != "result" && type != "error"; type = line.at("type")) {
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
            line = GetJson("film");
        }
        return line;
    }
    static json Step(std::string const& effect, json const& settings = json::object()) {
        return {{"effect", effect}, {"settings", settings}};
    }

    std::unique_ptr<Process> m_process;
    std::string m_origin;
    std::string m_port;
    std::string m_root;

private:
    int m_tries = 0;
};

TEST_F(TryTool, AnswersItsOwnPageAlone) {
    Start("film.mkv");
    std::string const session = m_root + "api/session";
    std::string const large(std::size_t{8} << 20U, ' ');
    struct {
        std::string what;
        std::function<httplib::Result(httplib::Client&)> ask;
        int status;
    } const cases[] = {
        {"the page", [&](auto& c) { return c.Get(m_root); }, 200},
        {"its script", [&](auto& c) { return c.Get(m_root + "main.js"); }, 200},
        {"its own origin",
         [&](auto& c) {
             return c.Get(session, {{"Origin", m_origin}});
         },
         200},
        {"its other name",
         [&](auto& c) {
             return c.Get(session, {{"Host", "localhost:" + m_port}});
         },
         200},
        {"no token", [](auto& c) { return c.Get("/api/session"); }, 403},
        {"another token", [](auto& c) { return c.Get("/00000000000000000000000000000000/api/session"); },
         403},
        {"another origin",
         [&](auto& c) {
             return c.Get(session, {{"Origin", "http://example.org"}});
         },
         403},
        {"no origin",
         [&](auto& c) {
             return c.Get(session, {{"Origin", "null"}});
         },
         403},
        {"another host",
         [&](auto& c) {
             return c.Get(session, {{"Host", "example.org:" + m_port}});
         },
         403},
        {"folders above", [&](auto& c) { return c.Get(m_root + "../../../etc/passwd"); }, 404},
        {"folders above, encoded", [&](auto& c) { return c.Get(m_root + "..%2f..%2fetc/passwd"); }, 404},
        {"the film as a file", [&](auto& c) { return c.Get(m_root + "film.mkv"); }, 404},
        {"a long address", [&](auto& c) { return c.Get(m_root + std::string(2000, 'x')); }, 414},
        {"a deep body",
         [&](auto& c) {
             std::string const deep = R"({"steps":[)" + std::string(500'000, '[');
             return c.Post(m_root + "api/check", deep, "application/json");
         },
         400},
        {"a large body", [&](auto& c) { return c.Post(m_root + "api/check", large, "application/json"); },
         413},
        {"no JSON", [&](auto& c) { return c.Post(m_root + "api/check", "x", "application/json"); }, 400},
        {"deep JSON",
         [&](auto& c) { return c.Post(m_root + "api/check", std::string(500000, '['), "application/json"); },
         400},
        {"a film without a folder",
         [&](auto& c) {
             return c.Post(m_root + "api/film", R"({"steps":[],"output":"a.mkv","overwrite":true})",
                           "application/json");
         },
         400},
    };
    for (auto const& [what, ask, status] : cases) {
        SCOPED_TRACE(what);
        httplib::Client client = MakeClient();
        auto const result = ask(client);
        // A server that has read enough may close the connection.
        if (status == 413 && !result)
            continue;
        ASSERT_TRUE(result) << httplib::to_string(result.error());
        EXPECT_EQ(result->status, status) << result->body;
        EXPECT_EQ(result->body.find("root:"), std::string::npos);
    }
    EXPECT_EQ(GetJson("session").at("video"),
              json::parse(R"({"width": 96, "height": 64, "start": 0, "seconds": 1.2, "rate": 25})"));
    EXPECT_EQ(Post("quit", json::object()).status, 200);
    EXPECT_EQ(m_process->Wait().exitCode, 0);
}

TEST_F(TryTool, ShowsTheFrameOfAPreview) {
    Start("film.mkv");
    struct {
        json steps;
        std::string options;
        std::string size;
    } const cases[] = {
        {json::array({Step("blur", {{"sigma", 2}})}), "-e 'blur sigma=2'", "96:64"},
        {{Step("denoise-chroma-luma", {{"luma-spatial", 4}}), Step("negate")},
         "-e 'denoise-chroma-luma luma-spatial=4' -e negate",
         "96:64"},
        {{Step("noise", {{"strength", 20}}), Step("reverb")}, "-e 'noise strength=20'", "96:64"},
        {json::array({Step("resize", {{"width", 48}, {"height", 32}})}), "-e 'resize width=48 height=32'",
         "48:32"},
    };
    for (double const at : {0.5, 0.2, 1.1})
        for (auto const& [steps, options, size] : cases) {
            SCOPED_TRACE(options);
            RunForNotes("preview film.mkv look.png --overwrite --style after " + options + " --at " +
                        std::to_string(at));
            std::string const height = size.substr(3);
            std::string const shown =
                Decode("look.png", "-vf crop=" + size + ":4:in_h-" + height + "-4 -pix_fmt rgba -f rawvideo");
            auto const answer = Post("frame", {{"steps", steps}, {"at", at}, {"slot", "after"}});
            EXPECT_EQ(answer.status, 200) << answer.body;
            EXPECT_TRUE(answer.body == shown);
            // What depends on others sees a second of them.
            bool const isExact = at < 1 || options.find("denoise") == std::string::npos;
            EXPECT_EQ(json::parse(answer.get_header_value("X-Frame")).at("isExact"), isExact);
        }
    auto const wav =
        Post("audio", {{"steps", json::array()}, {"at", 0.2}, {"seconds", 0.5}, {"slot", "before"}});
    WriteFile("excerpt.wav", wav.body);
    EXPECT_EQ(ProbeAudio("excerpt.wav"), "pcm_s16le 44100 1 22050");
}

TEST_F(TryTool, SaysBesideEachStepWhatIsWrong) {
    Start("film.mkv -e 'blur sigma=3'");
    EXPECT_EQ(GetJson("session").at("steps"),
              json::parse(R"([{"effect": "blur", "settings": {"sigma": 3}}])"));
    json const steps{Step("blur", {{"sigma", 9999}}), Step("flip"), Step("stabilizer"), Step("flipp")};
    json const answer = json::parse(Post("check", {{"steps", steps}, {"output", "o.mkv"}}).body);
    EXPECT_EQ(answer.at("steps")[0].at("error"), "blur: sigma=9999 is out of range: 0 to 1024");
    EXPECT_EQ(answer.at("steps")[1].at("error"), nullptr);
    EXPECT_THAT(answer.at("steps")[2].at("error"), HasSubstr("cannot be tried"));
    EXPECT_THAT(answer.at("steps")[3].at("error"), HasSubstr("no effect \"flipp\""));
    EXPECT_EQ(answer.at("command"), "");

    auto const frame = Post("frame", {{"steps", {Step("negate"), steps[0]}}, {"at", 0}, {"slot", "after"}});
    EXPECT_EQ(frame.status, 400);
    EXPECT_EQ(json::parse(frame.body).at("step"), 1);
    json const idle =
        json::parse(Post("check", {{"steps", {Step("negate"), Step("flip")}}, {"output", "o.mkv"}}).body);
    EXPECT_THAT(idle.at("steps")[1].at("notes")[0], HasSubstr("Does nothing; set horizontal=1"));
}

TEST_F(TryTool, WritesTheFilmOfItsCommand) {
    Start("film.mkv --out made");
    json body{{"steps",
               {Step("blur", {{"sigma", 1.5}}), Step("echo", {{"echos", "50/0.5"}}),
                Step("border", {{"left", 8}})}},
              {"output", "a.mkv"},
              {"overwrite", false}};
    for (std::string const name : {"../a.mkv", "/a.mkv", "", ".a.mkv", "a\\b.mkv"}) {
        body["output"] = name;
        EXPECT_EQ(Post("film", body).status, 400) << name;
    }
    body["output"] = "it's.mkv";
    EXPECT_EQ(Post("film", body).status, 200);
    json const result = WaitForFilm();
    EXPECT_EQ(result.at("frames"), 30);
    ExpectValid("progress", result.dump() + '\n');
    EXPECT_EQ(Post("film", body).status, 200);
    EXPECT_THAT(WaitForFilm().at("message"), HasSubstr("exists already"));

    json const peer{{"steps", json::array({body.at("steps")[1]})}, {"output", "b.mkv"}};
    std::string const ffmpeg = json::parse(Post("ffmpeg", peer).body).at("command");
    EXPECT_THAT(ffmpeg, testing::StartsWith("ffmpeg "));
    EXPECT_THAT(Run("explain film.mkv made/b.mkv -e 'echo echos=50/0.5'").out,
                testing::EndsWith(ffmpeg + '\n'));
    EXPECT_NE(json::parse(Post("ffmpeg", body).body).at("obstacle"), "");

    std::string const command = json::parse(Post("check", body).body).at("command");
    std::filesystem::rename("made/it's.mkv", "first.mkv");
    ASSERT_TRUE(command.starts_with("tarsel run "));
    EXPECT_EQ(RunProcess(Command(command.substr(7))).exitCode, 0);
    std::filesystem::rename("made/it's.mkv", "second.mkv");
    EXPECT_EQ(HashPictures("-i first.mkv"), HashPictures("-i second.mkv"));
    EXPECT_TRUE(Decode("first.mkv", "-map 0:a -f s16le") == Decode("second.mkv", "-map 0:a -f s16le"));
}

TEST_F(TryTool, InterruptsWhatIsNotWantedAnyMore) {
    MakeFilm("large.mkv", "-f lavfi -i testsrc2=s=320x240:r=25:d=4 -c:v ffv1");
    Start("large.mkv --out made");
    json slow = json::array({Step("denoise-chroma-luma", {{"luma-spatial", 4}})});
    for (int i = 0; i < 4; ++i)
        slow.push_back(Step("denoise-dct", {{"sigma", 10}, {"block-size", "16x16"}}));
    json body{{"steps", slow}, {"at", 2}, {"slot", "after"}};
    auto older = std::async(std::launch::async, [&] { return Post("frame", body).status; });
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    EXPECT_EQ(Post("frame", {{"steps", json::array()}, {"at", 2}, {"slot", "after"}}).status, 200);
    EXPECT_EQ(older.get(), 409);

    EXPECT_EQ(Post("film", {{"steps", slow}, {"output", "a.mkv"}, {"overwrite", false}}).status, 200);
    EXPECT_EQ(Post("film", {{"steps", slow}, {"output", "b.mkv"}, {"overwrite", false}}).status, 400);
    EXPECT_EQ(Get(MakeClient().Delete(m_root + "api/film")).status, 200);
    EXPECT_EQ(WaitForFilm().at("exit_code"), 130);
    EXPECT_TRUE(std::filesystem::is_empty("made"));

    EXPECT_EQ(Post("film", {{"steps", slow}, {"output", "a.mkv"}, {"overwrite", false}}).status, 200);
    m_process->Signal(SIGINT);
    EXPECT_EQ(m_process->Wait().exitCode, 0);
    EXPECT_TRUE(std::filesystem::is_empty("made"));
}

TEST_F(TryTool, RefusesWhatCannotBe) {
    ExpectRefusals({{"try none.mkv --no-browser", 2, "Cannot open \"none.mkv\": No such file or directory"},
                    {"try film.mkv --no-browser --out none", 1, "--out: \"none\" is not a folder"},
                    {"try film.mkv --no-browser -e 'blur sigma=\"1'", 1, "-e *"}});
}

} // namespace
} // namespace Tarsel::Tools
