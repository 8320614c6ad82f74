#pragma once

#include "Conf/IFormatCodecVideo.h"
#include "Host/EffectChain.h"
#include "Proc/Interfaces/IOneInputEffectVideo.h"

#include <string_view>

namespace Tarsel::Host {

class VideoStep;

struct TARSEL_API VideoMedium {
    using Effect = Proc::IOneInputEffectVideo;
    using Data = Proc::IDataVideo;
    using Format = Conf::IFormatCodecVideo;
    using Step = VideoStep;
    /// What a datum is called.
    static constexpr std::string_view s_datum = "frame";
};

extern template class EffectChain<VideoMedium>;

/// Video effects one after the other, as one stream: nothing that a step holds back is lost. Steps that offer
/// IEffectStreamVideo are driven by it, others by Process (whatever they still hold at the end is asked for
/// with null frames). Around steps that say what frames they take (EffectTraits) others are converted there
/// and back. A step that breaks its contract throws EffectException. Notes tell which steps dropped alpha or
/// depth, and around which frames were converted. Not synchronized.
class TARSEL_API VideoChain final : public EffectChain<VideoMedium> {
public:
    VideoChain();
    ~VideoChain() override;
};

} // namespace Tarsel::Host
