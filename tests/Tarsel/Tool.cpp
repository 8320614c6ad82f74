#include "Tarsel/Tool.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <stdexcept>

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

std::vector<std::string> Tool::ListFolder() const {
    std::vector<std::string> names;
    for (auto const& entry : std::filesystem::directory_iterator(m_folder.GetPath()))
        names.push_back(entry.path().filename());
    std::sort(names.begin(), names.end());
    return names;
}

std::string Tool::MakeFilm(std::string const& name, std::vector<std::string> const& arguments) const {
    std::vector<std::string> command{"ffmpeg", "-nostdin", "-v", "error"};
    command.insert(command.end(), arguments.begin(), arguments.end());
    command.push_back(At(name));
    (void)RunForOutput(command);
    return At(name);
}

std::string Tool::MakeSmallFilm() const {
    return MakeFilm("film.mp4", {"-f", "lavfi", "-i", "testsrc2=size=64x48:rate=25:duration=2", "-c:v",
                                 "libx264", "-preset", "ultrafast", "-pix_fmt", "yuv420p"});
}

std::string Tool::MakeFile(std::string const& name, std::string const& content) const {
    std::ofstream(At(name), std::ios::binary) << content;
    return At(name);
}

std::string Tool::ReadFile(std::string const& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
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
