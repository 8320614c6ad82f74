#pragma once

#include "Proc/Effects/Lumenta/Base/PictureEffect.h"
#include "Proc/Effects/Lumenta/Picture/ComponentScaler.h"
#include "Proc/Effects/Lumenta/Picture/ResizePlan.h"
#include "Proc/Effects/Lumenta/Picture/StepScaler.h"
#include "Proc/Interfaces/IResizeComplex.h"
#include "Proc/Settings/Format.h"
#include "Proc/Wrappers/KeptScaler.h"
#include "Proc/Wrappers/SafeFrame.h"

#include <cstdint>
#include <optional>
#include <string>

namespace Tarsel::Proc {

/// Scales frames, cropped or framed where the settings say so; ResizePlan tells to which size. A frame that
/// has the size passes as it is. Times and side data stay, but for those that speak of places in the old
/// picture. Pictures with alpha are scaled weighted by it; bars are of the settings' color, alpha and all.
/// Fields of interlaced frames are not taken apart: where the height changes they mix, so deinterlace before;
/// such frames are counted in the statistics ("Interlaced") and noted in the verbose log.
class EffectImageResizer : public PictureEffect<IResizeComplex, SettingsResizer> {
public:
    EffectTraits const& GetTraits() const noexcept override;

private:
    ~EffectImageResizer() override = default;

    SP<IDataVideo> MakeResult(SP<IDataVideo> const& data) override;
    void UpdateFormat(Conf::IFormatCodecVideo& format) const override;
    /// "640x360 -> 320x180, bicubic", and where it is so: "cropped to 480x360", "padded to 320x240", "rounded
    /// to whole chroma samples", "pixel aspect 4:3", "as rgba".
    std::string DescribeWork(Conf::IFormatCodecVideo const& format) const override;
    void Forget() noexcept override;
    void AddStatistics(Core::Property& property) const override;

    std::string DescribePlan(std::optional<ResizePlan> const& plan, Conf::PixFmt format,
                             Conf::FrameInfo const& info) const;
    void NoteInterlaced(AVFrame const& frame, bool changesHeight);
    void ScaleInto(AVFrame const& from, AVFrame& to);
    void PaintBars(AVFrame& frame);

    /// What the last frame was, and what was done with it.
    Conf::PixFmt m_format = Conf::PixFmt::None;
    Conf::FrameInfo m_info;
    std::optional<ResizePlan> m_plan;
    /// Of pictures whose values cannot be mixed to such as can; of all components at once, and one by one.
    KeptScaler m_unpacker;
    StepScaler m_scaler;
    ComponentScaler m_componentScaler;
    /// A picture of bars alone.
    std::optional<SafeFrame> m_bars;
    std::uint64_t m_interlaced = 0;
};

} // namespace Tarsel::Proc
