#pragma once

#include "Support/MovieTag.h"
#include "Support/Process.h"
#include "Support/TempFolder.h"

#include <gmock/gmock.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

namespace Tarsel::Tools {

using Tarsel::Test::Process;
using Tarsel::Test::ProcessResult;
using Tarsel::Test::ReadFile;
using Tarsel::Test::RunProcess;
using Tarsel::Test::SetDisplayMatrix;
using Tarsel::Test::SetOrientation;
using Tarsel::Test::WriteFile;

/// A call that cannot be carried out.
struct Refusal {
    std::string line;
    int exitCode;
    /// What follows "tarsel: error: ", or begins it where the text ends in '*'.
    std::string error;
};

/// Runs the built program in a folder of the test's own, which is the current one meanwhile. Lines are what a
/// shell takes.
class Tool : public testing::Test {
protected:
    Tool() { std::filesystem::current_path(m_folder.GetPath()); }
    ~Tool() override { std::filesystem::current_path(m_before); }

    /// The address sanitizer knows whose leak one is in libraries without frame pointers only so.
    static void TellLeaksApart() {
        if (char const* const options = std::getenv("ASAN_OPTIONS"))
            setenv("ASAN_OPTIONS", (std::string(options) + ":fast_unwind_on_malloc=0").c_str(), 1);
    }
    static std::vector<std::string> Shell(std::string const& line) { return {"/bin/sh", "-c", line}; }
    /// `line` begins with the verb.
    static std::vector<std::string> Command(std::string const& line);
    static ProcessResult Run(std::string const& line) { return RunProcess(Command(line)); }
    /// The program's notes, all there is on standard error; it must succeed and write nothing else.
    static std::string RunForNotes(std::string const& line);
    /// Each is refused and leaves all files as they are.
    static void ExpectRefusals(std::vector<Refusal> const& refusals);
    /// Sends the signal once so many files lie in the folder, which shows that the work is under way; what
    /// lies there afterwards is what did before.
    ProcessResult Interrupt(std::string const& line, std::size_t files, int signal);

    /// Every line, or the whole where it is one document, follows a schema of the program.
    static void ExpectValid(std::string const& schema, std::string const& text);

    /// Names of what lies in the folder, in alphabetical order.
    std::vector<std::string> ListFolder() const { return m_folder.List(); }
    /// Standard output of another program.
    static std::string OutputOf(std::string const& line) { return Tarsel::Test::RunForOutput(Shell(line)); }
    /// What ffprobe tells, values parted by blanks.
    static std::string Probe(std::string const& file, std::string const& entries,
                             std::string const& options = {});
    /// Of an audio file: "flac 44100 2 88200".
    static std::string ProbeAudio(std::string const& file) {
        return Probe(file, "stream=codec_name,sample_rate,channels,duration_ts");
    }
    /// Pixels or samples of a file, as the ffmpeg program writes them with these options.
    static std::string Decode(std::string const& file, std::string const& options);
    /// Hashes of the pictures that the ffmpeg program makes with these options, in order.
    static std::vector<std::string> HashPictures(std::string const& options);
    /// Writes a file with the ffmpeg program; its name.
    static std::string MakeFilm(std::string const& name, std::string const& options);
    /// Two seconds of 64x48 without audio, "film.mp4".
    static std::string MakeSmallFilm();

private:
    std::filesystem::path m_before = std::filesystem::current_path();
    Tarsel::Test::TempFolder m_folder;
};

} // namespace Tarsel::Tools
