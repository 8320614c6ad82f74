#include "Conf/FormatCodecVideo.h"
#include "Conf/PixFmtDescription.h"
#include "Host/Doubles.h"
#include "Host/VideoChain.h"
#include "Proc/Interfaces/IEffectDetails.h"
#include "Proc/Settings/Orientation.h"
#include "Support/Planes.h"

#include <gmock/gmock.h>

#include <cstdlib>
#include <utility>
#include <vector>

extern "C" {
#include <libavutil/frame.h>
}

/// Frames around effects that say which ones they take.
using namespace Tarsel;
using namespace Tarsel::HostTest;
using Conf::PixFmt;
using Conf::PixFmtDescription;
using Tarsel::Test::ByName;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr Proc::EffectTraits s_traits{
    .summary = "wants even planar YUV", .takes = Proc::Takes::PlanarYuv, .evenSize = true};

/// Holds one frame back and keeps what it was fed.
class Choosy : public StreamEffect, public Proc::IEffectDetailsVideo {
public:
    Choosy()
        : StreamEffect("choosy", [this](SP<Proc::IDataVideo> const& frame, Frames& ready) {
              if (m_held)
                  ready.push_back(std::exchange(m_held, {}));
              m_held = frame;
              if (frame)
                  m_fed.push_back(frame);
          }) {}

    Proc::EffectTraits const& GetTraits() const noexcept override { return m_traits; }
    std::string Describe(Conf::IFormatCodecVideo const&) const override { return m_description; }
    void UpdateFormatCodec(SP<Conf::IFormatCodecVideo>& format) override {
        Conf::FrameInfo const info = format->GetFrameInfo();
        EXPECT_EQ(info.width % 2 + info.height % 2, 0U);
    }

    Proc::EffectTraits m_traits = s_traits;
    Proc::Settings const& GetSettingsBase() const override { return m_settings; }

    Proc::SettingsEffectTranspose m_settings;
    std::string m_description = "chooses";
    SP<Proc::IDataVideo> m_held;
    std::vector<SP<Proc::IDataVideo>> m_fed;
};

/// A soft ramp in every component.
SP<Proc::IDataVideo> MakeRamp(PixFmt format, std::uint32_t width, std::uint32_t height) {
    auto const frame =
        MakeSP<Proc::DataVideoFF>(Conf::ColorSpace{}, format, Conf::FrameInfo{width, height, 4, 3});
    frame->SetTime(77);
    frame->SetDuration(5);
    for (int index = 0; index < PixFmtDescription::Find(format).GetPlaneCount(); ++index) {
        Proc::WritablePlane const plane = frame->GetWritablePlane(index);
        for (std::uint32_t y = 0; y < plane.rows; ++y)
            for (std::size_t x = 0; x < plane.rowBytes; ++x)
                plane.data[y * plane.lineSize + static_cast<std::ptrdiff_t>(x)] =
                    static_cast<std::uint8_t>(60 + x / 4 * 3 + x % 4 * 20 + y);
    }
    return frame;
}

/// The largest difference of two frames of one form.
int GetDistance(Proc::IDataVideo const& a, Proc::IDataVideo const& b) {
    int largest = 0;
    for (int index = 0; index < PixFmtDescription::Find(a.GetPixelFormat()).GetPlaneCount(); ++index) {
        auto const one = Tarsel::Test::PlaneBytes(*a.GetAVFrame(), index);
        auto const two = Tarsel::Test::PlaneBytes(*b.GetAVFrame(), index);
        EXPECT_EQ(one.size(), two.size());
        for (std::size_t i = 0; i < one.size(); ++i)
            largest = std::max(largest, std::abs(one[i] - two.at(i)));
    }
    return largest;
}

