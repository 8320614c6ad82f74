#pragma once

#include "Support/CommaLocale.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

/// Settings and the filter texts they become, nothing to filter needed.
namespace Tarsel::Test {

struct TextCase {
    std::function<std::string()> write;
    std::string text;
};

/// The default settings of class S after `change`.
template <class S, class Change>
S MakeChanged(Change const& change) {
    S settings;
    change(settings);
    return settings;
}

/// In the locale of the process and in one with a decimal comma.
inline void ExpectTexts(std::vector<TextCase> const& rows) {
    for (TextCase const& row : rows)
        EXPECT_EQ(row.write(), row.text);
    CommaLocale const comma;
    for (TextCase const& row : rows)
        EXPECT_EQ(row.write(), row.text) << "in a locale with a decimal comma";
}

} // namespace Tarsel::Test
