#include "Host/EffectSettings.h"

#include "Core/Throw.h"
#include "Proc/Interfaces/ProcExceptions.h"
#include "Proc/Settings/Field.h"
#include "Proc/Settings/SettingsProperty.h"
#include "Proc/Settings/SettingsText.h"

#include <fmt/format.h>

#include <memory>
#include <string>
#include <string_view>

namespace Tarsel::Host {
namespace {

constexpr std::string_view s_blanks = " \t\r\n";

/// Texts go into the filter's text as they stand: one with a character that FFmpeg's graph parser gives a
/// meaning to would be read as something else.
void CheckFilterTexts(Proc::Settings const& settings) {
    for (Proc::Field const& field : settings.GetFields()) {
        if (field.kind != Proc::FieldKind::Text || field.option.filter.empty())
            continue;
        std::string const value = Proc::ReadFieldText(settings, field);
        if (value.find('\0') != std::string::npos)
            Core::Throw<Proc::SettingsException>(
                fmt::format("{}: \"{}\" cannot have a zero byte: it would end FFmpeg's filter text",
                            settings.GetClassId(), field.key));
        std::size_t const special = value.find_first_of("\\':,;[]");
        bool const trimmed = !value.empty() && (s_blanks.find(value.front()) != s_blanks.npos ||
                                                s_blanks.find(value.back()) != s_blanks.npos);
        if (special != std::string::npos || trimmed)
            Core::Throw<Proc::SettingsException>(
                fmt::format("{}: \"{}\" cannot be \"{}\": {} would change FFmpeg's filter text",
                            settings.GetClassId(), field.key, value,
                            special != std::string::npos ? fmt::format("'{}'", value[special])
                                                         : "a space at either end"));
    }
}

} // namespace

void SetEffectSettings(Proc::IEffect& effect, Core::Property const& property) {
    std::unique_ptr<Proc::Settings> const settings = effect.GetSettingsBase().Clone();
    if (settings->GetFields().empty()) {
        effect.SetSettings(property);
        return;
    }
    Proc::WriteFieldsFromProperty(*settings, property);
    SetEffectSettings(effect, *settings);
}

void SetEffectSettings(Proc::IEffect& effect, Proc::Settings const& settings) {
    CheckFilterTexts(settings);
    effect.SetSettings(settings);
}

} // namespace Tarsel::Host
