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

/// The effect gives the same results wherever the frames lie, and changes nothing around their rows.
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
        std::string const where = fmt::format("{}, {}", GetText(form), GetName(layout));
        ExpectSame(Run(*subject.Make(), pictures), due, where);
        for (PlacedPicture const& picture : placed)
            Expect(picture.CountChanges() == 0, "{}: it wrote to {} bytes around the rows", where,
                   picture.CountChanges());
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

constexpr std::string_view s_crash = "The host crashes on a frame of a camera, a window or shared memory.";

constexpr std::array s_memoryChecks{
    CheckInfo{"dense-rows", Group::Memory, "Frames without padding give the same results.", s_crash, 1,
              nullptr, CheckFewForms<Layout::Dense>},
    CheckInfo{"rows-bottom-up", Group::Memory, "Frames stored bottom up give the same results.", s_crash, 1,
              nullptr, CheckFewForms<Layout::BottomUp>},
    CheckInfo{"rows-at-odd-addresses", Group::Memory,
              "Frames whose rows begin at odd addresses give the same results.", s_crash, 2, nullptr,
              CheckFewForms<Layout::Odd>},
    CheckInfo{"rows-end-with-page", Group::Memory,
              "The effect reads nothing past the last row: frames may end where memory ends.", s_crash, 2,
              nullptr, CheckFewForms<Layout::PageEnd>},
    CheckInfo{"rows-bottom-up-end-with-page", Group::Memory,
              "The effect reads nothing past the top row of a frame stored bottom up.", s_crash, 3, nullptr,
              CheckFewForms<Layout::PageEndBottomUp>},
    CheckInfo{"rows-everywhere", Group::Memory, "All this holds for every format and size.", s_crash, 6,
              nullptr, CheckAllForms},
    CheckInfo{"memory-given-back", Group::Memory,
              "After the end of a stream, or Reset, the effect keeps none of its input.",
              "A camera runs out of buffers and stops.", 2, nullptr,
              [](Subject<Video>& subject) {
                  for (bool const isEnded : {true, false}) {
                      auto const effect = subject.Make();
                      std::vector<PlacedPicture> placed;
                      for (auto const& datum : subject.MakeData(4))
                          placed.emplace_back(*datum, Layout::BottomUp);
                      StreamDriver driver(*effect);
                      for (PlacedPicture const& picture : placed)
                          driver.Feed(picture.Get());
                      if (isEnded)
                          (void)driver.End();
                      else
                          effect->Reset();
                      for (PlacedPicture& picture : placed) {
                          picture.Drop();
                          Expect(picture.IsReleased(), "after {} it keeps a frame",
                                 isEnded ? "the end" : "Reset");
                      }
                  }
              },
              [](Subject<Audio>& subject) {
                  auto const effect = subject.Make();
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
                  Expect(released == 4, "it keeps {} of 4 blocks", 4 - released);
              }},
    CheckInfo{"memory-read-only", Group::Memory,
              "The effect writes nothing into the caller's memory, which may be read-only.",
              "The host crashes on a frame of a mapped file, or shows one half changed.", 3, nullptr,
              [](Subject<Video>& subject) {
                  std::vector<SP<Proc::IDataVideo>> pictures;
                  for (auto const& datum : subject.MakeData(3)) {
                      PlacedPicture placed(*datum, Layout::BottomUp);
                      placed.Protect();
                      pictures.push_back(placed.Get());
                  }
                  ExpectSame(Run(*subject.Make(), pictures), subject.GetDue(3));
              }},
    ForEffects("data-without-memory", Group::Memory,
               "The effect refuses data whose frame has no memory, or passes it on untouched.",
               "A decoder's broken frame crashes the host.", 3,
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
                       bool makesUp = false;
                       (void)Refuses([&] {
                           for (auto const& result : Run(*effect, std::vector{datum})) {
                               AVFrame const& given = *result->GetAVFrame();
                               makesUp = makesUp || (given.data[0] != nullptr && given.format != 100000);
                           }
                       });
                       Expect(!makesUp || fault == 1, "it makes up a result for a frame {}",
                              fault == 0 ? "without memory" : "of format 100000");
                       effect->Reset();
                       Expect(!Run(*effect, subject.MakeData(3)).empty(), "it outputs nothing afterwards");
                   }
               }),
};

} // namespace

std::span<CheckInfo const> GetMemoryChecks() {
    return s_memoryChecks;
}

} // namespace Tarsel::Check
