#include "Proc/Settings/Orientation.h"
#include "Proc/Settings/SettingsProperty.h"
#include "Support/Failure.h"
#include "Support/LibraryEffects.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <limits>

/// What single classes have beside their tables.
namespace Tarsel::Proc {

namespace {

TEST(Conflicts, OfSeveralFieldsAreRefusedByNameHoweverTheyAreRead) {
    // The first settings are legal, and the second contradict themselves.
    for (auto const& [classId, legal, illegal, reason] : {
             std::tuple{"rotate", "mode=given:width=8:height=1", "mode=given:angle=30",
                        "give width and height, 1 to 16384 pixels: mode=given needs a size"},
             {"rotate", "mode=pad:width=0", "mode=given:angle=1:width=8",
              "give height, 1 to 16384 pixels: mode=given needs a size"},
             {"rotate", "width=8:angle=90:mode=given", "mode=given:angle=90.5:height=8",
              "give width, 1 to 16384 pixels: mode=given needs a size"},
             {"edge-detect", "low=0.5:high=0.5", "low=0.5:high=0.4",
              "give low 0 to 0.4, the value of high: low=0.5 is above high=0.4"},
             {"stabilizer", "shakiness=8:accuracy=8", "shakiness=8:accuracy=7",
              "give accuracy 8 to 15, shakiness or more: accuracy=7 is below shakiness=8"},
             {"smart-blur", "luma-strength=50:luma-strength-offset=-50",
              "luma-strength=51:luma-strength-offset=-50",
              "give luma-strength minus luma-strength-offset -100 to 100: 51 minus -50 is 101"},
             {"smart-blur", "chroma-strength=-50:chroma-strength-offset=50",
              "chroma-strength=-50:chroma-strength-offset=51",
              "give chroma-strength minus chroma-strength-offset -100 to 100: -50 minus 51 is -101"},
             {"posterize", "colors=256:palette=1", "colors=257:palette=1",
              "give colors 1 to 256, or palette=0: a palette cannot hold colors=257"},
             {"denoise-dct", "overlap=7:block-size=8x8", "overlap=8",
              "give overlap -1 to 7 with blocks of 8x8: overlap=8 is as large as the block"},
             {"denoise-dct", "overlap=15:block-size=16x16", "overlap=8:block-size=8x8",
              "give overlap -1 to 7 with blocks of 8x8: overlap=8 is as large as the block"},
         }) {
        std::string const refusal = std::string(classId) + ": " + reason;
        std::unique_ptr<Settings> const settings = Tarsel::Test::FindSettingsClass(classId).Create();
        EXPECT_NO_THROW(settings->Deserialize(legal)) << classId;
        EXPECT_NO_THROW(WriteFieldsFromProperty(*settings, Settings2Property(*settings)));

        std::unique_ptr<Settings> const before = Tarsel::Test::FindSettingsClass(classId).Create();
        std::unique_ptr<Settings> const after = before->Clone();
        EXPECT_EQ(Tarsel::Test::TextOf<SettingsException>([&, &text = illegal] { after->Deserialize(text); }),
                  refusal);
        EXPECT_TRUE(after->IsEqualTo(*before)) << refusal;

        Core::Property property;
        for (std::string_view rest = illegal; !rest.empty();) {
            std::string_view const item = rest.substr(0, rest.find(':'));
            rest.remove_prefix(std::min(item.size() + 1, rest.size()));
            std::size_t const equals = item.find('=');
            property.SetChildT(std::string(item.substr(0, equals)), std::string(item.substr(equals + 1)));
        }
        EXPECT_EQ(Tarsel::Test::TextOf<SettingsException>([&] { WriteFieldsFromProperty(*after, property); }),
                  refusal);
    }
}

TEST(Transform, IsComparedAsItsConcreteClass) {
    SettingsEffectFlip flip(true, false);
    SettingsEffectFlip animated(true, false);
    animated.transform = [](double, Core::Matrix3x3&, double&) {};
    SettingsEffectTransform const& base = flip;
    EXPECT_TRUE(base == static_cast<SettingsEffectTransform const&>(animated));
    EXPECT_FALSE(base == static_cast<SettingsEffectTransform const&>(SettingsEffectFlip(true, true)));
    EXPECT_FALSE(base == static_cast<SettingsEffectTransform const&>(SettingsEffectTranspose(0)));

    SettingsEffectFlip const copy = animated;
    EXPECT_TRUE(copy.transform);
    flip.transform = animated.transform;
    flip.Deserialize("vertical=1");
    EXPECT_TRUE(flip.transform) << "reading settings must not drop the host's animation";
}

TEST(Transpose, TurnsWithinAFullCircle) {
    using Limits = std::numeric_limits<std::int32_t>;
    SettingsEffectTranspose transpose;
    for (auto const& [from, added, subtracted] : {std::array{0, 1, 3},
                                                  {1, 2, 0},
                                                  {3, 0, 2},
                                                  {-1, 0, 2},
                                                  {Limits::max(), 0, 2},
                                                  {Limits::min(), 1, 3}}) {
        transpose.step = from;
        transpose.AddAngle90();
        EXPECT_EQ(transpose.step, added);
        transpose.step = from;
        transpose.SubAngle90();
        EXPECT_EQ(transpose.step, subtracted);
    }
}

} // namespace

} // namespace Tarsel::Proc
