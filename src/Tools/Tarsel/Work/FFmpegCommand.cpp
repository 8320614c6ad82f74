#include "Tools/Tarsel/Work/FFmpegCommand.h"

#include "Tools/Tarsel/Chain/ChainMaker.h"

#include <fmt/format.h>

#include <algorithm>
#include <filesystem>
#include <initializer_list>
#include <string_view>
#include <utility>

namespace Tarsel::Tools {
namespace {

/// Why a step has no filter text that does the same; "" where it has, or does nothing.
std::string FindObstacle(Explanation const& step) {
    std::string_view const work = step.GetWork();
    if (!step.times.empty())
        return step.label + " works at certain times";
    if (work == "own")
        return step.label + " uses no filter of FFmpeg's";
    if (work == "unknown")
        return step.label + " does not describe itself";
    return step.converted ? step.label + " works on converted frames" : "";
}

/// "48000 Hz s16p mono" as "48000 Hz s16 mono": in whatever order samples lie.
std::string WithoutOrder(std::string format) {
    if (std::size_t const end = format.rfind("p "); end != std::string::npos)
        format.erase(end, 1);
    return format;
}

bool IsPicture(Media::StreamPlan const& stream) noexcept {
    return stream.kind == Media::StreamKind::Video || stream.kind == Media::StreamKind::Cover;
}

/// What the program calls the file.
std::string ToAddress(std::filesystem::path const& name, char const* standardStream) {
    return name == "-" ? standardStream : "file:" + name.string();
}

class CommandMaker {
public:
    CommandMaker(Media::RunOptions const& options, Media::RunPlan const& plan,
                 std::map<std::size_t, Explanations> const& steps)
        : m_options(options), m_plan(plan), m_steps(steps) {}

    FFmpegCommand Make();

private:
    void FindObstacles();
    void FindObstacles(Media::StreamPlan const& stream, Explanations const* steps);
    void AddStream(std::size_t index);
    void AddEncoder(Media::StreamPlan const& stream);
    void Refuse(std::string obstacle) {
        if (m_command.obstacle.empty())
            m_command.obstacle = std::move(obstacle);
    }
    void Add(std::initializer_list<std::string> words) {
        m_command.words.insert(m_command.words.end(), words);
    }
    /// An option of a stream of the output.
    void AddFor(Media::StreamPlan const& stream, std::string const& option, std::string const& value) {
        Add({fmt::format("-{}:{}", option, stream.output), value});
    }

    Media::RunOptions const& m_options;
    Media::RunPlan const& m_plan;
    std::map<std::size_t, Explanations> const& m_steps;
    FFmpegCommand m_command;
};

/// What the program has no option for, or does another way.
void CommandMaker::FindObstacles() {
    if (!m_options.range.IsWhole())
        Refuse("ranges are cut to the frame and to the sample");
    if (Media::IsSequence(m_options.input.GetName()))
        Refuse("INPUT is a sequence of images");
    if (m_options.at)
        Refuse("--at takes the frame that is shown at a time");
    for (std::size_t i = 0; i < m_plan.streams.size(); ++i) {
        auto const steps = m_steps.find(i);
        if (m_plan.streams[i].fate == Media::Fate::Encode)
            FindObstacles(m_plan.streams[i], steps != m_steps.end() ? &steps->second : nullptr);
    }
}

void CommandMaker::FindObstacles(Media::StreamPlan const& stream, Explanations const* steps) {
    if (steps != nullptr)
        for (Explanation const& step : steps->steps)
            Refuse(FindObstacle(step));
    std::string const worked = steps != nullptr ? steps->GetOutput().words : stream.inputFormat;
    if (!IsPicture(stream)) {
        if (WithoutOrder(worked) != WithoutOrder(stream.format))
            Refuse(fmt::format("audio is converted to {} for {}", stream.format, stream.encoder));
        return;
    }
    std::string const decoded = steps != nullptr ? steps->input.words : stream.inputFormat;
    if (!decoded.starts_with(stream.inputFormat))
        Refuse(fmt::format("frames of {} are decoded as {}", stream.inputFormat, decoded));
    if (std::string const pixels = worked.substr(0, worked.find(',')); !pixels.ends_with(' ' + stream.format))
        Refuse(fmt::format("frames are converted to {} for {}", stream.format, stream.encoder));
}

void CommandMaker::AddEncoder(Media::StreamPlan const& stream) {
    AddFor(stream, "c", stream.encoder);
    for (auto const& [key, value] : stream.encoderOptions)
        AddFor(stream, key, value);
    if (IsPicture(stream))
        AddFor(stream, "pix_fmt", stream.format);
}

void CommandMaker::AddStream(std::size_t index) {
    Media::StreamPlan const& stream = m_plan.streams[index];
    if (stream.fate == Media::Fate::Copy) {
        AddFor(stream, "c", "copy");
        return;
    }
    std::string filters;
    if (auto const steps = m_steps.find(index); steps != m_steps.end())
        for (Explanation const& step : steps->second.steps)
            // The program itself turns frames upright.
            if (std::string const text = step.description.value_or("");
                !text.empty() && step.label != s_turnLabel)
                filters += (filters.empty() ? "" : ",") + text;
    if (!filters.empty())
        AddFor(stream, "filter", filters);
    AddEncoder(stream);
}

FFmpegCommand CommandMaker::Make() {
    FindObstacles();
    if (!m_command.obstacle.empty())
        return std::move(m_command);
    std::vector<std::size_t> order;
    for (std::size_t i = 0; i < m_plan.streams.size(); ++i)
        if (m_plan.streams[i].output >= 0)
            order.push_back(i);
    std::ranges::sort(order, {}, [&](std::size_t i) { return m_plan.streams[i].output; });
    Add({"ffmpeg", "-nostdin", "-i", ToAddress(m_options.input.GetName(), "pipe:0")});
    for (std::size_t const index : order)
        Add({"-map", fmt::format("0:{}", index)});
    for (std::size_t const index : order)
        AddStream(index);
    bool const encodesVideo = std::ranges::any_of(order, [&](std::size_t i) {
        return m_plan.streams[i].fate == Media::Fate::Encode && IsPicture(m_plan.streams[i]);
    });
    if (encodesVideo)
        Add({"-fps_mode", "passthrough", "-enc_time_base", "-1"});
    if (Media::IsSequence(m_options.output) && m_options.firstNumber != 1)
        Add({"-start_number", std::to_string(m_options.firstNumber)});
    // Containers take more than their makers call finished.
    Add({"-strict", "experimental", m_options.overwrite ? "-y" : "-n"});
    if (!m_options.container.empty())
        Add({"-f", m_plan.outputContainer});
    for (auto const& [key, value] : m_plan.writerOptions)
        Add({'-' + key, value});
    Add({ToAddress(m_options.output, "pipe:1")});
    return std::move(m_command);
}

} // namespace

FFmpegCommand MakeFFmpegCommand(Media::RunOptions const& options, Media::RunPlan const& plan,
                                std::map<std::size_t, Explanations> const& steps) {
    return CommandMaker(options, plan, steps).Make();
}

} // namespace Tarsel::Tools
