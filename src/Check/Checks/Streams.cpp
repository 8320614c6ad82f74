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
    Expect(count >= s_length, "{} frames come of {}", count, s_length);
    Expect(count <= static_cast<std::size_t>(s_length * traits.framesPerFrame),
           "{} frames come of {}, though the traits say {} for one at most", count, s_length,
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
    Expect(seconds(results) >= seconds(data) - tolerance, "{:.6f} s come of {:.6f}", seconds(results),
           seconds(data));
    Expect(traits.tail || seconds(results) <= seconds(data) + tolerance,
           "{:.6f} s come of {:.6f}, though the traits tell of no tail", seconds(results), seconds(data));
}

constexpr std::array s_streamsChecks{
    CheckInfo{"nothing-lost", Group::Streams,
              "What is fed comes out, the last of it after the end: as many frames, as much audio.",
              "The end of every film is missing.", 1, nullptr, CheckNothingLost, CheckNoSampleLost},
    ForEffects("end-of-nothing", Group::Streams,
               "Before the first datum, and after the end, Take gives null and End does nothing.",
               "A host that ends an empty film waits for ever, or crashes.", 1,
               [](auto& subject) {
                   auto const effect = subject.Make();
                   auto& stream = AsStream(*effect);
                   for (int round = 0; round < 2; ++round) {
                       Expect(stream.Take() == nullptr, "something comes of nothing");
                       stream.End();
                       stream.End();
                       Expect(stream.Take() == nullptr, "something comes of an empty stream");
                       (void)Run(*effect, subject.MakeData(2));
                   }
               }),
    ForEffects("stream-again", Group::Streams, "After its end a stream begins afresh, with the same results.",
               "The second clip in a batch shows traces of the first.", 1,
               [](auto& subject) {
                   auto const effect = subject.Make();
                   (void)AsStream(*effect);
                   auto const first = GetAllOf(Run(*effect, subject.MakeData(s_length)));
                   for (int i = 0; i < 2; ++i) {
                       std::string const difference =
                           FindDifference(GetAllOf(Run(*effect, subject.MakeData(s_length))), first);
                       Expect(difference.empty(), "{}", difference);
                   }
               }),
    ForEffects("stream-of-one", Group::Streams, "One datum alone comes out.",
               "A still picture, or the last block of a film, vanishes.", 1,
               [](auto& subject) {
                   auto const effect = subject.Make();
                   (void)AsStream(*effect);
                   Expect(!Run(*effect, subject.MakeData(1)).empty(), "nothing comes of it");
               }),
    ForEffects("taken-late", Group::Streams,
               "Results wait to be taken: taking them all at the end gives the same ones.",
               "A host that feeds a few frames before it takes any loses frames.", 2,
               [](auto& subject) {
                   auto const due = GetAllOf(Run(*subject.Make(), subject.MakeData(s_length)));
                   auto const effect = subject.Make();
                   auto& stream = AsStream(*effect);
                   for (auto const& datum : subject.MakeData(s_length))
                       stream.Feed(datum);
                   stream.End();
                   std::string const difference = FindDifference(GetAllOf(TakeAll(stream)), due);
                   Expect(difference.empty(), "{}", difference);
               }),
    ForEffects("stream-changes-form", Group::Streams,
               "When the form changes, what the old one holds back comes first, and nothing is lost.",
               "A camera that is turned, or a playlist, loses its last frames at every change.", 3,
               [](auto& subject) {
                   using Medium = typename std::decay_t<decltype(subject)>::Medium;
                   using Data = typename Medium::Data;
                   auto const forms = GetUsualForms(Medium());
                   std::vector<std::string> due;
                   std::vector<SP<Data>> mixed;
                   for (auto const& form : {subject.GetForm(), forms[1], subject.GetForm()}) {
                       std::vector<SP<Data>> part;
                       for (int i = 0; i < 3; ++i)
                           part.push_back(MakeDatum(form, i));
                       mixed.insert(mixed.end(), part.begin(), part.end());
                       if (Refuses([&] {
                               for (auto const& text : GetAllOf(Run(*subject.Make(), part)))
                                   due.push_back(text);
                           }))
                           throw Skipped("it takes only some of the forms");
                   }
                   auto const effect = subject.Make();
                   (void)AsStream(*effect);
                   auto const got = GetAllOf(Run(*effect, mixed));
                   Expect(got.size() == due.size() || std::is_same_v<Medium, Audio>,
                          "{} come where {} come of each part alone", got.size(), due.size());
                   Expect(!got.empty(), "nothing comes");
               }),
    ForEffects("process-agrees", Group::Streams,
               "An effect that holds nothing back gives by Process what it gives as a stream.",
               "A preview differs from the film that is written.", 2,
               [](auto& subject) {
                   auto const effect = subject.Make();
                   auto const& traits = TraitsOf(*effect);
                   (void)AsStream(*effect);
                   Require(traits.delayFrames == 0 && traits.delayTime == 0 && traits.framesPerFrame == 1 &&
                               !traits.tail,
                           "the effect holds data back");
                   auto const due = GetAllOf(Run(*effect, subject.MakeData(s_length)));
                   auto const other = subject.Make();
                   std::vector<std::string> got;
                   for (auto datum : subject.MakeData(s_length))
                       if (other->Process(datum); datum != nullptr)
                           got.push_back(GetAll(*datum));
                   std::string const difference = FindDifference(got, due);
                   Expect(difference.empty(), "{}", difference);
               }),
    ForEffects("queue-bounded", Group::Streams,
               "While results are taken, an effect holds back no more than its traits say.",
               "A long film fills the memory.", 3,
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
                              "{} us are held back after datum {}, the traits say {}", in - out, i + 1, most);
                   }
               }),
};

} // namespace

std::span<CheckInfo const> GetStreamChecks() {
    return s_streamsChecks;
}

} // namespace Tarsel::Check
