#include "Proc/Settings/Orientation.h"
#include "Core/Throw.h"
#include "Proc/Effects/Lumenta/Base/DefineEffect.h"
#include "Proc/Interfaces/ProcExceptions.h"
#include "Proc/Wrappers/FrameFields.h"

#include <fmt/format.h>

#include <stdexcept>
#include <utility>

extern "C" {
#include <libavutil/frame.h>
}

/// Mirroring and quarter turns: pixels change places. Only formats whose chroma cannot follow are converted
/// by FFmpeg first, to limited range: 4:2:2 and its like to 4:4:4 for quarter turns, packed YUV to planar.
namespace Tarsel::Proc {
namespace {

constexpr char const* s_noRotation = "no rotation";
constexpr char const* s_halfTurn = "vflip[s];[s]hflip";

/// What a transpose does, in degrees. Other angles than these it cannot do.
enum class Turn { None = 0, Quarter = 90, Half = 180, ThreeQuarters = 270 };

std::optional<Turn> GetTurn(SettingsEffectTranspose const& settings) {
    // 0 to 3 and nothing else, however far a step lies from it.
    if (settings.step < 0 || settings.step > 3)
        return std::nullopt;
    return static_cast<Turn>(settings.step * 90);
}

bool ExchangesAxes(Turn turn) {
    return turn == Turn::Quarter || turn == Turn::ThreeQuarters;
}

TagDetail MakeStepDetail(SettingsEffectTranspose const& settings) {
    return TagDetail(fmt::format("step {}, not 0 to 3 quarter turns", settings.step));
}

/// Throws for a turn that hooks cannot follow.
Turn RequireTurn(SettingsEffectTranspose const& settings, Core::Site const& site) {
    std::optional<Turn> const turn = GetTurn(settings);
    if (!turn)
        Core::Throw<EffectException>(site, "Unexpected angle", MakeStepDetail(settings));
    return *turn;
}

/// The rows of interlaced frames change their field where an even number of them is mirrored; columns belong
/// to both fields.
void TurnFields(IDataVideo& data, bool mirrorsRows, bool exchangesAxes) {
    AVFrame& frame = *data.GetAVFrame();
    FieldOrder const order = GetFrameFieldOrder(frame);
    if (order == FieldOrder::Progressive)
        return;
    if (exchangesAxes)
        SetFrameFieldOrder(frame, FieldOrder::Progressive);
    else if (mirrorsRows && frame.height % 2 == 0)
        SetFrameFieldOrder(frame,
                           order == FieldOrder::TopFirst ? FieldOrder::BottomFirst : FieldOrder::TopFirst);
}

void SetPixelAspect(IDataVideo& data, Conf::FrameInfo const& info) {
    Conf::FrameInfo const defined = Conf::WithDefinedAspect(info);
    data.SetPixelAspect(defined.aspectNum, defined.aspectDen);
}

void InitFormat(Conf::IFormatCodecVideo& format, Conf::FrameInfo const& info) {
    Conf::FrameInfo const defined = Conf::WithDefinedAspect(info);
    format.InitByPixelAspect(defined.width, defined.height, defined.aspectNum, defined.aspectDen);
}

} // namespace

template <>
struct EffectActions<SettingsEffectFlip> {
    using SettingsType = SettingsEffectFlip;
    static constexpr bool s_readsProperties = true;
    // More threads make hflip slower (1920x1080: 0.10 ms on one, 0.13 ms on two).
    static constexpr EffectTraits s_traits{.summary = "mirrors frames", .range = Keeps::Sometimes};

    static std::string GetFFString(SettingsType const& settings, Conf::FrameInfo const&) {
        if (settings.vertical)
            return settings.horizontal ? s_halfTurn : "vflip";
        return settings.horizontal ? "hflip" : "";
    }

    static void PostProcess(SettingsType const& settings, SP<IDataVideo> const& data) {
        if (data)
            TurnFields(*data, settings.vertical, false);
    }
};

template <>
struct EffectActions<SettingsEffectTranspose> {
    using SettingsType = SettingsEffectTranspose;
    static constexpr bool s_readsProperties = true;
    static constexpr EffectTraits s_traits{.summary = "rotates frames by quarter turns",
                                           .range = Keeps::Sometimes,
                                           .size = Keeps::Sometimes,
                                           .slices = true};

    static std::string GetFFString(SettingsType const& settings, Conf::FrameInfo const&) {
        if (std::optional<Turn> const turn = GetTurn(settings))
            switch (*turn) {
            case Turn::None:
                return s_noRotation;
            case Turn::Quarter:
                return "transpose=dir=1";
            case Turn::Half:
                return s_halfTurn;
            case Turn::ThreeQuarters:
                return "transpose=dir=2";
            }
        Core::Throw<std::logic_error>(
            {s_videoEffectFile,
             "static std::string EffectActions<Tarsel::Proc::SettingsEffectTranspose>::GetFFString("
             "const SettingsType &, const FrameInfo &)"},
            "Unsupported effect settings", MakeStepDetail(settings));
    }

