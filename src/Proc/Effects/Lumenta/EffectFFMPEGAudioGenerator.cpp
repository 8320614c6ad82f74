#include "Proc/Effects/Lumenta/EffectFFMPEGAudioGenerator.h"

#include "Core/Throw.h"
#include "Proc/Effects/Lumenta/Graph/GraphAudio.h"
#include "Proc/Effects/Lumenta/Graph/SourceArgs.h"
#include "Proc/Interfaces/ProcExceptions.h"
#include "Proc/Wrappers/FFmpegText.h"
#include "Proc/Wrappers/SafeFrame.h"

#include <fmt/format.h>

#include <array>
#include <cstdint>

extern "C" {
#include <libavfilter/avfilter.h>
#include <libavfilter/buffersink.h>
#include <libavutil/error.h>
#include <libavutil/frame.h>
}

namespace Tarsel::Proc {

EffectFFMPEGAudioGenerator::EffectFFMPEGAudioGenerator(std::string const& description,
                                                       std::string const& sourceArgs)
    : EffectFFMPEG(AudioGenerator, description, sourceArgs) {}

SP<EffectFFMPEGAudioGenerator> EffectFFMPEGAudioGenerator::Create(std::string const& description,
                                                                  Conf::SampleInfo const& info) {
    return new EffectFFMPEGAudioGenerator(description, MakeAudioSourceArgs(info));
}

SP<EffectFFMPEGAudioGenerator>
EffectFFMPEGAudioGenerator::Create(std::string const& description,
                                   SP<Conf::IFormatCodecAudio const> const& format) {
    return Create(description, format->GetSampleInfo());
}

SP<IDataAudio> EffectFFMPEGAudioGenerator::Get() {
    SafeFrame frame;
    int const result = av_buffersink_get_frame(m_sink, frame.Get());
    m_failed = result != 0 && result != AVERROR_EOF && result != AVERROR(EAGAIN);
    if (result != 0)
        return nullptr;
    SP<IDataAudio> block = MakeSinkBlock(*frame);
    block->SetTime(m_clock.GetTime());
    m_clock.AddSamples(frame->sample_rate, frame->nb_samples);
    return block;
}

void EffectFFMPEGAudioGenerator::SendCmd(std::string const& target, std::string const& command,
                                         std::string const& argument) {
    std::array<char, 1024> response{};
    int const result =
        avfilter_graph_send_command(m_graph.get(), target.c_str(), command.c_str(), argument.c_str(),
                                    response.data(), static_cast<int>(response.size()), 0);
    if (result < 0)
        Core::Throw<EffectException>(
            {"Proc/Effects/Lumenta/EffectFFMPEGAudioGenerator",
             "void Tarsel::Proc::EffectFFMPEGAudioGenerator::SendCmd(const std::string &, "
             "const std::string &, const std::string &)"},
            "Can't send command to filter", TagFFmpegError(result), TagFilterText(GetDescription()),
            TagDetail(
                fmt::format("{}; command: {} {} {}", GetFFmpegErrorText(result), target, command, argument)));
}

void EffectFFMPEGAudioGenerator::UpdateFormatCodec(SP<Conf::IFormatCodecAudio>& format) {
    UpdateFormatBySink(m_sink, *format);
}

} // namespace Tarsel::Proc
