#include "Core/Api.h"

extern "C" TARSEL_API int SomethingElse();

int SomethingElse() {
    return 1;
}
