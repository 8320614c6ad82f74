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
               "The creator makes an effect whose one reference is the caller's.",
               "The host leaks every effect, or cannot create it.", 1,
               [](auto& subject) {
                   auto const effect = subject.MakePlain();
                   Expect(effect->GetRefCount() == 1, "it has {} references", effect->GetRefCount());
               }),
    ForEffects("class-id", Group::Registration,
               "Class id and settings keys consist of lower-case letters, digits and hyphens.",
               "Users cannot name the effect in command lines and files.", 1,
               [](auto& subject) {
                   Expect(IsKey(subject.GetEntry().classId), "the class id is \"{}\"",
                          subject.GetEntry().classId);
                   for (Proc::Field const& field : subject.GetSettings()->GetFields())
                       Expect(IsKey(field.key), "a key is \"{}\"", field.key);
               }),
    ForEffects("settings-class", Group::Registration,
               "All settings of the effect, and copies of them, have the same class id and table.",
               "A host that looks up settings by their class finds the wrong ones.", 1,
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
               "GetInputFrameType returns the medium for which the effect is registered.",
               "The host feeds audio to an effect on video.", 1,
               [](auto& subject) {
                   using Medium = typename std::decay_t<decltype(subject)>::Medium;
                   constexpr int due = std::is_same_v<Medium, Video> ? Proc::IEffect::VideoFrames
                                                                     : Proc::IEffect::AudioFrames;
                   int const type = subject.MakePlain()->GetInputFrameType();
                   Expect(type == due, "it is {} instead of {}", type, due);
               }),
    ForEffects("traits-make-sense", Group::Registration,
               "The traits state a summary of one line, no negative delay, and at least one frame per frame.",
               "Hosts base lists, notes and queues on them.", 1,
               [](auto& subject) {
                   auto const effect = subject.MakePlain();
                   ExpectNone(Host::FindFault(TraitsOf(*effect)));
               }),
    ForEffects("effects-cost-nothing", Group::Registration,
               "Creating and dropping effects leaves no memory, handle or thread behind.",
               "A host that creates an effect for each clip grows until the system ends it.", 3,
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
                   Expect(CountHandles() <= handles, "handles stay open");
                   Expect(CountThreads() <= threads, "threads stay behind");
               }),
};

} // namespace

std::span<CheckInfo const> GetRegistrationChecks() {
    return s_registrationChecks;
}

} // namespace Tarsel::Check
