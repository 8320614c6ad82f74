#pragma once

#include "Proc/Interfaces/IEffectRegistrar.h"
#include "Proc/Settings/Settings.h"

#include <memory>
#include <ostream>
#include <string>
#include <vector>

/// One table of the video effects on filter texts; every row goes through the tests of the wrapper.
namespace Tarsel::Test {

struct EffectCase {
    /// The settings class.
    std::string name;
    Proc::VideoEffectCreator create;
    std::shared_ptr<Proc::Settings const> settings;
    /// What the settings become. "" and "no rotation" never reach a graph.
    std::string text;
    /// The settings survive the way through a property tree; else that gives default settings.
    bool fromProperty = true;
    /// The settings have a text, and are empty all the same.
    bool isEmpty = false;
    /// The effect is none of the wrapper's, which tell and log the same things in the same way.
    bool isCustom = false;
    /// Frames of formats with alpha go another way than the text says, and formats without it are not
    /// foretold.
    bool treatsAlphaApart = false;

    bool PassesUntouched() const { return isEmpty || text.empty() || text == "no rotation"; }
    friend std::ostream& operator<<(std::ostream& stream, EffectCase const& row) {
        return stream << row.name << " \"" << row.text << '"';
    }
};

std::vector<EffectCase> const& GetEffectCases();

} // namespace Tarsel::Test
