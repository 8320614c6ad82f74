#include "Proc/Interfaces/ITwoInputEffect.h"

#include "Core/Throw.h"

#include <stdexcept>

namespace Tarsel::Proc {

SP<IData> ITwoInputEffect::ProcessData(std::vector<SP<IData>> const& inputs) {
    if (inputs.size() != 2)
        Core::Throw<std::logic_error>({"Proc/Interfaces/ITwoInputEffect",
                                       "virtual SP<IData> Tarsel::Proc::ITwoInputEffect::ProcessData("
                                       "const std::vector<SP<IData>> &)"},
                                      "invalid data count");
    SP<IData> data = inputs[0];
    ProcessData(data, inputs[1]);
    return data;
}

} // namespace Tarsel::Proc
