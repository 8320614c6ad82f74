#pragma once

// LUMENTA_API, which the algorithms below this room need too.
#include "Proc/Algorithms/Api.h"
