#pragma once

#include "Proc/Settings/Field.h"
#include "Proc/Settings/SettingsText.h"

#include <utility>

namespace Tarsel::Proc {

/// What settings class S gets from its table: id, copies, equality, reading. S has
/// - `static std::string const CLASS_ID`,
/// - `static SettingsTable const& GetTable() noexcept`,
/// - a constructor without arguments that calls SetDefaults(),
/// - public members of plain data, one for each field of the table, which alone states their defaults. What
///   is put into them directly is not checked.
template <class S, class Base = Settings>
class TARSEL_API SettingsOf : public Base {
public:
    std::string const& GetClassId() const override { return S::CLASS_ID; }
    std::unique_ptr<Settings> Clone() const override { return std::make_unique<S>(Self()); }
    bool IsEqualTo(Settings const& other) const override { return Self() == dynamic_cast<S const&>(other); }
    void Deserialize(std::string const& text) override {
        S next(Self());
        DeserializeFields(next, text);
        static_cast<S&>(*this) = std::move(next);
    }
    SettingsTable const& GetClassTable() const override { return S::GetTable(); }

    friend bool operator==(S const& a, S const& b) { return AreFieldsEqual(a, b, S::GetTable()); }

protected:
    void SetDefaults() { SetFieldDefaults(*this, S::GetTable()); }

private:
    S const& Self() const noexcept { return static_cast<S const&>(*this); }
};

} // namespace Tarsel::Proc