TEST(FrameAdapter, BringsFramesThereAndBack) {
    struct {
        PixFmt format;
        std::uint32_t width;
        std::uint32_t height;
        PixFmt fed;
        /// What two conversions between 8-bit formats may cost; deeper ones are not compared by bytes.
        int distance;
    } const cases[] = {
        {PixFmt::YUV420P, 16, 8, PixFmt::YUV420P, 0},
        {PixFmt::YUV420P, 17, 9, PixFmt::YUV420P, 0},
        {PixFmt::YUV444P, 1, 1, PixFmt::YUV444P, 0},
        {ByName("yuv420p10le"), 17, 8, ByName("yuv420p10le"), 0},
        {ByName("yuv410p"), 17, 5, ByName("yuv410p"), 0},
        {ByName("yuvj444p"), 16, 8, PixFmt::YUV444P, 0},
        {PixFmt::RGB24, 16, 8, PixFmt::YUV444P, 3},
        {PixFmt::RGBA, 17, 9, ByName("yuva444p"), 3},
        {ByName("rgb48le"), 16, 8, ByName("yuv444p16le"), 255},
        {ByName("p010le"), 16, 8, ByName("yuv420p10le"), 255},
        {PixFmt::NV12, 16, 8, PixFmt::YUV420P, 0},
        {ByName("yuyv422"), 16, 8, PixFmt::YUV422P, 0},
    };
    for (auto const& each : cases) {
        SCOPED_TRACE(Tarsel::Test::NameOf(each.format));
        auto const effect = MakeSP<Choosy>();
        Host::VideoChain chain;
        chain.Append(effect);
        auto const frame = MakeRamp(each.format, each.width, each.height);
        chain.Feed(frame);
        chain.End();
        auto const result = chain.Take();
        ASSERT_TRUE(result);
        EXPECT_EQ(result->GetPixelFormat(), each.format);
        EXPECT_EQ(result->GetFrameInfo(), frame->GetFrameInfo());
        EXPECT_EQ(result->GetColorSpace(), frame->GetColorSpace());
        EXPECT_EQ(result->GetTime(), 77);
        EXPECT_EQ(result->GetDuration(), 5);
        EXPECT_LE(GetDistance(*result, *frame), each.distance);

        Conf::FrameInfo const fed = effect->m_fed.at(0)->GetFrameInfo();
        EXPECT_EQ(effect->m_fed[0]->GetPixelFormat(), each.fed);
        auto const& format = PixFmtDescription::Find(each.fed);
        EXPECT_EQ(fed.width % std::max(2U, 1U << format.GetChromaShiftX()), 0U);
        EXPECT_EQ(fed.height % std::max(2U, 1U << format.GetChromaShiftY()), 0U);
        EXPECT_EQ(effect->m_fed[0] == frame, each.fed == each.format && fed == frame->GetFrameInfo());
    }
}

TEST(FrameAdapter, RepeatsTheEdge) {
    auto const effect = MakeSP<Choosy>();
    Host::VideoChain chain;
    chain.Append(effect);
    auto const frame = MakeRamp(PixFmt::YUV444P, 3, 3);
    chain.Feed(frame);
    for (int index = 0; index < 3; ++index) {
        auto const in = frame->GetReadOnlyPlane(index);
        auto const fed = effect->m_fed.at(0)->GetReadOnlyPlane(index);
        for (std::ptrdiff_t y = 0; y < 4; ++y)
            for (std::ptrdiff_t x = 0; x < 4; ++x)
                EXPECT_EQ(
                    fed.data[y * fed.lineSize + x],
                    in.data[std::min<std::ptrdiff_t>(y, 2) * in.lineSize + std::min<std::ptrdiff_t>(x, 2)]);
    }
}

TEST(FrameAdapter, GivesWhatWasHeldBackInItsOwnForm) {
    Host::VideoChain chain;
    chain.Append(MakeSP<Choosy>());
    std::pair<PixFmt, std::uint32_t> const forms[] = {{PixFmt::RGB24, 15},
                                                      {PixFmt::RGB24, 15},
                                                      {PixFmt::YUV420P, 15},
                                                      {PixFmt::YUV420P, 16},
                                                      {PixFmt::RGBA, 16}};
    for (auto const& [format, width] : forms)
        chain.Feed(MakeRamp(format, width, 8));
    chain.End();
    for (auto const& [format, width] : forms) {
        auto const result = chain.Take();
        ASSERT_TRUE(result);
        EXPECT_EQ(result->GetPixelFormat(), format);
        EXPECT_EQ(result->GetFrameInfo().width, width);
    }
    EXPECT_FALSE(chain.Take());
}

