#pragma once

#include "Core/Api.h"
#include "Core/CallStack.h"

#include <boost/exception/error_info.hpp>
#include <boost/exception/exception.hpp>
#include <boost/exception/get_error_info.hpp>
#include <boost/exception/info.hpp>

#include <cstdint>
#include <exception>
#include <string>

namespace Tarsel {

/// What went wrong, in one sentence; also what `what()` gives.
using TagDescription = boost::error_info<struct TagDescriptionId, std::string>;
/// Where it went wrong.
using TagCallStack = boost::error_info<struct TagCallStackId, Core::CallStack>;
/// Column of the throw site; file, line and function travel as boost::throw_file, throw_line, throw_function.
using TagThrowColumn = boost::error_info<struct TagThrowColumnId, std::uint32_t>;

/// Root of this system's exceptions. All facts travel as tags, read with boost::get_error_info.
class TARSEL_API Exception : public virtual std::exception, public virtual boost::exception {
public:
    Exception() noexcept;
    Exception(Exception const&) noexcept;
    Exception& operator=(Exception const&) noexcept;
    ~Exception() noexcept override;

    /// The text under TagDescription, or the type's mangled name without one. Owned by the exception.
    char const* what() const noexcept override;
};

} // namespace Tarsel
