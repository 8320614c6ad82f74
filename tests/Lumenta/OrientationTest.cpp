#include "Proc/Settings/Orientation.h"
#include "EffectCases.h"
#include "Frames.h"
#include "Support/Watch.h"

#include <gtest/gtest.h>

namespace Tarsel::Test {
namespace {

using Conf::DisplayMatrix;
using Conf::FrameInfo;
using Conf::PixFmt;
using Proc::IDataVideo;

/// What a viewer sees of the pixels 1 2 3 over 4 5 6 who follows the orientation code (CIPA DC-008, tag 274).
constexpr char const* s_seen[]{"123456", "321654", "654321", "456123",
                               "142536", "415263", "635241", "362514"};

TEST(Orientation, MovesPixelsAsTheCodeSays) {
    for (auto const& [classId, options, orientation] : {std::tuple{"flip", "horizontal=1", 2},
                                                        {"flip", "vertical=1", 4},
                                                        {"flip", "horizontal=1:vertical=1", 3},
                                                        {"transpose", "step=1", 6},
                                                        {"transpose", "step=2", 3},
                                                        {"transpose", "step=3", 8},
                                                        {"display-matrix", "matrix=1", 1},
                                                        {"display-matrix", "matrix=2", 2},
                                                        {"display-matrix", "matrix=3", 3},
                                                        {"display-matrix", "matrix=4", 4},
                                                        {"display-matrix", "matrix=5", 5},
                                                        {"display-matrix", "matrix=6", 6},
                                                        {"display-matrix", "matrix=7", 7},
                                                        {"display-matrix", "matrix=8", 8}}) {
        SP<IDataVideo> const input = MakeFrame(PixFmt::GRAY8, {3, 2, 4, 3});
        Proc::WritablePlane const plane = input->GetWritablePlane(0);
        for (int i = 0; i < 6; ++i)
            plane.data[i / 3 * plane.lineSize + i % 3] = static_cast<std::uint8_t>('1' + i);
        SP<IDataVideo> const data = Apply(*MakeEffect(classId, options), input);
        EXPECT_EQ(GetRaw(*data), s_seen[orientation - 1]) << classId << ' ' << options;
        EXPECT_EQ(data->GetFrameInfo(), orientation < 5 ? (FrameInfo{3, 2, 4, 3}) : (FrameInfo{2, 3, 3, 4}));
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
