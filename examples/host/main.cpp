// A program with frames of its own: turns one picture upside down and prints it before and after.
//
//     host [PLUGIN]    the plug-in to take the effect from, "lumenta" by default

#include "Host/EffectFactory.h"
#include "Host/EffectStep.h"
#include "Host/ErrorReport.h"
#include "Host/Plugin.h"
#include "Proc/Data/DataVideoFF.h"

#include <cstdio>
#include <memory>

using Tarsel::SP;
using Tarsel::Proc::IDataVideo;

static SP<IDataVideo> MakePicture() {
    SP<IDataVideo> frame = Tarsel::MakeSP<Tarsel::Proc::DataVideoFF>(
        Tarsel::Conf::ColorSpace{}, Tarsel::Conf::PixFmt::GRAY8, Tarsel::Conf::FrameInfo{16, 4, 1, 1});
    auto const plane = frame->GetWritablePlane(0);
    for (std::uint32_t y = 0; y < plane.rows; ++y)
        for (std::size_t x = 0; x < plane.rowBytes; ++x)
            plane.data[y * plane.lineSize + static_cast<std::ptrdiff_t>(x)] =
                static_cast<std::uint8_t>('a' + y);
    return frame;
}

static void Print(IDataVideo const& frame) {
    auto const plane = frame.GetReadOnlyPlane(0);
    for (std::uint32_t y = 0; y < plane.rows; ++y)
        std::printf("%.*s\n", static_cast<int>(plane.rowBytes),
                    reinterpret_cast<char const*>(plane.data + y * plane.lineSize));
}

static SP<IDataVideo> TurnUpsideDown(SP<IDataVideo> frame, char const* plugin) {
    auto const registry = std::make_shared<Tarsel::Host::EffectRegistry>();
    Tarsel::Host::Plugin(Tarsel::Host::Plugin::Find(plugin)).Register(*registry);
    auto const factory = Tarsel::MakeSP<Tarsel::Host::EffectFactory>(registry);

    auto const step = Tarsel::Host::ParseEffectStep("flip vertical=1");
    auto const effect = Tarsel::Host::MakeVideoEffect(*factory, step);
    effect->Process(frame); // the result takes the frame's place
    return frame;
}

int main(int argc, char** argv) try {
    SP<IDataVideo> const before = MakePicture();
    Print(*before);
    SP<IDataVideo> const after = TurnUpsideDown(before, argc > 1 ? argv[1] : "lumenta");
    std::puts("");
    Print(*after);
    return after->GetReadOnlyPlane(0).data[0] == 'd' ? 0 : 1;
} catch (std::exception const& failure) {
    std::fprintf(stderr, "%s\n", Tarsel::Host::DescribeError(failure).c_str());
    return 1;
}