    static void PostProcess(SettingsType const& settings, SP<IDataVideo> const& data) {
        if (!data)
            return;
        Turn const turn = RequireTurn(
            settings, {s_videoEffectFile,
                       "static void EffectActions<Tarsel::Proc::SettingsEffectTranspose>::PostProcess("
                       "const SettingsType &, const SP<IDataVideo> &)"});
        TurnFields(*data, turn == Turn::Half, ExchangesAxes(turn));
        if (!ExchangesAxes(turn))
            return;
        Conf::FrameInfo info = data->GetFrameInfo();
        std::swap(info.aspectNum, info.aspectDen);
        SetPixelAspect(*data, info);
    }

    static void PostUpdate(SettingsType const& settings, SP<Conf::IFormatCodecVideo> const& format) {
        Turn const turn = RequireTurn(
            settings, {s_videoEffectFile,
                       "static void EffectActions<Tarsel::Proc::SettingsEffectTranspose>::PostUpdate("
                       "const SettingsType &, const SP<IFormatCodecVideo> &)"});
        Conf::FrameInfo info = format->GetFrameInfo();
        if (ExchangesAxes(turn)) {
            std::swap(info.width, info.height);
            std::swap(info.aspectNum, info.aspectDen);
        }
        InitFormat(*format, info);
        if (!format->ExistsDisplayMatrix())
            return;
        // A turn to the left is left negative.
        double rotation = format->GetDisplayMatrix().GetRotation() - static_cast<int>(turn);
        if (rotation > 360.0)
            rotation -= 360.0;
        format->SetDisplayMatrix(Conf::DisplayMatrix::FromRotation(rotation));
    }
};

template <>
struct EffectActions<SettingsEffectDisplayMatrix> {
    using SettingsType = SettingsEffectDisplayMatrix;
    static constexpr EffectTraits s_traits{.summary = "rotates and mirrors frames as a display matrix says",
                                           .range = Keeps::Sometimes,
                                           .size = Keeps::Sometimes,
                                           .slices = true};

    static bool IsEmpty(SettingsType const& settings) {
        return settings.IsEmpty() || settings.matrix.GetOrientation() == 1;
    }

    static std::string GetFFString(SettingsType const& settings, Conf::FrameInfo const&) {
        Core::Site const site{
            s_videoEffectFile,
            "static std::string EffectActions<Tarsel::Proc::SettingsEffectDisplayMatrix>::GetFFString("
            "const SettingsType &, const FrameInfo &)"};
        std::optional<int> const orientation = settings.matrix.GetOrientation();
        if (!orientation)
            Core::Throw<std::logic_error>(site, "Unsupported image rotation");
        switch (*orientation) {
        case 1:
            return s_noRotation;
        case 2:
            return "hflip";
        case 3:
            return s_halfTurn;
        case 4:
            return "vflip";
        case 5:
            return "transpose=cclock_flip";
        case 6:
            return "transpose=clock";
        case 7:
            return "transpose=clock_flip";
        case 8:
            return "transpose=cclock";
        default:
            Core::Throw<std::logic_error>(site, "Unsupported image orientation",
                                          TagDetail(fmt::format("orientation {}, not 1 to 8", *orientation)));
        }
    }

    /// The frame ends with the pixel aspect that PostUpdate gives its format.
    static void PostProcess(SettingsType const& settings, SP<IDataVideo> const& data) {
        if (!data)
            return;
        int const orientation = settings.matrix.GetOrientation().value_or(1);
        TurnFields(*data, orientation == 3 || orientation == 4, orientation > 4);
        Conf::FrameInfo const info = data->GetFrameInfo();
        if (info.aspectNum == 1 && info.aspectDen == 1)
            return;
        SetPixelAspect(*data, settings.matrix.GetTransform().GetBoundingBox(info, false));
    }

    static void PostUpdate(SettingsType const& settings, SP<Conf::IFormatCodecVideo> const& format) {
        if (format->GetDisplayMatrix() != settings.matrix)
            Core::Throw<std::logic_error>(
                {s_videoEffectFile,
                 "static void EffectActions<Tarsel::Proc::SettingsEffectDisplayMatrix>::PostUpdate("
                 "const SettingsType &, const SP<IFormatCodecVideo> &)"},
                "Display matrix does not match the settings");
        InitFormat(*format, settings.matrix.GetTransform().GetBoundingBox(format->GetFrameInfo(), false));
        format->SetDisplayMatrix(Conf::DisplayMatrix::s_default);
    }
};

template EffectCreator GetCreator<SettingsEffectFlip>();
template EffectCreator GetCreator<SettingsEffectTranspose>();
template EffectCreator GetCreator<SettingsEffectDisplayMatrix>();

} // namespace Tarsel::Proc
