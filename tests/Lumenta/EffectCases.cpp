#include "EffectCases.h"

#include "Frames.h"
#include "Host/PairedEffect.h"
#include "Proc/Settings/Orientation.h"
#include "Support/LibraryEffects.h"
#include "Support/TempFolder.h"
#include "Support/TextRows.h"

#include <algorithm>
#include <fstream>
#include <iterator>

namespace Tarsel::Test {
namespace {

/// Files between the stabilizer's passes; they live as long as the table.
class StatisticsFiles {
public:
    StatisticsFiles() {
        std::ofstream known(GetKnown());
        known << "VID.STAB 1\n";
        for (int frame = 1; frame <= 8; ++frame)
            known << "Frame " << frame << " (List 0 [])\n";
    }
    std::string GetWritten() const { return m_folder / "written.trf"; }
    /// Of a camera that stood still.
    std::string GetKnown() const { return m_folder / "known.trf"; }

private:
    TempFolder m_folder;
};

/// "empty" are settings that have a filter text, and leave the picture as it is all the same.
constexpr char const* s_cases = R"(
flip =>
flip horizontal=1 => hflip
flip vertical=1 => vflip
flip horizontal=1:vertical=1 => vflip[s];[s]hflip
transpose step=0 => no rotation
transpose step=1 => transpose=dir=1
transpose step=2 => vflip[s];[s]hflip
transpose step=3 => transpose=dir=2
display-matrix matrix=1 => no rotation
display-matrix matrix=2 => hflip
display-matrix matrix=3 => vflip[s];[s]hflip
display-matrix matrix=4 => vflip
display-matrix matrix=5 => transpose=cclock_flip
display-matrix matrix=6 => transpose=clock
display-matrix matrix=7 => transpose=clock_flip
display-matrix matrix=8 => transpose=cclock
deinterlace => yadif=mode=0:deint=0
deinterlace mode=send_field => yadif=mode=1:deint=0
deinterlace mode=send_frame_nospatial:deint=interlaced => yadif=mode=2:deint=1
deinterlace mode=send_field_nospatial => yadif=mode=3:deint=0
denoise-chroma-luma => hqdn3d=0:0:0:0
denoise-chroma-luma luma-spatial=4:chroma-spatial=3:luma-temporal=6:chroma-temporal=4.5 => hqdn3d=4:3:6:4.5
denoise-dct => dctdnoiz=0 @ empty
denoise-dct sigma=4.5 => dctdnoiz=4.5
denoise-dct sigma=10:overlap=5:block-size=16x16 => dctdnoiz=10:n=4:overlap=5
denoise-wavelet => owdenoise=8 @ empty
denoise-wavelet luma=5 => owdenoise=8:ls=5
denoise-wavelet chroma=5 => owdenoise=8:cs=5
denoise-wavelet depth=10:luma=0.5:chroma=2.5 => owdenoise=10:ls=0.5:cs=2.5
noise method=uniform:seed=7 => noise=alls=0:all_seed=7:allf=u @ empty
noise strength=20 => noise=alls=20
noise strength=20:method=gaussian:seed=7 => noise=alls=20:all_seed=7
noise strength=20:method=uniform:seed=7 => noise=alls=20:all_seed=7:allf=u
remove-grain => removegrain=m0=0:m1=0:m2=0:m3=0 @ empty
remove-grain m0=2:m1=2 => removegrain=m0=2:m1=2:m2=0:m3=0
remove-grain m3=2 => removegrain=m0=0:m1=0:m2=0:m3=2
remove-grain m0=24:m1=17:m2=13:m3=1 => removegrain=m0=24:m1=17:m2=13:m3=1
edge-detect low=0.1:high=0.4 => edgedetect=low=0.1:high=0.4
edge-detect low=0.05:high=0.4:mode=wires => edgedetect=low=0.05:high=0.4:mode=wires
edge-detect low=0.1:high=0.4:mode=colormix => edgedetect=low=0.1:high=0.4:mode=colormix
emboss => geq=lum_expr='(p(X,Y)+(256-p(X+1,Y+1)))/2',format=gray
emboss x=-2:y=0:keep-color=1 => geq=lum_expr='(p(X,Y)+(256-p(X--2,Y-0)))/2'
negate channels=0 => lutrgb='' @ empty
negate channels=red => lutrgb='r=negval:'
negate => lutrgb='r=negval:g=negval:b=negval:'
negate channels=red+green+blue+alpha => lutrgb='r=negval:g=negval:b=negval:a=negval'
posterize seed=3 => elbg=seed=3:l=8:use_alpha=true
posterize seed=3:palette=1 => elbg=seed=3:l=8:pal8=1:use_alpha=true
border => pad=iw+0:ih+0:0:0:color=#000000ff @ empty
border left-fraction=0.5 => pad=iw+0:ih+0:0:0:color=#000000ff @ empty
border type=own:left=5 => pad=iw*1:ih*1:iw*0:ih*0:color=#000000ff @ empty
border left=10:right=5:top=20:bottom=1 => pad=iw+15:ih+21:10:20:color=#000000ff
border top=2 => pad=iw+0:ih+2:0:2:color=#000000ff
border left-fraction=0.1:right-fraction=0.2:top-fraction=0.25:bottom-fraction=0.3:color=#ff80000a:type=own
    => pad=iw*1.3:ih*1.55:iw*0.1:ih*0.25:color=#ff80000a
border left-fraction=0.1:top-fraction=0.25:type=width => pad=iw + iw*0.1:ih + iw*0.25:iw*0.1:iw*0.25:color=#000000ff
border left-fraction=0.1:top-fraction=0.25:type=height => pad=iw + ih*0.1:ih + ih*0.25:ih*0.1:ih*0.25:color=#000000ff
border left-fraction=0.1:top-fraction=0.25:type=shorter => pad=iw + 'min(iw, ih)'*0.1:ih + 'min(iw, ih)'*0.25:'min(iw, ih)'*0.1:'min(iw, ih)'*0.25:color=#000000ff
border left-fraction=0.1:top-fraction=0.25:type=longer => pad=iw + 'max(iw, ih)'*0.1:ih + 'max(iw, ih)'*0.25:'max(iw, ih)'*0.1:'max(iw, ih)'*0.25:color=#000000ff
balance-chroma => colorbalance= @ empty
balance-chroma green-midtones=50 => colorbalance=gm=0.5:
balance-chroma red-shadows=25:blue-highlights=-10 => colorbalance=rs=0.25:bh=-0.1:
color-channel-mixer => colorchannelmixer=1:0:0:0:0:1:0:0:0:0:1:0:0:0:0:1 @ empty
color-channel-mixer rr=0.5:rg=0.25 => colorchannelmixer=0.5:0.25:0:0:0:1:0:0:0:0:1:0:0:0:0:1
color-channel-mixer aa=0.5 => colorchannelmixer=1:0:0:0:0:1:0:0:0:0:1:0:0:0:0:0.5
blur => gblur=steps=1:planes=15:sigma=0:sigmaV=0 @ empty
blur sigma=3:planes=0 => gblur=steps=1:planes=0:sigma=3:sigmaV=3 @ empty
blur sigma=3:factor=0:factor-v=0:mode=axis => gblur=steps=1:planes=15:sigma=0:sigmaV=0 @ empty
blur sigma=2:sigma-v=0.5:steps=2 => gblur=steps=2:planes=15:sigma=2:sigmaV=0.5
blur sigma-v=3 => gblur=steps=1:planes=15:sigma=0:sigmaV=3
blur mode=axis:sigma=10:sigma-v=10 => gblur=steps=1:planes=15:sigma=6.4:sigmaV=4.8
blur mode=longer:sigma=10:sigma-v=5 => gblur=steps=1:planes=15:sigma=6.4:sigmaV=3.2
blur mode=shorter:sigma=10:sigma-v=5 => gblur=steps=1:planes=15:sigma=4.8:sigmaV=2.4
blur sigma=1:sigma-v=1:pixel-format=yuv444p => format=yuv444p[s];[s]gblur=steps=1:planes=15:sigma=1:sigmaV=1
deshake => deshake=rx=64:ry=64:blocksize=8 @ empty
deshake enabled=1 => deshake=rx=64:ry=64:blocksize=8
deshake enabled=1:block-size=16 => deshake=rx=64:ry=64:blocksize=16
stabilizer enabled=1:path=$written => vidstabdetect=show=0:shakiness=5:accuracy=15:stepsize=6:mincontrast=0.250000:result=$written
stabilizer enabled=1:detect=0:path=$known
    => vidstabtransform=smoothing=15:optalgo=gauss:crop=keep:zoom=0:optzoom=1:interpol=bilinear:input=$known
stabilizer detect=0:path=$known
    => vidstabtransform=smoothing=15:optalgo=gauss:crop=keep:zoom=0:optzoom=1:interpol=bilinear:input=$known @ empty
color-balance =>
color-balance contrast=20:saturation=50:gamma=30 => eq=contrast=1.2:saturation=2:gamma=2
color-balance hue=-60 => hue=h=-60
color-balance contrast=-20:hue=90 => eq=contrast=0.8[s];[s]hue=h=90
rotate =>
rotate angle=30:fill=#c86432 => rotate=angle=0.524:fillcolor=0xc86432ff
rotate angle=-100:mode=given:width=90:height=45:fill=#c86432 => rotate=angle=-1.745:fillcolor=0xc86432ff:out_w=90:out_h=45
rotate angle=10:fill=#c8643280 => format=rgba,rotate=angle=0.175:fillcolor=0xc8643280
rotate angle=90 => transpose=dir=1
smart-blur =>
smart-blur luma-radius=50:chroma-radius=50:luma-strength=100:chroma-strength=30 => smartblur=lr=2.5:cr=2.5:lt=0:ct=0:ls=1:cs=0.3
smart-blur luma-radius=1:chroma-radius=1:luma-strength=-100:luma-threshold=20 => smartblur=lr=0.1:cr=0.1:lt=6:ct=0:ls=-1:cs=0
smart-blur luma-radius=100:chroma-radius=100:luma-strength=50:chroma-strength=-50:luma-threshold=-20
    => smartblur=lr=5:cr=5:lt=-6:ct=0:ls=0.5:cs=-0.5
)";

/// Of effects that are no filter texts, and of one with two inputs that gets the same second picture again
/// and again.
constexpr char const* s_pictureCases = R"(
resize width=33:height=20:algorithm=lanczos =>
resize width=1:height=1:algorithm=area =>
resize width=40:height=3:fit=pad:background=#102030 =>
resize width=5:height=40:fit=crop:algorithm=bilinear =>
resize height=7:fit=inside =>
pixel-format formats=rgb24:background=#ffffff =>
pixel-format formats=yuv410p =>
pixel-format formats=nv12 =>
pixel-format formats=yuva444p16le =>
pixel-format formats=pal8:dither=1 =>
midequalizer =>
)";

