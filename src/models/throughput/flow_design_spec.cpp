#include "unitops/models/throughput/flow_design_spec.hpp"

#include <cstdio>

namespace unitops {

TAL_IMPLEMENT_CLASS_NO_MEMBERS(CTalFlowDesignSpec, CTalDesignSpec)

void CTalFlowDesignSpec::InitSimModelParams() {
    CTalDesignSpec::InitSimModelParams();
    m_IsControlledVarStreamFlow = 1;
    m_IsManipulatedVarStreamFlow = 1;
}

int CTalFlowDesignSpec::IsSimDataComplete(int group, CTalModelPP* page, bool flag, int askUser) {
    return WithInternalUnits(*this, [&] {
        if (!m_ControlledStream.empty() && InGroup(group, 2) && !(m_SetPoint > 0.0)) {
            return ReportRange(page, 0x601, "Set-point flow", 0x640);
        }
        return CTalDesignSpec::IsSimDataComplete(group, page, flag, askUser);
    });
}

// The set point is shown per hour in a continuous procedure and per batch in a batch one.
void CTalFlowDesignSpec::GetCustomDescription(std::string& text) const {
    const double perSecond = IsInInternalUnits() ? m_SetPoint : m_SetPoint / 3600.0;
    char buffer[128];
    if (IsBatchMode()) {
        std::snprintf(buffer, sizeof buffer, "Control flow at %.4lf kg/batch", perSecond * PlantBatchTime());
    } else {
        std::snprintf(buffer, sizeof buffer, "Control flow at %.4lf kg/h", perSecond * 3600.0);
    }
    text = buffer;
    if (!IsOpDescriptionShort() && !m_ManipulatedStream.empty()) text += ", using " + m_ManipulatedStream + " as the manipulated stream";
}

}  // namespace unitops
