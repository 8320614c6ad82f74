#include "Host/Chain/FrameConversion.h"

namespace Tarsel::Host {

PictureForm GetForm(Proc::IDataVideo const& frame) {
    Conf::FrameInfo const info = frame.GetFrameInfo();
    return {frame.GetPixelFormat(), info.width, info.height};
}

SP<Proc::DataVideoFF> ConvertPixels(Proc::IDataVideo const& frame, Conf::PixFmt format,
                                    Conf::ColorSpace const& space, Proc::KeptScaler& scaler) {
    PictureForm const form = GetForm(frame);
    SP<Proc::DataVideoFF> converted =
        Proc::DataVideoFF::CreateLike(frame, space, format, frame.GetFrameInfo());
    scaler.Scale({{form.width, form.height, form.format, frame.GetColorSpace()},
                  {form.width, form.height, format, space}},
                 *frame.GetAVFrame(), *converted->GetAVFrame());
    return converted;
}

} // namespace Tarsel::Host
