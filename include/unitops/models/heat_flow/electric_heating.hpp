#pragma once
// A stream brought to an exit temperature with electric power and no agent, in an electric
// heater or cooler rated by its power. Cooling mirrors heating.

#include "unitops/contract/operation.hpp"
#include "unitops/models/heat_flow/in_line_slots.hpp"
#include "unitops/roster/identity.hpp"

namespace unitops {

class CTalElectricHeater;

class CTalElectricHeating : public CTalOperation {
    TAL_DECLARE_CLASS(CTalElectricHeating)
public:
    CTalElectricHeating() = default;
    TAL_OPERATION_IDENTITY(0xA80C)

    TAL_IN_LINE_OPERATION_SLOTS
    bool AffectsTPorCompOfContents() const override { return false; }
    bool DoesAfterStateAmtScaleWithInsAndOuts() const override { return false; }

    CTalElectricHeater* EquipmentT() const;

    double m_ExitTemp = 298.15;         //!< K
    double m_Efficiency = 1.0;
    double m_ThroughputPerUnit = 0.0;   //!< kg/s; in continuous rating a volume flow, m3/s
};

class CTalElectricCooling : public CTalOperation {
    TAL_DECLARE_CLASS(CTalElectricCooling)
public:
    CTalElectricCooling() = default;
    TAL_OPERATION_IDENTITY(0xA80E)

    TAL_IN_LINE_OPERATION_SLOTS
    bool AffectsTPorCompOfContents() const override { return true; }

    CTalElectricHeater* EquipmentT() const;

    double m_ExitTemp = 278.15;
    double m_Efficiency = 0.5;
    double m_ThroughputPerUnit = 0.0;
};

}  // namespace unitops
