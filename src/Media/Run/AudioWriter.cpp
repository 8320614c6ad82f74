#include "Media/AudioWriter.h"

#include "Core/Throw.h"
#include "Media/Base/MessageText.h"
#include "Media/Base/Paths.h"
#include "Media/Codec/AudioEncoder.h"
#include "Media/Codec/AudioEncoderChoice.h"
#include "Media/Codec/AudioFormat.h"
#include "Media/Codec/EncoderSettings.h"
#include "Media/Container/InputStreams.h"
#include "Media/Container/Muxer.h"
#include "Media/Container/OutputFile.h"
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

AudioRequest MakeRequest(AudioFileOptions const& options) {
    if (!Conf::IsKnown(options.format))
        ThrowOptions("Give the format of the audio to write");
    CheckOutputPath(options.output, options.inputs, options.overwrite);
    Container const container = ChooseContainer(options.output);
    int const depth = options.depth > 0 ? options.depth : GetDepth(options.format.format);
    AVCodec const* const encoder =
        options.encoder.empty()
            ? FindUsualAudioEncoder(container, options.output, options.format.format, depth)
            : &ChooseNamedAudioEncoder(container, options.output, options.encoder);
    if (encoder == nullptr)
        ThrowOptions(fmt::format("Cannot write {}: it holds no audio", Quote(options.output)));
    CheckEncoderOptions(*encoder, options.encoderOptions, s_usualQuality);
    return {encoder, options.encoderOptions, s_usualQuality, container.format, options.format, depth};
}

} // namespace

class AudioWriting {
public:
    explicit AudioWriting(AudioFileOptions const& options) : AudioWriting(options, MakeRequest(options)) {}

    void Write(Proc::IDataAudio const& block) { m_encoder.Encode(block, m_give); }

    void Publish() {
        m_encoder.End(m_give);
        m_muxer.Close();
        m_file.Publish();
    }

    std::vector<std::string> GetNotes() const {
        std::vector<std::string> notes = m_encoder.DescribeLosses();
        for (std::string& note : m_encoder.GetNotes())
            notes.push_back(std::move(note));
        return notes;
    }

private:
    AudioWriting(AudioFileOptions const& options, AudioRequest const& request)
        : m_encoder(request), m_file(options.output, options.overwrite),
          m_muxer(MakeOutputStreams(options.output, *request.container, m_input,
                                    {{&m_encoder.GetContext(), m_encoder.GetTimeBase()}}),
                  m_file, m_input) {}

    InputStreams m_input = MakeUnknownInput(StreamKind::Audio);
    AudioEncoder m_encoder;
    OutputFile m_file;
    Muxer m_muxer;
    TakePacket m_give = [this](AVPacket& packet) {
        packet.stream_index = 0;
        m_muxer.Write(packet, m_encoder.GetTimeBase());
    };
};

AudioWriter::AudioWriter(AudioFileOptions const& options)
    : m_writing(std::make_unique<AudioWriting>(options)) {}

AudioWriter::~AudioWriter() = default;

void AudioWriter::Write(Proc::IDataAudio const& block) {
    m_writing->Write(block);
}

void AudioWriter::Publish() {
    m_writing->Publish();
}

std::vector<std::string> AudioWriter::GetNotes() const {
    return m_writing->GetNotes();
}

} // namespace Tarsel::Media
