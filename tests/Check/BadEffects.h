#pragma once

#include <iterator>

namespace Tarsel::Test {

/// What an effect of the plug-in of bad ones does wrong.
enum class Fault {
    None,
    KeepsAReference,
    TellsAnotherMedium,
    HasNoSummary,
    LeaksItself,
    ForgetsASetting,
    TakesAnySettings,
    TrustsTrees,
    WorksThoughNeutral,
    LiesAboutFormat,
    AnswersDifferently,
    AnswersOnlyTheFormatItKnows,
    AsksAndForgets,
    MakesSomethingOfNothing,
    ThrowsWhatNobodyCatches,
    ChangesItsInput,
    WritesToResultsGivenAway,
    IsRandom,
    LosesTheLast,
    EndsOnlyStreams,
    RemembersTheStreamBefore,
    RoundsTimes,
    LosesTheTimes,
    LosesDurations,
    LosesAlpha,
    DependsOnFramesBefore,
    WritesPastRows,
    ReadsPastTheEnd,
    KnowsNoNegativeStrides,
    KeepsFrames,
    TrustsFrames,
    ResetKeepsResults,
    StaysBroken,
    SharesItsState,
    StaysInItsThread,
    LeavesThreads,
    LeaksMemory,
    LeaksHandles,
    SetsTheLocale,
    EndsTheProcess,
    Hangs,
};

/// A fault, in the order of the enumeration: the effect that has it, and the check that finds it.
struct FaultRow {
    char const* classId;
    char const* check;
};

inline constexpr FaultRow s_faults[] = {
    {"good", ""},
    {"keeps-a-reference", "makes-effects"},
    {"tells-another-medium", "input-type"},
    {"has-no-summary", "traits-make-sense"},
    {"leaks-itself", "effects-cost-nothing"},
    {"forgets-a-setting", "settings-kept"},
    {"takes-any-settings", "settings-of-others"},
    {"trusts-trees", "settings-any-tree"},
    {"works-though-neutral", "settings-neutral"},
    {"lies-about-format", "format-agrees"},
    {"answers-differently", "format-asked-again"},
    {"answers-only-the-format-it-knows", "format-agrees"},
    {"asks-and-forgets", "format-asks-nothing"},
    {"makes-something-of-nothing", "null-stays-null"},
    {"throws-what-nobody-catches", "any-form"},
    {"changes-its-input", "input-unchanged"},
    {"writes-to-results-given-away", "result-apart"},
    {"is-random", "same-again"},
    {"loses-the-last", "nothing-lost"},
    {"ends-only-streams", "end-of-nothing"},
    {"remembers-the-stream-before", "stream-again"},
    {"rounds-times", "times-kept"},
    {"loses-the-times", "times-rise"},
    {"loses-durations", "times-kept"},
    {"loses-alpha", "trait-alpha"},
    {"depends-on-frames-before", "trait-independent"},
    {"writes-past-rows", "rows-bottom-up"},
    {"reads-past-the-end", "rows-end-with-page"},
    {"knows-no-negative-strides", "rows-bottom-up"},
    {"keeps-frames", "memory-given-back"},
    {"trusts-frames", "data-without-memory"},
    {"reset-keeps-results", "reset"},
    {"stays-broken", "after-failure"},
    {"shares-its-state", "two-apart"},
    {"stays-in-its-thread", "thread-after-thread"},
    {"leaves-threads", "threads-end"},
    {"leaks-memory", "memory-flat"},
    {"leaks-handles", "memory-flat-when-used-again"},
    {"sets-the-locale", "process-unchanged"},
    {"ends-the-process", "any-form"},
    {"hangs", "times-impossible"},
};

} // namespace Tarsel::Test
