#include "Media/ImageWriter.h"

#include "Core/Throw.h"
#include "Media/Base/MessageText.h"
#include "Media/Base/Paths.h"
#include "Media/Base/Times.h"
#include "Media/Codec/EncoderChoice.h"
#include "Media/Codec/VideoEncoder.h"
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

Container CheckOptions(ImageFileOptions const& options) {
    CheckOutputPath(options.output, options.inputs, options.overwrite);
    CheckIsNoTerminal(options.output);
    Container container = ChooseContainer(options.output, options.container);
    if (!container.isStill)
        Core::Throw<OptionsException>(fmt::format(
            "Cannot write {}: choose the extension of an image, such as .png", Quote(options.output)));
    return container;
}

EncoderRequest MakeRequest(Container const& container) {
    EncoderRequest request;
    request.encoder = &ChooseEncoder(container, {});
    request.container = container.format;
    request.timeBase = s_microsecond;
    request.inputRate = {0, 1};
    request.isStill = true;
    return request;
}

} // namespace

void CheckImageFile(ImageFileOptions const& options) {
    (void)MakeRequest(CheckOptions(options));
}

std::vector<std::string> WriteImage(SP<Proc::IDataVideo> const& picture, ImageFileOptions const& options) {
    Container const container = CheckOptions(options);
    EncoderRequest request = MakeRequest(container);
    request.input = {picture->GetPixelFormat(), picture->GetColorSpace()};
    InputStreams const input = MakeUnknownInput(StreamKind::Video);
    WorkedFrame const frame{picture, {}};
    VideoEncoder encoder(request, frame);
    auto const file = OpenOutput(options.output, options.overwrite, {});
    StreamEncoders const encoders{{&encoder.GetContext(), encoder.GetTimeBase(), &encoder.GetFirstFrame()}};
    Muxer muxer(MakeOutputStreams(container, input, encoders), *file, input);
    auto const write = [&] {
        while (AVPacket* const packet = encoder.Receive()) {
            packet->stream_index = input.video;
            muxer.Write(*packet, encoder.GetTimeBase());
        }
    };
    encoder.Send(frame);
    write();
    encoder.End();
    write();
    muxer.Close();
    file->Publish();
    std::vector<std::string> notes = encoder.DescribeLosses();
    for (std::string& note : encoder.GetNotes())
        notes.push_back(std::move(note));
    return notes;
}

} // namespace Tarsel::Media
