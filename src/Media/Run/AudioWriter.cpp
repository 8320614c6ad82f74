#include "Media/AudioWriter.h"

#include "Core/Throw.h"
#include "Media/Base/MessageText.h"
#include "Media/Base/Paths.h"
#include "Media/Base/Stopped.h"
#include "Media/Codec/AudioEncoder.h"
#include "Media/Codec/AudioEncoderChoice.h"
#include "Media/Codec/AudioFormat.h"
#include "Media/Codec/EncoderSettings.h"
#include "Media/Container/InputStreams.h"
#include "Media/Container/Muxer.h"
#include "Media/Container/Output.h"
#include "Media/MediaExceptions.h"

#include <fmt/format.h>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

namespace Tarsel::Media {

namespace {

[[noreturn]] void ThrowOptions(Core::Reason const& reason) {
    Core::Throw<OptionsException>(reason);
}

Container CheckOptions(AudioFileOptions const& options) {
    if (!Conf::IsKnown(options.format))
        ThrowOptions("Give the format of the audio to write");
    CheckOutputPath(options.output, options.inputs, options.overwrite);
    CheckIsNoTerminal(options.output);
    return ChooseContainer(options.output, options.container);
}

AudioRequest MakeRequest(AudioFileOptions const& options, Container const& container) {
    int const depth = options.depth > 0 ? options.depth : GetDepth(options.format.format);
    AVCodec const* const encoder = options.encoder.empty()
                                       ? FindUsualAudioEncoder(container, options.format.format, depth)
                                       : &ChooseNamedAudioEncoder(container, options.encoder);
    if (encoder == nullptr)
        ThrowOptions(fmt::format("Cannot write {}: it holds no audio", Quote(options.output)));
    CheckEncoderOptions(*encoder, options.encoderOptions, s_usualQuality);
    return {encoder, options.encoderOptions, s_usualQuality, container.format, options.format, depth};
}

} // namespace

class AudioWriting {
public:
    AudioWriting(AudioFileOptions const& options, std::stop_token const& stop)
        : AudioWriting(options, CheckOptions(options), stop) {}

    std::filesystem::path const& GetPath() const noexcept { return m_file->GetPath(); }
    void Write(Proc::IDataAudio const& block) { m_encoder.Encode(block, m_give); }

    void Publish() {
        m_encoder.End(m_give);
        m_muxer.Close();
        m_file->Publish();
    }

    std::vector<std::string> GetNotes() const {
        std::vector<std::string> notes = m_encoder.DescribeLosses();
        for (std::string& note : m_encoder.GetNotes())
            notes.push_back(std::move(note));
        return notes;
    }

private:
    AudioWriting(AudioFileOptions const& options, Container const& container, std::stop_token const& stop)
        : m_encoder(MakeRequest(options, container)),
          m_file(OpenOutput(options.output, options.overwrite, stop)),
          m_muxer(MakeOutputStreams(container, m_input, {{&m_encoder.GetContext(), m_encoder.GetTimeBase()}}),
                  *m_file, m_input) {}

    InputStreams m_input = MakeUnknownInput(StreamKind::Audio);
    AudioEncoder m_encoder;
    std::unique_ptr<Output> m_file;
    Muxer m_muxer;
    TakePacket m_give = [this](AVPacket& packet) {
        packet.stream_index = 0;
        m_muxer.Write(packet, m_encoder.GetTimeBase());
    };
};

namespace {

/// What `write` does; a stop is the caller's.
template <class Write>
auto Interruptibly(std::filesystem::path const& output, Write const& write) {
    try {
        return write();
    } catch (Stopped const&) {
        Core::Throw<InterruptedException>(fmt::format("Interrupted: {} was not written", Quote(output)));
    }
}

} // namespace

AudioWriter::AudioWriter(AudioFileOptions const& options, std::stop_token stop)
    : m_writing(
          Interruptibly(options.output, [&] { return std::make_unique<AudioWriting>(options, stop); })) {}

AudioWriter::~AudioWriter() = default;

void AudioWriter::Write(Proc::IDataAudio const& block) {
    Interruptibly(m_writing->GetPath(), [&] { m_writing->Write(block); });
}

void AudioWriter::Publish() {
    Interruptibly(m_writing->GetPath(), [&] { m_writing->Publish(); });
}

std::vector<std::string> AudioWriter::GetNotes() const {
    return m_writing->GetNotes();
}

} // namespace Tarsel::Media
