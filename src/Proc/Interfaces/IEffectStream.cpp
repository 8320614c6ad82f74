#include "Proc/Interfaces/IEffectStream.h"

namespace Tarsel::Proc {

template class IEffectStream<IDataVideo>;
template class IEffectStream<IDataAudio>;

} // namespace Tarsel::Proc
