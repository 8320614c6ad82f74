#include "Media/PictureWriter.h"

#include "Core/Throw.h"
#include "Media/EncoderChoice.h"
#include "Media/InputStreams.h"
#include "Media/MediaExceptions.h"
#include "Media/MessageText.h"
#include "Media/Muxer.h"
#include "Media/OutputFile.h"
#include "Media/Paths.h"
#include "Media/VideoEncoder.h"

#include <fmt/format.h>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

namespace Tarsel::Media {

namespace {

constexpr Ratio s_microsecond{1, 1000000};

EncoderRequest MakeRequest(PictureFileOptions const& options) {
    CheckOutputPath(options.output, options.inputs, options.overwrite);
    Container const container = ChooseContainer(options.output);
    if (!container.isStill)
        Core::Throw<OptionsException>(
            {"Media/PictureWriter", "EncoderRequest Tarsel::Media::MakeRequest(const PictureFileOptions &)"},
            fmt::format("Cannot write {}: its name is none of a picture, as wave.png is",
                        Quote(options.output)));
    EncoderRequest request;
    request.encoder = &ChooseEncoder(container, options.output, {});
    request.container = container.format;
    request.timeBase = s_microsecond;
    request.inputRate = {0, 1};
    request.isStill = true;
    return request;
}

} // namespace

void CheckPictureFile(PictureFileOptions const& options) {
    (void)MakeRequest(options);
}

std::vector<std::string> WritePicture(SP<Proc::IDataVideo> const& picture,
                                      PictureFileOptions const& options) {
    EncoderRequest request = MakeRequest(options);
    request.input = {picture->GetPixelFormat(), picture->GetColorSpace()};
    InputStreams const input = MakeUnknownInput(StreamKind::Pictures);
    WorkedFrame const frame{picture, {}};
    VideoEncoder encoder(request, frame);
    OutputFile file(options.output, options.overwrite);
    Muxer muxer(*request.container, file, input, {&encoder, {}});
    auto const write = [&] {
        while (AVPacket* const packet = encoder.Receive()) {
            packet->stream_index = input.picture;
            muxer.Write(*packet, encoder.GetTimeBase());
        }
    };
    encoder.Send(frame);
    write();
    encoder.End();
    write();
    muxer.Close();
    file.Publish();
    return encoder.GetNotes();
}

} // namespace Tarsel::Media
