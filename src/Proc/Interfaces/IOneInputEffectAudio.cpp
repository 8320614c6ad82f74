#include "Proc/Interfaces/IOneInputEffectAudio.h"

#include "Proc/Interfaces/CastData.h"

namespace Tarsel::Proc {

void IOneInputEffectAudio::ProcessData(SP<IData>& data) {
    SP<IDataAudio> typed = CastData<IDataAudio>(data);
    Process(typed);
    data = typed;
}

} // namespace Tarsel::Proc
