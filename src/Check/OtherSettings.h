#pragma once

#include "Proc/Settings/Field.h"
#include "Proc/Settings/Settings.h"

#include <memory>
#include <string>

namespace Tarsel::Check {

/// Settings of a class that no effect has: every effect refuses them.
class OtherSettings final : public Proc::Settings {
public:
    std::string const& GetClassId() const override { return s_classId; }
    std::unique_ptr<Settings> Clone() const override { return std::make_unique<OtherSettings>(); }
    bool IsEqualTo(Settings const& other) const override {
        return dynamic_cast<OtherSettings const&>(other).s_classId == s_classId;
    }
    bool IsEmpty() const override { return true; }
    void Deserialize(std::string const&) override {}
    Proc::SettingsTable const& GetClassTable() const override { return s_table; }

private:
    inline static std::string const s_classId = "no-such-effect";
    static constexpr Proc::SettingsTable s_table{"no-such-effect", {}};
};

} // namespace Tarsel::Check
