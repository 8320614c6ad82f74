#pragma once

#include "Conf/IFormatCodecAudio.h"
#include "Conf/SampleInfo.h"
#include "Core/RefCount.h"
#include "Proc/Effects/Lumenta/Api.h"
#include "Proc/Interfaces/IDataAudio.h"
#include "Proc/Wrappers/SafeFrame.h"
#include "Proc/Wrappers/SafeSwrContext.h"

#include <cstdint>
#include <deque>
#include <memory>
#include <string>

struct AVFilterContext;
struct AVFilterGraph;

namespace Tarsel::Proc {

/// Two audio streams through one filter, or a chain, that takes two inputs and gives one output: "amix",
/// "sidechaincompress". The first audio, left, is the one that is worked on. Many filters end with the
/// shorter of their inputs; so the left audio is split, and what the filter leaves of it goes on unprocessed,
/// in the form of the result, at the very sample at which the filter ended. Nothing of it is lost, and
/// nothing is heard twice.
///
/// Blocks of either side are all of the form the graph was built for; FFmpeg refuses others. Blocks that went
/// in are not changed. What one side is ahead of the other waits inside. It runs on the caller's thread
/// alone. Not synchronized: the owner serializes calls.
class LUMENTA_API EffectFFMPEGTwoInputAudio : public Core::RefCounted<Core::IRefCountable> {
public:
    /// Builds the graph. Throws EffectException, with FFmpeg's number and words and the graph's text as tags:
    /// "Cannot process graph", and "Not enough memory for filter" (transcoding error code 35).
    static SP<EffectFFMPEGTwoInputAudio> Create(std::string const& description, Conf::SampleInfo const& left,
                                                Conf::SampleInfo const& right);
    /// The same for two audio streams of the form described.
    static SP<EffectFFMPEGTwoInputAudio> Create(std::string const& description,
                                                SP<Conf::IFormatCodecAudio const> const& format);

    /// Takes in a block of one audio; a null is none. Throws as Create, and for a block whose samples are not
    /// all there; then the block is lost.
    void PushLeft(SP<IDataAudio const> const& data);
    void PushRight(SP<IDataAudio const> const& data);
    /// No more blocks of that audio: none may be pushed any more.
    void EndLeft();
    void EndRight();

    /// The next block of the result, at the sink's own time and duration in microseconds (AV_NOPTS_VALUE for
    /// an unknown time), or null: none yet, or, after both ends, none any more. Throws as Create.
    SP<IDataAudio> Pull();
    /// Writes the result's format, rate and layout into the format.
    void UpdateFormatCodec(SP<Conf::IFormatCodecAudio>& format);

private:
    EffectFFMPEGTwoInputAudio(std::string const& description, std::string const& leftArgs,
                              std::string const& rightArgs);

    void Push(AVFilterContext* source, IDataAudio const* data);
    void CollectDry();
    SP<IDataAudio> TakeRest();
    SP<IDataAudio> ToResultForm(SP<IDataAudio> block);

    std::string m_text;
    std::shared_ptr<AVFilterGraph> m_graph;
    /// Owned by the graph.
    AVFilterContext* m_left;
    AVFilterContext* m_right;
    AVFilterContext* m_result;
    /// The sink of the left audio as it went in.
    AVFilterContext* m_dry;
    /// Its blocks that the filter has not given yet, and how many samples of the first one it has.
    std::deque<SafeFrame> m_rest;
    std::int64_t m_skipped = 0;
    /// What the result had, in samples of the result, and what of the left audio was dropped for it.
    std::int64_t m_given = 0;
    std::int64_t m_dropped = 0;
    bool m_dryEnded = false;
    SafeSwrContext m_converter;
};

} // namespace Tarsel::Proc
