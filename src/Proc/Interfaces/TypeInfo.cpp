// The destructors of interfaces that have nothing else out of line. Their type information lives in this
// library alone, so that dynamic_cast finds it from any other.
#include "Proc/Interfaces/IAudioGenerator.h"
#include "Proc/Interfaces/IEffectDetails.h"
#include "Proc/Interfaces/IEffectRegistrar.h"
#include "Proc/Interfaces/IEffectStream.h"
#include "Proc/Interfaces/IOwnWork.h"

namespace Tarsel::Proc {

IAudioGenerator::~IAudioGenerator() = default;
IEffectDetails::~IEffectDetails() = default;
IEffectDetailsAudio::~IEffectDetailsAudio() = default;
IEffectDetailsVideo::~IEffectDetailsVideo() = default;
IEffectRegistrar::~IEffectRegistrar() = default;
IOwnWork::~IOwnWork() = default;
template class IEffectStream<IDataAudio>;
template class IEffectStream<IDataVideo>;

} // namespace Tarsel::Proc
