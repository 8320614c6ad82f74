#include "Proc/Interfaces/IOneInputEffect.h"

#include "Core/Throw.h"

#include <stdexcept>

namespace Tarsel::Proc {

SP<IData> IOneInputEffect::ProcessData(std::vector<SP<IData>> const& inputs) {
    if (inputs.size() != 1)
        Core::Throw<std::logic_error>({"Proc/Interfaces/IOneInputEffect",
                                       "virtual SP<IData> Tarsel::Proc::IOneInputEffect::ProcessData("
                                       "const std::vector<SP<IData>> &)"},
                                      "incorrect data count");
    SP<IData> data = inputs.front();
    ProcessData(data);
    return data;
}

} // namespace Tarsel::Proc
