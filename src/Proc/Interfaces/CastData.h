#pragma once

#include "Proc/Interfaces/IData.h"

namespace Tarsel::Proc {

/// `data` as a pointer to the derived interface, sharing the object; null stays null. std::bad_cast when the
/// object is of another kind.
template <class To, class From>
SP<To> CastData(SP<From> const& data) {
    return data ? SP<To>(&dynamic_cast<To&>(*data)) : SP<To>();
}

} // namespace Tarsel::Proc
