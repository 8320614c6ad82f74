#pragma once

#include <filesystem>
#include <vector>

namespace Tarsel::Media {

/// The name of standard input, and of standard output.
constexpr char const* s_standardStream = "-";

/// The open descriptor that the name stands for: "/dev/stdout", "/dev/fd/1"; `standard` for "-", −1 for a
/// file. Such a file is used as whoever opened it left it.
int FindDescriptor(std::filesystem::path const& path, int standard);

/// Whether what is read by this name comes once: standard input, a FIFO, a socket or a character device.
bool IsInputPipe(std::filesystem::path const& input);

/// Whether what is written by this name goes where it cannot be taken back: to standard output, into a FIFO,
/// a socket or a character device, or to what an open descriptor stands for ("/dev/stdout").
bool IsOutputPipe(std::filesystem::path const& output);

/// Refuses to write a file that nobody could read: OptionsException.
void CheckIsNoTerminal(std::filesystem::path const& output);

/// Refuses what cannot be an input: InputException for a name of nothing that can be read from its start to
/// its end, an empty file, or one that may not be read.
void CheckInputPath(std::filesystem::path const& input);

/// Refuses an output before anything is read or written: OptionsException when it is the input, also by
/// another name or link, or when it exists and may not be replaced; OutputException when it cannot be
/// written. The two ends of a pipe are not the same.
void CheckOutputPath(std::filesystem::path const& output, std::filesystem::path const& input, bool overwrite);
/// The same for an output made of several files, or of none.
void CheckOutputPath(std::filesystem::path const& output, std::vector<std::filesystem::path> const& inputs,
                     bool overwrite);

} // namespace Tarsel::Media
