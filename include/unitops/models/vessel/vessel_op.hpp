#pragma once
// Operations that run inside a vessel: how full the vessel is, at which temperature and
// pressure it works, how a batch or a continuous feed sizes it or is checked against it, and
// (in the thermal base) the thermal mode and the energy balance.

#include "unitops/contract/operation.hpp"
#include "unitops/models/vessel/working_volumes.hpp"

namespace unitops {

class CTalVessel;

class CTalVesselOp : public CTalOperation {
    TAL_DECLARE_CLASS(CTalVesselOp)
public:
    CTalVesselOp() = default;
    explicit CTalVesselOp(int emits) : CTalOperation(emits) {}

    void Serialize(CArchive& ar) override;
    int IsCyclical() const override { return 1; }
    double MaxWorkingToVesselVol() const override { return m_Volumes.maxWorkingToVesselVol; }
    void InitSimModelParams() override;
    void InitCostParams() override;
    int IsSimDataComplete(int group, CTalModelPP* page, bool flag, int askUser) override;
    int WriteIDR_Description(std::FILE* f) override;
    //! Multiplies each component flow of each input stream by its factor; `n` is the component count.
    virtual void BackPropagateMaterialChangeInOutput(const double* factors, int n);
    //! Mixes all connected inputs into `feed`.
    virtual void GetFeedFlow(CTalStateStream* feed);

    CTalVessel* EquipmentT() const;
    double WorkingVolume() const { return m_Volumes.workingVolume; }
    int IsResidenceTimeSetByUser() const { return m_IsResidenceTimeSetByUser; }
    void SetIsResidenceTimeSetByUser(int v) { m_IsResidenceTimeSetByUser = v; }
    int IsWorkingToVesselVolumeSetByUser() const;
    void UpdateInitialVolumeAndRatio(double total);
    void UpdateFinalVolumeAndRatio(double total);
    int IsInitialVolumeRatioInRange(std::string& text) const;
    int IsFinalVolumeRatioInRange(std::string& text) const;
    //! Sizes (design) or checks (rating) the vessel for `totalVolume` in all units, at the start
    //! of the operation (`isInitial`) or at its end.
    int BatchVesselSizing(bool isInitial, double totalVolume, int skipSizing);
    //! The same for a continuous feed of `volFlow` (m3/s) held for the residence time.
    int ContinuousVesselSizing(double volFlow, int skipSizing);
    void CalcEquipCapacityUtilF();
    //! Power from the specific power per m3 of the charge `V` (PowerMode 2), or the specific power
    //! from the power given (PowerMode 1; 0 for an empty charge).
    void PowerFromCharge(double V);

    WorkingVolumes m_Volumes;
    double m_ExitTemp = 298.15;
    double m_OperPressure = 101300.0;
    int m_IsPressureSetByUser = 0;
    double m_ResidenceTime = 3600.0;
    int m_IsResidenceTimeSetByUser = 0;

private:
    double VesselVolume() const;
};

class CTalThermalVesselOp : public CTalVesselOp {
    TAL_DECLARE_CLASS(CTalThermalVesselOp)
public:
    enum { kIsothermal = 1, kAdiabatic = 2, kDutySet = 3 };

    CTalThermalVesselOp() = default;
    explicit CTalThermalVesselOp(int emits) : CTalVesselOp(emits) {}

    void Serialize(CArchive& ar) override;
    void InitHxAgent() override;
    void DoPostSimChores(int flag, int = 0) override;
    void InitSimModelParams() override;
    void InitCostParams() override;
    int IsSimDataComplete(int group, CTalModelPP* page, bool flag, int askUser) override;
    int WriteIDR_Description(std::FILE* f) override;

    bool IsIsothermalMode() const { return m_ThermalMode == kIsothermal; }
    bool IsAdiabaticMode() const { return m_ThermalMode == kAdiabatic; }
    bool IsDutySetMode() const { return m_ThermalMode == kDutySet; }
    void SetIsothermalMode() { m_ThermalMode = kIsothermal; }
    void SetAdiabaticMode() { m_ThermalMode = kAdiabatic; }
    void SetDutySetMode() { m_ThermalMode = kDutySet; }
    std::string ThermalModeName() const;
    //! Duties and exit temperature of the contents going from `in` to `out`, by the thermal mode.
    void PerformEnergyBalance(const CTalStateStream* in, CTalStateStream* out);
    //! The net ExternalDuty as a cooling duty (at most zero) or a heating duty, the other zero.
    void SplitNetDuty();

    int m_ThermalMode = kIsothermal;
    double m_ExternalDuty = 0.0;  //!< net duty, W
};

}  // namespace unitops
