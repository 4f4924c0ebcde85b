#pragma once
// The energy balance that the separations share: a share of the machine's power ends up as heat
// in the liquid that passes. With a free exit temperature the liquid warms by that heat; with an
// exit temperature set by the user an agent supplies or removes the difference.

#include "unitops/contract/messages.hpp"
#include "unitops/contract/operation.hpp"

namespace unitops {

//! How a separation turns its power into heat of the liquid.
struct PowerHeating {
    double share;   //!< share of the power that heats the liquid
    double maxRise; //!< K; largest rise of a free exit temperature, 0 for no limit
};

//! Sets the operation's duties and agent rate, and `exitTemp` when it is free. `heatCapacityFlow`
//! is mass flow times heat capacity of the liquid (W/K) over the operation's time.
void BalanceLiquidHeat(CTalOperation& op, bool exitTempSetByUser, double& exitTemp, double feedTemp,
                       double heatCapacityFlow, double power, PowerHeating heating);

//! The checks of an exit temperature set by the user, in order: an agent is chosen, the
//! temperature is at least 200 K, and the agent can reach it with 1 K to spare. `caption` is the
//! page of the first two reports, `agentCaption` that of the third.
int CheckExitTempAgent(const CTalOperation& op, double exitTemp, CTalModelPP* page, unsigned caption,
                       unsigned agentCaption, const char* tooLowText);

}  // namespace unitops
