#include "Proc/Settings/CastSettings.h"

#include "Core/Throw.h"

#include <boost/core/demangle.hpp>
#include <fmt/format.h>

#include <string>
#include <typeinfo>

namespace Tarsel::Proc {
namespace {

/// std::bad_cast takes no text.
struct OtherSettings : std::bad_cast {
    explicit OtherSettings(std::string const&) {}
};

std::string Name(Settings const& settings) {
    return fmt::format("{} (\"{}\")", boost::core::demangle(typeid(settings).name()), settings.GetClassId());
}

} // namespace

void ThrowOtherSettings(Settings const& given, Settings const& wanted) {
    Core::Throw<OtherSettings>(
        fmt::format("Give settings of class {}, not of {}", Name(wanted), Name(given)));
}

} // namespace Tarsel::Proc
