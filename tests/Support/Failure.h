#pragma once

#include "Core/Exception.h"
#include "Proc/Interfaces/ProcExceptions.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>

/// Exceptions taken apart.
namespace Tarsel::Test {

/// All that an exception carries.
struct Failure {
    std::string text;
    std::string file;
    std::string function;
    bool hasStack = false;
    std::optional<int> ffmpegError;
    std::optional<int> code;
    std::string filter;
    std::string detail;
    /// The step of a chain it came from.
    std::string step;
};

Failure Describe(boost::exception const& exception);

/// The E that `work` throws; an empty failure and a failed test when it throws none.
template <class E = Proc::EffectException, class Work>
Failure Catch(Work&& work) {
    try {
        work();
    } catch (E const& exception) {
        return Describe(dynamic_cast<boost::exception const&>(exception));
    }
    ADD_FAILURE() << "nothing was thrown";
    return {};
}

/// The text alone, of any exception.
template <class E = Exception, class Work>
std::string TextOf(Work&& work) {
    try {
        work();
    } catch (E const& exception) {
        return exception.what();
    }
    ADD_FAILURE() << "nothing was thrown";
    return {};
}

} // namespace Tarsel::Test
