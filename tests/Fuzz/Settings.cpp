// The text of an effect and its settings: refused with a reason and without a trace, or the same after any
// way there and back.

#include "Fuzz/RoundTrips.h"
#include "Host/EffectStep.h"

TARSEL_FUZZ(draws) {
    using namespace Tarsel;
    Test::SettingsClass const& settingsClass = draws.Pick(Test::GetSettingsClasses());
    std::unique_ptr<Proc::Settings> const settings = settingsClass.Create();
    std::string text;
    if (draws.OneIn(2))
        text = Proc::Serialize(*draws.DrawSettings(*settings, Check::RandomTexts::Awkward));
    bool const isStep = draws.OneIn(2);
    do {
        std::size_t const at = draws.Below(static_cast<std::uint32_t>(text.size()) + 1);
        text.replace(at, draws.Below(20), draws.Text(20));
    } while (!draws.IsEmpty());
    // As a user writes it: in quotes, with blanks.
    if (isStep && !Fuzz::Succeeds<Proc::SettingsException>([&] {
            text = Host::ParseEffectStep(std::string(settingsClass.classId) + ' ' + text).settings;
        }))
        return;
    std::string const before = Proc::Serialize(*settings);
    if (!Fuzz::Succeeds<Proc::SettingsException>([&] { settings->Deserialize(text); }))
        Fuzz::Require(Proc::Serialize(*settings) == before, "{} is refused and changes {}", text, before);
    Fuzz::RequireRoundTrips(*settings, settingsClass);
}
