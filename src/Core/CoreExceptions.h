#pragma once

#include "Core/Exception.h"
#include "Core/PropertyTypes.h"

#include <string>

namespace Tarsel::Core {

class TARSEL_API CoreException : public virtual Exception {
public:
    ~CoreException() noexcept override;
};

/// An allocation failed.
class TARSEL_API MemoryException : public virtual CoreException {
public:
    /// Size of the block that could not be had, in bytes.
    using TagBlockSize = boost::error_info<struct TagBlockSizeId, unsigned>;

    ~MemoryException() noexcept override;
};

/// A property tree was used against its type.
class TARSEL_API PropertyException : public virtual CoreException {
public:
    using TagMethodName = boost::error_info<struct TagMethodNameId, std::string>;
    using TagPropertyType = boost::error_info<struct TagPropertyTypeId, PropertyTypes>;
    using TagPropertyName = boost::error_info<struct TagPropertyNameId, std::string>;

    ~PropertyException() noexcept override;
};

/// The operation does not exist for a property of this type.
class TARSEL_API MethodIsNotApplicable : public PropertyException {
public:
    ~MethodIsNotApplicable() noexcept override;
};

} // namespace Tarsel::Core
