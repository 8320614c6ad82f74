#pragma once

#include <boost/exception/info.hpp>

#include <exception>
#include <string>

namespace Tarsel::Tools {

/// What the program tells the shell. The numbers are part of the command line's contract.
enum class ExitCode : int {
    Done = 0,
    BadArguments = 1,
    InputUnreadable = 2,
    EffectFailed = 3,
    OutputFailed = 4,
    /// Of several files; the others are written.
    SomeFailed = 5,
    /// By SIGINT; for other signals 128 and their number.
    Interrupted = 130,
    /// As of a program that ends by SIGPIPE.
    ReaderGone = 141,
};

/// What stands in for the type of a failure.
using TagExitCode = boost::error_info<struct TagExitCodeId, ExitCode>;

/// The exit code of a failure by its type. What is no known type came out of an effect.
ExitCode GetExitCode(std::exception const& failure) noexcept;

/// The table of all codes for help texts, one a line, ending in a line feed.
std::string DescribeExitCodes();

} // namespace Tarsel::Tools
