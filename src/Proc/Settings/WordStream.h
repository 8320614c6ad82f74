#pragma once

#include "Proc/Settings/Field.h"

#include <ostream>

namespace Tarsel::Proc {

/// Writes the word of an enumeration's value to a stream; the number of a value that has none.
template <class E>
std::ostream& WriteWord(std::ostream& stream, std::span<FieldWord const> words, E value) {
    auto const number = static_cast<std::int64_t>(value);
    for (FieldWord const& word : words) {
        if (word.value == number)
            return stream << word.text;
    }
    return stream << number;
}

} // namespace Tarsel::Proc
