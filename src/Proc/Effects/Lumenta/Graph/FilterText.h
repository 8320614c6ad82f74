#pragma once

#include <locale>
#include <sstream>

namespace Tarsel::Proc {

/// Filter descriptions are text, and FFmpeg reads numbers with a decimal point in every locale.

/// Numeric punctuation with '.' as decimal point and no grouping, whatever the user's locale.
template <class Char>
class PunctFacet : public std::numpunct<Char> {
public:
    using std::numpunct<Char>::numpunct;

protected:
    Char do_decimal_point() const override { return m_decimalPoint; }

private:
    Char m_decimalPoint = '.';
};

/// An empty stream with the locale of std::cout and PunctFacet in it: for option texts with real numbers. It
/// throws what keeps it from writing. Any thread.
std::ostringstream MakeOptionStream();

/// What a filter reads of a number that was written to such a stream with that precision. std::bad_alloc.
double ReadAsWritten(double value, int precision);

/// An empty stream with the classic locale: for option texts in default formatting. Any thread.
std::ostringstream MakeClassicStream();

} // namespace Tarsel::Proc
