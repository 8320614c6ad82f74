#pragma once

#include "Core/Exception.h"

#include <string>

namespace Tarsel::Host {

/// The step, by its number from 1 and its class id where nothing else was said, on every exception that
/// leaves a chain and can carry facts: all of this system, and the standard ones that its own code throws.
using TagStep = boost::error_info<struct TagStepId, std::string>;

/// Does `work`; what it throws and can carry facts goes on under TagStep with this label, or without one
/// where there is no memory for it. Any thread.
template <class Work>
decltype(auto) AtStep(std::string const& label, Work const& work) {
    try {
        return work();
    } catch (boost::exception const& exception) {
        try {
            exception << TagStep(label);
        } catch (std::bad_alloc const&) { // NOLINT(bugprone-empty-catch): the failure matters more
        }
        throw;
    }
}

} // namespace Tarsel::Host
