#include "Media/SoundWriter.h"

#include "Core/Throw.h"
#include "Media/EncoderSettings.h"
#include "Media/InputStreams.h"
#include "Media/MediaExceptions.h"
#include "Media/MessageText.h"
#include "Media/Muxer.h"
#include "Media/OutputFile.h"
#include "Media/Paths.h"
#include "Media/SoundEncoder.h"
#include "Media/SoundEncoderChoice.h"
#include "Media/SoundFormat.h"

#include <fmt/format.h>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

namespace Tarsel::Media {

namespace {

constexpr char const* s_file = "Media/SoundWriter";

[[noreturn]] void ThrowOptions(char const* signature, std::string const& description,
                               Core::CodePoint at = Core::CodePoint::Here()) {
    Core::Throw<OptionsException>({s_file, signature, at}, description);
}

SoundRequest MakeRequest(SoundFileOptions const& options) {
    constexpr char const* signature = "SoundRequest Tarsel::Media::MakeRequest(const SoundFileOptions &)";
    if (!Conf::IsKnown(options.format))
        ThrowOptions(signature, "The format of the sound to write is not known");
    CheckOutputPath(options.output, options.inputs, options.overwrite);
    Container const container = ChooseContainer(options.output);
    int const depth = options.depth > 0 ? options.depth : GetDepth(options.format.format);
    AVCodec const* const encoder =
        options.encoder.empty()
            ? FindUsualSoundEncoder(container, options.output, options.format.format, depth)
            : &ChooseNamedSoundEncoder(container, options.output, options.encoder);
    if (encoder == nullptr)
        ThrowOptions(signature, fmt::format("Cannot write {}: it holds no sound", Quote(options.output)));
    CheckEncoderOptions(*encoder, options.encoderOptions, Quality::VisuallyLossless);
    return {encoder,          options.encoderOptions, Quality::VisuallyLossless,
            container.format, options.format,         depth};
}

} // namespace

class SoundWriting {
public:
    explicit SoundWriting(SoundFileOptions const& options) : SoundWriting(options, MakeRequest(options)) {}

    void Write(Proc::IDataAudio const& block) { m_encoder.Encode(block, m_give); }

    void Publish() {
        m_encoder.End(m_give);
        m_muxer.Close();
        m_file.Publish();
    }

    std::vector<std::string> GetNotes() const { return m_encoder.GetNotes(); }

private:
    SoundWriting(SoundFileOptions const& options, SoundRequest const& request)
        : m_encoder(request), m_file(options.output, options.overwrite),
          m_muxer(*request.container, m_file, m_input, {nullptr, {&m_encoder}}) {}

    InputStreams m_input = MakeUnknownInput(StreamKind::Sound);
    SoundEncoder m_encoder;
    OutputFile m_file;
    Muxer m_muxer;
    TakePacket m_give = [this](AVPacket& packet) {
        packet.stream_index = 0;
        m_muxer.Write(packet, m_encoder.GetTimeBase());
    };
};

void CheckSoundFile(SoundFileOptions const& options) {
    SoundEncoder const trial(MakeRequest(options));
}

SoundWriter::SoundWriter(SoundFileOptions const& options)
    : m_writing(std::make_unique<SoundWriting>(options)) {}

SoundWriter::~SoundWriter() = default;

void SoundWriter::Write(Proc::IDataAudio const& block) {
    m_writing->Write(block);
}

void SoundWriter::Publish() {
    m_writing->Publish();
}

std::vector<std::string> SoundWriter::GetNotes() const {
    return m_writing->GetNotes();
}

} // namespace Tarsel::Media
