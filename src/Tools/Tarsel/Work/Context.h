#pragma once

#include <stop_token>

namespace Tarsel::Tools {

class Console;
class RunReport;
struct CommonOptions;

/// What a verb works with.
struct Context {
    Console& console;
    CommonOptions const& options;
    /// Asked for by signals.
    std::stop_token stop;
    RunReport& report;
};

} // namespace Tarsel::Tools
