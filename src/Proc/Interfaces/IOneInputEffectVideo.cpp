#include "Proc/Interfaces/IOneInputEffectVideo.h"

#include "Proc/Interfaces/CastData.h"

namespace Tarsel::Proc {

void IOneInputEffectVideo::ProcessData(SP<IData>& data) {
    SP<IDataVideo> typed = CastData<IDataVideo>(data);
    Process(typed);
    data = typed;
}

} // namespace Tarsel::Proc
