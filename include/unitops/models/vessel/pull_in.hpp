#pragma once
// Pull-in: material taken into a vessel through an input port in an amount that the operation
// decides itself, from a mass or volume given, or from a result wanted in the vessel (a ratio to
// the contents, a final mass or volume, a final concentration or mass fraction of a component).
// The flow is declared on the stream by back-propagation, so that upstream makes what is pulled.

#include <string>
#include <vector>

#include "unitops/models/vessel/transfer.hpp"

namespace unitops {

class CTalPullInOp : public CTalTransferOp {
    TAL_DECLARE_CLASS(CTalPullInOp)
public:
    enum { kMassGiven = 0, kVolumeGiven = 1, kTargetInVessel = 2 };
    enum { kMassRatio = 0, kVolumeRatio = 1, kFinalMass = 2, kFinalVolume = 3, kConcentration = 4, kMassFraction = 5 };

    CTalPullInOp() : CTalTransferOp(1) {}
    TAL_OPERATION_IDENTITY(0xA240)

    void Serialize(CArchive& ar) override;
    CTalEmissions* EmissionsData() override { return &m_EmissionsSpec; }
    void SetOwner(CTalProcedure* owner) override;
    int IsAdequatelyConnectedForSimulation(CWnd* wnd) override;
    bool IsInPortUsed(int port, int) const override { return m_PortID > 0 && port == m_PortID - 1; }
    bool IsOutPortUsed(int port, int flag) const override { return IsVentPortUsedBy(m_EmissionsSpec, port, flag); }
    bool CarriesInBatchMaterialIn() const override { return true; }
    void CopyDataInto(CTalOperation* target, int flag) const override;
    void InitSimModelParams() override;
    int IsSimDataComplete(int group, CTalModelPP* page, bool flag, int askUser) override;
    int Solve(CTalStateStream* before, CTalStateStream* after, int skipSizing) override;
    int WriteIDR_Description(std::FILE* f) override;
    void GetCustomDescription(std::string& text) const override;
    bool InitiatesBPG() const override { return true; }
    void GetStreamsInitiatingBPG(std::vector<CTalStream*>& streams) const override;
    bool DoesAfterStateAmtScaleWithInsAndOuts() const override { return false; }
    bool IsScaleable() const override { return false; }
    void IngredientRenamed(const std::string& from, const std::string& to) override;
    //! The unit in which the final concentration is shown (`m_ConcentrationUnits`).
    DisplayUnit ConcentrationDisplay() const;

    int m_PullInBasis = kMassGiven;
    int m_PullInTarget = kMassRatio;
    double m_PullInMass = 0.0;         //!< kg per batch
    double m_PullInVolume = 0.0;       //!< m3 per batch
    double m_MassRatio = 0.0;          //!< added over initial mass
    double m_VolumeRatio = 0.0;        //!< added over initial liquid-solid volume
    double m_FinalMass = 0.0;          //!< kg per batch
    double m_FinalLiquidVolume = 0.0;  //!< m3 per batch
    std::string m_DesignComponent;
    double m_FinalConcentration = 0.0;  //!< kg/m3
    double m_FinalMassFrac = 0.0;
    double m_RelativeError = 0.001;
    int m_MaxIterations = 1000;
    int m_IgnoreInitialVapor = 1;
    int m_ConcentrationUnits = 0x400;  //!< display unit code of the final concentration
    CTalEmissionsSpec m_EmissionsSpec;

private:
    struct Balance;  // the streams and amounts one solve works on
    int TargetFlow(Balance& b, double& F);
    int FinalMassFlow(Balance& b, double& F);
    int FinalVolumeFlow(Balance& b, double& F);
    int ConcentrationFlow(Balance& b, double& F);
    int MassFractionFlow(Balance& b, double& F);
    //! Gives the private copy the flow F, bids F on the real stream and mixes the result.
    void Pull(Balance& b, double F);
    int Refuse(Balance& b, const MsgText& text, unsigned help = 0);
    int ZeroFlowEnding();
    void DerivedValues(const Balance& b, double F);
};

}  // namespace unitops
