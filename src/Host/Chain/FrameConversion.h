#pragma once

#include "Conf/ColorSpace.h"
#include "Conf/PixFmt.h"
#include "Proc/Data/DataVideoFF.h"
#include "Proc/Interfaces/IDataVideo.h"
#include "Proc/Wrappers/KeptScaler.h"

#include <cstdint>

namespace Tarsel::Host {

/// The form of a picture as far as an effect may refuse it.
struct PictureForm {
    Conf::PixFmt format = Conf::PixFmt::None;
    std::uint32_t width = 0;
    std::uint32_t height = 0;

    friend bool operator==(PictureForm const&, PictureForm const&) = default;
};

PictureForm GetForm(Proc::IDataVideo const& frame);

/// The same picture in another format and color space, by a scaler that is kept for the next one like it.
/// MemoryException, EffectException as SafeSwsContext.
SP<Proc::DataVideoFF> ConvertPixels(Proc::IDataVideo const& frame, Conf::PixFmt format,
                                    Conf::ColorSpace const& space, Proc::KeptScaler& scaler);

} // namespace Tarsel::Host
