#pragma once

#include "Proc/Settings/Field.h"

#include <optional>

/// From text to a legal value of a field, in two steps; for the sources of this folder.
namespace Tarsel::Proc::Details {

/// Why a value is refused.
struct Refusal {
    /// The field's key, or the entry and column of a list.
    std::string subject;
    std::string value;
    /// Completes "is ...".
    std::string what;
    std::string range;
};

/// What a value of the kind is not, when it is none: "no integer".
std::string_view GetNoneOf(FieldKind kind) noexcept;

/// The text is no value of the field's kind; or `what` is wrong with value number `index` of a list.
Refusal RefuseKind(Field const& field, std::string_view text);
Refusal RefuseColumn(Field const& field, std::size_t index, std::string_view text, std::string_view what);

/// A value of the field's kind, legal or not; or why the text is none.
std::variant<FieldValue, Refusal> ParseValue(Field const& field, std::string_view text);

/// Why the value, of the field's kind, is not legal; nothing when it is. `text` stands for it in the refusal.
std::optional<Refusal> CheckValue(Field const& field, FieldValue const& value, std::string_view text);

} // namespace Tarsel::Proc::Details
