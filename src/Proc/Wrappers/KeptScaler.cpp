#include "Proc/Wrappers/KeptScaler.h"

namespace Tarsel::Proc {

void KeptScaler::Scale(SwsCtxParams const& params, AVFrame const& from, AVFrame& to) {
    if (!m_scaler || !(params == m_params)) {
        m_scaler = SafeSwsContext(params);
        m_params = params;
    }
    m_scaler.Scale(from, to);
}

} // namespace Tarsel::Proc
