#pragma once
// Batch vaporization: a batch is concentrated in its vessel by driving off volatile components to
// a stated end (a final volume, a volume evaporated, a concentration factor, a final
// concentration of a key component, or a percentage per component). Relative evaporations are
// the user's data; there is no vapour-liquid equilibrium in the vessel. The vapour, with any air
// leaking in, goes to the vent, or through a condenser that flashes it at its temperature.

#include <string>
#include <vector>

#include "unitops/models/vessel/vessel_op.hpp"
#include "unitops/roster/identity.hpp"

namespace unitops {

class CTalBatchVaporizeOp : public CTalVesselOp {
    TAL_DECLARE_CLASS(CTalBatchVaporizeOp)
public:
    enum EndOption { kFinalVolume = 0, kEvaporationVolume = 1, kConcentrationFactor = 2, kKeyFinalConc = 3, kPercentages = 4 };
    static constexpr double kNormalMolarVolume = 22.414;  //!< m3/kmol at 0 degC and 1 atm

    CTalBatchVaporizeOp() = default;
    TAL_OPERATION_IDENTITY(0xA500)

    void Serialize(CArchive& ar) override;
    bool IsOutPortUsed(int port, int flag) const override;
    bool CarriesInBatchMaterialOut() const override { return m_IsCondenserOn == 1; }
    int IsCyclical() const override { return 1; }
    double DutyTimePerBatch() const override { return BatchReferenceTime(); }
    void InitHxAgent() override;
    void UpdateForNewCompDef(const ComponentList& oldComps) override;
    void UpdateCompInfoFromOldFlowsheet(const ComponentList& oldComps, const ComponentList& newComps) override;
    void InitSimModelParams() override;
    void InitCostParams() override;
    int IsSimDataComplete(int group, CTalModelPP* page, bool flag, int askUser) override;
    int Solve(CTalStateStream* before, CTalStateStream* after, int skipSizing) override;
    int WriteIDR_Description(std::FILE* f) override;
    void GetCustomDescription(std::string& text) const override;

    bool IsVolatile(std::size_t i) const { return i < m_IsVolatile.size() && m_IsVolatile[i] != 0.0; }
    //! Finds the common evaporation fraction that brings `in` to `FinalVolume`; false with `text`
    //! when the target cannot be reached.
    bool EvaporationSplit(const CTalStateStream& in, double Tb, int cycles, int units, std::string& text);

    double m_EvaporationRate = 2.0 / 60000.0;  //!< m3/s
    double m_CondenserTemp = 288.15;           //!< K
    int m_VentPort = 0;
    int m_CondensatePort = 1;
    int m_IsCondenserOn = 1;
    int m_IsPressureSet = 1;
    std::vector<double> m_IsVolatile;           //!< 1 for a volatile component, else 0
    std::vector<double> m_RelativeEvaporation;
    std::vector<double> m_EvaporationFrac;
    double m_VaporizationHeat = 2257200.0;      //!< J/kg
    int m_EndOption = kFinalVolume;
    double m_EvaporationVolume = 0.0;           //!< m3
    double m_ConcentrationFactor = 1.0;
    std::string m_KeyComponent = "(none)";
    double m_KeyFinalConc = 0.0;                //!< kg/m3
    double m_AirLeakRate = 0.0;                 //!< m3/s at normal conditions
    double m_AirLeakMass = 0.0;                 //!< kg/s, result
    // Results of the last run (not kept in files).
    double m_VaporMass = 0.0;                   //!< kg/s driven off (air excluded)
    double m_CondensateMass = 0.0;              //!< kg/s
    double m_VentMass = 0.0;                    //!< kg/s sent to the vent

private:
    //! Steps of Solve: the end option sets FinalVolume (false: nothing evaporates).
    bool TargetVolume(const CTalStateStream& in);
    void EvaporateAtFractions(CTalStateStream* out, CTalStateStream* vapor, bool extraCellFirst);
    void RatesAndTime();
    void CalcHeatingDuty(const CTalStateStream* out, const CTalStateStream* vapor);
    //! Adds the air that leaks in to `vapor`; false when the flowsheet lacks nitrogen or oxygen.
    bool AddAirLeak(CTalStateStream* vapor);
    //! Sends the vapour to the vent, through the condenser when it is on.
    bool SendVapor(CTalStateStream* vapor, CTalStream* vent, CTalStream* condensate);
    void SizeArrays();
    void RemapOwnArrays(const ComponentList& oldComps, const ComponentList& newComps);
};

}  // namespace unitops
