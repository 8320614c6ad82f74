#pragma once

#include "Proc/Effects/Lumenta/Base/EffectShell.h"
#include "Proc/Settings/CastSettings.h"
#include "Proc/Settings/SettingsProperty.h"

namespace Tarsel::Proc {

/// An effect over settings class S: a shell (EffectShell, StreamShell or a class over them) with settings.
template <class Shell, class S>
class EffectBase : public Shell {
public:
    /// Where all settings come in.
    void SetSettings(S const& settings) { this->Apply(settings); }
    /// std::bad_cast when they are of another class.
    void SetSettings(Settings const& settings) override {
        SetSettings(CastSettings<S>(settings, m_settings));
    }
    void SetSettings(Core::Property const& property) override { SetSettings(Property2Settings<S>(property)); }
    Settings const& GetSettingsBase() const override { return m_settings; }

protected:
    using Shell::Shell;
    ~EffectBase() override = default;

    S m_settings;

private:
    void Store(Settings const& settings) override {
        // In two steps, the second of which cannot fail.
        m_settings = S(static_cast<S const&>(settings));
    }
};

} // namespace Tarsel::Proc
