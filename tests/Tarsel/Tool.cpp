#include "Tarsel/Tool.h"

#include <chrono>
#include <fstream>
#include <iterator>
#include <sstream>
#include <stdexcept>
#include <thread>

namespace Tarsel::Tools {

std::vector<std::string> Tool::Command(std::vector<std::string> const& arguments) {
    std::vector<std::string> command{TARSEL_PROGRAM};
    command.insert(command.end(), arguments.begin(), arguments.end());
    command.insert(command.end(), {"--plugin", TARSEL_PLUGIN});
    return command;
}

ProcessResult Tool::Run(std::vector<std::string> const& arguments) {
    return RunProcess(Command(arguments));
}

Tarsel::Test::ProcessResult Tool::Interrupt(std::vector<std::string> const& arguments, std::size_t files,
                                            int signal) const {
    Process process(Command(arguments));
    auto const deadline = std::chrono::steady_clock::now() + std::chrono::seconds(50);
    while (ListFolder().size() < files && std::chrono::steady_clock::now() < deadline)
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    EXPECT_EQ(ListFolder().size(), files);
    process.Signal(signal);
    return process.Wait();
}

std::vector<std::string> Tool::HashPictures(std::vector<std::string> const& arguments) {
    std::vector<std::string> hashes;
    std::istringstream lines(Tarsel::Test::RunFFmpeg("", arguments, "-fps_mode passthrough -f framemd5 -"));
    for (std::string line; std::getline(lines, line);)
        if (!line.starts_with('#'))
            hashes.push_back(line.substr(line.rfind(' ') + 1));
    return hashes;
}

std::string Tool::MakeFilm(std::string const& name, std::vector<std::string> const& arguments) const {
    std::vector<std::string> command = arguments;
    command.push_back(At(name));
    Tarsel::Test::RunFFmpeg("", command);
    return At(name);
}

std::string Tool::MakeSmallFilm() const {
    return MakeFilm("film.mp4", {"-f", "lavfi", "-i", "testsrc2=size=64x48:rate=25:duration=2", "-c:v",
                                 "libx264", "-preset", "ultrafast", "-pix_fmt", "yuv420p"});
}

std::string Tool::MakeFile(std::string const& name, std::string const& content) const {
    Tarsel::Test::WriteFile(At(name), content);
    return At(name);
}

void SetDisplayMatrix(std::string const& file, Conf::DisplayMatrix const& matrix) {
    std::fstream stream(file, std::ios::binary | std::ios::in | std::ios::out);
    std::string const content{std::istreambuf_iterator<char>(stream), {}};
    std::size_t const box = content.find("tkhd");
    if (box == std::string::npos || content[box + 4] != 0)
        throw std::runtime_error(file + " has no track header of version 0");
    // ISO/IEC 14496-12, 8.3.2: flags, five times and numbers, eight bytes, four half-words, then the matrix.
    stream.seekp(static_cast<std::streamoff>(box) + 4 + 4 + 20 + 8 + 8);
    for (std::int32_t const word : matrix.words)
        for (int const shift : {24, 16, 8, 0})
            stream.put(static_cast<char>(static_cast<std::uint32_t>(word) >> shift & 0xff));
    if (!stream.flush())
        throw std::runtime_error(file + " cannot be written");
}

void SetOrientation(std::string const& file, int orientation) {
    SetDisplayMatrix(file, Conf::DisplayMatrix::FromOrientation(orientation).value());
}

} // namespace Tarsel::Tools
