#pragma once

#include "Proc/Interfaces/ProcExceptions.h"

#include <gtest/gtest.h>

#include <string>

namespace Tarsel::Test {

/// The text of the SettingsException that `action` throws; a failure when it throws none.
template <class Action>
std::string GetRefusal(Action const& action) {
    try {
        action();
    } catch (Proc::SettingsException const& refusal) {
        return refusal.what();
    }
    ADD_FAILURE() << "nothing was refused";
    return {};
}

} // namespace Tarsel::Test
