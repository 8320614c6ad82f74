#include "Proc/Effects/Lumenta/Graph/FilterText.h"

#include <iostream>

namespace Tarsel::Proc {

std::ostringstream MakeOptionStream() {
    std::ostringstream stream;
    stream.imbue(std::locale(std::cout.getloc(), new PunctFacet<char>));
    return stream;
}

std::ostringstream MakeClassicStream() {
    std::ostringstream stream;
    stream.imbue(std::locale::classic());
    return stream;
}

} // namespace Tarsel::Proc
