#pragma once

#include "Check/Child.h"

#include <poll.h>

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <utility>

namespace Tarsel::Test {

/// Does the work in a process of its own; its end.
inline Check::ChildEnd RunChild(std::function<std::string()> const& work,
                                std::chrono::milliseconds limit = std::chrono::hours(2)) {
    Check::Child child(work, limit);
    for (;;) {
        if (std::optional<Check::ChildEnd> end = child.Poll())
            return std::move(*end);
        pollfd handle{child.GetHandle(), POLLIN, 0};
        (void)poll(&handle, 1, 1000);
    }
}

} // namespace Tarsel::Test
