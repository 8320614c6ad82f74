#include "Check/Data.h"

#include "Conf/AVFormats.h"
#include "Conf/FormatCodecVideo.h"
#include "Conf/PixFmtDescription.h"
#include "Proc/Data/DataVideoFF.h"

#include <fmt/format.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <iterator>

extern "C" {
#include <libavutil/frame.h>
#include <libavutil/pixdesc.h>
}

namespace Tarsel::Check {
namespace {

using Conf::PixFmt;

/// A number that looks random for each place, and is the same for the same one.
constexpr std::uint32_t Scatter(std::uint32_t x, std::uint32_t y, std::uint32_t c, std::uint32_t t) noexcept {
    std::uint32_t hash = x * 0x9E3779B1U ^ y * 0x85EBCA77U ^ c * 0xC2B2AE3DU ^ t * 0x27D4EB2FU;
    hash = (hash ^ (hash >> 15)) * 0x2C1B3C6DU;
    hash = (hash ^ (hash >> 12)) * 0x297A2D39U;
    return hash ^ (hash >> 15);
}

/// 0 to 1: a slope, a bright square that moves, and noise on both.
double GetShare(std::uint32_t x, std::uint32_t y, std::uint32_t c, int index, double slope) noexcept {
    auto const time = static_cast<std::uint32_t>(index);
    double const noise = Scatter(x, y, c, time) / 4294967296.0;
    bool const inSquare = (x + 64 - time % 64) % 32 < 12 && y % 24 < 12;
    return 0.7 * (inSquare ? 1 - slope : slope) + 0.3 * noise;
}

/// The number that stands for that share in a component.
std::uint32_t GetSample(AVPixFmtDescriptor const& format, int depth, double share) noexcept {
    if ((format.flags & AV_PIX_FMT_FLAG_FLOAT) == 0)
        return static_cast<std::uint32_t>(std::floor(share * (std::exp2(depth) - 1) + 0.5));
    constexpr double halfOne = 0x3C00; // bits of 1.0 in half precision: those of lesser numbers are below
    return depth == 32 ? std::bit_cast<std::uint32_t>(static_cast<float>(share))
                       : static_cast<std::uint32_t>(share * halfOne);
}

void Fill(AVFrame& frame, AVPixFmtDescriptor const& format, int index) {
    for (std::size_t i = 0; i < std::size(frame.buf) && frame.buf[i] != nullptr; ++i)
        std::memset(frame.buf[i]->data, 0, frame.buf[i]->size); // lines are added by "or"
    std::vector<std::uint32_t> line;
    for (int c = 0; c < format.nb_components; ++c) {
        bool const isChroma = (c == 1 || c == 2) && (format.flags & AV_PIX_FMT_FLAG_RGB) == 0;
        int const width = isChroma ? AV_CEIL_RSHIFT(frame.width, format.log2_chroma_w) : frame.width;
        int const height = isChroma ? AV_CEIL_RSHIFT(frame.height, format.log2_chroma_h) : frame.height;
        line.resize(static_cast<std::size_t>(width));
        for (int y = 0; y < height; ++y) {
            for (int x = 0; x < width; ++x)
                line[static_cast<std::size_t>(x)] = GetSample(
                    format, format.comp[c].depth,
                    GetShare(static_cast<std::uint32_t>(x), static_cast<std::uint32_t>(y),
                             static_cast<std::uint32_t>(c), index, (x + y) * 1.0 / (width + height)));
            av_write_image_line2(line.data(), frame.data, frame.linesize, &format, 0, y, c, width,
                                 sizeof line[0]);
        }
    }
    if ((format.flags & AV_PIX_FMT_FLAG_PAL) != 0)
        for (std::uint32_t i = 0; i < s_paletteBytes; ++i)
            frame.data[1][i] = static_cast<std::uint8_t>(Scatter(i, 0, 9, 0));
}

/// Each plane, and a palette.
template <class Visit>
void ForEachRow(Proc::IDataVideo const& data, Visit const& visit) {
    int const planes = Conf::PixFmtDescription::Find(data.GetPixelFormat()).GetPlaneCount();
    for (int i = 0; i < planes; ++i) {
        Proc::ReadOnlyPlane const plane = data.GetReadOnlyPlane(i);
        for (std::uint32_t row = 0; row < plane.rows; ++row)
            visit(plane.data + static_cast<std::ptrdiff_t>(row) * plane.lineSize, plane.rowBytes);
    }
    if (data.GetPixelFormat() == PixFmt::PAL8)
        visit(data.GetAVFrame()->data[1], s_paletteBytes);
}

} // namespace

std::string GetText(Video::Form const& form) {
    return fmt::format("{} {}x{}", Conf::PixFmtDescription::Find(form.format).GetName(), form.width,
                       form.height);
}

std::vector<Video::Form> GetUsualForms(Video) {
    return {{},
            {PixFmt::RGB24, 64, 48},
            {PixFmt::RGBA, 64, 48},
            {PixFmt::YUV444P, 128, 96},
            {PixFmt::GRAY8, 64, 48},
            {PixFmt::YUV420P, 320, 240}};
}

std::vector<Video::Form> GetForms(Video, int level) {
    std::vector<Video::Form> forms = GetUsualForms(Video());
    for (auto const& [width, height] : {std::pair{65U, 48U}, {64U, 49U}, {33U, 17U}})
        forms.push_back({PixFmt::YUV420P, width, height});
    auto const& all = Conf::PixFmtDescription::s_supportedFormats;
    std::size_t const stride = level >= 8 ? 1 : level >= 5 ? 4 : 16;
    for (std::size_t i = 0; i < all.size(); i += stride)
        forms.push_back({all[i], 64, 48});
    if (level >= 5)
        for (auto const& [width, height] :
             {std::pair{1U, 1U}, {2U, 2U}, {1U, 48U}, {64U, 1U}, {3U, 5U}, {127U, 2U}})
            for (PixFmt const format : {PixFmt::YUV420P, PixFmt::RGBA})
                forms.push_back({format, width, height});
    return forms;
}

SP<Proc::IDataVideo> MakeDatum(Video::Form const& form, int index) {
    auto data = MakeSP<Proc::DataVideoFF>(Conf::ColorSpace{}, form.format,
                                          Conf::FrameInfo{form.width, form.height, 1, 1});
    Fill(*data->GetAVFrame(), *av_pix_fmt_desc_get(Conf::ToAVPixelFormat(form.format)), index);
    data->SetTime(index * Video::step);
    data->SetDuration(Video::step);
    return data;
}

SP<Conf::IFormatCodecVideo> MakeFormat(Video::Form const& form) {
    return MakeSP<Conf::FormatCodecVideo>(form.format, Conf::FrameInfo{form.width, form.height, 1, 1},
                                          Ratio{25, 1});
}

Video::Form GetForm(Proc::IDataVideo const& data) {
    return {data.GetPixelFormat(), data.GetFrameInfo().width, data.GetFrameInfo().height};
}

Video::Form GetForm(Conf::IFormatCodecVideo const& format) {
    return {format.GetPixelFormat(), format.GetFrameInfo().width, format.GetFrameInfo().height};
}

std::string GetContent(Proc::IDataVideo const& data) {
    std::string content;
    ForEachRow(data, [&](std::uint8_t const* row, std::size_t bytes) {
        content.append(reinterpret_cast<char const*>(row), bytes);
    });
    return content;
}

void Invert(Proc::IDataVideo& data) {
    int const planes = Conf::PixFmtDescription::Find(data.GetPixelFormat()).GetPlaneCount();
    for (int i = 0; i < planes; ++i) {
        Proc::WritablePlane const plane = data.GetWritablePlane(i);
        for (std::uint32_t row = 0; row < plane.rows; ++row)
            std::transform(plane.data + static_cast<std::ptrdiff_t>(row) * plane.lineSize,
                           plane.data + static_cast<std::ptrdiff_t>(row) * plane.lineSize +
                               static_cast<std::ptrdiff_t>(plane.rowBytes),
                           plane.data + static_cast<std::ptrdiff_t>(row) * plane.lineSize,
                           [](std::uint8_t byte) { return static_cast<std::uint8_t>(~byte); });
    }
}

} // namespace Tarsel::Check
