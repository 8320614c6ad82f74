#include "Support/Process.h"

#include <gtest/gtest.h>

/// What the settings' documentation and emptiness say of FFmpeg's filters, tried on a few frames.
namespace Tarsel::Proc {
namespace {

/// All frames that `filter` makes of a moving test picture of the pixel format.
std::string Filter(std::string const& filter, std::string const& format) {
    return Tarsel::Test::RunFFmpeg(
        "-f lavfi -i testsrc2=size=64x48:rate=25:duration=0.2,noise=alls=30:all_seed=1,"
        "format=" +
        format + "," + filter + ",format=" + format + " -f rawvideo -");
}

TEST(FilterFacts, HoldInThisFFmpeg) {
    struct {
        char const* says;
        char const* filter;
        char const* same;
        char const* format = "yuv420p";
    } const facts[] = {
        {"hqdn3d derives four zeros", "hqdn3d=0:0:0:0", "hqdn3d=4:3:6:4.5"},
        {"hqdn3d derives zeros from luma", "hqdn3d=8:0:0:0", "hqdn3d=8:6:12:9"},
        {"dctdnoiz has blocks of 8x8 and the most overlap", "dctdnoiz=5", "dctdnoiz=5:n=3:overlap=7",
         "rgb24"},
        {"owdenoise takes a strength of 1", "owdenoise=8", "owdenoise=8:ls=1:cs=1"},
        {"edgedetect draws wires with these thresholds", "edgedetect",
         "edgedetect=low=20/255:high=50/255:mode=wires"},
        {"gblur does nothing without planes", "gblur=sigma=3:planes=0", "null"},
        {"no noise", "noise=alls=0", "null"},
        {"no grain removal", "removegrain=m0=0:m1=0:m2=0:m3=0", "null"},
        {"no smart blur", "smartblur=ls=0:cs=0", "null"},
        {"no border", "pad=iw+0:ih+0:0:0", "null"},
        {"gamma weight alone does nothing", "eq=contrast=1:gamma_weight=0.3", "null"},
        {"neutral color balance", "colorbalance=", "null", "rgb24"},
        {"identity of the mixer", "colorchannelmixer=1:0:0:0:0:1:0:0:0:0:1:0:0:0:0:1", "null", "rgb24"},
    };
    for (auto const& [says, filter, same, format] : facts)
        EXPECT_TRUE(Filter(filter, format) == Filter(same, format)) << says;
    EXPECT_FALSE(Filter("hqdn3d=4:3:6:4.5", "yuv420p") == Filter("null", "yuv420p"));
}

} // namespace
} // namespace Tarsel::Proc