std::vector<EffectCase> MakeCases(char const* table, std::map<std::string, std::string> const& words = {}) {
    std::vector<EffectCase> cases;
    for (TextRow const& row : ReadTextRows(table, words))
        cases.push_back({row.classId, row.options, row.text, row.remark == "empty"});
    return cases;
}

} // namespace

SP<Proc::IOneInputEffectVideo> MakeEffect(std::string const& classId) {
    if (classId == "midequalizer")
        return Host::PairEffect(
            GetFactory()->CreateTwoInputVideoEffect(classId, "default", {}),
            [second = MakeFrame(Conf::PixFmt::RGB24, {18, 10, 1, 1})](std::int64_t) { return second; });
    return GetFactory()->CreateVideoEffect(classId, "default", {});
}

SP<Proc::IOneInputEffectVideo> MakeEffect(std::string const& classId, std::string const& options) {
    return MakeEffect(*MakeSettings(classId, options));
}

SP<Proc::IOneInputEffectVideo> MakeEffect(Proc::Settings const& settings) {
    auto effect = MakeEffect(settings.GetClassId());
    effect->SetSettings(settings);
    return effect;
}

std::unique_ptr<Proc::Settings> EffectCase::MakeSettings() const {
    return Test::MakeSettings(classId, options);
}

