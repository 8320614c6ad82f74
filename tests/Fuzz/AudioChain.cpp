#include "Fuzz/Chains.h"

TARSEL_FUZZ(draws) {
    Tarsel::Fuzz::EnterOwnFolder();
    Tarsel::Fuzz::ChainRun<Tarsel::Check::Audio> const run(draws);
}
