#include "Host/EffectStep.h"

#include "Proc/Interfaces/ProcExceptions.h"
#include "Proc/Settings/SettingsText.h"

#include <gtest/gtest.h>

#include <string>

using namespace Tarsel;
using Host::ParseEffectStep;

namespace {

TEST(EffectStep, ReadsClassAndSettings) {
    Host::EffectStep const step = ParseEffectStep("transpose step=1");
    EXPECT_EQ(step.classId, "transpose");
    EXPECT_EQ(Proc::Serialize(*step.settings), "step=1");
    EXPECT_EQ(Proc::Serialize(*ParseEffectStep("transpose").settings), "step=0");
    EXPECT_EQ(Proc::Serialize(*ParseEffectStep("  flip\thorizontal=yes \n vertical=1 ").settings),
              "horizontal=1:vertical=1");
}

TEST(EffectStep, TakesQuotesAndEscapesOff) {
    struct Case {
        char const* written;
        char const* path;
    };
    Case const cases[] = {
        {R"(path=/a/b)", "/a/b"},
        {R"(path="/my clips/b")", "/my clips/b"},
        {R"(path='/my clips/b')", "/my clips/b"},
        {R"(path=/my\ clips/b)", "/my clips/b"},
        {R"('path=/my clips/b')", "/my clips/b"},
        {R"(path=/a=b)", "/a=b"},
        {R"(path="")", ""},
        {R"(path='/my "own" clips')", R"(/my "own" clips)"},
    };
    for (Case const& each : cases) {
        SCOPED_TRACE(each.written);
        auto const settings = ParseEffectStep(std::string("stabilizer ") + each.written).settings;
        EXPECT_EQ(Proc::ReadFieldText(*settings, *Proc::FindField(settings->GetFields(), "path")), each.path);
    }
}

std::string GetRefusal(std::string const& text) {
    try {
        ParseEffectStep(text);
    } catch (Proc::SettingsException const& exception) {
        return exception.what();
    }
    return "nothing thrown";
}

TEST(EffectStep, SaysWhatIsWrong) {
    EXPECT_EQ(GetRefusal(" "), "An effect is missing: the text is empty");
    EXPECT_EQ(GetRefusal("transpoze step=1"),
              "There is no effect \"transpoze\"; the nearest name is \"transpose\"");
    EXPECT_EQ(GetRefusal("Flip"), "There is no effect \"Flip\"; the nearest name is \"flip\"");
    EXPECT_EQ(GetRefusal("transpose step"), "transpose: \"step\" is no key=value");
    EXPECT_EQ(GetRefusal("transpose =1"), "transpose: \"=1\" is no key=value");
    EXPECT_EQ(GetRefusal("flip horizontal=1 vertical=1 horizontal=0"), "flip: \"horizontal\" is given twice");
    EXPECT_EQ(GetRefusal("blor"), "There is no effect \"blor\"; the nearest name is \"blur\"");
    EXPECT_EQ(GetRefusal("flip 'horizontal=1"), "A quote (') is opened and not closed: flip 'horizontal=1");
}

TEST(EffectStep, RefusesTextsThatWouldChangeTheFilter) {
    auto const refusal = [](std::string const& path, std::string const& what) {
        return "stabilizer: \"path\" cannot be \"" + path + "\": " + what +
               " would change FFmpeg's filter text";
    };
    for (std::string const c : {"'", ":", ",", ";", "[", "]", "\\"})
        EXPECT_EQ(GetRefusal("stabilizer \"path=a" + c + "b\""), refusal("a" + c + "b", "'" + c + "'"));
    EXPECT_EQ(GetRefusal(R"(stabilizer 'path=a\:b')"), refusal(R"(a\:b)", R"('\')"));
    EXPECT_EQ(GetRefusal("stabilizer path=' a'"), refusal(" a", "a blank at either end"));
    EXPECT_EQ(GetRefusal("stabilizer path='a b=c'"), "nothing thrown");
}

} // namespace
