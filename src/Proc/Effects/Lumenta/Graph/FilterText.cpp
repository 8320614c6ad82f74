#include "Proc/Effects/Lumenta/Graph/FilterText.h"

#include <iostream>

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
    return MakeStream(std::locale(std::cout.getloc(), new PunctFacet<char>));
}

std::ostringstream MakeClassicStream() {
    return MakeStream(std::locale::classic());
}

} // namespace Tarsel::Proc
