#pragma once

#include "Media/Progress.h"
#include "Tools/Tarsel/Chain/ChainMaker.h"
#include "Tools/Tarsel/Preview/Sheet.h"
#include "Tools/Tarsel/Preview/Variants.h"

#include <array>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <stop_token>
#include <string>
#include <string_view>
#include <vector>

namespace Tarsel::Tools {

/// How a frame is shown before and after effects.
enum class PreviewStyle : std::uint8_t { Split, Side, Difference, After };
struct PreviewStyleName {
    std::string_view name;
    PreviewStyle style;
};
inline constexpr std::array s_previewStyles{
    PreviewStyleName{"split", PreviewStyle::Split}, PreviewStyleName{"side", PreviewStyle::Side},
    PreviewStyleName{"difference", PreviewStyle::Difference}, PreviewStyleName{"after", PreviewStyle::After}};

struct VideoPreviewRequest {
    std::filesystem::path input;
    std::vector<std::filesystem::path> outputs;
    /// In microseconds of the file, ascending; empty: the first frame.
    std::vector<std::int64_t> times;
    PreviewStyle style = PreviewStyle::Split;
    /// Of the whole picture; 0: frames have their own size unless the picture becomes wider than
    /// s_mostOwnWidth.
    std::uint32_t width = 0;
    std::function<void(Media::RunProgress const&)> onProgress;
};
constexpr std::uint32_t s_mostOwnWidth = 3840;

struct PreviewResult {
    SP<Proc::IDataVideo> picture;
    /// What the user should know, one sentence each.
    std::vector<std::string> notes;
};

/// Whether its result for a frame takes more than that frame and its time. Any thread.
bool DependsOnOtherFrames(VideoStep const& step);

/// A row for each time: the frame before, and after each of the variants. Frames that are not of one size are
/// shown beside one another, whatever the style. Throws as CaptureFrames, and as the effects; UsageException
/// where a step would write over the files. Blocks; one thread at a time.
PreviewResult DrawVideoPreview(ChainMaker& maker, Variants const& variants,
                               VideoPreviewRequest const& request, std::stop_token const& stop);

} // namespace Tarsel::Tools
