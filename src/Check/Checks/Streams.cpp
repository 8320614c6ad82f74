#include "Check/Check.h"

#include <array>

namespace Tarsel::Check {
namespace {

constexpr int s_length = 8;

/// Duration of all data together, in microseconds.
template <class Data>
std::int64_t GetSpan(std::vector<SP<Data>> const& data) {
    std::int64_t span = 0;
    for (SP<Data> const& datum : data)
        span += datum->GetDuration();
    return span;
}

void CheckNothingLost(Subject<Video>& subject) {
    auto const effect = subject.Make();
    auto const& traits = TraitsOf(*effect);
    (void)AsStream(*effect);
    std::size_t const count = Run(*effect, subject.MakeData(s_length)).size();
    Expect(count >= s_length, "{} frames come out of {}", count, s_length);
    Expect(count <= static_cast<std::size_t>(s_length * traits.framesPerFrame),
           "{} frames come out of {}; the traits state {} per frame at most", count, s_length,
           traits.framesPerFrame);
}

void CheckNoSampleLost(Subject<Audio>& subject) {
    auto const effect = subject.Make();
    auto const& traits = TraitsOf(*effect);
    (void)AsStream(*effect);
    auto const data = subject.MakeData(s_length);
    auto const results = Run(*effect, data);
    auto const seconds = [](auto const& blocks) {
        double sum = 0;
        for (auto const& block : blocks)
            sum += static_cast<double>(block->GetSampleCount()) / block->GetSampleInfo().rate;
        return sum;
    };
    // A conversion of the rate rounds to whole samples.
    double const tolerance = 2.0 / subject.GetForm().info.rate;
    Expect(seconds(results) >= seconds(data) - tolerance, "{:.6f} s come out of {:.6f}", seconds(results),
           seconds(data));
    Expect(traits.tail || seconds(results) <= seconds(data) + tolerance,
           "{:.6f} s come out of {:.6f}, though the traits state no tail", seconds(results), seconds(data));
}

/// A form that the effect takes, another, and the first again; Skipped where it takes no other.
template <class Subject>
auto FindTwoForms(Subject const& subject) {
    auto const first = subject.GetForm();
    for (auto const& other : GetUsualForms(typename Subject::Medium()))
        if (other != first && !Refuses([&] { Run(*subject.Make(), {MakeDatum(other, 0)}); }))
            return std::array{first, other, first};
    throw Skipped("the effect takes only one of the usual forms");
}

constexpr std::array s_streamsChecks{
    CheckInfo{
        "nothing-lost", Group::Streams,
        "The effect outputs all that it was fed, the last of it after End: as many frames, as much audio.",
        "The end of every video is missing.", 1, nullptr, CheckNothingLost, CheckNoSampleLost},
    ForEffects("end-of-nothing", Group::Streams,
               "Before the first input, and after the end, Take returns null and End does nothing.",
               "A host that ends an empty video hangs or crashes.", 1,
               [](auto& subject) {
                   auto const effect = subject.Make();
                   auto& stream = AsStream(*effect);
                   for (int round = 0; round < 2; ++round) {
                       Expect(stream.Take() == nullptr, "Take returns something before the first input");
                       stream.End();
                       stream.End();
                       Expect(stream.Take() == nullptr,
                              "Take returns something after the end of an empty stream");
                       (void)Run(*effect, subject.MakeData(2));
                   }
               }),
    ForEffects("stream-again", Group::Streams,
               "After its end a stream starts over and gives the same results.",
               "The second clip in a batch shows traces of the first.", 1,
               [](auto& subject) {
                   auto const effect = subject.Make();
                   (void)AsStream(*effect);
                   auto const first = GetAllOf(Run(*effect, subject.MakeData(s_length)));
                   for (int i = 0; i < 2; ++i)
                       ExpectSame(Run(*effect, subject.MakeData(s_length)), first);
               }),
    ForEffects("stream-of-one", Group::Streams, "A stream of one frame or block has a result.",
               "A still image vanishes.", 1,
               [](auto& subject) {
                   auto const effect = subject.Make();
                   (void)AsStream(*effect);
                   Expect(!Run(*effect, subject.MakeData(1)).empty(), "it outputs nothing");
               }),
    ForEffects("taken-late", Group::Streams, "The effect keeps results until they are taken, however late.",
               "A host that feeds a few frames before it takes results loses some.", 2,
               [](auto& subject) {
                   auto const effect = subject.Make();
                   auto& stream = AsStream(*effect);
                   for (auto const& datum : subject.MakeData(s_length))
                       stream.Feed(datum);
                   stream.End();
                   ExpectSame(TakeAll(stream), subject.GetDue(s_length));
               }),
    ForEffects("stream-changes-form", Group::Streams,
               "When the form changes, the effect first outputs all of the old form, then starts over.",
               "A playlist, or a camera that is turned, loses its last frames at every change.", 3,
               [](auto& subject) {
                   using Medium = typename std::decay_t<decltype(subject)>::Medium;
                   using Data = typename Medium::Data;
                   std::vector<std::string> due;
                   std::vector<SP<Data>> mixed;
                   std::int64_t start = 0;
                   for (auto const& form : FindTwoForms(subject)) {
                       std::vector<SP<Data>> part;
                       for (int i = 0; i < 3; ++i) {
                           part.push_back(MakeDatum(form, i));
                           // One stream: each part begins where the one before ended.
                           part.back()->SetTime(part.back()->GetTime() + start);
                       }
                       start = part.back()->GetTime() + part.back()->GetDuration();
                       mixed.insert(mixed.end(), part.begin(), part.end());
                       auto const results = GetAllOf(Run(*subject.Make(), part));
                       due.insert(due.end(), results.begin(), results.end());
                   }
                   auto const effect = subject.Make();
                   (void)AsStream(*effect);
                   ExpectSame(Run(*effect, mixed), due);
               }),
    ForEffects("process-agrees", Group::Streams,
               "An effect that holds nothing back gives the same results by Process and as a stream.",
               "The preview differs from the file that is written.", 2,
               [](auto& subject) {
                   auto const effect = subject.Make();
                   auto const& traits = TraitsOf(*effect);
                   (void)AsStream(*effect);
                   Require(Host::HoldsNothing(traits), "the effect holds data back");
                   auto const other = subject.Make();
                   std::vector<std::string> got;
                   for (auto datum : subject.MakeData(s_length))
                       if (other->Process(datum); datum != nullptr)
                           got.push_back(GetAll(*datum));
                   ExpectSame(got, subject.GetDue(s_length));
               }),
    ForEffects("queue-bounded", Group::Streams,
               "An effect whose results are taken holds back no more than its traits state.",
               "A long video fills the memory.", 3,
               [](auto& subject) {
                   using Medium = typename std::decay_t<decltype(subject)>::Medium;
                   auto const effect = subject.Make();
                   auto const& traits = TraitsOf(*effect);
                   auto& stream = AsStream(*effect);
                   std::int64_t in = 0;
                   std::int64_t out = 0;
                   std::int64_t const most =
                       std::is_same_v<Medium, Video> ? traits.delayFrames * Video::step : traits.delayTime;
                   for (int i = 0; i < 60; ++i) {
                       auto const datum = subject.MakeDatum(i);
                       in += datum->GetDuration();
                       stream.Feed(datum);
                       auto const results = TakeAll(stream);
                       if constexpr (std::is_same_v<Medium, Video>)
                           out += static_cast<std::int64_t>(results.size()) * Video::step;
                       else
                           out += GetSpan(results);
                       Expect(in - out <= most + datum->GetDuration() / 2,
                              "it holds {} us back after input {}; the traits state {}", in - out, i + 1,
                              most);
                   }
               }),
};

} // namespace

std::span<CheckInfo const> GetStreamChecks() {
    return s_streamsChecks;
}

} // namespace Tarsel::Check
