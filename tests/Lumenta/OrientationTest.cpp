#include "Proc/Settings/Orientation.h"
#include "Conf/PixFmtDescription.h"
#include "EffectCases.h"
#include "Frames.h"
#include "Support/Watch.h"

#include <gtest/gtest.h>

#include <cstring>

namespace Tarsel::Test {
namespace {

using Conf::DisplayMatrix;
using Conf::FrameInfo;
using Conf::PixFmt;
using Proc::IDataVideo;

/// A plane as a viewer sees it who follows the orientation code (CIPA DC-008, tag 274), pixel by pixel.
std::vector<std::uint8_t> Turn(std::vector<std::uint8_t> const& plane, std::size_t width, std::size_t height,
                               int orientation) {
    std::size_t const step = plane.size() / (width * height);
    bool const exchanged = orientation >= 5;
    std::size_t const outWidth = exchanged ? height : width;
    std::size_t const outHeight = exchanged ? width : height;
    std::vector<std::uint8_t> out;
    for (std::size_t y = 0; y < outHeight; ++y)
        for (std::size_t x = 0; x < outWidth; ++x) {
            std::size_t const right = width - 1;
            std::size_t const bottom = height - 1;
            std::size_t fromX = exchanged ? y : x;
            std::size_t fromY = exchanged ? x : y;
            // Where row 0 and column 0 of the stored picture are seen.
            if (orientation == 2 || orientation == 3 || orientation == 7 || orientation == 8)
                fromX = right - fromX;
            if (orientation == 3 || orientation == 4 || orientation == 6 || orientation == 7)
                fromY = bottom - fromY;
            auto const pixel = plane.begin() + static_cast<std::ptrdiff_t>((fromY * width + fromX) * step);
            out.insert(out.end(), pixel, pixel + static_cast<std::ptrdiff_t>(step));
        }
    return out;
}

SP<Proc::IOneInputEffectVideo> MakeDisplayMatrix(int orientation) {
    return MakeEffect("display-matrix", "matrix=" + std::to_string(orientation));
}

TEST(Orientation, MovesPixelsAsTheCodeSays) {
    std::vector<std::pair<SP<Proc::IOneInputEffectVideo>, int>> effects{
        {MakeEffect("flip", "horizontal=1"), 2},
        {MakeEffect("flip", "vertical=1"), 4},
        {MakeEffect("flip", "horizontal=1:vertical=1"), 3},
        {MakeEffect("transpose", "step=1"), 6},
        {MakeEffect("transpose", "step=2"), 3},
        {MakeEffect("transpose", "step=3"), 8}};
    for (int orientation = 1; orientation <= 8; ++orientation)
        effects.emplace_back(MakeDisplayMatrix(orientation), orientation);
    for (PixFmt const format : {PixFmt::YUV420P, PixFmt::YUVA444P, PixFmt::RGB24, PixFmt::GRAY8})
        for (FrameInfo const& info : {FrameInfo{34, 22, 4, 3}, {7, 5, 1, 1}}) {
            auto const& description = Conf::PixFmtDescription::Find(format);
            SP<IDataVideo> const input = MakeFrame(format, info);
            Pixels const before = GetPixels(*input);
            for (auto const& [effect, orientation] : effects) {
                Pixels expected;
                for (std::size_t i = 0; i < before.size(); ++i)
                    expected.push_back(Turn(before[i], description.GetPlanWidth(int(i), info.width),
                                            description.GetPlanHeight(int(i), info.height), orientation));
                SP<IDataVideo> const data = Apply(*effect, input);
                EXPECT_EQ(GetPixels(*data), expected) << description.GetName() << ' ' << orientation;
                FrameInfo const turned{info.height, info.width, info.aspectDen, info.aspectNum};
                EXPECT_EQ(data->GetFrameInfo(), orientation < 5 ? info : turned);
            }
            EXPECT_EQ(GetPixels(*input), before);
        }
}

/// What an effect answers from the cache: the graph has been asked before.
void AskTheCache(Proc::Settings const& settings, SP<Conf::IFormatCodecVideo> codec) {
    auto const effect = MakeEffect(settings);
    SP<Conf::IFormatCodecVideo> first = MakeCodec(codec->GetPixelFormat(), codec->GetFrameInfo());
    if (auto const* const oriented = dynamic_cast<Proc::SettingsEffectDisplayMatrix const*>(&settings))
        first->SetDisplayMatrix(oriented->matrix);
    effect->UpdateFormatCodec(first);
    effect->UpdateFormatCodec(codec);
}

TEST(Orientation, TransposePutsFormatsRight) {
    struct Case {
        int step;
        std::optional<double> rotation;
        std::optional<double> rotationAfter;
    };
    for (Case const& row : {Case{1, 90.0, 0.0}, Case{1, 0.0, -90.0}, Case{3, 180.0, -90.0},
                            Case{2, -90.0, 90.0}, Case{2, {}, {}}, Case{0, 90.0, 90.0}}) {
        SP<Conf::IFormatCodecVideo> const codec = MakeCodec(PixFmt::YUV420P, {1920, 1080, 4, 3});
        if (row.rotation)
            codec->SetDisplayMatrix(DisplayMatrix::FromRotation(*row.rotation));
        AskTheCache(Proc::SettingsEffectTranspose(row.step), codec);
        EXPECT_EQ(codec->GetFrameInfo(),
                  row.step % 2 ? (FrameInfo{1080, 1920, 3, 4}) : (FrameInfo{1920, 1080, 4, 3}));
        ASSERT_EQ(codec->ExistsDisplayMatrix(), row.rotationAfter.has_value());
        if (row.rotationAfter) {
            EXPECT_NEAR(codec->GetDisplayMatrix().GetRotation(), *row.rotationAfter, 1e-3);
        }
    }
}

TEST(Orientation, DisplayMatrixFailures) {
    auto const effect = MakeEffect(Proc::SettingsEffectDisplayMatrix(DisplayMatrix::FromRotation(30)));
    SP<IDataVideo> data = MakeFrame();
    Failure const unknown = Catch<std::logic_error>([&] { effect->Process(data); });
    EXPECT_EQ(unknown.text, "Unsupported image rotation");
    EXPECT_EQ(unknown.function,
              "static std::string EffectActions<Tarsel::Proc::SettingsEffectDisplayMatrix>::"
              "GetFFString(const SettingsType &, const FrameInfo &)");

    Proc::SettingsEffectDisplayMatrix const settings(*DisplayMatrix::FromOrientation(6));
    SP<Conf::IFormatCodecVideo> const codec = MakeCodec();
    Failure const other = Catch<std::logic_error>([&] { AskTheCache(settings, codec); });
    EXPECT_EQ(other.text, "Display matrix does not match the settings");
    EXPECT_EQ(other.file, "Proc/Effects/Lumenta/EffectFafloplalVideo");
    EXPECT_EQ(codec->GetFrameInfo(), s_small);

    codec->SetDisplayMatrix(settings.matrix);
    AskTheCache(settings, codec);
    EXPECT_EQ(codec->GetDisplayMatrix(), DisplayMatrix::s_default);

    effect->SetSettings(Core::Property("any"));
    effect->Process(data);
    EXPECT_TRUE(effect->GetSettingsBase().IsEqualTo(Proc::SettingsEffectDisplayMatrix()));
}

TEST(Orientation, ScaledMatricesTurnAsWell) {
    DisplayMatrix scaled = *DisplayMatrix::FromOrientation(6);
    for (std::int32_t& word : scaled.words)
        word /= 2;
    Proc::SettingsEffectDisplayMatrix const settings(scaled);
    EXPECT_EQ(Describe(*MakeEffect(settings)), "transpose=clock");
    scaled.words[1] = scaled.words[3] = 0;
    scaled.words[0] = scaled.words[4] = 0x8000;
    EXPECT_EQ(Describe(*MakeEffect(Proc::SettingsEffectDisplayMatrix(scaled))), "");
}

} // namespace
} // namespace Tarsel::Test
