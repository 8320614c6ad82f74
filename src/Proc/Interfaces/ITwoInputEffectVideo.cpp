#include "Proc/Interfaces/ITwoInputEffectVideo.h"

#include "Proc/Interfaces/CastData.h"

namespace Tarsel::Proc {

void ITwoInputEffectVideo::ProcessData(SP<IData>& data, SP<IData const> const& second) {
    SP<IDataVideo> first = CastData<IDataVideo>(data);
    Process(first, CastData<IDataVideo const>(second));
    data = first;
}

} // namespace Tarsel::Proc
