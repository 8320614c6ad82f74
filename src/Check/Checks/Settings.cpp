#include "Check/Check.h"
#include "Check/OtherSettings.h"
#include "Proc/Interfaces/ProcExceptions.h"
#include "Proc/Settings/Field.h"
#include "Proc/Settings/SettingsText.h"

#include <array>
#include <typeinfo>

namespace Tarsel::Check {
namespace {

using Proc::Settings;

/// How many settings to draw at a level.
int GetDraws(int level) {
    return 4 * level;
}

void RequireFields(Settings const& settings) {
    Require(!settings.GetFields().empty(), "the settings have no fields");
}

/// A value beyond the field's range.
std::string GetBeyond(Proc::Field const& field, bool isAbove) {
    double const bound = isAbove ? field.maximum : field.minimum;
    return fmt::format("{:.17g}", bound + (isAbove ? 1 : -1) * std::max(1.0, std::abs(bound) / 2));
}

constexpr std::array s_settingsChecks{
    ForEffects("settings-copies", Group::Settings,
               "A copy of settings equals its original and is independent of it.",
               "A host that keeps settings for undo changes the running effect, or cannot undo.", 1,
               [](auto& subject) {
                   auto const effect = subject.Make();
                   auto const copy = effect->GetSettingsBase().Clone();
                   Expect(copy->IsEqualTo(effect->GetSettingsBase()), "the copy differs");
                   auto const other = subject.DrawSettings();
                   effect->SetSettings(*other);
                   Expect(effect->GetSettingsBase().IsEqualTo(*other),
                          "the effect has other settings than it was given");
                   Expect(copy->IsEqualTo(*subject.GetSettings()), "the copy has changed with the effect");
               }),
    ForEffects("settings-kept", Group::Settings,
               "The effect copies the settings that it is given and returns them unchanged.",
               "The host's sliders show other values than the effect uses.", 1,
               [](auto& subject) {
                   auto const effect = subject.MakePlain();
                   for (int i = 0; i < GetDraws(subject.GetLevel()); ++i) {
                       auto settings = subject.DrawSettings();
                       auto const copy = settings->Clone();
                       effect->SetSettings(*settings);
                       settings.reset();
                       Expect(effect->GetSettingsBase().IsEqualTo(*copy),
                              "it returns other settings than \"{}\"", Proc::Serialize(*copy));
                   }
               }),
    ForEffects(
        "settings-text", Group::Settings,
        "Settings that are copied, or written as text or as a property tree and read again, are equal.",
        "A saved chain does something else when it is reopened.", 1,
        [](auto& subject) {
            for (int i = 0; i < GetDraws(subject.GetLevel()); ++i)
                ExpectNone(Host::FindFault(*subject.DrawSettings()));
        }),
    ForEffects("settings-bounds", Group::Settings, "Each field takes both ends of its range.",
               "The host fails when the user moves a slider to its end.", 2,
               [](auto& subject) {
                   auto const initial = subject.MakePlain()->GetSettingsBase().Clone();
                   RequireFields(*initial);
                   for (Proc::Field const& field : initial->GetFields()) {
                       if (field.kind != Proc::FieldKind::Integer && field.kind != Proc::FieldKind::Real)
                           continue;
                       for (double const bound : {field.minimum, field.maximum}) {
                           auto const settings = initial->Clone();
                           std::string const text = fmt::format("{:.17g}", bound);
                           Expect(!Refuses([&] { Proc::WriteFieldText(*settings, field, text); }),
                                  "\"{}\" refuses {}", field.key, text);
                       }
                   }
               }),
    ForEffects("settings-beyond-bounds", Group::Settings,
               "Deserialize refuses a number beyond a field's range, and nothing changes.",
               "A typing error silently becomes another value, or FFmpeg fails in the middle of a video.", 2,
               [](auto& subject) {
                   auto const initial = subject.GetSettings();
                   RequireFields(*initial);
                   for (Proc::Field const& field : initial->GetFields()) {
                       if ((field.kind != Proc::FieldKind::Integer && field.kind != Proc::FieldKind::Real) ||
                           field.maximum > 1e300)
                           continue;
                       for (bool const isAbove : {false, true}) {
                           auto const settings = initial->Clone();
                           std::string const value = GetBeyond(field, isAbove);
                           std::string said;
                           try {
                               settings->Deserialize(fmt::format("{}={}", field.key, value));
                           } catch (Proc::SettingsException const& refusal) {
                               said = refusal.what();
                           }
                           Expect(!said.empty(), "\"{}\" takes {}", field.key, value);
                           Expect(settings->IsEqualTo(*initial), "\"{}\" has changed although {} was refused",
                                  field.key, value);
                       }
                   }
               }),
    ForEffects("settings-nonsense", Group::Settings,
               "Deserialize refuses unknown keys, missing values and random bytes, and nothing changes.",
               "The host silently ignores what the user wrote, or crashes.", 2,
               [](auto& subject) {
                   auto const initial = subject.GetSettings();
                   RequireFields(*initial);
                   std::vector<std::string> texts{"no-such-key=1", "=", "=1", ":", "no-such-key", "\\"};
                   for (int i = 0; i < GetDraws(subject.GetLevel()); ++i) {
                       std::string& text = texts.emplace_back();
                       for (int k = 0; k <= i % 40; ++k)
                           text += static_cast<char>(1 + subject.GetRandom()() % 255);
                   }
                   for (std::string const& text : texts) {
                       auto const settings = initial->Clone();
                       if (Refuses([&] { settings->Deserialize(text); }))
                           Expect(settings->IsEqualTo(*initial),
                                  "\"{}\" was refused, but the settings have changed", text);
                       else
                           Expect(text.find("no-such-key") == std::string::npos, "it takes \"{}\"", text);
                   }
               }),
    ForEffects("settings-of-others", Group::Settings,
               "SetSettings refuses settings of another class with std::bad_cast and keeps its own.",
               "A host that mixes up two effects crashes instead of reporting it.", 2,
               [](auto& subject) {
                   auto const effect = subject.Make();
                   bool isTold = false;
                   try {
                       effect->SetSettings(OtherSettings());
                   } catch (std::bad_cast const&) {
                       isTold = true;
                   }
                   Expect(isTold, "it takes them");
                   Expect(effect->GetSettingsBase().IsEqualTo(*subject.GetSettings()),
                          "its own settings have changed");
               }),
    ForEffects("settings-any-tree", Group::Settings,
               "SetSettings reads, ignores or refuses any property tree.",
               "The host crashes on a damaged document, or on one of a later release.", 3,
               [](auto& subject) {
                   auto const effect = subject.Make();
                   Core::Property deep("a");
                   for (int i = 0; i < 100; ++i) {
                       Core::Property outer("b");
                       outer.AddChild(deep);
                       deep = outer;
                   }
                   Core::Property wrong("settings");
                   for (Proc::Field const& field : effect->GetSettingsBase().GetFields())
                       wrong.CreateChildT(std::string(field.key), std::string("no such value"));
                   for (Core::Property const& tree : {Core::Property(), Core::Property("x"), deep, wrong})
                       (void)Refuses([&] { effect->SetSettings(tree); });
                   (void)Refuses([&] { effect->GetSettings(); });
                   (void)Refuses([&] { Run(*effect, subject.MakeData(2)); });
               }),
    ForEffects("settings-neutral", Group::Settings,
               "With settings that state they do nothing (IsEmpty) the effect passes data unchanged.",
               "Hosts omit such a step, and the result changes.", 2,
               [](auto& subject) {
                   int found = 0;
                   for (int i = 0; i < 10 * GetDraws(subject.GetLevel()) && found < 3; ++i) {
                       auto const settings =
                           i == 0 ? subject.MakePlain()->GetSettingsBase().Clone() : subject.DrawSettings();
                       if (!settings->IsEmpty())
                           continue;
                       ++found;
                       auto const data = subject.MakeData(3);
                       auto const due = GetAllOf(data);
                       ExpectSame(Run(*subject.MakeWith(*settings), data), due,
                                  fmt::format("with \"{}\"", Proc::Serialize(*settings)));
                   }
                   Require(found > 0, "no settings state that they do nothing");
               }),
};

} // namespace

std::span<CheckInfo const> GetSettingsChecks() {
    return s_settingsChecks;
}

} // namespace Tarsel::Check
