#include "Proc/Effects/Lumenta/Pixels/ColorQuant.h"
#include "Conf/FrameInfo.h"
#include "Pixels/Pictures.h"
#include "Pixels/PlainColorQuant.h"
#include "Proc/Wrappers/SafeFrame.h"
#include "Support/Failure.h"

#include <gtest/gtest.h>
#include <hwy/targets.h>

#include <algorithm>
#include <array>
#include <climits>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

extern "C" {
#include <libavutil/frame.h>
}

namespace Tarsel::Proc {
namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr Conf::PixColor s_background{10, 90, 200, 255};
constexpr std::uint8_t s_untouched = 0xA5;

/// A picture and what it is reduced to, with bytes between the rows and around them, and perhaps the last row
/// first. Two of the same shape compare all of their memory.
class Pictures {
public:
    Pictures(Bytes const& picture, std::size_t width, std::size_t height, bool isUpsideDown = false)
        : m_width(width), m_height(height), m_stride(static_cast<std::ptrdiff_t>(4 * width + s_padding)),
          m_pixels(Size(m_stride), s_untouched),
          m_indexStride(static_cast<std::ptrdiff_t>(width + s_padding)),
          m_indices(Size(m_indexStride), s_untouched), m_palette(4 * 256 + s_padding, s_untouched),
          m_first(s_padding), m_firstIndex(s_padding) {
        if (isUpsideDown && height != 0) {
            m_first += static_cast<std::ptrdiff_t>(height - 1) * m_stride;
            m_firstIndex += static_cast<std::ptrdiff_t>(height - 1) * m_indexStride;
            m_stride = -m_stride;
            m_indexStride = -m_indexStride;
        }
        WritePixels(picture);
    }

    bool Process(int colors, int dither) {
        SafeFrame in;
        SafeFrame out;
        in->data[0] = m_pixels.data() + m_first;
        in->linesize[0] = static_cast<int>(m_stride);
        out->data[0] = m_indices.data() + m_firstIndex;
        out->linesize[0] = static_cast<int>(m_indexStride);
        out->data[1] = m_palette.data();
        Conf::FrameInfo const size{static_cast<std::uint32_t>(m_width), static_cast<std::uint32_t>(m_height),
                                   1, 1};
        return ColorQuant::Process(*in, *out, size, colors, dither, s_background);
    }

    /// Becomes what the plain one makes of the picture.
    void ProcessPlainly(Bytes const& picture, unsigned colors, bool dither) {
        Plain::Quantized const made = Plain::Quantize(picture, m_width, colors, dither, s_background);
        WritePixels(made.pixels);
        WriteRows(made.indices, m_width, m_indices.data() + m_firstIndex, m_indexStride);
        std::ranges::copy(made.palette, m_palette.begin());
    }

    friend bool operator==(Pictures const&, Pictures const&) = default;

private:
    static constexpr std::size_t s_padding = 21;

    void WritePixels(Bytes const& picture) {
        WriteRows(picture, 4 * m_width, m_pixels.data() + m_first, m_stride);
    }
    void WriteRows(Bytes const& bytes, std::size_t row, std::uint8_t* to, std::ptrdiff_t stride) const {
        for (std::size_t y = 0; y < m_height; ++y)
            std::copy_n(bytes.data() + row * y, row, to + static_cast<std::ptrdiff_t>(y) * stride);
    }

    std::size_t Size(std::ptrdiff_t stride) const {
        return static_cast<std::size_t>(stride) * m_height + 2 * s_padding;
    }

