#include "Check/Check.h"

#include <array>
#include <limits>

namespace Tarsel::Check {
namespace {

constexpr std::int64_t s_unknown = std::numeric_limits<std::int64_t>::min();

constexpr std::array s_timesChecks{
    CheckInfo{
        "times-kept", Group::Times, "Frames keep their times and durations, however they are spaced.",
        "Video and audio drift apart, and variable frame rates become constant.", 1, nullptr,
        [](Subject<Video>& subject) {
            auto const effect = subject.Make();
            Require(Host::HoldsNothing(TraitsOf(*effect)), "the effect does not give a frame for a frame");
            auto const data = subject.MakeData(6);
            constexpr std::array<std::int64_t, 6> times{1000000, 1000001, 1033367,
                                                        5000000, 5040000, 90000000000};
            for (std::size_t i = 0; i < times.size(); ++i) {
                data[i]->SetTime(times[i]);
                data[i]->SetDuration(static_cast<std::int64_t>(i) * 7777 + 1);
            }
            auto const results = Run(*effect, data);
            Expect(results.size() == data.size(), "{} frames come out of {}", results.size(), data.size());
            for (std::size_t i = 0; i < results.size(); ++i) {
                Expect(results[i]->GetTime() == data[i]->GetTime(), "a frame at {} us comes out at {}",
                       data[i]->GetTime(), results[i]->GetTime());
                Expect(results[i]->GetDuration() == data[i]->GetDuration(),
                       "a frame of {} us comes out with {}", data[i]->GetDuration(),
                       results[i]->GetDuration());
            }
        }},
    ForEffects("times-rise", Group::Times, "The times of results never go back.",
               "Encoders refuse the frames, and players jump.", 1,
               [](auto& subject) {
                   std::int64_t last = s_unknown;
                   for (auto const& result : Run(*subject.Make(), subject.MakeData(12))) {
                       Expect(result->GetTime() >= last, "a result at {} us follows one at {}",
                              result->GetTime(), last);
                       last = result->GetTime();
                   }
               }),
    ForEffects("times-of-streams", Group::Times,
               "A stream that begins at another time, even below 0, has the same results at its times.",
               "A clip cut out of a video looks different from the video.", 2,
               [](auto& subject) {
                   auto const due = Run(*subject.Make(), subject.MakeData(4));
                   for (std::int64_t const shift : {-3600000000LL, 1000000LL, 360000000000LL}) {
                       auto const data = subject.MakeData(4);
                       for (auto const& datum : data)
                           datum->SetTime(datum->GetTime() + shift);
                       auto const got = Run(*subject.Make(), data);
                       Expect(got.size() == due.size(), "{} results instead of {}", got.size(), due.size());
                       for (std::size_t i = 0; i < got.size(); ++i)
                           Expect(GetContent(*got[i]) == GetContent(*due[i]) &&
                                      got[i]->GetTime() == due[i]->GetTime() + shift,
                                  "shifted by {} us, result {} has other content, or is at {} us", shift, i,
                                  got[i]->GetTime());
                   }
               }),
    ForEffects("times-unknown", Group::Times, "Input without a time gives results without one.",
               "The host cannot process raw streams, which have no times.", 3,
               [](auto& subject) {
                   auto const data = subject.MakeData(3);
                   for (auto const& datum : data) {
                       datum->SetTime(s_unknown);
                       datum->SetDuration(0);
                   }
                   auto const results = Run(*subject.Make(), data);
                   Expect(!results.empty(), "it outputs nothing");
                   for (auto const& result : results)
                       Expect(result->GetTime() == s_unknown, "a result has the time {} us",
                              result->GetTime());
               }),
    ForEffects("times-impossible", Group::Times,
               "The effect takes or refuses times that go back, stand still or overflow, and works on.",
               "A damaged file crashes the host.", 4,
               [](auto& subject) {
                   constexpr std::int64_t most = std::numeric_limits<std::int64_t>::max();
                   for (auto const& times : {std::array<std::int64_t, 4>{9, 9, 9, 9},
                                             {4000000, 3000000, 2000000, 1},
                                             {most, most - 1, most, s_unknown + 1},
                                             {0, most, 0, -most}}) {
                       auto const data = subject.MakeData(4);
                       for (std::size_t i = 0; i < times.size(); ++i) {
                           data[i]->SetTime(times[i]);
                           data[i]->SetDuration(i % 2 == 0 ? most : -1);
                       }
                       auto const effect = subject.Make();
                       (void)Refuses([&] { Run(*effect, data); });
                       // It works again afterwards.
                       effect->Reset();
                       Expect(!Run(*effect, subject.MakeData(3)).empty(), "it outputs nothing after Reset");
                   }
               }),
    CheckInfo{"times-of-samples", Group::Times, "Each block of audio begins where the one before ended.",
              "The audio clicks at every block, or drifts from the video.", 2, nullptr, nullptr,
              [](Subject<Audio>& subject) {
                  auto const results = Run(*subject.Make(), subject.MakeData(12));
                  Require(results.size() > 1, "the effect outputs too few blocks");
                  for (std::size_t i = 1; i < results.size(); ++i) {
                      auto const& before = *results[i - 1];
                      double const due =
                          static_cast<double>(before.GetTime()) +
                          static_cast<double>(before.GetSampleCount()) * 1e6 / before.GetSampleInfo().rate;
                      double const off = static_cast<double>(results[i]->GetTime()) - due;
                      Expect(std::abs(off) < 1e6 / before.GetSampleInfo().rate,
                             "block {} begins {:.1f} us off", i, off);
                  }
              }},
};

} // namespace

std::span<CheckInfo const> GetTimeChecks() {
    return s_timesChecks;
}

} // namespace Tarsel::Check
