#pragma once

#include <mutex>
#include <string>
#include <string_view>
#include <vector>

namespace Tarsel::Tools {

/// Standard error: lines that stay, and on a terminal one status line below them. Any thread. What cannot be
/// written is lost: there is no place left to say so.
class Console {
public:
    explicit Console(int descriptor = 2);
    Console(Console const&) = delete;
    Console& operator=(Console const&) = delete;
    /// Takes the status line away.
    ~Console();

    bool IsTerminal() const noexcept { return m_isTerminal; }
    /// Characters a line, as the terminal is now; 80 when it does not tell.
    int GetColumns() const noexcept;

    /// Writes `text` and ends its last line, above the status line.
    void Print(std::string_view text);
    /// Writes each note as a line of its own, with a capital and a full stop.
    void PrintNotes(std::vector<std::string> const& notes);
    /// Replaces the status line; "" takes it away. Does nothing when this is no terminal.
    void SetStatus(std::string const& line);

private:
    std::string Overwrite(std::string_view line);

    int const m_descriptor;
    bool const m_isTerminal;
    std::mutex m_mutex;
    std::string m_status;
};

/// The note with a capital and a full stop; "" stays so.
std::string MakeSentence(std::string note);

/// Characters a line of the terminal behind `descriptor`; `otherwise` when it is none or does not tell.
int GetTerminalColumns(int descriptor, int otherwise) noexcept;

} // namespace Tarsel::Tools
