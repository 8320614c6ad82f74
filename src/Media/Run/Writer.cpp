#include "Media/Run/Writer.h"

#include "Core/Throw.h"
#include "Media/Base/MessageText.h"
#include "Media/Container/InputStreams.h"
#include "Media/MediaExceptions.h"

#include <fmt/format.h>

#include <cstdint>
#include <utility>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/avutil.h>
#include <libavutil/common.h>
}

namespace Tarsel::Media {

Writer::Writer(EncoderRequest request, OutputFile& file, InputStreams const& input, NonVideoReader* others,
               NonVideoStreams& sound, ProgressMeter& progress)
    : m_request(std::move(request)), m_file(file), m_input(input), m_others(others), m_sound(sound),
      m_progress(progress) {}

void Writer::Open(WorkedFrame const& first) {
    try {
        m_encoder.emplace(m_request, first);
    } catch (OutputException const& exception) {
        if (m_request.fallback == nullptr)
            throw;
        m_notes.push_back(fmt::format("{}: {} served.", exception.what(), m_request.fallback->name));
        m_request.encoder = m_request.fallback;
        m_encoder.emplace(m_request, first);
    }
    m_muxer.emplace(*m_request.container, m_file, m_input, m_sound.GetEncoders(&*m_encoder));
}

void Writer::Write(WorkedFrame const& frame) {
    if (!m_encoder)
        Open(frame);
    m_encoder->Send(frame);
    WriteEncoded();
    m_progress.Add(av_sat_add64(frame.data->GetTime(), frame.data->GetDuration()));
}

void Writer::WriteEncoded() {
    while (AVPacket* const packet = m_encoder->Receive()) {
        std::int64_t const ticks = packet->dts != AV_NOPTS_VALUE ? packet->dts : packet->pts;
        m_bytes += packet->size;
        WriteOthersBefore(ToMicroseconds(ticks, m_encoder->GetTimeBase()));
        packet->stream_index = m_input.picture;
        m_muxer->Write(*packet, m_encoder->GetTimeBase());
    }
}

void Writer::WriteOthersBefore(std::int64_t time) {
    if (m_others == nullptr)
        return;
    while (AVPacket* const packet = m_others->NextBefore(time))
        m_sound.Write(*packet, *m_muxer);
}

void Writer::Close() {
    if (!m_encoder)
        Core::Throw<OutputException>({"Media/Run/Writer", "void Tarsel::Media::Writer::Close()"},
                                     "Cannot write " + Quote(m_file.GetPath()) +
                                         ": no picture came out of the effects");
    m_encoder->End();
    WriteEncoded();
    WriteOthersBefore(INT64_MAX);
    m_sound.End(*m_muxer);
    m_muxer->Close();
}

std::vector<std::string> Writer::GetNotes() const {
    std::vector<std::string> notes = m_notes;
    for (std::string& note : m_encoder->GetNotes())
        notes.push_back(std::move(note));
    for (std::string& note : m_muxer->GetNotes())
        notes.push_back(std::move(note));
    return notes;
}

} // namespace Tarsel::Media
