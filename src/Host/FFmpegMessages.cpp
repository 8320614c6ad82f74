#include "Host/FFmpegMessages.h"

#include "Proc/Interfaces/ProcExceptions.h"

#include <cstdint>

extern "C" {
#include <libavutil/log.h>
}

#include <algorithm>
#include <cstddef>
#include <deque>
#include <mutex>
#include <ranges>
#include <string>
#include <string_view>
#include <thread>
#include <utility>

namespace Tarsel::Host {
namespace {

/// Lines kept of one thread, and of all; a failing filter graph writes about three.
constexpr std::ptrdiff_t s_threadCapacity = 8;
constexpr std::size_t s_capacity = 64;
/// FFmpeg's own limit for a line.
constexpr int s_lineSize = 1024;

struct Line {
    std::uint64_t number;
    std::thread::id thread;
    int level;
    std::string text;
};

struct Scope {
    FFmpegMessages const* id;
    std::thread::id thread;
    FFmpegMessages::Listener const* listener;
    /// The number of the next line when it opened: those before are not its own.
    std::uint64_t first;
};

struct State {
    std::mutex mutex;
    /// In the order of opening.
    std::vector<Scope> scopes;
    std::deque<Line> lines;
    std::uint64_t nextNumber = 0;
    FFmpegMessages::Callback restored = nullptr;
};

/// Never destroyed: FFmpeg's threads may log until the process ends.
State& GetState() {
    static State& state = *new State;
    return state;
}

/// Set while this thread hands on a line.
thread_local bool t_isAdding = false;
/// Set while this thread tries something whose failure is an answer.
thread_local bool t_isTrying = false;

bool HasScope(State const& state, std::thread::id thread) {
    return std::ranges::find(state.scopes, thread, &Scope::thread) != state.scopes.end();
}

/// Tells everyone who listens on this thread, or everyone where no one does.
void Tell(State const& state, Line const& line) {
    auto const listensHere = [&](Scope const& scope) {
        return *scope.listener && scope.thread == line.thread;
    };
    bool const toAll = std::ranges::none_of(state.scopes, listensHere);
    for (Scope const& scope : state.scopes) {
        if (!*scope.listener || !(toAll || listensHere(scope)))
            continue;
        try {
            (*scope.listener)(line.level, line.text);
        } catch (...) {
            continue; // FFmpeg cannot pass it on, and others listen too
        }
    }
}

/// "[hqdn3d @ 0x55d0c8a0] text" as "[hqdn3d] text": where an object lies says nothing to users.
std::string WithoutAddresses(std::string_view line) {
    constexpr std::string_view mark = " @ 0x";
    std::string text;
    for (std::size_t at = line.find(mark); at != std::string_view::npos; at = line.find(mark)) {
        text += line.substr(0, at);
        line.remove_prefix(at + mark.size());
        line.remove_prefix(std::min(line.find_first_not_of("0123456789abcdef"), line.size()));
    }
    text += line;
    return text;
}

/// The number of the first line since the thread's innermost scope opened.
std::uint64_t FindFirst(State const& state, std::thread::id thread) {
    auto const scope = std::ranges::find(state.scopes.rbegin(), state.scopes.rend(), thread, &Scope::thread);
    return scope != state.scopes.rend() ? scope->first : 0;
}

void EraseFrom(std::uint64_t first, std::deque<Line>& lines, std::thread::id thread) {
    std::erase_if(lines, [&](Line const& line) { return line.thread == thread && line.number >= first; });
}

/// `first` is that of the innermost scope: a line that stands before it may be repeated.
void Keep(std::deque<Line>& lines, Line line, std::uint64_t first) {
    auto const isOfThread = [&](Line const& other) { return other.thread == line.thread; };
    auto const last = std::ranges::find_if(lines.rbegin(), lines.rend(), isOfThread);
    if (last != lines.rend() && last->text == line.text && last->number >= first)
        return;
    if (std::ranges::count_if(lines, isOfThread) == s_threadCapacity)
        lines.erase(std::ranges::find_if(lines, isOfThread));
    else if (lines.size() == s_capacity)
        lines.pop_front();
    lines.push_back(std::move(line));
}

void Add(int level, std::string_view line) {
    Line entry{0, std::this_thread::get_id(), level, WithoutAddresses(line)};
    if (entry.text.empty())
        return;
    State& state = GetState();
    std::lock_guard const lock(state.mutex);
    entry.number = state.nextNumber++;
    Tell(state, entry);
    if (level <= AV_LOG_WARNING && !state.scopes.empty())
        Keep(state.lines, std::move(entry), FindFirst(state, entry.thread));
}

/// What FFmpeg has given of a line so far; what is longer is cut off. Nothing that has a destructor: a thread
/// that first logs when there is no memory to note that destructor would end the process.
struct Pending {
    char text[s_lineSize];
    std::size_t size;
    int atLineStart = 1;
};

// FFmpeg may give a line in pieces, and it calls from many threads at once.
void OnLog(void* object, int level, char const* format, std::va_list arguments) noexcept {
    thread_local Pending pending;

    // The higher bits carry a color.
    level &= 0xff;
    if (level > AV_LOG_INFO || t_isAdding)
        return;
    if (t_isTrying)
        level = AV_LOG_INFO;
    char piece[s_lineSize];
    av_log_format_line2(object, level, format, arguments, piece, sizeof piece, &pending.atLineStart);
    t_isAdding = true;
    try {
        for (char const letter : std::string_view(piece)) {
            if (letter == '\n')
                Add(level, {pending.text, std::exchange(pending.size, 0)});
            else if (pending.size < sizeof pending.text)
                pending.text[pending.size++] = letter;
        }
    } catch (...) {
        // Without memory for a log line the failure itself is still reported.
        pending.size = 0;
    }
    t_isAdding = false;
}

/// Takes the lines of which `isWanted` holds: the errors, or the warnings when there is no error.
template <class Wanted>
std::vector<std::string> Extract(std::deque<Line>& lines, Wanted const& isWanted) {
    bool const hasErrors = std::ranges::any_of(
        lines, [&](Line const& line) { return isWanted(line) && line.level <= AV_LOG_ERROR; });
    std::vector<std::string> texts;
    for (Line& line : lines)
        if (isWanted(line) && (!hasErrors || line.level <= AV_LOG_ERROR))
            texts.push_back(std::move(line.text));
    std::erase_if(lines, isWanted);
    return texts;
}

/// What this thread logged since its innermost scope opened; where it logged none, and others are asked for,
/// what threads without a scope did.
std::vector<std::string> TakeLines(bool othersToo) {
    State& state = GetState();
    std::lock_guard const lock(state.mutex);
    std::thread::id const own = std::this_thread::get_id();
    std::uint64_t const first = FindFirst(state, own);
    std::vector<std::string> texts =
        Extract(state.lines, [&](Line const& line) { return line.thread == own && line.number >= first; });
    if (texts.empty() && othersToo)
        texts = Extract(state.lines, [&](Line const& line) { return !HasScope(state, line.thread); });
    return texts;
}

} // namespace

FFmpegMessages::FFmpegMessages(Listener listener, Callback restored) : m_listener(std::move(listener)) {
    State& state = GetState();
    std::lock_guard const lock(state.mutex);
    state.scopes.push_back({this, std::this_thread::get_id(), &m_listener, state.nextNumber});
    if (state.scopes.size() > 1)
        return;
    state.restored = restored;
    av_log_set_callback(OnLog);
}

FFmpegMessages::~FFmpegMessages() {
    State& state = GetState();
    std::lock_guard const lock(state.mutex);
    auto const scope = std::ranges::find(state.scopes, this, &Scope::id);
    EraseFrom(scope->first, state.lines, scope->thread);
    state.scopes.erase(scope);
    if (!state.scopes.empty())
        return;
    av_log_set_callback(state.restored != nullptr ? state.restored : av_log_default_callback);
    state.lines.clear();
}

void FFmpegMessages::AddTo(boost::exception const& failure) noexcept {
    try {
        if (boost::get_error_info<TagFFmpegMessages>(failure) != nullptr)
            return;
        bool const isOfFFmpeg = boost::get_error_info<Proc::TagFFmpegError>(failure) != nullptr;
        if (std::vector<std::string> lines = TakeLines(isOfFFmpeg); !lines.empty())
            failure << TagFFmpegMessages(std::move(lines));
    } catch (...) {
        // The failure matters more than what FFmpeg said of it.
    }
}

std::vector<std::string> FFmpegMessages::Take() {
    return TakeLines(true);
}

FFmpegMessages::Trial::Trial() noexcept : m_wasTrying(std::exchange(t_isTrying, true)) {}

FFmpegMessages::Trial::~Trial() {
    t_isTrying = m_wasTrying;
}

} // namespace Tarsel::Host
