#include "Check/Check.h"
#include "Check/FrameMemory.h"
#include "Proc/Data/DataVideoFF.h"
#include "Proc/Data/WrapMemory.h"
#include "Proc/Wrappers/SafeFrame.h"

#include <array>
#include <cstring>

extern "C" {
#include <libavutil/frame.h>
}

namespace Tarsel::Check {
namespace {

constexpr std::array s_layouts{Layout::Dense, Layout::BottomUp, Layout::Odd, Layout::PageEnd,
                               Layout::PageEndBottomUp};

/// What the effect makes of the forms in that memory is what it makes of them elsewhere, and nothing around
/// their rows changes.
void CheckLayout(Subject<Video>& subject, Layout layout, std::vector<Video::Form> const& forms) {
    for (Video::Form const& form : forms) {
        auto const data = std::vector{MakeDatum(form, 0), MakeDatum(form, 1)};
        std::vector<std::string> due;
        if (Refuses([&] { due = GetAllOf(Run(*subject.Make(), data)); }))
            continue;
        std::vector<PlacedPicture> placed;
        std::vector<SP<Proc::IDataVideo>> pictures;
        for (auto const& datum : data)
            pictures.push_back(placed.emplace_back(*datum, layout).Get());
        std::string const difference = FindDifference(GetAllOf(Run(*subject.Make(), pictures)), due);
        Expect(difference.empty(), "of {} in {}: {}", GetText(form), GetName(layout), difference);
        for (PlacedPicture const& picture : placed)
            Expect(picture.CountChanges() == 0, "of {} in {}: {} bytes around the rows are written to",
                   GetText(form), GetName(layout), picture.CountChanges());
    }
}

template <Layout layout>
void CheckFewForms(Subject<Video>& subject) {
    std::vector<Video::Form> forms = GetUsualForms(Video());
    forms.push_back({Conf::PixFmt::RGB24, 33, 17});
    CheckLayout(subject, layout, forms);
}

void CheckAllForms(Subject<Video>& subject) {
    for (Layout const layout : s_layouts)
        CheckLayout(subject, layout, GetForms(Video(), subject.GetLevel()));
}

constexpr std::string_view s_crash = "A frame from a camera, a window or shared memory ends the host.";

constexpr std::array s_memoryChecks{
    CheckInfo{"dense-rows", Group::Memory, "Frames without padding give the results of others.", s_crash, 1,
              nullptr, CheckFewForms<Layout::Dense>},
    CheckInfo{"rows-bottom-up", Group::Memory, "Frames stored bottom up give the results of others.", s_crash,
              1, nullptr, CheckFewForms<Layout::BottomUp>},
    CheckInfo{"rows-at-odd-addresses", Group::Memory,
              "Frames whose rows begin anywhere give the results of others.", s_crash, 2, nullptr,
              CheckFewForms<Layout::Odd>},
    CheckInfo{"rows-end-with-page", Group::Memory,
              "Nothing is read behind the last row: frames may end where memory ends.", s_crash, 2, nullptr,
              CheckFewForms<Layout::PageEnd>},
    CheckInfo{"rows-bottom-up-end-with-page", Group::Memory,
              "Nothing is read behind the top row of a frame stored bottom up.", s_crash, 3, nullptr,
              CheckFewForms<Layout::PageEndBottomUp>},
    CheckInfo{"rows-everywhere", Group::Memory, "So it is for every format and size.", s_crash, 6, nullptr,
              CheckAllForms},
    CheckInfo{"memory-given-back", Group::Memory,
              "After the end of a stream, or Reset, the effect keeps none of the frames it was fed.",
              "A camera runs out of buffers, and stops.", 2, nullptr,
              [](Subject<Video>& subject) {
                  for (bool const isEnded : {true, false}) {
                      auto const effect = subject.Make();
                      std::vector<PlacedPicture> placed;
                      for (auto const& datum : subject.MakeData(4))
                          placed.emplace_back(*datum, Layout::BottomUp);
                      auto& stream = AsStream(*effect);
                      for (PlacedPicture& picture : placed) {
                          stream.Feed(picture.Get());
                          (void)TakeAll(stream);
                      }
                      if (isEnded) {
                          stream.End();
                          (void)TakeAll(stream);
                      } else {
                          effect->Reset();
                      }
                      for (PlacedPicture& picture : placed) {
                          picture.Drop();
                          Expect(picture.IsReleased(), "{} a frame is still kept",
                                 isEnded ? "after the end" : "after Reset");
                      }
                  }
              },
              [](Subject<Audio>& subject) {
                  auto const effect = subject.Make();
                  std::vector<std::string> kept;
                  int released = 0;
                  auto const source = subject.MakeData(4);
                  for (auto const& block : source) {
                      std::vector<std::span<std::uint8_t const>> planes;
                      for (int i = 0; i < Proc::GetSamplePlaneCount(*block); ++i)
                          planes.push_back(Proc::GetReadOnlySamples(*block, i));
                      SP<Proc::IDataAudio> datum =
                          Proc::WrapSamples(block->GetSampleInfo(), static_cast<int>(block->GetSampleCount()),
                                            planes, [&released] { ++released; });
                      datum->SetTime(block->GetTime());
                      (void)Run(*effect, std::vector{datum});
                      datum.reset();
                  }
                  effect->Reset();
                  Expect(released == 4, "{} of 4 blocks are still kept", 4 - released);
              }},
    CheckInfo{"memory-read-only", Group::Memory,
              "Nothing is written into the caller's memory, which may be read-only.",
              "A mapped file or a frame of the display ends the host, or is changed.", 3, nullptr,
              [](Subject<Video>& subject) {
                  auto const datum = subject.MakeDatum(0);
                  PlacedPicture const placed(*datum, Layout::Dense);
                  std::string const before = GetAll(*placed.Get());
                  auto const results = Run(*subject.Make(), std::vector{placed.Get()});
                  for (auto const& result : results)
                      if (result->GetAVFrame()->data[0] != placed.Get()->GetAVFrame()->data[0])
                          Invert(*result);
                  Expect(GetAll(*placed.Get()) == before, "the frame has changed");
              }},
    ForEffects("data-without-memory", Group::Memory,
               "A datum whose frame has no memory, or less than it says, is refused by an exception.",
               "A decoder's broken frame ends the host.", 3,
               [](auto& subject) {
                   for (int fault = 0; fault < 3; ++fault) {
                       auto const datum = subject.MakeDatum(0);
                       AVFrame& frame = *datum->GetAVFrame();
                       if (fault == 0)
                           frame.data[0] = nullptr;
                       else if (fault == 1)
                           frame.linesize[0] = 0;
                       else
                           frame.format = 100000;
                       auto const effect = subject.Make();
                       (void)Refuses([&] { Run(*effect, std::vector{datum}); });
                       effect->Reset();
                       Expect(!Run(*effect, subject.MakeData(3)).empty(), "nothing comes after it");
                   }
               }),
};

} // namespace

std::span<CheckInfo const> GetMemoryChecks() {
    return s_memoryChecks;
}

} // namespace Tarsel::Check
