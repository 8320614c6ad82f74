#pragma once

#include "CommaLocale.h"
#include "Proc/Effects/Lumenta/EffectFafloplalVideo.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

/// Settings and the filter texts they become, no frames needed.
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

template <class S, class Change>
TextCase Text(Change const& change, std::string text, Conf::FrameInfo const& info = {}) {
    return {[settings = MakeChanged<S>(change), info] {
                return Proc::EffectActions<S>::GetFFString(settings, info);
            },
            std::move(text)};
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
