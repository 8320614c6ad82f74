#pragma once

#include <cstdint>

namespace Tarsel::Core {

/// Type of a property node. The container's number is binary contract.
enum class PropertyTypes : std::int32_t {
    Empty = 0,
    Int64 = 1,
    Double = 2,
    Bool = 3,
    String = 4,
    Ratio = 5,
    Container = 6
};

/// "int64", "container" and so on, for messages.
constexpr char const* GetName(PropertyTypes type) noexcept {
    switch (type) {
    case PropertyTypes::Empty:
        return "empty";
    case PropertyTypes::Int64:
        return "int64";
    case PropertyTypes::Double:
        return "double";
    case PropertyTypes::Bool:
        return "bool";
    case PropertyTypes::String:
        return "string";
    case PropertyTypes::Ratio:
        return "ratio";
    case PropertyTypes::Container:
        return "container";
    }
    return "unknown";
}

} // namespace Tarsel::Core
