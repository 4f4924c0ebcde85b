#pragma once
// Batch extraction (phase split): the contents of a vessel split into a light (top) and a heavy
// (bottom) liquid phase, by partition coefficients between one or two solvents or by stated
// component splits; one phase leaves through the transfer port and the other stays.

#include <string>
#include <vector>

#include "unitops/models/vessel/vessel_op.hpp"
#include "unitops/roster/identity.hpp"

namespace unitops {

class CTalBatchExtractOp : public CTalVesselOp {
    TAL_DECLARE_CLASS(CTalBatchExtractOp)
public:
    static constexpr int kPasses = 5;
    static constexpr double kTimeBasisSince = 4.707;
    static constexpr double kTopPhaseRemovedSince = 5.0004;

    CTalBatchExtractOp() = default;
    TAL_OPERATION_IDENTITY(0xA508)

    void Serialize(CArchive& ar) override;
    bool IsOutPortUsed(int port, int flag) const override { return flag == 0 && port == m_TransferOutPort; }
    bool CarriesInBatchMaterialOut() const override { return true; }
    int IsCyclical() const override { return 1; }
    void UpdateForNewCompDef(const ComponentList& oldComps) override;
    void UpdateCompInfoFromOldFlowsheet(const ComponentList& oldComps, const ComponentList& newComps) override;
    void InitSimModelParams() override;
    void InitCostParams() override;
    int IsSimDataComplete(int group, CTalModelPP* page, bool flag, int askUser) override;
    int Solve(CTalStateStream* before, CTalStateStream* after, int skipSizing) override;
    int WriteIDR_Description(std::FILE* f) override;
    void GetCustomDescription(std::string& text) const override;

    std::string m_TransferProcedureName = "(none)";
    int m_TransferOutPort = 8;
    int m_IsPressureSet = 0;
    int m_UsePartitionCoeffs = 1;
    double m_TransferMassRate = 10.0 / 60.0;     //!< kg/s
    double m_TransferVolRate = 10.0 / 60000.0;   //!< m3/s
    int m_TimeBasis = 0;                         //!< calculated time: 1 from the mass rate, 2 from the volume rate
    int m_IsTwoSolvent = 1;
    int m_ProductInHeavyPhase = 1;
    double m_RecoveryYield = 0.0;                //!< result, of the design component
    std::string m_DesignComp = "(none)";
    std::string m_LightSolvent = "(none)";
    std::string m_HeavySolvent = "(none)";
    std::string m_CommonSolvent = "(none)";
    double m_CommonFracInTop = 0.4;
    double m_SolubilityInHeavy = 0.0;            //!< kg/m3, of the light solvent
    double m_SolubilityInLight = 0.0;            //!< kg/m3, of the heavy solvent
    std::vector<double> m_Ki;                    //!< light over heavy concentration ratio
    int m_IsSplitToTop = 1;
    std::vector<double> m_SplitFrac;             //!< fraction of each component to the top
    int m_IsTopPhaseRemoved = 0;
    // Results of the last run (not kept in files).
    double m_LightPhaseMass = 0.0;               //!< kg/s
    double m_HeavyPhaseMass = 0.0;               //!< kg/s

private:
    //! The two solvents in their phases; false (with a message) when the light one is denser.
    bool PlaceSolvents(const CTalStateStream& out, CTalStateStream& light, CTalStateStream& heavy, int l, int h);
    //! One pass: the mutual solubility (two solvents), then every solute by its coefficient.
    void PartitionPass(const CTalStateStream& out, CTalStateStream& light, CTalStateStream& heavy, int l, int h, int common);
    void TransferRates(const CTalStateStream& heavy, double Tb, int cycles, int units);
    void SizeArrays();
};

}  // namespace unitops
