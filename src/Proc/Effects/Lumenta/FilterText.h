#pragma once

#include "Core/Property.h"
#include "Proc/Effects/Lumenta/Api.h"

#include <locale>
#include <sstream>
#include <string>
#include <vector>

namespace Tarsel::Proc {

/// Filter descriptions are text, and FFmpeg reads numbers with a decimal point in every locale.

/// Numeric punctuation with '.' as decimal point and no grouping, whatever the user's locale.
template <class Char>
class PunctFacet : public std::numpunct<Char> {
protected:
    Char do_decimal_point() const override { return m_decimalPoint; }

private:
    Char m_decimalPoint = '.';
};

/// An empty stream with the locale of std::cout and PunctFacet in it: for option texts with real numbers. Any
/// thread.
std::ostringstream MakeOptionStream();

/// An empty stream with the classic locale: for option texts in default formatting. Any thread.
std::ostringstream MakeClassicStream();

/// How one property becomes one FFmpeg option.
struct FFMpegStringValue {
    std::string key;
    std::string option;
    bool required = false;
};

/// "option='value':" for each row whose key is a child of `property`, in the order of the rows. Throws
/// EffectException naming the first required option whose property is missing; MethodIsNotApplicable for a
/// child that is a container. Any thread.
LUMENTA_API std::string PropertyToFFMpegString(Core::Property const& property,
                                               std::vector<FFMpegStringValue> const& values);

} // namespace Tarsel::Proc
