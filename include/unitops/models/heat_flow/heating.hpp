#pragma once
// A stream brought to an exit temperature, or through a given duty, against a heat-transfer
// agent that runs counter-current; the exchanger is sized or rated by the log-mean temperature
// difference. Heating and cooling mirror each other.

#include "unitops/contract/operation.hpp"
#include "unitops/models/heat_flow/in_line_slots.hpp"
#include "unitops/roster/identity.hpp"

namespace unitops {

class CTalHeatExchanger;

class CTalHeating : public CTalOperation {
    TAL_DECLARE_CLASS(CTalHeating)
public:
    CTalHeating() = default;
    TAL_OPERATION_IDENTITY(0xA808)

    TAL_IN_LINE_OPERATION_SLOTS
    void InitHxAgent() override;
    bool AffectsTPorCompOfContents() const override { return m_SpecifyExitTemp == 0; }
    bool DoesAfterStateAmtScaleWithInsAndOuts() const override { return false; }

    CTalHeatExchanger* EquipmentT() const;

    int m_SpecifyExitTemp = 1;           //!< 0: the duty is given; otherwise the exit temperature
    double m_ExitTemp = 298.15;          //!< K
    double m_HeatTransferCoeff = 1500.0; //!< W/(m2 K)
    double m_Efficiency = 1.0;
};

class CTalCooling : public CTalOperation {
    TAL_DECLARE_CLASS(CTalCooling)
public:
    CTalCooling() = default;
    TAL_OPERATION_IDENTITY(0xA810)

    TAL_IN_LINE_OPERATION_SLOTS
    void InitHxAgent() override;
    bool AffectsTPorCompOfContents() const override { return m_SpecifyExitTemp == 0; }
    bool DoesAfterStateAmtScaleWithInsAndOuts() const override { return false; }

    CTalHeatExchanger* EquipmentT() const;

    int m_SpecifyExitTemp = 1;
    double m_ExitTemp = 298.15;
    double m_HeatTransferCoeff = 1500.0;
    double m_Efficiency = 1.0;
};

}  // namespace unitops