    std::size_t m_width;
    std::size_t m_height;
    std::ptrdiff_t m_stride;
    Bytes m_pixels;
    std::ptrdiff_t m_indexStride;
    Bytes m_indices;
    Bytes m_palette;
    std::ptrdiff_t m_first;
    std::ptrdiff_t m_firstIndex;
};

struct PictureCase {
    PictureKind kind;
    PictureAlpha alpha;
};

class ColorQuantAsPlain : public testing::TestWithParam<PictureCase> {
protected:
    static void Expect(std::size_t width, std::size_t height, int colors, int dither,
                       bool isUpsideDown = false) {
        SCOPED_TRACE(testing::Message() << width << "x" << height << ", " << colors << " colors, dither "
                                        << dither << (isUpsideDown ? ", upside down" : ""));
        Bytes const picture = MakePicture(GetParam().kind, GetParam().alpha, width, height);
        Pictures const before(picture, width, height, isUpsideDown);
        Pictures plain = before;
        plain.ProcessPlainly(picture, static_cast<unsigned>(colors), dither != 0);
        for (std::int64_t const target : hwy::SupportedAndGeneratedTargets()) {
            hwy::SetSupportedTargetsForTest(target);
            Pictures fast = before;
            EXPECT_TRUE(fast.Process(colors, dither));
            EXPECT_TRUE(fast == plain) << hwy::TargetName(target); // EXPECT_EQ would print a picture
        }
        hwy::SetSupportedTargetsForTest(0);
    }
};

TEST_P(ColorQuantAsPlain, AnyNumberOfColors) {
    for (int const colors : {1, 2, 3, 7, 16, 100, 254, 255})
        for (int const dither : {0, 1})
            Expect(48, 31, colors, dither);
}

// Errors go to the right and down, where there may be nothing.
TEST_P(ColorQuantAsPlain, AnyShape) {
    constexpr std::array<std::size_t, 2> sizes[] = {{1, 1}, {1, 9}, {9, 1}, {2, 6},   {3, 4},
                                                    {5, 7}, {8, 8}, {6, 3}, {257, 2}, {31, 66}};
    for (auto const [width, height] : sizes)
        for (int const dither : {0, -1})
            for (bool const isUpsideDown : {false, true})
                Expect(width, height, 20, dither, isUpsideDown);
}

TEST_P(ColorQuantAsPlain, Large) {
#ifdef NDEBUG
    for (int const dither : {0, 1})
        Expect(500, 400, 255, dither);
#else
    Expect(160, 120, 255, 1);
#endif
}

PictureCase const s_pictureCases[] = {
    {PictureKind::Noise, PictureAlpha::Opaque},   {PictureKind::Noise, PictureAlpha::Noise},
    {PictureKind::Ramp, PictureAlpha::Opaque},    {PictureKind::Ramp, PictureAlpha::Noise},
    {PictureKind::Photo, PictureAlpha::Opaque},   {PictureKind::Photo, PictureAlpha::Disc},
    {PictureKind::Drawing, PictureAlpha::Disc},   {PictureKind::OneColor, PictureAlpha::Disc},
    {PictureKind::OneColor, PictureAlpha::Opaque}};

std::string NameOf(testing::TestParamInfo<PictureCase> const& info) {
    constexpr char const* kinds[] = {"Noise", "Ramp", "Photo", "Drawing", "OneColor"};
    constexpr char const* alphas[] = {"Opaque", "NoiseAlpha", "DiscAlpha"};
    return std::string(kinds[static_cast<int>(info.param.kind)]) + alphas[static_cast<int>(info.param.alpha)];
}

INSTANTIATE_TEST_SUITE_P(Pictures, ColorQuantAsPlain, testing::ValuesIn(s_pictureCases), NameOf);

TEST(ColorQuant, NoPixels) {
    for (auto const [width, height] : {std::array<std::size_t, 2>{0, 5}, {5, 0}, {0, 0}}) {
        Pictures pictures({}, width, height);
        Pictures plain = pictures;
        EXPECT_TRUE(pictures.Process(255, 1));
        plain.ProcessPlainly({}, 255, true); // the first color alone
        EXPECT_TRUE(pictures == plain);
    }
}

TEST(ColorQuant, Refusals) {
    Bytes const before(1024, s_untouched);
    Bytes pixels = before;
    Bytes indices = before;
    Bytes palette = before;
    std::string const cannot = "Cannot quantize";
    struct {
        int colors;
        void (*spoil)(AVFrame& in, AVFrame& out);
        std::string text;
    } const rows[] = {
        {0, [](auto&, auto&) {}, cannot + " to 0 colors: the range is 1 to 255"},
        {256, [](auto&, auto&) {}, cannot + " to 256 colors: the range is 1 to 255"},
        {INT_MIN, [](auto&, auto&) {}, cannot + " to -2147483648 colors: the range is 1 to 255"},
        {255, [](auto& in, auto&) { in.height = 2; }, cannot + " 4x3 pixels: the input frame has 4x2"},
        {255, [](auto&, auto& out) { out.width = 3; }, cannot + " 4x3 pixels: the output frame has 3x3"},
        {255, [](auto&, auto& out) { out.data[1] = nullptr; }, cannot + ": the output frame has no plane 1"},
        {255, [](auto& in, auto&) { in.data[0] = nullptr; }, cannot + ": the input frame has no plane 0"},
    };
    for (auto const& [colors, spoil, text] : rows) {
        SafeFrame in;
        SafeFrame out;
        in->width = out->width = 4;
        in->height = out->height = 3;
        in->data[0] = pixels.data();
        in->linesize[0] = 16;
        out->data[0] = indices.data();
        out->linesize[0] = 4;
        out->data[1] = palette.data();
        spoil(*in, *out);
        EXPECT_EQ(Tarsel::Test::TextOf<FilterException>([&, count = colors] {
                      ColorQuant::Process(*in, *out, {4, 3, 1, 1}, count, 0, s_background);
                  }),
                  text);
    }
    EXPECT_EQ(std::tie(pixels, indices, palette), std::tie(before, before, before));
}

} // namespace
} // namespace Tarsel::Proc
