#include "unitops/models/separation/liquid_heat.hpp"

#include <algorithm>

#include "unitops/contract/component.hpp"
#include "unitops/contract/message_table.hpp"

namespace unitops {

namespace {
constexpr unsigned kHostNoAgent = 86;
constexpr unsigned kHostTempTooLow = 42;
constexpr unsigned kHostAgentUnsuitable = 88;
}  // namespace

void BalanceLiquidHeat(CTalOperation& op, bool exitTempSetByUser, double& exitTemp, double feedTemp,
                       double heatCapacityFlow, double power, PowerHeating heating) {
    const double heat = heating.share * power;
    op.m_HeatingDuty = op.m_CoolingDuty = op.m_AgentRate = 0.0;
    if (!exitTempSetByUser) {
        if (heatCapacityFlow > 1e-15) {
            const double rise = heat / heatCapacityFlow;
            exitTemp = feedTemp + (heating.maxRise > 0.0 ? std::min(rise, heating.maxRise) : rise);
        }
        return;
    }
    const double E = (exitTemp - feedTemp) * heatCapacityFlow - heat;
    double duty = 0.0;
    if (E <= 0.0) {
        op.m_CoolingDuty = duty = -E;
    } else {
        op.m_HeatingDuty = duty = E;
    }
    const CTalHeatTransferAgent* agent = op.HxAgent();
    op.m_AgentRate = agent ? agent->EnergyToMassF() * duty : 0.0;
}

int CheckExitTempAgent(const CTalOperation& op, double exitTemp, CTalModelPP* page, unsigned caption,
                       unsigned agentCaption, const char* tooLowText) {
    const CTalHeatTransferAgent* agent = op.HxAgent();
    if (!agent) return ReportMessage(page, caption, kHostNoAgent, 0, kStopBox);
    if (exitTemp < 200.0) {
        std::string text = tooLowText;
        if (!text.empty()) text += "\n";
        return ReportMessage(page, caption, text + MessageText(kHostTempTooLow), 0, kStopBox);
    }
    const bool unsuitable = agent->IsHeating() ? agent->OutTemp() < exitTemp + 1.0 : agent->OutTemp() > exitTemp - 1.0;
    if (unsuitable) {
        return ReportMessage(page, agentCaption, FormatMessage(MessageText(kHostAgentUnsuitable), agent->Name()), 0,
                             kStopBox);
    }
    return 1;
}

}  // namespace unitops
