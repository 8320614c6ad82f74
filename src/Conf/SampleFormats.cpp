#include "Conf/SampleFormats.h"

#include "Conf/AVFormats.h"

#include <array>

extern "C" {
#include <libavutil/samplefmt.h>
}

namespace Tarsel::Conf {

namespace {

constexpr bool IsSame(SampleFormats format, AVSampleFormat number) {
    return static_cast<std::uint32_t>(format) == static_cast<std::uint32_t>(number);
}

static_assert(IsSame(SampleFormats::U8, AV_SAMPLE_FMT_U8));
static_assert(IsSame(SampleFormats::S16, AV_SAMPLE_FMT_S16));
static_assert(IsSame(SampleFormats::S32, AV_SAMPLE_FMT_S32));
static_assert(IsSame(SampleFormats::Float, AV_SAMPLE_FMT_FLT));
static_assert(IsSame(SampleFormats::Double, AV_SAMPLE_FMT_DBL));
static_assert(IsSame(SampleFormats::U8Planar, AV_SAMPLE_FMT_U8P));
static_assert(IsSame(SampleFormats::S16Planar, AV_SAMPLE_FMT_S16P));
static_assert(IsSame(SampleFormats::S32Planar, AV_SAMPLE_FMT_S32P));
static_assert(IsSame(SampleFormats::FloatPlanar, AV_SAMPLE_FMT_FLTP));
static_assert(IsSame(SampleFormats::DoublePlanar, AV_SAMPLE_FMT_DBLP));

constexpr std::size_t s_formatCount = static_cast<std::size_t>(SampleFormats::DoublePlanar) + 1;

/// The record of each format at the format's number, that of Unknown at the end. In a function, so that the
/// constructors of other static objects may use it.
std::array<SampleFmtRecord, s_formatCount + 1> const& Records() noexcept {
    static auto const s_records = [] {
        std::array<SampleFmtRecord, s_formatCount + 1> records;
        for (std::size_t i = 0; i < s_formatCount; ++i) {
            auto const format = ToAVSampleFormat(i);
            records[i] = {static_cast<SampleFormats>(i), av_get_sample_fmt_name(format),
                          av_sample_fmt_is_planar(format) != 0,
                          static_cast<SampleFormats>(av_get_planar_sample_fmt(format)),
                          static_cast<std::uint8_t>(av_get_bytes_per_sample(format))};
        }
        return records;
    }();
    return s_records;
}

} // namespace

SampleFmtRecord const& SampleFmtRecord::Find(SampleFormats format) noexcept {
    auto const& records = Records();
    auto const index = static_cast<std::size_t>(format);
    return records[index < s_formatCount ? index : s_formatCount];
}

std::optional<SampleFormats> SampleFmtRecord::FindByName(std::string_view name) noexcept {
    for (SampleFmtRecord const& record : Records())
        if (record.name == name && record.format != SampleFormats::Unknown)
            return record.format;
    return std::nullopt;
}

} // namespace Tarsel::Conf
