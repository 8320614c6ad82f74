#pragma once

#include "Media/Api.h"

#include <concepts>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace Tarsel::Media {

class InputPipe;

/// How many calls of this library read an input.
enum class Passes : std::uint8_t { One, Several };

/// What is read: a file, or a pipe, whose bytes come once. "-" is standard input, which belongs to the
/// process and is read only where it is named; a FIFO, socket or character device ("/dev/stdin") is a pipe
/// too. A call may have to go back in what it reads: what came through a pipe lies in a private temporary
/// file (TMPDIR) until nothing in the call needs it. Copies stand for the same input. Any thread.
class TARSEL_MEDIA_API Input {
public:
    Input() = default;
    /// By its name; nothing is opened. A pipe goes to the first call that reads it.
    template <class Name>
    requires(std::convertible_to<Name const&, std::filesystem::path> && !std::same_as<Name, Input>)
        Input(Name const& name)
        : Input(std::filesystem::path(name), Passes::One) {}
    /// For several passes: all that comes through a pipe is kept as long as there is a copy of this object,
    /// so that every call reads it from its start, one after the other or at once.
    Input(std::filesystem::path name, Passes passes);

    std::filesystem::path const& GetName() const noexcept { return m_name; }
    /// Whether it can be read once only, and has no size. A name that nothing has is no pipe.
    bool IsPipe() const;
    /// What the user should know: how much of a pipe was kept for several passes, one sentence or none.
    std::vector<std::string> GetNotes() const;

private:
    friend class Demuxer;
    friend Input ForOneCall(Input const& input);

    std::filesystem::path m_name;
    /// Null for a file, and for a pipe that no call has begun to read.
    std::shared_ptr<InputPipe> m_pipe;
};

} // namespace Tarsel::Media
