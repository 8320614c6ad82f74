#include "Host/Doubles.h"
#include "Proc/Interfaces/IEffectRegistrar.h"

using namespace Tarsel;

extern "C" TARSEL_API bool Registrator(Proc::IEffectRegistrar& registrar);

bool Registrator(Proc::IEffectRegistrar& registrar) {
    return registrar.RegisterVideoEffect("small", "ffmpeg", [](auto const&, auto const&) {
        return SP<Proc::IOneInputEffectVideo>(MakeSP<HostTest::Effect>("small"));
    });
}