std::vector<EffectCase> const& GetEffectCases() {
    static StatisticsFiles const files;
    static std::vector<EffectCase> const cases =
        MakeCases(s_cases, {{"$written", files.GetWritten()}, {"$known", files.GetKnown()}});
    return cases;
}

std::vector<EffectCase> GetWorkingCases() {
    std::vector<EffectCase> rows;
    std::ranges::copy_if(GetEffectCases(), std::back_inserter(rows),
                         [](EffectCase const& row) { return !row.PassesUntouched(); });
    return rows;
}

std::vector<EffectCase> GetPictureCases() {
    return MakeCases(s_pictureCases);
}

SP<Conf::IFormatCodecVideo> MakeCodecOf(Proc::IDataVideo const& data, Proc::Settings const& settings) {
    auto codec = MakeCodec(data.GetPixelFormat(), data.GetFrameInfo());
    if (auto const* const oriented = dynamic_cast<Proc::SettingsEffectDisplayMatrix const*>(&settings))
        codec->SetDisplayMatrix(oriented->matrix);
    return codec;
}

bool IsCustom(EffectCase const& row) {
    return row.classId == "color-balance" || row.classId == "rotate" || row.classId == "smart-blur";
}

bool TreatsAlphaApart(EffectCase const& row) {
    return row.classId == "color-balance" && !row.PassesUntouched();
}

} // namespace Tarsel::Test
