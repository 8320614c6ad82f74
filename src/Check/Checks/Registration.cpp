#include "Check/Check.h"
#include "Check/ProcessState.h"
#include "Proc/Settings/Field.h"

#include <algorithm>
#include <array>

namespace Tarsel::Check {
namespace {

bool IsKey(std::string_view text) {
    return !text.empty() && std::ranges::all_of(text, [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '-';
    });
}

constexpr std::array s_registrationChecks{
    ForEffects("makes-effects", Group::Registration,
               "The creator makes an effect without factories, and its one reference is the caller's.",
               "A host without a factory of its own crashes, or every effect it makes is lost memory.", 1,
               [](auto& subject) {
                   auto const effect = subject.MakePlain();
                   Expect(effect->GetRefCount() == 1, "it has {} references", effect->GetRefCount());
               }),
    ForEffects("class-id", Group::Registration,
               "The class id is of lower-case letters, digits and hyphens, and so are the settings' keys.",
               "Command lines, files and addresses that name the effect cannot be written.", 1,
               [](auto& subject) {
                   Expect(IsKey(subject.GetEntry().classId), "the class id is \"{}\"",
                          subject.GetEntry().classId);
                   for (Proc::Field const& field : subject.GetSettings()->GetFields())
                       Expect(IsKey(field.key), "a key is \"{}\"", field.key);
               }),
    ForEffects("settings-class", Group::Registration,
               "The settings say the same class id and table each time, and copies of them too.",
               "A host that looks settings up by their class finds another's.", 1,
               [](auto& subject) {
                   auto const effect = subject.MakePlain();
                   auto const other = subject.MakePlain();
                   auto const& settings = effect->GetSettingsBase();
                   Expect(settings.GetClassId() == other->GetSettingsBase().GetClassId() &&
                              settings.GetClassId() == settings.Clone()->GetClassId(),
                          "the class id changes");
                   Expect(&settings.GetClassTable() == &other->GetSettingsBase().GetClassTable(),
                          "the table changes");
               }),
    ForEffects("input-type", Group::Registration,
               "GetInputFrameType tells the medium under which the effect is registered.",
               "A host feeds audio to an effect on pictures.", 1,
               [](auto& subject) {
                   using Medium = typename std::decay_t<decltype(subject)>::Medium;
                   constexpr int due = std::is_same_v<Medium, Video> ? Proc::IEffect::VideoFrames
                                                                     : Proc::IEffect::AudioFrames;
                   int const type = subject.MakePlain()->GetInputFrameType();
                   Expect(type == due, "it is {} where {} is due", type, due);
               }),
    ForEffects(
        "traits-make-sense", Group::Registration,
        "The traits have a summary of one line, no negative delay, and at least one frame for a frame.",
        "Lists, notes and queues of a host are built on them.", 1,
        [](auto& subject) {
            auto const effect = subject.MakePlain();
            Proc::EffectTraits const& traits = TraitsOf(*effect);
            Expect(!traits.summary.empty() && traits.summary.find('\n') == std::string_view::npos,
                   "the summary is \"{}\"", traits.summary);
            Expect(traits.delayFrames >= 0 && traits.delayTime >= 0, "a delay is negative");
            Expect(traits.framesPerFrame >= 1, "{} frames come for one", traits.framesPerFrame);
        }),
    ForEffects("effects-cost-nothing", Group::Registration,
               "Effects that are made and dropped leave no memory, handle or thread behind.",
               "A host that shows a list of effects, or makes one for each clip, grows until it is ended.", 3,
               [](auto& subject) {
                   constexpr int count = 500;
                   constexpr std::size_t most = 1 << 20;
                   for (int i = 0; i < count; ++i)
                       (void)subject.MakePlain();
                   std::size_t const memory = MeasureMemory();
                   std::size_t const handles = CountHandles();
                   std::size_t const threads = CountThreads();
                   for (int i = 0; i < count; ++i)
                       (void)subject.MakePlain();
                   std::size_t const now = MeasureMemory();
                   Expect(now < memory + most, "{} effects leave {} bytes behind", count, now - memory);
                   Expect(CountHandles() <= handles, "handles are left open");
                   Expect(CountThreads() <= threads, "threads are left running");
               }),
};

} // namespace

std::span<CheckInfo const> GetRegistrationChecks() {
    return s_registrationChecks;
}

} // namespace Tarsel::Check
