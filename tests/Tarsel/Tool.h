#pragma once

#include "Conf/DisplayMatrix.h"
#include "Support/Process.h"
#include "Support/TempFolder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

namespace Tarsel::Tools {

using Tarsel::Test::Process;
using Tarsel::Test::ProcessResult;
using Tarsel::Test::ReadFile;
using Tarsel::Test::RunForOutput;
using Tarsel::Test::RunProcess;

/// Runs the built program on media files in a folder of the test's own.
class Tool : public testing::Test {
protected:
    /// The built program with the built plug-in: `arguments` begin with the verb.
    static std::vector<std::string> Command(std::vector<std::string> const& arguments);
    static ProcessResult Run(std::vector<std::string> const& arguments);
    /// Sends the signal once so many files lie in the folder, which shows that the work is under way.
    ProcessResult Interrupt(std::vector<std::string> const& arguments, std::size_t files, int signal) const;

    /// A path in the test's folder.
    std::string At(std::string const& name) const { return m_folder / name; }
    /// Names of what lies in the test's folder, in alphabetical order.
    std::vector<std::string> ListFolder() const { return m_folder.List(); }

    /// Hashes of the pictures that the ffmpeg program makes with these arguments, in order.
    static std::vector<std::string> HashPictures(std::vector<std::string> const& arguments);

    /// Writes a film with the ffmpeg program; `arguments` between the common ones and the file's name.
    std::string MakeFilm(std::string const& name, std::vector<std::string> const& arguments) const;
    /// Two seconds of 64x48 without sound, "film.mp4".
    std::string MakeSmallFilm() const;
    std::string MakeFile(std::string const& name, std::string const& content) const;

private:
    Tarsel::Test::TempFolder m_folder;
};

/// Writes the matrix into the header of an MP4 file's first track; the ffmpeg program puts pictures there.
void SetDisplayMatrix(std::string const& file, Conf::DisplayMatrix const& matrix);
/// The same for an EXIF orientation code.
void SetOrientation(std::string const& file, int orientation);

} // namespace Tarsel::Tools
