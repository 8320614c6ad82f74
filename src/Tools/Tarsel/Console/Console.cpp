#include "Tools/Tarsel/Console/Console.h"

#include "Core/Files.h"

#include <exception>
#include <sys/ioctl.h>
#include <unistd.h>

namespace Tarsel::Tools {

int GetTerminalColumns(int descriptor, int otherwise) noexcept {
    winsize size{};
    if (ioctl(descriptor, TIOCGWINSZ, &size) != 0 || size.ws_col == 0)
        return otherwise;
    return size.ws_col;
}

Console::Console(int descriptor) : m_descriptor(descriptor), m_isTerminal(isatty(descriptor) == 1) {}

Console::~Console() {
    try {
        SetStatus({});
    } catch (std::exception const&) {
        // Without memory for the blanks over it it stays.
    }
}

int Console::GetColumns() const noexcept {
    return GetTerminalColumns(m_descriptor, 80);
}

void Console::Print(std::string_view text) {
    std::lock_guard const lock(m_mutex);
    std::string out;
    if (!m_status.empty())
        out += Overwrite({}) + '\r';
    out += text;
    if (text.empty() || text.back() != '\n')
        out += '\n';
    out += m_status;
    (void)Core::WriteAll(m_descriptor, out);
}

void Console::PrintNotes(std::vector<std::string> const& notes) {
    for (std::string const& note : notes)
        if (!note.empty())
            Print("tarsel: note: " + MakeSentence(note));
}

std::string MakeSentence(std::string note) {
    if (note.empty())
        return note;
    if (note.front() >= 'a' && note.front() <= 'z')
        note.front() = static_cast<char>(note.front() - 'a' + 'A');
    if (std::string_view(".?!").find(note.back()) == std::string_view::npos)
        note += '.';
    return note;
}

void Console::SetStatus(std::string const& line) {
    if (!m_isTerminal)
        return;
    std::lock_guard const lock(m_mutex);
    if (line.empty() && m_status.empty())
        return;
    std::string out = Overwrite(line);
    if (line.empty())
        out += '\r';
    m_status = line;
    (void)Core::WriteAll(m_descriptor, out);
}

/// `line` from the left edge, with blanks over what the present status line has beyond it: works on every
/// terminal, with escape sequences or without.
std::string Console::Overwrite(std::string_view line) {
    std::string out = "\r";
    out += line;
    if (line.size() < m_status.size())
        out.append(m_status.size() - line.size(), ' ');
    return out;
}

} // namespace Tarsel::Tools
