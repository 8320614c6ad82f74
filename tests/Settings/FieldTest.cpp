#include "Proc/Settings/FieldTable.h"
#include "Proc/Settings/Orientation.h"
#include "Proc/Settings/SettingsProperty.h"
#include "Proc/Settings/SettingsText.h"
#include "Support/Failure.h"
#include "Support/LibraryEffects.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <limits>

/// How fields are declared, read, written and refused, by examples.
namespace Tarsel::Proc {

namespace {

template <class Work>
std::string GetRefusal(Work const& work) {
    return Tarsel::Test::TextOf<SettingsException>(work);
}

std::unique_ptr<Settings> Create(std::string_view classId) {
    return Tarsel::Test::FindSettingsClass(classId).Create();
}

std::string Read(std::string_view classId, std::string const& text, std::string_view key) {
    std::unique_ptr<Settings> const settings = Create(classId);
    settings->Deserialize(text);
    return ReadFieldText(*settings, *FindField(settings->GetFields(), key));
}

/// Whether `F{}()` is a constant expression, that is, throws nothing.
template <class F, bool = (F{}(), true)>
constexpr bool IsConstant(F) {
    return true;
}
constexpr bool IsConstant(...) {
    return false;
}

constexpr Field s_number{
    .key = "n", .initial = 1, .minimum = 0, .maximum = 3, .help = "a number", .kind = FieldKind::Integer};

/// Whether a table of these rows compiles.
template <class Change>
constexpr bool Compiles(Change) {
    return IsConstant([] {
        std::array<Field, 2> rows{s_number, s_number};
        rows[1].key = "m";
        Change{}(rows[1]);
        Details::CheckTable({"table", rows});
    });
}

constexpr std::array s_twins{FieldWord("a", 1, ""), FieldWord("b", 1, "")};
constexpr std::array s_words{FieldWord("a", 1, ""), FieldWord("b", 2, "")};

static_assert(Compiles([](Field&) {}));
static_assert(!Compiles([](Field& row) { row.key = "n"; }));
static_assert(!Compiles([](Field& row) { row.key = "Upper"; }));
static_assert(!Compiles([](Field& row) { row.help = ""; }));
static_assert(!Compiles([](Field& row) { row.initial = 4; }));
static_assert(!Compiles([](Field& row) { row.initial = 0.5; }));
static_assert(!Compiles([](Field& row) { row.maximum = -1; }));
static_assert(!Compiles([](Field& row) { row.kind = FieldKind::Word; }));
static_assert(Compiles([](Field& row) { row.kind = FieldKind::Word, row.words = s_words; }));
static_assert(!Compiles([](Field& row) { row.kind = FieldKind::Word, row.words = s_twins; }));
static_assert(!Compiles([](Field& row) {
    row.kind = FieldKind::Word, row.words = s_words, row.initial = 3;
}));

TEST(FieldText, IsReadInEveryFormUsersWrite) {
    for (auto const& [classId, key, text, value] : {
             std::tuple{"flip", "horizontal", "true", "1"},
             {"flip", "horizontal", "Off", "0"},
             {"transpose", "step", "+3", "3"},
             {"blur", "sigma", "25e-1", "2.5"},
             {"flanger", "width", "0.30000000000000004", "0.3"},
             {"deinterlace", "mode", "1", "send_field"},
             {"denoise-dct", "block-size", "4", "16x16"},
             {"negate", "channels", "alpha+red", "red+alpha"},
             {"negate", "channels", "5", "red+blue"},
             {"rotate", "fill", "#0a0B0c80", "#0a0b0c80"},
             {"rotate", "fill", "SteelBlue", "#4682b4"},
             {"blur", "pixel-format", "none", "none"},
             {"pixel-format", "formats", "yuv420p|rgb24", "yuv420p|rgb24"},
             {"pixel-format", "formats", "", ""},
             {"resample", "layout", "FL+FR", "stereo"},
             {"resample", "layout", "none", "none"},
             {"resample", "format", "input", "input"},
             {"display-matrix", "matrix", "3", "-65536/0/0/0/-65536/0/0/0/1073741824"},
             {"display-matrix", "matrix", "1/2/3/4/5/6/7/8/-9", "1/2/3/4/5/6/7/8/-9"},
             {"stabilizer", "path", "C\\:\\\\clips\\a.trf", "C:\\clips\\a.trf"},
             {"stabilizer", "path", "a=b", "a=b"},
             {"stabilizer", "path", "a\\", "a\\"},
         }) {
        std::string const pair = std::string(key) + '=' + text;
        EXPECT_EQ(Read(classId, pair, key), value) << pair;
    }
}

TEST(FieldText, IsRefusedWithClassKeyValueAndLegalValues) {
    for (auto const& [classId, text, refusal] : {
             // The numbers next to a range, and beyond all.
             std::tuple{"transpose", "step=4", "transpose: step=4 is out of range: 0 to 3 (quarter turns)"},
             {"transpose", "step=-1", "transpose: step=-1 is out of range: 0 to 3 (quarter turns)"},
             {"blur", "sigma=1024.0000000000002",
              "blur: sigma=1024.0000000000002 is out of range: 0 to 1024"},
             {"blur", "sigma=-5e-324", "blur: sigma=-5e-324 is out of range: 0 to 1024"},
             {"blur", "sigma=inf", "blur: sigma=inf is out of range: 0 to 1024"},
             {"reverb", "amount=1.0000001", "reverb: amount=1.0000001 is out of range: 0 to 1"},
             {"echo", "echos=500/0.5|0/0.3",
              "echo: echos, entry 2: delay=0 is out of range: 1 to 90000 (ms)"},
             {"echo", "echos=90001/0.5",
              "echo: echos, entry 1: delay=90001 is out of range: 1 to 90000 (ms)"},
             {"transpose", "step=1.5", "transpose: step=1.5 is not an integer: 0 to 3 (quarter turns)"},
             {"transpose", "turn=1", "transpose: unknown key \"turn\"; the keys are step"},
             {"transpose", "step", "transpose: step needs a value: 0 to 3 (quarter turns)"},
             {"transpose", "step=1:", "transpose: unknown key \"\"; the keys are step"},
             {"transpose", "step=1:step=1", "transpose: step is given twice"},
             {"flip", "vertical=maybe", "flip: vertical=maybe is not a flag: 0 or 1"},
             {"blur", "sigma=nan", "blur: sigma=nan is out of range: 0 to 1024"},
             {"blur", "sigma=1,5", "blur: sigma=1,5 is not a number: 0 to 1024"},
             {"edge-detect", "mode=canny", "edge-detect: mode=canny is unknown: default, wires, colormix"},
             {"negate", "channels=red+gray",
              "negate: channels=red+gray is unknown: red, green, blue, alpha, with '+' between them, or "
              "0"},
             {"rotate", "fill=#12345",
              "rotate: fill=#12345 is not a color: #rrggbb, #rrggbbaa or the name of a color"},
             {"rotate", "fill=random",
              "rotate: fill=random is not a color: #rrggbb, #rrggbbaa or the name of a color"},
             {"blur", "pixel-format=vaapi",
              "blur: pixel-format=vaapi is not a pixel format: a pixel format such as yuv420p, or none"},
             {"pixel-format", "formats=rgb24|none",
              "pixel-format: formats, entry 2: format=none is not a pixel format: a pixel format such as "
              "yuv420p"},
             {"resample", "layout=quadro",
              "resample: layout=quadro is not a channel layout: a channel layout such as stereo, or none"},
             {"echo", "echos=500",
              "echo: echos=500 is not a list: delay/decay, with '|' between the entries"},
             {"echo", "echos=500/0.5|x/0.3",
              "echo: echos, entry 2: delay=x is not an integer: 1 to 90000 (ms)"},
             {"display-matrix", "matrix=9",
              "display-matrix: matrix=9 is not a display matrix: nine integers with '/' between them, or an "
              "orientation of 1 to 8"},
             {"display-matrix", "matrix=1/2/3/4/5/6/7/8/2147483648",
              "display-matrix: matrix=1/2/3/4/5/6/7/8/2147483648 is not a display matrix: nine integers "
              "with '/' between them, or an orientation of 1 to 8"},
         }) {
        EXPECT_EQ(GetRefusal([&, &id = classId, &read = text] { Create(id)->Deserialize(read); }), refusal);
    }
}

TEST(FieldValue, OfTheWrongKindIsRefused) {
    struct {
        char const* classId;
        char const* key;
        FieldValue value;
        char const* refusal;
    } const cases[] = {
        {"transpose", "step", 1.0, "step=a value of another kind is not an integer: 0 to 3 (quarter turns)"},
        {"blur", "pixel-format", std::int64_t{1} << 32,
         "pixel-format=4294967296 is not a pixel format: a pixel format such as yuv420p, or none"},
        {"echo", "echos", std::vector<double>{1, 1, 1},
         "echos=3 values is not a list: delay/decay, with '|' between the entries"},
        {"echo", "echos", std::vector<double>{1.5, 1},
         "echos, entry 1: delay=1.5 is not an integer: 1 to 90000 (ms)"},
    };
    for (auto const& row : cases) {
        std::unique_ptr<Settings> const settings = Create(row.classId);
        EXPECT_EQ(
            GetRefusal([&] { WriteField(*settings, *FindField(settings->GetFields(), row.key), row.value); }),
            std::string(row.classId) + ": " + row.refusal);
    }
}

/// Also from hosts that keep strings or numbers only.
TEST(FieldsProperty, IsReadOrRefusedLikeText) {
    auto const one = [](char const* key, auto value) {
        Core::Property property;
        property.SetChildT(key, value);
        return property;
    };
    Core::Property nested;
    nested.AddChild(Core::Property("step"));
    struct {
        char const* classId;
        Core::Property property;
        /// Settings as text, or the refusal.
        std::string result;
    } const cases[] = {
        {"denoise-chroma-luma", one("luma-spatial", std::int64_t{3}), "luma-spatial=3:"},
        {"deinterlace", one("mode", std::int64_t{1}), "mode=send_field:deint=all"},
        {"deinterlace", one("mode", std::int64_t{4}), "deinterlace: mode=4 is unknown: "},
        {"flip", one("horizontal", std::string("1")), "horizontal=1:vertical=0"},
        {"flip", one("vertical", std::int64_t{1}), "horizontal=0:vertical=1"},
        {"transpose", one("step", std::string("3")), "step=3"},
        {"transpose", one("step", std::int64_t{7}),
         "transpose: step=7 is out of range: 0 to 3 (quarter turns)"},
        {"transpose", nested,
         "transpose: step is of type container, which is not a value: 0 to 3 (quarter turns)"},
    };
    for (auto const& [classId, property, result] : cases) {
        std::unique_ptr<Settings> const settings = Create(classId);
        std::string made;
        try {
            WriteFieldsFromProperty(*settings, property);
            made = Serialize(*settings);
        } catch (SettingsException const& refusal) {
            made = refusal.what();
        }
        EXPECT_EQ(made.substr(0, result.size()), result);
    }
}

TEST(SettingsText, ReadsOnTopOfPresentValuesAndShowsNumbersThatNoWordHas) {
    std::unique_ptr<Settings> const flip = Create("flip");
    for (char const* text : {"horizontal=1", "", "vertical=1"})
        flip->Deserialize(text);
    EXPECT_THROW(flip->Deserialize("horizontal=0:vertical=maybe"), SettingsException); // all or nothing
    EXPECT_EQ(Serialize(*flip), "horizontal=1:vertical=1");
    for (auto const& [classId, number, text] :
         {std::tuple("deinterlace", 4, "mode=4:deint=all"), {"negate", 17, "channels=17"}}) {
        std::unique_ptr<Settings> const settings = Create(classId);
        settings->GetFields()[0].set(*settings, std::int64_t{number});
        EXPECT_EQ(Serialize(*settings), text);
    }
}

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
