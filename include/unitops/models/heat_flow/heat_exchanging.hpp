#pragma once
// Heat exchanged between two process streams, co- or counter-current, under one of five
// performance specifications. Input 1 (the tube or main stream) leaves through output 0, input 0
// (the shell or side stream) through output 1; the hotter inlet is the hot side.

#include <string>

#include "unitops/contract/operation.hpp"
#include "unitops/models/heat_flow/in_line_slots.hpp"
#include "unitops/roster/identity.hpp"

namespace unitops {

class CTalHeatExchanger;

class CTalHeatExchanging : public CTalOperation {
    TAL_DECLARE_CLASS(CTalHeatExchanging)
public:
    enum {
        kMinTempApproach = 1,
        kHotStreamTempDecrease = 2,
        kColdStreamTempIncrease = 3,
        kHotStreamExitTemp = 4,
        kColdStreamExitTemp = 5,
    };
    enum { kCoCurrent = 0, kCounterCurrent = 1 };

    CTalHeatExchanging() = default;
    TAL_OPERATION_IDENTITY(0xA818)

    TAL_IN_LINE_OPERATION_SLOTS
    bool DoesAfterStateAmtScaleWithInsAndOuts() const override { return false; }

    CTalHeatExchanger* EquipmentT() const;
    bool IsCounterCurrent() const { return m_FlowType != kCoCurrent; }

    int m_PerformanceSpec = kMinTempApproach;
    double m_MinTempApproach = 5.0;          //!< K
    double m_HotStreamTempDecrease = 20.0;   //!< K
    double m_ColdStreamTempIncrease = 20.0;  //!< K
    double m_HotStreamExitTemp = 333.15;     //!< K
    double m_ColdStreamExitTemp = 293.15;    //!< K
    int m_FlowType = kCounterCurrent;
    double m_FlowCorrectionFactor = 1.0;
    double m_HeatTransferCoeff = 1500.0;     //!< W/(m2 K)
    double m_TubeSidePressureDrop = 0.0;     //!< Pa
    double m_ShellSidePressureDrop = 0.0;    //!< Pa
    double m_ExchangedDuty = 0.0;            //!< W from the hot to the cold side (a result)
    double m_RequiredArea = 0.0;             //!< m2 in all units (a result)

private:
    struct Exchange {
        bool ok = true;
        double area = 0.0;
        std::string message;
    };
    //! The energy balance under the present specification, written into the members and the
    //! outlet temperatures, and the area it needs.
    Exchange CalcExchange(CTalStream& out0, CTalStream& out1);
    //! Rating: the approach whose area matches the installed `maxArea`, by bisection.
    void FindApproachForArea(CTalStream& out0, CTalStream& out1, double maxArea);
};

}  // namespace unitops
