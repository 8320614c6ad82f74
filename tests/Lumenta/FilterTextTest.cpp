#include "Proc/Effects/Lumenta/Graph/FilterText.h"
#include "Core/CoreExceptions.h"
#include "Proc/Effects/Lumenta/Graph/SourceArgs.h"
#include "Proc/Effects/Lumenta/OptionText.h"
#include "Support/CommaLocale.h"
#include "Support/Watch.h"

#include <gtest/gtest.h>

namespace Tarsel::Test {
namespace {

using Proc::PropertyToFFMpegString;

TEST(FilterText, PropertyBecomesOptions) {
    Core::Property property("settings");
    property.SetChildT("a", std::int64_t{1});
    property.SetChildT("b", 0.5);
    property.SetChildT("c", "it");
    EXPECT_EQ(PropertyToFFMpegString(property, {}), "");
    EXPECT_EQ(
        PropertyToFFMpegString(property, {{"c", "z"}, {"none", "n"}, {"a", "x", true}, {"b", "y", true}}),
        "z='it':x='1':y='0.5':");

    Failure const failure = Catch([&] {
        // The row that is missing is found before the container is looked at.
        property.AddChild(Core::Property("container"));
        PropertyToFFMpegString(property, {{"none", "option", true}, {"container", "y"}});
    });
    EXPECT_EQ(failure.text, "Required parameter option was not set");
    EXPECT_EQ(failure.file, "Proc/Effects/Lumenta/EffectFFMPEG");
    EXPECT_EQ(failure.function, "std::string Tarsel::Proc::PropertyToFFMpegString(const Core::Property &, "
                                "const std::vector<FFMpegStringValue> &)");
    EXPECT_EQ(failure.detail, "no property \"none\"");
    EXPECT_THROW(PropertyToFFMpegString(property, {{"container", "y"}}), Core::MethodIsNotApplicable);
}

TEST(FilterText, IsTheSameInEveryLocale) {
    CommaLocale const comma;
    auto const write = [](std::ostringstream stream) {
        stream << 0.5 << ' ' << 1234567;
        return stream.str();
    };
    EXPECT_EQ(write(std::ostringstream()), "0,5 1.234.567");
    EXPECT_EQ(write(Proc::MakeOptionStream()), "0.5 1234567");
    EXPECT_EQ(write(Proc::MakeClassicStream()), "0.5 1234567");
    EXPECT_EQ(Proc::MakeVideoSourceArgs(Conf::PixFmt::YUV420P, {1920, 1080, 1, 1}, {30000, 1001}),
              "video_size=1920x1080:pix_fmt=0:time_base=1/1000000:pixel_aspect=1/1:frame_rate=30000/1001");
    Core::Property property("settings");
    property.SetChildT("a", 1234567.25);
    EXPECT_EQ(PropertyToFFMpegString(property, {{"a", "x"}}), "x='1234567.25':");
}

} // namespace
} // namespace Tarsel::Test
