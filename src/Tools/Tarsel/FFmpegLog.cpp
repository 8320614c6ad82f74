#include "Tools/Tarsel/FFmpegLog.h"

#include "Tools/Tarsel/Console.h"

#include <cstdint>

extern "C" {
#include <libavutil/log.h>
}

#include <algorithm>
#include <atomic>
#include <cstdarg>

namespace Tarsel::Tools {
namespace {

/// Lines kept; a failing filter graph writes about three.
constexpr std::size_t s_capacity = 8;
/// FFmpeg's own limit for a line.
constexpr int s_lineSize = 1024;

std::atomic<FFmpegLog*> s_listener{nullptr};

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

// FFmpeg may give a line in pieces, and it calls from many threads at once.
void OnLog(void* object, int level, char const* format, std::va_list arguments) noexcept {
    thread_local int atLineStart = 1;
    thread_local std::string pending;

    // The higher bits carry a colour.
    level &= 0xff;
    FFmpegLog* const listener = s_listener.load();
    if (listener == nullptr || level > AV_LOG_INFO)
        return;
    char piece[s_lineSize];
    av_log_format_line2(object, level, format, arguments, piece, sizeof piece, &atLineStart);
    try {
        pending += piece;
        for (std::size_t end = pending.find('\n'); end != std::string::npos; end = pending.find('\n')) {
            listener->Add(level, std::string_view(pending).substr(0, end));
            pending.erase(0, end + 1);
        }
    } catch (std::exception const&) {
        // Without memory for a log line the failure itself is still reported.
        pending.clear();
    }
}

} // namespace

FFmpegLog::FFmpegLog(Console& console, bool verbose) : m_console(console), m_verbose(verbose) {
    s_listener = this;
    av_log_set_callback(OnLog);
}

FFmpegLog::~FFmpegLog() {
    av_log_set_callback(av_log_default_callback);
    s_listener = nullptr;
}

void FFmpegLog::MarkFailure() {
    std::lock_guard const lock(m_mutex);
    if (m_marked)
        return;
    m_marked = true;
    std::erase_if(m_lines, [](Line const& line) { return line.thread != std::this_thread::get_id(); });
}

std::vector<std::string> FFmpegLog::GetFailureLines() const {
    std::lock_guard const lock(m_mutex);
    auto const isError = [](Line const& line) { return line.level <= AV_LOG_ERROR; };
    bool const warnings = std::none_of(m_lines.begin(), m_lines.end(), isError);
    std::vector<std::string> texts;
    for (Line const& line : m_lines)
        if (warnings || isError(line))
            texts.push_back(line.text);
    return texts;
}

void FFmpegLog::Add(int level, std::string_view line) {
    std::string text = WithoutAddresses(line);
    if (text.empty())
        return;
    if (m_verbose)
        m_console.Print(text);
    if (level > AV_LOG_WARNING)
        return;

    std::lock_guard const lock(m_mutex);
    bool const repeated = !m_lines.empty() && m_lines.back().text == text;
    if (m_marked || repeated)
        return;
    if (m_lines.size() == s_capacity)
        m_lines.pop_front();
    m_lines.push_back({std::this_thread::get_id(), level, std::move(text)});
}

} // namespace Tarsel::Tools
