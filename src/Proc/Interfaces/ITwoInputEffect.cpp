#include "Proc/Interfaces/ITwoInputEffect.h"

#include "Core/Throw.h"

#include <stdexcept>

namespace Tarsel::Proc {

SP<IData> ITwoInputEffect::ProcessData(std::vector<SP<IData>> const& inputs) {
    if (inputs.size() != 2)
        Core::Throw<std::logic_error>("invalid data count");
    SP<IData> data = inputs[0];
    ProcessData(data, inputs[1]);
    return data;
}

} // namespace Tarsel::Proc
