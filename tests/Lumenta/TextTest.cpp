#include "Core/CoreExceptions.h"
#include "EffectCases.h"
#include "Frames.h"
#include "Proc/Effects/Lumenta/OptionText.h"
#include "Proc/Settings/Field.h"
#include "Support/CommaLocale.h"
#include "Support/TextRows.h"
#include "Support/Watch.h"

#include <gtest/gtest.h>

#include <filesystem>

/// The texts of settings at the edges, beside those of the table of effects: nothing is filtered.
namespace Tarsel::Test {
namespace {

/// For yuv420p of 1920x1080 pixels where the row names no other format, or turns the sides.
constexpr char const* s_texts = R"(
deinterlace mode=send_field_nospatial:deint=interlaced => yadif=mode=3:deint=1
denoise-chroma-luma luma-spatial=0.0001:chroma-spatial=1234567:luma-temporal=1e-5:chroma-temporal=0.30000000000000004
    => hqdn3d=0.0001:1.23457e+06:1e-05:0.3
denoise-chroma-luma luma-spatial=1234.5678:chroma-spatial=999999.5:luma-temporal=1e300 => hqdn3d=1234.57:1e+06:1e+300:0
denoise-dct sigma=4.5:overlap=7 => dctdnoiz=4.5:overlap=7
denoise-dct sigma=999:overlap=-1:block-size=8x8 => dctdnoiz=999:n=3:overlap=-1
denoise-wavelet depth=12:chroma=1e-300 => owdenoise=12:cs=1e-300
noise strength=1:seed=-1:method=uniform => noise=alls=1:allf=u
noise strength=7:seed=2147483647:method=gaussian => noise=alls=7:all_seed=2147483647
edge-detect => edgedetect=low=0.078:high=0.2
edge-detect low=0.125:high=1:mode=colormix => edgedetect=low=0.12:high=1:mode=colormix
emboss x=2:y=1:keep-color=1 => geq=lum_expr='(p(X,Y)+(256-p(X+2,Y+1)))/2'
emboss x=0:y=0:keep-color=1 => geq=lum_expr='(p(X,Y)+(256-p(X-0,Y-0)))/2'
emboss x=16384:y=-16384 => geq=lum_expr='(p(X,Y)+(256-p(X+16384,Y--16384)))/2',format=gray
negate channels=green => lutrgb='g=negval:'
negate channels=alpha => lutrgb='a=negval:'
negate channels=red+green+alpha => lutrgb='r=negval:g=negval:a=negval:'
posterize seed=-1:colors=256:palette=1 => elbg=seed=-1:l=256:pal8=1:use_alpha=true
posterize seed=2147483647:host-value=0.5 => elbg=seed=2147483647:l=8:use_alpha=true
border left=16384:right=16384:top=1:left-fraction=0.5:color=#01abff00 => pad=iw+32768:ih+1:16384:1:color=#01abff00
border type=own:left-fraction=0.1:right-fraction=0.1:top-fraction=0.1:bottom-fraction=0.1:left=9:top=9
    => pad=iw*1.2:ih*1.2:iw*0.1:ih*0.1:color=#000000ff
border type=own:left-fraction=0.33333333333333331:right-fraction=0.33333333333333331
    => pad=iw*1.666667:ih*1:iw*0.3333333:ih*0:color=#000000ff
border type=width:left-fraction=16:top-fraction=1e-5 => pad=iw + iw*16:ih + iw*1e-05:iw*16:iw*1e-05:color=#000000ff
balance-chroma red-shadows=1:green-shadows=33:blue-shadows=-100:red-midtones=99:blue-midtones=5:red-highlights=-55:green-highlights=100:blue-highlights=-7
    => colorbalance=rs=0.01:gs=0.33:bs=-1:rm=0.99:bm=0.05:rh=-0.55:gh=1:bh=-0.07:
color-channel-mixer rr=0.33333333333333331:rg=-2:rb=0.1:ra=1e-11:gr=0.4:gg=0.5:gb=0.6:ga=0.7:br=0.8:bg=0.9:bb=1.1:ba=1.2:ar=1.3:ag=1.4:ab=1.5:aa=1.6
    => colorchannelmixer=0.3333333333:-2:0.1:1e-11:0.4:0.5:0.6:0.7:0.8:0.9:1.1:1.2:1.3:1.4:1.5:1.6
blur sigma-v=0.004:sigma=1.26 => gblur=steps=1:planes=15:sigma=1.3:sigmaV=0.004
blur sigma=1024:sigma-v=0 => gblur=steps=1:planes=15:sigma=1e+03:sigmaV=0
blur mode=axis:sigma=1:sigma-v=1 => gblur=steps=1:planes=15:sigma=19:sigmaV=11
blur mode=longer:sigma=1:sigma-v=1 => gblur=steps=1:planes=15:sigma=19:sigmaV=19 @ turned
blur mode=shorter:sigma=1:sigma-v=0.5 => gblur=steps=1:planes=15:sigma=11:sigmaV=5.4 @ turned
blur mode=axis:sigma=1:sigma-v=1:factor=0.25:factor-v=0:steps=6:planes=5:pixel-format=gray
    => format=gray[s];[s]gblur=steps=6:planes=5:sigma=4.8:sigmaV=0
color-balance gamma-weight=50 =>
color-balance contrast=20:brightness=10 => eq=contrast=1.2:brightness=0.1
color-balance saturation=-50 => eq=contrast=1:saturation=0.5
color-balance gamma=30 => eq=contrast=1:gamma=2
color-balance red-gamma=-100 => eq=contrast=1:gamma_r=0.1
color-balance brightness=-33:saturation=25:gamma=100:red-gamma=1:green-gamma=50:blue-gamma=-50:gamma-weight=12:hue=1
    => eq=contrast=1:brightness=-0.33:saturation=1.5:gamma=10:gamma_r=1:gamma_g=3.2:gamma_b=0.32:gamma_weight=0.12[s];[s]hue=h=1
smart-blur luma-radius=50:chroma-radius=1:chroma-threshold=100:luma-strength=100 => smartblur=lr=2.5:cr=0.1:lt=0:ct=30:ls=1:cs=0
smart-blur luma-radius=100:luma-threshold=-100:chroma-threshold=1:chroma-strength=-33
    => smartblur=lr=5:cr=1:lt=-30:ct=0:ls=0:cs=-0.33
smart-blur luma-threshold=-1:chroma-threshold=-99:luma-strength=-60:luma-strength-offset=40
    => smartblur=lr=1:cr=1:lt=-1:ct=-30:ls=-1:cs=0
smart-blur luma-strength=50:luma-strength-offset=50 =>
stabilizer enabled=1:path=a file => vidstabdetect=show=0:shakiness=5:accuracy=15:stepsize=6:mincontrast=0.250000:result=a file
stabilizer enabled=1:shakiness=10:accuracy=11:step-size=32:min-contrast=7:path=it's\: a %s {} file
    => vidstabdetect=show=0:shakiness=10:accuracy=11:stepsize=32:mincontrast=0.070000:result=it's: a %s {} file
stabilizer enabled=1:detect=0:path=$temp:smoothing=1000:algorithm=avg:crop=black:zoom=-100:optimal-zoom=none:interpolation=no
    => vidstabtransform=smoothing=1000:optalgo=avg:crop=black:zoom=-100:optzoom=0:interpol=no:input=$temp
stabilizer enabled=1:detect=0:path=$temp:optimal-zoom=dynamic:interpolation=linear
    => vidstabtransform=smoothing=15:optalgo=gauss:crop=keep:zoom=0:optzoom=2:interpol=linear:input=$temp
stabilizer enabled=1:detect=0:path=$temp:interpolation=bicubic
    => vidstabtransform=smoothing=15:optalgo=gauss:crop=keep:zoom=0:optzoom=1:interpol=bicubic:input=$temp
rotate mode=pad:fill=#00000000 =>  @ rgb24
rotate angle=30:mode=pad:fill=#00000000 => format=rgba,rotate=angle=0.524:fillcolor=0x00000000:out_w=2204:out_h=1896 @ rgb24
rotate angle=30:mode=pad => rotate=angle=0.524:fillcolor=0x000000ff:out_w=2204:out_h=1896 @ rgb24
rotate angle=30:mode=crop => rotate=angle=0.524:fillcolor=0x000000ff:out_w=1094:out_h=614
rotate angle=-30:mode=crop:fill=#000000fe => rotate=angle=-0.524:fillcolor=0x000000fe:out_w=1094:out_h=614
rotate angle=30:mode=given:width=3001:height=7 => rotate=angle=0.524:fillcolor=0x000000ff:out_w=3001:out_h=7
rotate angle=750 => rotate=angle=0.524:fillcolor=0x000000ff
rotate angle=89.99999 => rotate=angle=1.571:fillcolor=0x000000ff
rotate angle=-5000.5 => rotate=angle=-5.594:fillcolor=0x000000ff
rotate angle=1:mode=pad:bilinear=1:fill=#ff0ab0 => rotate=angle=0.017:fillcolor=0xff0ab0ff:bilinear=1:out_w=1940:out_h=1114
rotate angle=30:fill=#00000010 => format=rgba,rotate=angle=0.524:fillcolor=0x00000010 @ rgb24
rotate angle=30:fill=#00000010 => format=bgra,rotate=angle=0.524:fillcolor=0x00000010 @ bgr24
rotate angle=30:fill=#00000010 => format=argb,rotate=angle=0.524:fillcolor=0x00000010 @ argb
rotate angle=30:fill=#00000010 => format=abgr,rotate=angle=0.524:fillcolor=0x00000010 @ abgr
rotate angle=30:fill=#00000010 => format=rgba,rotate=angle=0.524:fillcolor=0x00000010 @ rgb0
rotate angle=30:fill=#00000010 => format=bgra,rotate=angle=0.524:fillcolor=0x00000010 @ bgr0
rotate angle=30:fill=#00000010 => format=bgra,rotate=angle=0.524:fillcolor=0x00000010 @ 0rgb
rotate angle=30:fill=#00000010 => format=bgra,rotate=angle=0.524:fillcolor=0x00000010 @ yuva420p
rotate angle=30:fill=#00000010 => format=bgra,rotate=angle=0.524:fillcolor=0x00000010 @ gray
)";

/// In the locale of the process and in one with a decimal comma.
TEST(Text, OfEverySettingAtItsEdges) {
    // Anything that exists.
    auto const rows = ReadTextRows(s_texts, {{"$temp", std::filesystem::temp_directory_path()}});
    auto const expect = [&](char const* where) {
        for (TextRow const& row : rows) {
            bool const isTurned = row.remark == "turned";
            bool const isNamed = !isTurned && !row.remark.empty();
            Conf::FrameInfo const info{isTurned ? 1080U : 1920U, isTurned ? 1920U : 1080U, 1, 1};
            EXPECT_EQ(Describe(*MakeEffect(row.classId, row.options),
                               isNamed ? ByName(row.remark.c_str()) : Conf::PixFmt::YUV420P, info),
                      row.text)
                << row.classId << ' ' << row.options << where;
        }
    };
    expect("");
    CommaLocale const comma;
    expect(" in a locale with a decimal comma");
}

/// What a third digit changes: nothing where the help says so, the text everywhere else.
TEST(Text, HelpSaysWhichNumbersAreCut) {
    std::size_t compared = 0;
    for (EffectCase const& row : GetWorkingCases()) {
        for (Proc::Field const& field : row.MakeSettings()->GetFields()) {
            if (field.kind != Proc::FieldKind::Real)
                continue;
            auto const textAt = [&](double share) {
                std::unique_ptr<Proc::Settings> const settings = row.MakeSettings();
                double const range = std::min(field.maximum - field.minimum, 100.0);
                field.set(*settings, field.minimum + share * range);
                return Describe(*MakeEffect(*settings));
            };
            if (textAt(0.25) == textAt(0.75))
                continue; // means nothing beside the row's other values
            ++compared;
            EXPECT_EQ(textAt(0.6001) == textAt(0.6003), field.help.find("two digits") != std::string::npos)
                << row.classId << ' ' << field.key << ": " << textAt(0.6001) << " or " << textAt(0.6003);
        }
    }
    EXPECT_GT(compared, 0U);
}

TEST(Text, PropertyBecomesOptions) {
    using Proc::PropertyToFFMpegString;
    CommaLocale const comma;
    Core::Property property("settings");
    property.SetChildT("a", std::int64_t{1});
    property.SetChildT("b", 1234567.25);
    property.SetChildT("c", "it");
    EXPECT_EQ(PropertyToFFMpegString(property, {}), "");
    EXPECT_EQ(
        PropertyToFFMpegString(property, {{"c", "z"}, {"none", "n"}, {"a", "x", true}, {"b", "y", true}}),
        "z='it':x='1':y='1234567.25':");
    Failure const failure = Catch([&] {
        // The row that is missing is found before the container is looked at.
        property.AddChild(Core::Property("container"));
        PropertyToFFMpegString(property, {{"none", "option", true}, {"container", "y"}});
    });
    EXPECT_EQ(failure.text, "Required parameter option was not set");
    EXPECT_EQ(failure.detail, "no property \"none\"");
    EXPECT_THROW(PropertyToFFMpegString(property, {{"container", "y"}}), Core::MethodIsNotApplicable);
}

} // namespace
} // namespace Tarsel::Test
