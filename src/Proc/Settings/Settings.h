#pragma once

#include "Core/Api.h"

#include <memory>
#include <span>
#include <string>

namespace Tarsel::Proc {

struct Field;
struct SettingsTable;

/// Base of all settings classes: plain values, copied freely, not synchronized. Each class declares its
/// fields in one table (see Field.h), from which everything below follows. The slot order is binary contract.
class TARSEL_API Settings {
public:
    virtual ~Settings();
    /// The class's CLASS_ID: the name by which effects are registered and asked for.
    virtual std::string const& GetClassId() const = 0;
    virtual std::unique_ptr<Settings> Clone() const = 0;
    /// Value equality; std::bad_cast when `other` is of another class.
    virtual bool IsEqualTo(Settings const& other) const = 0;
    /// Whether an effect with these settings leaves its input as it is.
    virtual bool IsEmpty() const = 0;
    /// Reads "key=value:key=value" on top of the present values; '\' takes the meaning from a ':' or '\'
    /// after it. SettingsException that names class, key, value and legal range, also where values contradict
    /// one another (CheckSettings); then nothing has changed.
    virtual void Deserialize(std::string const& text) = 0;
    /// What the class says of itself. Lives as long as the library.
    virtual SettingsTable const& GetClassTable() const = 0;

    /// The fields of that table, in the order of help and text.
    std::span<Field const> GetFields() const;

protected:
    Settings() = default;
    Settings(Settings const&) = default;
    Settings& operator=(Settings const&) = default;
};

} // namespace Tarsel::Proc
