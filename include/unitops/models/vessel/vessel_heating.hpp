#pragma once
// The contents of a batch vessel heated or cooled to a final temperature. There is no feed: the
// operation acts on the vessel's state and takes time, given by the user, from a constant rate
// of temperature change, or from an exponential approach to the agent's temperature through an
// overall UA. The energy of the contents and of the equipment, spread over that time, is the
// duty (or, for electric heating, the power).

#include "unitops/contract/emissions.hpp"
#include "unitops/contract/operation.hpp"
#include "unitops/models/vessel/working_volumes.hpp"
#include "unitops/roster/identity.hpp"

namespace unitops {

//! The virtual operations that both vessel heating and cooling fill.
#define TAL_VESSEL_THERMAL_SLOTS                                                             \
    void Serialize(CArchive& ar) override;                                                   \
    int IsCyclical() const override { return 1; }                                            \
    int CanSizeEquipment(const CTalEquipment* equipment) const override;                     \
    double MaxWorkingToVesselVol() const override { return m_Volumes.maxWorkingToVesselVol; } \
    void SetMaxWorkingToVesselVol(double v) override { m_Volumes.maxWorkingToVesselVol = v; } \
    void InitHxAgent() override;                                                             \
    void InitSimModelParams() override;                                                      \
    void InitCostParams() override;                                                          \
    int IsSimDataComplete(int group, CTalModelPP* page, bool flag, int askUser) override;    \
    int Solve(CTalStateStream* before, CTalStateStream* after, int skipSizing) override;     \
    int WriteIDR_Description(std::FILE* f) override;                                         \
    void GetCustomDescription(std::string& text) const override;                             \
    /*! Sizes (design) or checks (rating) the vessel for `volume` (all units and cycles) at the \
        start (`isInitial`) or the end of the operation. */                                  \
    int DoVolumeChecks(bool isInitial, double volume, int skipSizing);                       \
    /*! A volume of at least 0 (all units) sets the pair's volume per unit; a negative one     \
        only recomputes the ratio. */                                                        \
    void SetInitialWorkingVol(double v);                                                     \
    void SetFinalWorkingVol(double v);

class CTalHeatOp : public CTalOperation {
    TAL_DECLARE_CLASS(CTalHeatOp)
public:
    CTalHeatOp() : CTalOperation(1) {}
    TAL_OPERATION_IDENTITY(0xA214)
    TAL_VESSEL_THERMAL_SLOTS

    CTalEmissions* EmissionsData() override { return &m_EmissionsSpec; }
    void SetOwner(CTalProcedure* owner) override;
    //! Only the vent port, and only while emissions are calculated.
    bool IsOutPortUsed(int port, int flag) const override;
    void CopyDataInto(CTalOperation* target, int flag) const override;
    bool DoesAfterStateAmtScaleWithInsAndOuts() const override { return m_EmissionsSpec.PerformEmissionCalcs(); }

    CTalEmissionsSpec m_EmissionsSpec;
    int m_IgnoreAgent = 0;                    //!< no energy balance, no agent or power
    int m_UseHeatTransferAgent = 1;           //!< 1 an agent, 0 electricity
    double m_HeatingRate = 1.0 / 30.0;        //!< K/s
    double m_FinalTemp = 323.15;              //!< K
    double m_Efficiency = 0.9;
    double m_EquipHeatCapacity = 0.0;         //!< J/K
    double m_OverallUA = 12203.3333;          //!< W/K
    int m_IsRateConstant = 1;                 //!< 1 constant rate, 0 exponential approach by UA
    WorkingVolumes m_Volumes{0.0, 0.9, 0.0, 0.9, 0.0, 0.0};

private:
    //! Heated head-space gas leaves through the vent.
    void CalcEmissions(const CTalStateStream& before, CTalStateStream& after, CTalStream* vent);
};

class CTalCoolOp : public CTalOperation {
    TAL_DECLARE_CLASS(CTalCoolOp)
public:
    CTalCoolOp() = default;
    TAL_OPERATION_IDENTITY(0xA210)
    TAL_VESSEL_THERMAL_SLOTS

    bool DoesAfterStateAmtScaleWithInsAndOuts() const override { return false; }

    int m_IgnoreAgent = 0;
    double m_CoolingRate = 1.0 / 30.0;        //!< K/s
    double m_FinalTemp = 293.15;              //!< K
    double m_Efficiency = 0.9;
    double m_EquipHeatCapacity = 0.0;         //!< J/K
    double m_OverallUA = 12203.3333;          //!< W/K
    int m_IsRateConstant = 1;
    WorkingVolumes m_Volumes{0.0, 0.9, 0.0, 0.9, 0.0, 0.0};
};

#undef TAL_VESSEL_THERMAL_SLOTS

}  // namespace unitops
