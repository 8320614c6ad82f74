#include "Core/Exception.h"

#include <typeinfo>

namespace Tarsel {

Exception::Exception() noexcept = default;

Exception::Exception(Exception const&) noexcept = default;

Exception& Exception::operator=(Exception const&) noexcept = default;

Exception::~Exception() noexcept = default;

char const* Exception::what() const noexcept {
    if (std::string const* description = boost::get_error_info<TagDescription>(*this))
        return description->c_str();
    return typeid(*this).name();
}

} // namespace Tarsel
