#pragma once

#include "Conf/ColorSpace.h"
#include "Conf/PixFmt.h"
#include "Proc/Effects/Lumenta/Base/PictureEffect.h"
#include "Proc/Interfaces/IOneInputEffectVideo.h"
#include "Proc/Settings/Format.h"
#include "Proc/Wrappers/KeptScaler.h"
#include "Proc/Wrappers/SafeFrame.h"

#include <optional>
#include <string>

namespace Tarsel::Proc {

/// Converts frames to the nearest of the allowed pixel formats; a frame that has one of them passes as it is.
/// Size, pixel aspect, times and side data stay; what color matrix and range become is Conf::Color::After's.
/// Where alpha is lost the picture is laid over the background; PAL8 is made by ColorQuant. A conversion that
/// loses something is an EffectException where the settings say so, else a verbose log line: "Pixel format
/// convertion from {} to {} have loss mask={}", with FFmpeg's FF_LOSS_* bits.
class PixelFormatConverterFF : public PictureEffect<IOneInputEffectVideo, SettingsPixelFormatConverter> {
public:
    /// Lays `converted`, which is `withAlpha` in one of the formats that the blending kernels know and has
    /// buffers of its own, over the background of the settings. EffectException "Not implemented for '{}'
    /// format" for other formats (conversions find a way round those) and for pictures of different size;
    /// MemoryException.
    void Premultiply(AVFrame const& withAlpha, AVFrame& converted) const;

    EffectTraits const& GetTraits() const noexcept override;

private:
    /// One kind of frame, and what becomes of it.
    struct Conversion {
        Conf::PixFmt from = Conf::PixFmt::None;
        Conf::ColorSpace fromSpace;
        Conf::PixFmt to = Conf::PixFmt::None;
        Conf::ColorSpace space;
        /// FF_LOSS_* bits.
        int loss = 0;

        std::string Describe() const;
    };

    ~PixelFormatConverterFF() override = default;

    SP<IDataVideo> MakeResult(SP<IDataVideo> const& data) override;
    void UpdateFormat(Conf::IFormatCodecVideo& format) const override;
    /// "yuva444p -> yuv420p; lost: alpha, chroma resolution".
    std::string DescribeWork(Conf::IFormatCodecVideo const& format) const override;
    void Forget() noexcept override;

    std::optional<Conversion> Choose(Conf::PixFmt from, Conf::ColorSpace const& space) const;
    void Convert(AVFrame const& from, AVFrame& to);
    void ConvertStraight(AVFrame const& from, AVFrame& to, KeptScaler& scaler) const;
    void Flatten(AVFrame const& from, AVFrame& to);

    /// What was done last.
    Conversion m_last;
    /// Of palettes to RGB, of that to the result or to a format that can be laid over the background, and of
    /// this to the result.
    KeptScaler m_unpacker;
    KeptScaler m_scaler;
    KeptScaler m_finisher;
};

} // namespace Tarsel::Proc
