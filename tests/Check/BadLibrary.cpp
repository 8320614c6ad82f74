#include "Host/EffectRegistry.h"
#include "Proc/Interfaces/IEffectRegistrar.h"

#include <clocale>
#include <thread>

/// A plug-in that does one thing wrong while it is loaded: that of its number in LibraryTest.cpp.
#ifndef TEST_FAULT
#error "TEST_FAULT is the number of the fault"
#endif

namespace {

using Tarsel::SP;

SP<Tarsel::Proc::IOneInputEffectVideo> Create(SP<Tarsel::Proc::IEffectFactory const> const&,
                                              SP<Tarsel::Proc::IFactoryDataVideo const> const&) {
    return {};
}

bool Register(Tarsel::Proc::IEffectRegistrar& registrar, char const* name) {
    return registrar.RegisterVideoEffect(name, "test", Create);
}

} // namespace

#if TEST_FAULT == 1
extern "C" __attribute__((visibility("default"))) int av_frame_nothing() {
    return 1;
}
#elif TEST_FAULT == 2
extern "C" void no_such_function();
#elif TEST_FAULT == 3
struct Starts {
    Starts() { std::setlocale(LC_ALL, "C.UTF-8"); }
} const s_starts;
#elif TEST_FAULT == 4
struct Ends {
    ~Ends() { std::abort(); }
} const s_ends;
#endif

extern "C" __attribute__((visibility("default"))) bool
Registrator(Tarsel::Proc::IEffectRegistrar& registrar) {
    [[maybe_unused]] static int s_calls = 0;
#if TEST_FAULT == 2
    no_such_function();
#elif TEST_FAULT == 5
    return false;
#elif TEST_FAULT == 6
    if (s_calls++ > 0)
        return true;
#elif TEST_FAULT == 7
    (void)Register(registrar, "twice");
    (void)Register(registrar, "twice");
#elif TEST_FAULT == 8
    try {
        return Register(registrar, "effect");
    } catch (...) {
        return false;
    }
#endif
    return Register(registrar, "effect");
}
