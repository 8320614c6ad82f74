#include "Proc/Effects/Lumenta/Graph/FilterText.h"

#include <fmt/format.h>

#include <charconv>
#include <iostream>
#include <string>

namespace Tarsel::Proc {
namespace {

/// Without exceptions a stream that gets no memory keeps quiet, and half a text may mean something else.
std::ostringstream MakeStream(std::locale const& locale) {
    std::ostringstream stream;
    stream.exceptions(std::ios::badbit);
    stream.imbue(locale);
    return stream;
}

} // namespace

std::ostringstream MakeOptionStream() {
    // No locale's own: one that gets no memory loses the facet that it was to own. Never destroyed.
    static auto& s_facet = *new PunctFacet<char>(1);
    return MakeStream(std::locale(std::cout.getloc(), &s_facet));
}

double ReadAsWritten(double value, int precision) {
    std::string const text = fmt::format("{:.{}g}", value, precision);
    double read = 0;
    std::from_chars(text.data(), text.data() + text.size(), read);
    return read;
}

std::ostringstream MakeClassicStream() {
    return MakeStream(std::locale::classic());
}

} // namespace Tarsel::Proc
