#include "Proc/Effects/Lumenta/Pixels/ColorQuant.h"
#include "Conf/FrameInfo.h"
#include "Pixels/Pictures.h"
#include "Pixels/PlainColorQuant.h"
#include "Proc/Wrappers/SafeFrame.h"
#include "Support/Failure.h"

#include <gtest/gtest.h>

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

    bool Process(int colors, int dither, Conf::PixColor background = s_background) {
        SafeFrame in;
        SafeFrame out;
        in->data[0] = m_pixels.data() + m_first;
        in->linesize[0] = static_cast<int>(m_stride);
        out->data[0] = m_indices.data() + m_firstIndex;
        out->linesize[0] = static_cast<int>(m_indexStride);
        out->data[1] = m_palette.data();
        return ColorQuant::Process(*in, *out, GetSize(), colors, dither, background);
    }

    /// Becomes what the plain one makes of the picture.
    void ProcessPlainly(Bytes const& picture, unsigned colors, bool dither) {
        Plain::Quantized const made = Plain::Quantize(picture, m_width, colors, dither, s_background);
        WritePixels(made.pixels);
        WriteRows(made.indices, m_width, m_indices.data() + m_firstIndex, m_indexStride);
        std::ranges::copy(made.palette, m_palette.begin());
    }

    Conf::FrameInfo GetSize() const {
        return {static_cast<std::uint32_t>(m_width), static_cast<std::uint32_t>(m_height), 1, 1};
    }
    std::array<std::uint8_t, 4> GetColor(std::size_t index) const {
        return {m_palette[4 * index], m_palette[4 * index + 1], m_palette[4 * index + 2],
                m_palette[4 * index + 3]};
    }
    std::uint8_t GetIndex(std::size_t x, std::size_t y) const {
        return m_indices[static_cast<std::size_t>(m_firstIndex +
                                                  static_cast<std::ptrdiff_t>(y) * m_indexStride) +
                         x];
    }
    Bytes const& GetPixels() const { return m_pixels; }
    Bytes const& GetIndices() const { return m_indices; }
    Bytes const& GetPalette() const { return m_palette; }

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
        Pictures fast(picture, width, height, isUpsideDown);
        Pictures plain = fast;
        EXPECT_TRUE(fast.Process(colors, dither));
        plain.ProcessPlainly(picture, static_cast<unsigned>(colors), dither != 0);
        // Not EXPECT_EQ: it would print a picture.
        EXPECT_TRUE(fast.GetPixels() == plain.GetPixels());
        EXPECT_TRUE(fast.GetPalette() == plain.GetPalette());
        EXPECT_TRUE(fast.GetIndices() == plain.GetIndices());
    }
};

TEST_P(ColorQuantAsPlain, AnyNumberOfColors) {
    for (int const colors : {1, 2, 3, 7, 16, 100, 254, 255})
        for (int const dither : {0, 1})
            Expect(96, 61, colors, dither);
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

// Cells of the tree are two values wide, so (8, 9, 8) and (9, 8, 9) share one: no folding, and every cell
// keeps its own average. The transparent pixel counts with the background's color.
TEST(ColorQuant, FewColorsKeepTheirOwn) {
    Bytes const picture{8, 9, 8, 255, 255, 0, 0, 255, 9, 8, 9, 255, 50, 60, 70, 0};
    for (int const dither : {0, 1}) {
        Pictures pictures(picture, 2, 2);
        pictures.Process(3, dither, {7, 7, 251, 0});
        using Color = std::array<std::uint8_t, 4>;
        EXPECT_EQ(pictures.GetColor(0), (Color{0, 0, 0, 255}));
        EXPECT_EQ(pictures.GetColor(1), (Color{9, 9, 9, 255}));
        EXPECT_EQ(pictures.GetColor(2), (Color{255, 0, 0, 255}));
        EXPECT_EQ(pictures.GetColor(3), (Color{7, 7, 251, 255}));
        EXPECT_EQ(pictures.GetColor(4), (Color{s_untouched, s_untouched, s_untouched, s_untouched}));
        EXPECT_EQ(pictures.GetIndex(0, 0), 1);
        EXPECT_EQ(pictures.GetIndex(1, 0), 2);
        EXPECT_EQ(pictures.GetIndex(0, 1), 1);
        EXPECT_EQ(pictures.GetIndex(1, 1), 3);
    }
}

TEST(ColorQuant, NoPixels) {
    for (auto const [width, height] : {std::array<std::size_t, 2>{0, 5}, {5, 0}, {0, 0}}) {
        Pictures pictures(Bytes(4 * width * height), width, height);
        Pictures const before = pictures;
        EXPECT_TRUE(pictures.Process(255, 1));
        EXPECT_EQ(pictures.GetColor(0), (std::array<std::uint8_t, 4>{0, 0, 0, 255}));
        EXPECT_TRUE(std::equal(pictures.GetPalette().begin() + 4, pictures.GetPalette().end(),
                               before.GetPalette().begin() + 4));
        EXPECT_EQ(pictures.GetPixels(), before.GetPixels());
        EXPECT_EQ(pictures.GetIndices(), before.GetIndices());
    }
}

TEST(ColorQuant, Refusals) {
    auto const refusalOf = [](AVFrame& in, AVFrame& out, int colors) {
        return Tarsel::Test::TextOf<FilterException>([&] {
            ColorQuant::Process(in, out, {4, 3, 1, 1}, colors, 0, s_background);
        });
    };
    Bytes const pixelsBefore(4 * 4 * 3, s_untouched);
    Bytes pixels = pixelsBefore;
    Bytes indices(4 * 3, s_untouched);
    Bytes palette(1024, s_untouched);
    SafeFrame in;
    SafeFrame out;
    in->data[0] = pixels.data();
    in->linesize[0] = 16;
    out->data[0] = indices.data();
    out->linesize[0] = 4;
    out->data[1] = palette.data();

    for (int const colors : {0, -1, 256, INT_MIN, INT_MAX})
        EXPECT_EQ(refusalOf(*in, *out, colors),
                  "Cannot quantize to " + std::to_string(colors) + " colors: the range is 1 to 255");
    in->width = 4;
    in->height = 2;
    EXPECT_EQ(refusalOf(*in, *out, 255), "Cannot quantize 4x3 pixels: the input frame has 4x2");
    in->height = 3;
    out->width = 3;
    out->height = 3;
    EXPECT_EQ(refusalOf(*in, *out, 255), "Cannot quantize 4x3 pixels: the output frame has 3x3");
    out->width = 4;
    out->data[1] = nullptr;
    EXPECT_EQ(refusalOf(*in, *out, 255), "Cannot quantize: the output frame has no plane 1");
    out->data[1] = palette.data();
    in->data[0] = nullptr;
    EXPECT_EQ(refusalOf(*in, *out, 255), "Cannot quantize: the input frame has no plane 0");
    in->data[0] = pixels.data();
    EXPECT_EQ(pixels, pixelsBefore);
    EXPECT_EQ(palette, Bytes(1024, s_untouched));
    EXPECT_TRUE(ColorQuant::Process(*in, *out, {4, 3, 1, 1}, 255, 0, s_background));
}

} // namespace
} // namespace Tarsel::Proc