TEST(FrameAdapter, IsChosenAnewForOtherSettings) {
    Host::VideoChain chain;
    auto const effect = MakeSP<Choosy>();
    chain.Append(effect);
    effect->m_description = ""; // does nothing with the settings it has
    chain.Feed(MakeRamp(PixFmt::RGB24, 15, 8));
    EXPECT_EQ(effect->m_fed.back()->GetPixelFormat(), PixFmt::RGB24);
    effect->m_description = "chooses";
    effect->m_settings.step = 1;
    chain.Feed(MakeRamp(PixFmt::RGB24, 15, 8));
    EXPECT_EQ(effect->m_fed.back()->GetFrameInfo().width, 16U);
}

TEST(FrameAdapter, IsToldToTheUser) {
    Host::VideoChain chain;
    chain.Append(MakeSP<Choosy>());
    chain.Feed(MakeRamp(PixFmt::YUV420P, 16, 8));
    EXPECT_THAT(chain.GetNotes(), IsEmpty());
    for (int i = 0; i < 2; ++i)
        chain.Feed(MakeRamp(PixFmt::RGB24, 15, 9));
    EXPECT_THAT(chain.GetNotes(),
                ElementsAre("step 1 (transpose) works on frames of rgb24 15x9 as yuv444p 16x10 and back"));

    SP<Conf::IFormatCodecVideo> format =
        MakeSP<Conf::FormatCodecVideo>(PixFmt::RGB24, Conf::FrameInfo{15, 9, 1, 1});
    chain.UpdateFormatCodec(format);
    EXPECT_EQ(format->GetPixelFormat(), PixFmt::RGB24);
    EXPECT_EQ(format->GetFrameInfo().width, 15U);

    // Frames that pass untouched are left alone.
    auto const idle = MakeSP<Choosy>();
    idle->m_description.clear();
    Host::VideoChain other;
    other.Append(idle);
    auto const frame = MakeRamp(PixFmt::RGBA, 15, 9);
    other.Feed(frame);
    EXPECT_EQ(idle->m_fed.at(0), frame);
    EXPECT_THAT(other.GetNotes(), IsEmpty());
}

TEST(VideoChain, TellsLossesOnce) {
    for (PixFmt const made : {PixFmt::YUV420P, PixFmt::YUVA422P}) {
        Host::VideoChain chain;
        chain.Append(
            MakeSP<StreamEffect>("flatten", [made](SP<Proc::IDataVideo> const& frame, Frames& ready) {
                if (frame)
                    ready.push_back(MakeRamp(made, 4, 4));
            }));
        for (PixFmt const in : {PixFmt::YUV420P, PixFmt::YUVA420P, PixFmt::YUVA420P, ByName("yuv420p10le")})
            chain.Feed(MakeRamp(in, 4, 4));
        if (made == PixFmt::YUV420P)
            EXPECT_THAT(
                chain.GetNotes(),
                ElementsAre(
                    "step 1 (flatten) drops alpha: yuva420p becomes yuv420p",
                    "step 1 (flatten) reduces the bit depth from 10 to 8: yuv420p10le becomes yuv420p"));
        else
            EXPECT_THAT(chain.GetNotes(), ElementsAre("step 1 (flatten) reduces the bit depth from 10 to 8: "
                                                      "yuv420p10le becomes yuva422p"));
    }

    for (bool const keepsAlpha : {false, true}) {
        auto const effect = MakeSP<Choosy>();
        effect->m_traits.alpha = keepsAlpha ? Proc::Keeps::Sometimes : Proc::Keeps::Never;
        Host::VideoChain other;
        other.Append(effect);
        for (int i = 0; i < 3; ++i)
            other.Feed(MakeRamp(PixFmt::YUVA444P, 4, 4));
        if (keepsAlpha)
            EXPECT_THAT(other.GetNotes(), IsEmpty());
        else
            EXPECT_THAT(other.GetNotes(), ElementsAre("step 1 (transpose) changes alpha"));
    }
}

} // namespace
