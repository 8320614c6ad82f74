#include "Faults/Sums.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <span>
#include <sstream>
#include <string>
#include <string_view>

namespace Tarsel::Test {
namespace {

constexpr std::string_view s_events[] = {"vague", "different", "unusable", "leak", "crash", "hang"};

/// Of others, not of this tree.
bool IsLibrary(Place const& place) {
    constexpr std::string_view names[] = {"libtarsel", "liblumenta", "tarsel", "test_"};
    return std::ranges::none_of(names, [&](std::string_view name) {
        return std::string_view(place.module.data()).starts_with(name);
    });
}

std::span<Place const> AsSpan(Places const& places) {
    return std::span(places.places).first(places.count);
}

std::string GetText(Places const& places) {
    std::string text;
    for (Place const& place : AsSpan(places)) {
        std::ostringstream line;
        line << "\n    " << place.module.data() << ' ' << place.symbol.data() << " 0x" << std::hex
             << place.offset;
        text += line.str();
    }
    return text;
}

/// Faults of libraries: what goes wrong while this function is on the stack. Libraries free what they were
/// given, and keep what they were told, only where every allocation has succeeded.
struct Known {
    Event event;
    /// "" for one without a name that others know, "*" for any.
    std::string_view function;
    /// What the operation's name begins with; "" for all.
    std::string_view operation = {};
};
constexpr Known s_known[] = {
    // An error that says something else.
    {Event::Vague, "avfilter_graph_create_filter"},
    {Event::Vague, "avfilter_graph_parse"},
    {Event::Vague, "avfilter_graph_parse2"},
    {Event::Vague, "avfilter_graph_config"},
    {Event::Vague, "av_expr_parse_and_eval"},
    {Event::Vague, "avcodec_send_frame"},
    {Event::Vague, "avformat_find_stream_info"},
    {Event::Vague, "avformat_open_input"},
    {Event::Vague, "avio_open2"},
    // Options of filters, encoders and muxers, fields, indexes, frames and packets that are dropped without a
    // word.
    {Event::Different, "avfilter_init_str"},
    {Event::Different, "avcodec_open2"},
    {Event::Different, "avcodec_send_packet"},
    {Event::Different, "avformat_find_stream_info"},
    {Event::Different, "avformat_open_input"},
    {Event::Different, "avformat_write_header"},
    {Event::Different, "av_read_frame"},
    {Event::Different, "av_write_trailer"},
    {Event::Different, "", "audio generator"},
    {Event::Different, "", "deinterlace: "},
    // The name of a filter, the options of a protocol, a frame that did not get into a graph.
    {Event::Leak, "avfilter_graph_alloc_filter"},
    {Event::Leak, "avio_open2"},
    {Event::Leak, "av_buffersrc_add_frame_flags"},
    {Event::Leak, "swr_convert"},
    {Event::Leak, "vsMotionDetection"},
    {Event::Leak, "", "two audio streams"},
    // Assertions that an option can be set, pointers that nobody looked at, a divisor that was never set.
    {Event::Crash, "av_buffersink_get_frame_flags"},
    {Event::Crash, "av_buffersrc_add_frame_flags"},
    {Event::Crash, "avcodec_alloc_context3"},
    {Event::Crash, "avcodec_send_frame"},
    {Event::Crash, "avfilter_graph_config"},
    {Event::Crash, "avfilter_graph_free"},
    {Event::Crash, "avfilter_graph_parse"},
    {Event::Crash, "avio_open2"},
    {Event::Crash, "swr_convert"},
    {Event::Crash, "", "smart-blur: "},
    {Event::Crash, "vsMotionDetection"},
    // With threads the same number is another allocation each time, and libraries that are loaded begin with
    // some of their own.
    {Event::Vague, "*", "tarsel "},
    {Event::Crash, "*", "tarsel "},
};

/// The library that has a known fault there; "" where none has.
std::string FindKnown(Event event, std::string_view operation, Places const& places) {
    auto const all = AsSpan(places);
    auto const called = std::ranges::find_if_not(all, IsLibrary);
    auto place = std::find_if(all.begin(), called, [&](Place const& each) {
        return std::ranges::any_of(s_known, [&](Known const& known) {
            return known.event == event && (known.function == "*" || known.function == each.symbol.data()) &&
                   operation.starts_with(known.operation);
        });
    });
    if (place == called && called == all.end() && !all.empty())
        --place; // on a thread of its own
    std::string_view const module = place != called ? place->module.data() : std::string_view();
    return std::string(module.substr(0, module.find('.')));
}

class PrintSums : public testing::Environment {
    void TearDown() override {
        Sums const& sums = Sums::Get();
        std::string line = "faults: operations=" + std::to_string(sums.operations) +
                           " failures=" + std::to_string(sums.failures);
        for (auto const& [name, count] : sums.known)
            line += ' ' + name + '=' + std::to_string(count);
        std::puts(line.c_str());
    }
};

[[maybe_unused]] auto* const s_printSums = testing::AddGlobalTestEnvironment(new PrintSums);

} // namespace

Sums& Sums::Get() {
    static Sums s_sums;
    return s_sums;
}

void Sums::Add(Entry const& entry, std::string const& operation) {
    std::string const event(s_events[static_cast<std::size_t>(entry.event)]);
    bool const isOfFailed = entry.event == Event::Vague || entry.event == Event::Different;
    std::string const library = FindKnown(entry.event, operation, isOfFailed ? entry.failed : entry.where);
    if (!library.empty()) {
        ++known[event + '.' + library];
        if (std::getenv("FAULTS_SHOW") == nullptr)
            return;
    }
    ADD_FAILURE() << operation << ": " << event << " when allocation " << entry.number
                  << (entry.form == Form::Once ? " fails: " : " and all after it fail: ") << entry.text.data()
                  << "\n  failed:" << GetText(entry.failed) << "\n  where:" << GetText(entry.where);
}

} // namespace Tarsel::Test
