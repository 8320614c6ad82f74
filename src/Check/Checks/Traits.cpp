#include "Check/Check.h"
#include "Conf/PixFmtDescription.h"

#include <array>
#include <chrono>

namespace Tarsel::Check {
namespace {

using Conf::PixFmt;
using Proc::Keeps;

constexpr char const* s_notStated = "the traits do not state it";

/// Frames and their results, none if the effect refuses them.
struct Trial {
    std::vector<SP<Proc::IDataVideo>> in;
    std::vector<SP<Proc::IDataVideo>> out;
};

Trial Try(Subject<Video>& subject, std::vector<SP<Proc::IDataVideo>> in) {
    Trial trial{std::move(in), {}};
    (void)Refuses([&] { trial.out = Run(*subject.Make(), trial.in); });
    return trial;
}

std::vector<SP<Proc::IDataVideo>> MakeFrames(PixFmt format) {
    return {MakeDatum(Video::Form{format}, 0), MakeDatum(Video::Form{format}, 1)};
}

/// Visits the results in each format that satisfies `wanted` and that the effect takes, of an effect that
/// needs seconds a frame in the first ones; Skipped where it takes none.
template <class Wanted, class Visit>
void ForFormats(Subject<Video>& subject, Wanted const& wanted, Visit const& visit) {
    using Clock = std::chrono::steady_clock;
    auto const end = Clock::now() + std::chrono::seconds(6);
    int taken = 0;
    for (PixFmt const format : Conf::PixFmtDescription::s_supportedFormats) {
        if (!wanted(Conf::PixFmtDescription::Find(format)) || (taken > 0 && Clock::now() > end))
            continue;
        Trial const trial = Try(subject, MakeFrames(format));
        for (auto const& result : trial.out) {
            visit(*trial.in[0], *result);
            ++taken;
        }
    }
    Require(taken > 0, "the effect takes no such format");
}

/// Bytes of the plane that holds alpha alone.
std::string GetAlpha(Proc::IDataVideo const& frame) {
    Proc::ReadOnlyPlane const plane = frame.GetReadOnlyPlane(3);
    std::string bytes;
    for (std::uint32_t row = 0; row < plane.rows; ++row)
        bytes.append(
            reinterpret_cast<char const*>(plane.data + static_cast<std::ptrdiff_t>(row) * plane.lineSize),
            plane.rowBytes);
    return bytes;
}

/// An effect whose traits state that it always keeps a property keeps it in each format that satisfies
/// `wanted`.
template <class Wanted>
void CheckKept(Subject<Video>& subject, Keeps Proc::EffectTraits::*trait, Wanted const& wanted) {
    auto const effect = subject.Make();
    Require(TraitsOf(*effect).*trait == Keeps::Always, s_notStated);
    Proc::EffectTraits alone;
    alone.alpha = alone.depth = alone.range = alone.size = Keeps::Never;
    alone.*trait = Keeps::Always;
    ForFormats(subject, wanted, [&](Proc::IDataVideo const& input, Proc::IDataVideo const& result) {
        ExpectNone(Host::FindLoss(alone, input, result));
    });
}

constexpr std::array s_traitsChecks{
    CheckInfo{
        "trait-alpha", Group::Traits, "An effect whose traits state alpha \"always\" keeps transparency.",
        "A title becomes opaque, and the host does not warn.", 2, nullptr,
        [](Subject<Video>& subject) {
            CheckKept(subject, &Proc::EffectTraits::alpha, [](auto const& format) {
                return format.HasAlpha() && format.GetFormat() != PixFmt::PAL8;
            });
            auto const effect = subject.Make();
            Proc::EffectTraits const& traits = TraitsOf(*effect);
            if (!traits.frameIndependent || traits.size != Keeps::Always)
                return;
            // The same alpha everywhere stays the same, wherever pixels move to.
            auto frames = MakeFrames(PixFmt::YUVA444P);
            for (auto const& frame : frames) {
                Proc::WritablePlane const plane = frame->GetWritablePlane(3);
                for (std::uint32_t row = 0; row < plane.rows; ++row)
                    std::fill_n(plane.data + static_cast<std::ptrdiff_t>(row) * plane.lineSize,
                                plane.rowBytes, std::uint8_t{128});
            }
            for (auto const& result : Try(subject, frames).out)
                if (result->GetPixelFormat() == PixFmt::YUVA444P)
                    Expect(GetAlpha(*result) == GetAlpha(*frames[0]), "an alpha of 128 everywhere changes");
        }},
    CheckInfo{"trait-depth", Group::Traits,
              "An effect whose traits state depth \"always\" keeps the bit depth of every format.",
              "HDR shows bands, and the host does not warn.", 2, nullptr,
              [](Subject<Video>& subject) {
                  CheckKept(subject, &Proc::EffectTraits::depth,
                            [](auto const& format) { return format.GetDepth() > 8; });
              }},
    CheckInfo{"trait-range", Group::Traits,
              "An effect whose traits state range \"always\" keeps full-range frames full range.",
              "Blacks turn gray in a player.", 2, nullptr,
              [](Subject<Video>& subject) {
                  CheckKept(subject, &Proc::EffectTraits::range,
                            [](auto const& format) { return format.GetName().starts_with("yuvj"); });
              }},
    CheckInfo{"trait-size", Group::Traits,
              "An effect whose traits state size \"always\" keeps the number of pixels or samples.",
              "A host that does not query the size writes past its buffers.", 1, nullptr,
              [](Subject<Video>& subject) {
                  CheckKept(subject, &Proc::EffectTraits::size, [&](auto const& format) {
                      return format.GetFormat() == subject.GetForm().format;
                  });
              },
              [](Subject<Audio>& subject) {
                  auto const effect = subject.Make();
                  auto const& traits = TraitsOf(*effect);
                  Require(traits.size == Keeps::Always && !traits.tail, s_notStated);
                  auto const count = [](auto const& blocks) {
                      std::int64_t samples = 0;
                      for (auto const& block : blocks)
                          samples += block->GetSampleCount();
                      return samples;
                  };
                  auto const data = subject.MakeData(4);
                  auto const results = Run(*effect, data);
                  Expect(count(results) == count(data), "{} samples become {}", count(data), count(results));
              }},
    CheckInfo{"trait-independent", Group::Traits,
              "If the traits state that frames are independent, each frame alone gives the same result.",
              "A host that runs several instances side by side gets other frames.", 1, nullptr,
              [](Subject<Video>& subject) {
                  auto const effect = subject.Make();
                  Require(TraitsOf(*effect).frameIndependent, s_notStated);
                  auto const data = subject.MakeData(6);
                  auto const due = GetAllOf(Run(*effect, data));
                  std::vector<std::string> got;
                  for (auto const& datum : data)
                      for (auto const& result : Run(*subject.Make(), std::vector{datum}))
                          got.push_back(GetAll(*result));
                  ExpectSame(got, due);
              }},
    CheckInfo{"trait-reach", Group::Traits,
              "A result depends on no more frames before and after than the traits state.",
              "A host that works on a part of a video gets other frames.", 1, nullptr,
              [](Subject<Video>& subject) {
                  auto const effect = subject.Make();
                  Proc::EffectTraits const& traits = TraitsOf(*effect);
                  constexpr std::int32_t most = 8;
                  Require(!traits.frameIndependent && traits.looksBack <= most && traits.looksAhead <= most,
                          s_notStated);
                  int const at = traits.looksBack + 2;
                  auto const all = subject.MakeData(at + traits.looksAhead + 3);
                  auto const first = all.begin() + at;
                  std::vector const part(first - traits.looksBack, first + traits.looksAhead + 1);
                  // What comes of one frame, by its times.
                  auto const run = [&](auto const& data) {
                      std::vector<std::string> results;
                      for (auto const& result : Run(*subject.Make(), data))
                          if (result->GetTime() >= first[0]->GetTime() &&
                              result->GetTime() < first[1]->GetTime())
                              results.push_back(GetAll(*result));
                      return results;
                  };
                  ExpectSame(run(part), run(all));
              }},
    CheckInfo{"trait-taken-formats", Group::Traits,
              "The effect takes every format that its traits state, at an even size.",
              "A host that converts only what it must fails in the middle of a video.", 3, nullptr,
              [](Subject<Video>& subject) {
                  auto const effect = subject.Make();
                  auto const& traits = TraitsOf(*effect);
                  for (PixFmt const format : Conf::PixFmtDescription::s_supportedFormats) {
                      auto const& record = Conf::PixFmtDescription::Find(format);
                      bool const isPlanarYuv =
                          !record.IsRgb() && record.GetPlaneCount() >= 3 && format != PixFmt::YUVJ444P;
                      if (traits.takes == Proc::Takes::PlanarYuv && !isPlanarYuv)
                          continue;
                      std::string said;
                      try {
                          (void)Run(*subject.Make(), MakeFrames(format));
                      } catch (std::exception const& refusal) {
                          said = refusal.what();
                      }
                      Expect(said.empty(), "it refuses {}: {}", record.GetName(), said);
                  }
              }},
};

} // namespace

std::span<CheckInfo const> GetTraitChecks() {
    return s_traitsChecks;
}

} // namespace Tarsel::Check
