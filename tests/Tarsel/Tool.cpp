#include "Tarsel/Tool.h"

#include <algorithm>
#include <chrono>
#include <map>
#include <sstream>
#include <thread>

namespace Tarsel::Tools {
namespace {

/// All files of the current folder and what is in them.
std::map<std::string, std::string> ReadFolder() {
    std::map<std::string, std::string> files;
    for (auto const& entry : std::filesystem::directory_iterator("."))
        files[entry.path().filename()] = entry.is_regular_file() ? ReadFile(entry.path()) : "";
    return files;
}

} // namespace

std::vector<std::string> Tool::Command(std::string const& line) {
    return Shell("exec '" TARSEL_PROGRAM "' " + line);
}

std::string Tool::RunForNotes(std::string const& line) {
    ProcessResult const result = Run(line);
    EXPECT_EQ(result.exitCode, 0) << line << '\n' << result.err;
    EXPECT_EQ(result.out, "");
    std::istringstream notes(result.err);
    for (std::string note; std::getline(notes, note);)
        EXPECT_THAT(note, testing::MatchesRegex("tarsel: note: [A-Z\"].*\\."));
    return result.err;
}

void Tool::ExpectRefusals(std::vector<Refusal> const& refusals) {
    auto const before = ReadFolder();
    for (auto const& [line, exitCode, error] : refusals) {
        SCOPED_TRACE(line);
        ProcessResult const result = Run(line);
        EXPECT_EQ(result.exitCode, exitCode);
        EXPECT_EQ(result.out, "");
        if (error.ends_with('*'))
            EXPECT_THAT(result.err,
                        testing::StartsWith("tarsel: error: " + error.substr(0, error.size() - 1)));
        else
            EXPECT_EQ(result.err, "tarsel: error: " + error + "\n");
        EXPECT_TRUE(ReadFolder() == before);
    }
}

ProcessResult Tool::Interrupt(std::string const& line, std::size_t files, int signal) {
    auto const before = ListFolder();
    Process process(Command(line));
    std::chrono::seconds const patience = Tarsel::Test::GetPatience();
    auto const deadline = std::chrono::steady_clock::now() + patience * 5 / 6;
    while (ListFolder().size() < files && std::chrono::steady_clock::now() < deadline)
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    EXPECT_EQ(ListFolder().size(), files);
    process.Signal(signal);
    ProcessResult result = process.Wait();
    EXPECT_EQ(result.exitCode, 128 + signal);
    EXPECT_EQ(ListFolder(), before);
    return result;
}

void Tool::ExpectValid(std::string const& schema, std::string const& text) {
    Tarsel::Test::TempFolder const folder;
    WriteFile(folder / "text", text);
    // The validator is not ours.
    auto const result =
        RunProcess({"python3", "-c",
                    "import json, sys, jsonschema\n"
                    "validator = jsonschema.Draft202012Validator(json.load(open(sys.argv[1])))\n"
                    "validator.check_schema(validator.schema)\n"
                    "text = open(sys.argv[2]).read()\n"
                    "lines = [text] if text.startswith('{\\n') else text.splitlines()\n"
                    "assert lines\n"
                    "for line in lines:\n"
                    "    validator.validate(json.loads(line))\n",
                    std::string(TARSEL_SCHEMAS "/") + schema + ".schema.json", folder / "text"});
    EXPECT_EQ(result.exitCode, 0) << result.err;
}

std::string Tool::Probe(std::string const& file, std::string const& entries, std::string const& options) {
    std::string text = OutputOf("ffprobe -v error -show_data_hash md5 -of default=nw=1:nk=1 -show_entries " +
                                entries + ' ' + options + ' ' + file);
    std::ranges::replace(text, '\n', ' ');
    return text.substr(0, text.find_last_not_of(' ') + 1);
}

std::string Tool::Decode(std::string const& file, std::string const& options) {
    return OutputOf("ffmpeg -nostdin -v error -i " + file + ' ' + options + " -");
}

std::vector<std::string> Tool::HashPictures(std::string const& options) {
    std::vector<std::string> hashes;
    std::istringstream lines(
        OutputOf("ffmpeg -nostdin -v error " + options + " -fps_mode passthrough -f framemd5 -"));
    for (std::string line; std::getline(lines, line);)
        if (!line.starts_with('#'))
            hashes.push_back(line.substr(line.rfind(' ') + 1));
    return hashes;
}

std::string Tool::MakeFilm(std::string const& name, std::string const& options) {
    OutputOf("ffmpeg -nostdin -v error " + options + ' ' + name);
    return name;
}

std::string Tool::MakeSmallFilm() {
    return MakeFilm("film.mp4", "-f lavfi -i testsrc2=size=64x48:rate=25:duration=2 -c:v libx264 "
                                "-preset ultrafast -pix_fmt yuv420p");
}

} // namespace Tarsel::Tools
