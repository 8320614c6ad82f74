#pragma once

#include "Proc/Interfaces/IOneInputEffectVideo.h"
#include "Proc/Settings/Settings.h"

#include <memory>
#include <ostream>
#include <string>
#include <vector>

/// One table of the video effects on filter texts; every row goes through the tests of the wrapper.
namespace Tarsel::Test {

/// An effect of this library by its class id, with default settings.
SP<Proc::IOneInputEffectVideo> MakeEffect(std::string const& classId);
/// With settings given as "key=value:...".
SP<Proc::IOneInputEffectVideo> MakeEffect(std::string const& classId, std::string const& options);
SP<Proc::IOneInputEffectVideo> MakeEffect(Proc::Settings const& settings);

struct EffectCase {
    std::string classId;
    /// The settings, as text.
    std::string options;
    /// What they become. "" and "no rotation" never reach a graph.
    std::string text;
    /// The settings have a filter text, and leave the picture as it is all the same.
    bool isEmpty = false;

    bool PassesUntouched() const { return isEmpty || text.empty() || text == "no rotation"; }
    std::unique_ptr<Proc::Settings> MakeSettings() const;
    SP<Proc::IOneInputEffectVideo> Make() const { return MakeEffect(classId, options); }
    friend std::ostream& operator<<(std::ostream& stream, EffectCase const& row) {
        return stream << row.classId << " \"" << row.text << '"';
    }
};

std::vector<EffectCase> const& GetEffectCases();

/// Those that do something.
std::vector<EffectCase> GetWorkingCases();

/// Of effects that are no filter texts, and of one with two inputs that gets the same second picture again
/// and again.
std::vector<EffectCase> GetPictureCases();

/// The format of such frames; where the settings turn by a display matrix it has that.
SP<Conf::IFormatCodecVideo> MakeCodecOf(Proc::IDataVideo const& data, Proc::Settings const& settings);

/// The effect is none of the wrapper's, which tell and log the same things in the same way.
bool IsCustom(EffectCase const& row);

/// Frames of formats with alpha go another way than the text says, and formats without it are not foretold.
bool TreatsAlphaApart(EffectCase const& row);

} // namespace Tarsel::Test
