#include "Host/EffectStep.h"

#include "Host/EffectFactory.h"
#include "Host/Plugin.h"
#include "Proc/Settings/SettingsText.h"
#include "Support/Failure.h"

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <tuple>
#include <utility>

using namespace Tarsel;
using Host::ParseEffectStep;

namespace {

SP<Proc::IOneInputEffectVideo> Make(std::string const& text) {
    auto const registry = std::make_shared<Host::EffectRegistry>();
    Host::Plugin(LUMENTA_PLUGIN).Register(*registry);
    return MakeVideoEffect(*MakeSP<Host::EffectFactory>(registry), ParseEffectStep(text));
}

TEST(EffectStep, ReadsClassAndSettings) {
    for (auto const& [written, read] : {std::pair(R"(transpose step=1)", "step=1"),
                                        {"transpose", "step=0"},
                                        {"  flip\thorizontal=yes \n vertical=1 ", "horizontal=1:vertical=1"},
                                        {"flip vertical", "horizontal=0:vertical=1"},
                                        // Whoever names an effect wants it on; the object itself is off.
                                        {"deshake", "block-size=8:enabled=1"},
                                        {"deshake enabled=0 block-size=16", "block-size=16:enabled=0"}})
        EXPECT_EQ(Proc::Serialize(Make(written)->GetSettingsBase()), read) << written;
    // Settings are left to their class.
    for (auto const& [written, read] : {std::pair(R"(amount=3 'mode=a:b')", R"(amount=3:mode=a\:b)"),
                                        {R"(path="/my clips/b")", "path=/my clips/b"},
                                        {R"(path=/my\ clips/b)", "path=/my clips/b"},
                                        {R"('path=/my clips/b')", "path=/my clips/b"},
                                        {R"(path=/a=b)", "path=/a=b"},
                                        {R"(path="")", "path="},
                                        {R"(path='/my "own" clips')", R"(path=/my "own" clips)"}})
        EXPECT_EQ(ParseEffectStep(std::string("foreign ") + written).settings, read) << written;
}

TEST(EffectStep, GivesSettingsAway) {
    using Value = std::optional<std::string>;
    for (auto const& [text, value, rest] :
         {std::tuple("pair", Value(), ""),
          {"pair file=a.mp4", "a.mp4", ""},
          {"pair planes=3 'file=a b:\\c.mp4' x=y", "a b:\\c.mp4", "planes=3:x=y"},
          {"pair x=a:b file=", "", "x=a\\:b"},
          {"pair files=2 fil=3 x=file=4", {}, "files=2:fil=3:x=file=4"},
          {"pair x=1\\ file=1", {}, "x=1 file=1"}}) {
        Host::EffectStep step = ParseEffectStep(text);
        EXPECT_EQ(Host::TakeSetting(step, "file"), value) << text;
        EXPECT_EQ(step.settings, rest);
        EXPECT_EQ(step.classId, "pair");
    }
}

std::string GetRefusal(std::string const& text) {
    return Tarsel::Test::TextOf<Proc::SettingsException>([&] { Make(text); });
}

TEST(EffectStep, SaysWhatIsWrong) {
    for (auto const& [text, refusal] :
         {std::pair("transpoze step=1", "There is no effect \"transpoze\"; did you mean transpose?"),
          {"Flip", "There is no effect \"Flip\"; did you mean flip?"},
          {"transpose step", "transpose: step needs a value: 0 to 3 (quarter turns)"},
          {"transpose =1", "transpose: \"=1\" is not key=value"},
          {"blur=3", "Write \"blur sigma=3\": spaces separate an effect and its settings"},
          {"tele", "There is no effect \"tele\""},
          {"flip:horizontal", "Write \"flip horizontal\": spaces separate an effect and its settings"},
          {"flip horizontal=1 vertical=1 horizontal=0", "flip: \"horizontal\" is given twice"},
          {"echo", "echo works on audio input, not on video"}})
        EXPECT_EQ(GetRefusal(text), refusal);
}

TEST(EffectStep, RefusesTextsThatWouldChangeTheFilter) {
    auto const refusal = [](std::string const& path, std::string const& what) {
        return "stabilizer: \"path\" cannot be \"" + path + "\": " + what +
               " would change FFmpeg's filter text";
    };
    for (std::string const c : {"'", ":", ",", ";", "[", "]", "\\"})
        EXPECT_EQ(GetRefusal("stabilizer \"path=a" + c + "b\""), refusal("a" + c + "b", "'" + c + "'"));
    EXPECT_EQ(GetRefusal(R"(stabilizer 'path=a\:b')"), refusal(R"(a\:b)", R"('\')"));
    EXPECT_EQ(GetRefusal("stabilizer path=' a'"), refusal(" a", "a space at either end"));
    EXPECT_EQ(GetRefusal(std::string("stabilizer path=a\0b", 19)),
              "stabilizer: \"path\" cannot have a zero byte: it would end FFmpeg's filter text");
    EXPECT_NO_THROW(Make("stabilizer path='a b=c'"));
}

} // namespace
