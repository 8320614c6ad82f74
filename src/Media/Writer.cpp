#include "Media/Writer.h"

#include "Core/Throw.h"
#include "Media/FFmpegText.h"
#include "Media/InputStreams.h"
#include "Media/MediaExceptions.h"

#include <utility>

extern "C" {
#include <libavcodec/packet.h>
}

namespace Tarsel::Media {

Writer::Writer(EncoderRequest request, OutputFile& file, InputStreams const& input, Progress& progress)
    : m_request(std::move(request)), m_file(file), m_input(input), m_progress(progress) {}

void Writer::Open(WorkedFrame const& first) {
    m_encoder.emplace(m_request, first);
    m_muxer.emplace(*m_request.container, m_file, m_input, &*m_encoder);
    for (UniquePacket const& packet : m_waiting)
        m_muxer->WriteCopied(*packet);
    m_waiting.clear();
}

void Writer::Write(WorkedFrame const& frame) {
    if (!m_encoder)
        Open(frame);
    m_encoder->Send(frame);
    WriteEncoded();
    m_progress.Add(frame.data->GetTime() + frame.data->GetDuration());
}

void Writer::Write(UniquePacket packet) {
    if (m_muxer)
        m_muxer->WriteCopied(*packet);
    else
        m_waiting.push_back(std::move(packet));
}

void Writer::WriteEncoded() {
    while (UniquePacket packet = m_encoder->Receive()) {
        packet->stream_index = m_input.picture;
        m_muxer->Write(*packet, m_encoder->GetTimeBase());
    }
}

void Writer::Close() {
    if (!m_encoder)
        Core::Throw<OutputException>({"Media/Writer", "void Tarsel::Media::Writer::Close()"},
                                     "Cannot write " + Quote(m_file.GetPath()) +
                                         ": no picture came out of the effects");
    m_encoder->End();
    WriteEncoded();
    m_muxer->Close();
}

std::vector<std::string> Writer::GetNotes() const {
    std::vector<std::string> notes = m_encoder->GetNotes();
    for (std::string& note : m_muxer->GetNotes())
        notes.push_back(std::move(note));
    return notes;
}

} // namespace Tarsel::Media
