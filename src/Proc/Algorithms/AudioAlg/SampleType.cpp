#include "Proc/Algorithms/AudioAlg/SampleType.h"

#include "Core/Throw.h"
#include "Proc/Interfaces/ProcExceptions.h"

#include <string>

namespace Tarsel::Proc {

SampleType GetSampleType(AudioRef const& ref, char const* function, Core::Site const& site) {
    using Conf::SampleFormats;
    SampleFormats const planar = Conf::SampleFmtRecord::Find(ref.info.format).planarCounterpart;
    if (planar == SampleFormats::Unknown)
        Core::Throw<EffectException>(site, std::string(function) + " doesn't support this sample format");
    // The planar formats are numbered as the types are.
    return static_cast<SampleType>(static_cast<std::uint32_t>(planar) -
                                   static_cast<std::uint32_t>(SampleFormats::U8Planar));
}

} // namespace Tarsel::Proc
