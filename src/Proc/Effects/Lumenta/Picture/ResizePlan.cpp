#include "Proc/Effects/Lumenta/Picture/ResizePlan.h"

#include "Conf/Color.h"
#include "Conf/PixFmtDescription.h"
#include "Core/Saturate.h"
#include "Core/Throw.h"
#include "Proc/Effects/Lumenta/Picture/PictureFrame.h"
#include "Proc/Interfaces/ProcExceptions.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

extern "C" {
#include <libavutil/pixfmt.h>
#include <libavutil/rational.h>
}

namespace Tarsel::Proc {
namespace {

using Conf::PixFmt;

/// Pixels that one chroma sample is wide, or high; sizes and places are multiples of it.
class ChromaGrid {
public:
    explicit ChromaGrid(int shift) : m_step(1U << shift) {}

    std::uint32_t Down(std::uint32_t size) const { return size / m_step * m_step; }
    std::uint32_t SizeDown(std::uint32_t size) const { return std::max(m_step, Down(size)); }
    std::uint32_t SizeNearest(double size) const {
        auto const samples = Core::Saturate<std::uint32_t>(std::round(size / m_step));
        return std::clamp(samples, 1U, s_mostSamples) * m_step;
    }

private:
    /// Beyond any legal size, and far from overflowing.
    static constexpr std::uint32_t s_mostSamples = 1U << 28;

    std::uint32_t m_step;
};

struct Size {
    std::uint32_t width;
    std::uint32_t height;

    friend bool operator==(Size const&, Size const&) = default;
};

/// Width over height as they are shown.
double ShownProportions(Conf::FrameInfo const& info) {
    double const proportions = static_cast<double>(info.width) / info.height;
    return info.aspectNum != 0 && info.aspectDen != 0 ? proportions * info.aspectNum / info.aspectDen
                                                      : proportions;
}

PixFmt ChooseScaled(PixFmt format) {
    format = Conf::Color::Workable(format);
    bool const isXyz = Conf::Color::ModelOf(format) == Conf::Color::Model::Xyz;
    return isXyz ? static_cast<PixFmt>(AV_PIX_FMT_RGB48) : format;
}

/// The largest of these proportions that fits into the box.
Size FitInside(Size const& box, double proportions, ChromaGrid const& across, ChromaGrid const& down) {
    if (proportions * box.height < box.width)
        return {std::min(across.SizeNearest(box.height * proportions), box.width), box.height};
    return {box.width, std::min(down.SizeNearest(box.width / proportions), box.height)};
}

/// The largest part of the input, around its middle, that is shown with the proportions of the box.
PictureRegion CutOut(Conf::FrameInfo const& input, Size const& box, ChromaGrid const& across,
                     ChromaGrid const& down) {
    PictureRegion region{0, 0, input.width, input.height};
    double const share = static_cast<double>(box.width) / box.height / ShownProportions(input);
    if (share < 1)
        region.width = std::min(across.SizeNearest(input.width * share), input.width);
    else
        region.height = std::min(down.SizeNearest(input.height / share), input.height);
    region.x = across.Down((input.width - region.width) / 2);
    region.y = down.Down((input.height - region.height) / 2);
    return region;
}

void SetSquarePixels(Conf::FrameInfo& info) {
    if (info.aspectNum != 0 && info.aspectDen != 0)
        info.aspectNum = info.aspectDen = 1;
}

/// The shape of pixels of a picture that was stretched from the one size to the other.
void StretchPixels(Conf::FrameInfo& info, Conf::FrameInfo const& from) {
    if (from.aspectNum == 0 || from.aspectDen == 0)
        return;
    auto const reduced = [](std::uint64_t num, std::uint64_t den) {
        AVRational ratio{0, 1};
        av_reduce(&ratio.num, &ratio.den, static_cast<std::int64_t>(num), static_cast<std::int64_t>(den),
                  INT32_MAX);
        return ratio;
    };
    AVRational const across = reduced(from.width, info.width);
    AVRational const down = reduced(info.height, from.height);
    AVRational const aspect = av_mul_q(reduced(from.aspectNum, from.aspectDen), av_mul_q(across, down));
    info.aspectNum = static_cast<std::uint32_t>(std::max(aspect.num, 1));
    info.aspectDen = static_cast<std::uint32_t>(std::max(aspect.den, 1));
}

void CheckSize(SettingsResizer const& settings, Conf::FrameInfo const& from, Conf::FrameInfo const& to) {
    double const longest = FindField(settings.GetFields(), "width")->maximum;
    if (to.width <= longest && to.height <= longest)
        return;
    Core::Throw<EffectException>(fmt::format("{}x{} pixels would become {}x{}; a side may have 1 to {}",
                                             from.width, from.height, to.width, to.height, longest));
}

} // namespace

std::optional<ResizePlan> PlanResize(SettingsResizer const& settings, PixFmt format,
                                     Conf::FrameInfo const& input) {
    if (settings.IsEmpty() || input.width == 0 || input.height == 0)
        return std::nullopt;
    if (settings.width < 0 || settings.height < 0)
        Core::Throw<EffectException>(fmt::format(
            "Cannot resize to {}x{} pixels: a side may have 1 to {}, or 0 to follow from the other",
            settings.width, settings.height, FindField(settings.GetFields(), "width")->maximum));
    Size const asked{static_cast<std::uint32_t>(settings.width), static_cast<std::uint32_t>(settings.height)};
    Size const present{input.width, input.height};
    if (asked == present)
        return std::nullopt;

    ResizePlan plan;
    plan.format = ChooseScaled(format);
    auto const& description = Conf::PixFmtDescription::Find(plan.format);
    ChromaGrid const across(description.GetChromaShiftX());
    ChromaGrid const down(description.GetChromaShiftY());
    double const proportions = ShownProportions(input);
    bool const isFree = asked.width == 0 || asked.height == 0;
    Size box{across.SizeDown(asked.width), down.SizeDown(asked.height)};
    if (asked.width == 0)
        box.width = across.SizeNearest(box.height * proportions);
    else if (asked.height == 0)
        box.height = down.SizeNearest(box.width / proportions);
    plan.isRounded =
        (asked.width != 0 && box.width != asked.width) || (asked.height != 0 && box.height != asked.height);

    plan.info = {box.width, box.height, input.aspectNum, input.aspectDen};
    plan.source = {0, 0, input.width, input.height};
    plan.target = {0, 0, box.width, box.height};
    if (!isFree && settings.fit == SettingsResizer::Fit::Stretch) {
        StretchPixels(plan.info, input);
    } else {
        SetSquarePixels(plan.info);
        Size const inner = isFree ? box : FitInside(box, proportions, across, down);
        switch (isFree ? SettingsResizer::Fit::Inside : settings.fit) {
        case SettingsResizer::Fit::Stretch:
            break;
        case SettingsResizer::Fit::Inside:
            plan.info.width = inner.width;
            plan.info.height = inner.height;
            plan.target = {0, 0, inner.width, inner.height};
            break;
        case SettingsResizer::Fit::Pad:
            plan.target = {across.Down((box.width - inner.width) / 2),
                           down.Down((box.height - inner.height) / 2), inner.width, inner.height};
            break;
        case SettingsResizer::Fit::Crop:
            plan.source = CutOut(input, box, across, down);
            break;
        }
    }
    if (Size{plan.info.width, plan.info.height} == present)
        return std::nullopt;
    CheckSize(settings, input, plan.info);
    return plan;
}

} // namespace Tarsel::Proc
