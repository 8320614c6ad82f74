#include "Media/Codec/VideoCodec.h"

#include "Core/ThreadBudget.h"
#include "Media/Base/FFmpegOwners.h"
#include "Media/Base/FFmpegVersions.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <string_view>
#include <thread>

extern "C" {
#include <libavformat/avformat.h>
#include <libavutil/dict.h>
#include <libavutil/frame.h>
#include <libavutil/mastering_display_metadata.h>
}

namespace Tarsel::Media {

namespace {

struct {
    AVFrameSideDataType frame;
    AVPacketSideDataType stream;
} constexpr s_kinds[] = {{AV_FRAME_DATA_MASTERING_DISPLAY_METADATA, AV_PKT_DATA_MASTERING_DISPLAY_METADATA},
                         {AV_FRAME_DATA_CONTENT_LIGHT_LEVEL, AV_PKT_DATA_CONTENT_LIGHT_LEVEL}};

template <class Struct>
Struct const* Find(AVFrame const& frame, AVFrameSideDataType type) noexcept {
    AVFrameSideData const* const data = av_frame_get_side_data(&frame, type);
    return data != nullptr ? reinterpret_cast<Struct const*>(data->data) : nullptr;
}

/// In the units of the streams' messages.
long long Scale(AVRational value, double unitsOfOne) noexcept {
    return value.den != 0 ? std::llround(av_q2d(value) * unitsOfOne) : 0;
}

/// "G(13250,34500)B(7500,3000)R(34000,16000)WP(15635,16450)L(10000000,1)".
std::string DescribeDisplay(AVMasteringDisplayMetadata const& display) {
    constexpr double place = 50000;
    constexpr double candela = 10000;
    auto const point = [](AVRational const(&at)[2]) {
        return fmt::format("({},{})", Scale(at[0], place), Scale(at[1], place));
    };
    return fmt::format("G{}B{}R{}WP{}L({},{})", point(display.display_primaries[1]),
                       point(display.display_primaries[2]), point(display.display_primaries[0]),
                       point(display.white_point), Scale(display.max_luminance, candela),
                       Scale(display.min_luminance, candela));
}

} // namespace

bool HasSideAlpha(AVStream const& stream) {
    AVDictionaryEntry const* const mode = av_dict_get(stream.metadata, "alpha_mode", nullptr, 0);
    return mode != nullptr && std::string_view(mode->value) == "1";
}

bool HasLightLevels(AVFrame const& frame) noexcept {
    return std::any_of(std::begin(s_kinds), std::end(s_kinds), [&](auto const& kind) {
        return av_frame_get_side_data(&frame, kind.frame) != nullptr;
    });
}

void AddLightLevels(AVStream const& from, AVFrame& to) {
    for (auto const& kind : s_kinds) {
        auto const data = GetSideData(from, kind.stream);
        if (data.empty() || av_frame_get_side_data(&to, kind.frame) != nullptr)
            continue;
        AVFrameSideData const* const added =
            CheckAllocated(av_frame_new_side_data(&to, kind.frame, data.size()), "frame side data");
        std::copy(data.begin(), data.end(), added->data);
    }
}

EncoderOptions MakeLightOptions(AVCodec const& encoder, AVFrame const& frame) {
    LightKeys const keys = GetLightKeys(encoder);
    EncoderOptions options;
    if (keys.list.empty())
        return options;
    auto const add = [&](std::string_view key, std::string const& value) {
        options.emplace_back(keys.list, fmt::format("{}={}", key, value));
    };
    auto const* const display =
        Find<AVMasteringDisplayMetadata>(frame, AV_FRAME_DATA_MASTERING_DISPLAY_METADATA);
    // The encoders want both or nothing.
    if (display != nullptr && display->has_primaries != 0 && display->has_luminance != 0)
        add(keys.display, DescribeDisplay(*display));
    if (auto const* const light = Find<AVContentLightMetadata>(frame, AV_FRAME_DATA_CONTENT_LIGHT_LEVEL))
        add(keys.content, fmt::format("{},{}", light->MaxCLL, light->MaxFALL));
    return options;
}

int ChooseCodecThreads() noexcept {
    int const budget = Core::ThreadBudget::Get();
    int const processors = static_cast<int>(std::thread::hardware_concurrency());
    return budget == 1 || budget < processors ? budget : 0;
}

} // namespace Tarsel::Media
