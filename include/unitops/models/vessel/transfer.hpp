#pragma once
// Transfers of material into and out of a vessel through a port of the procedure: from another
// procedure (transfer in), from a feed (charge), part of the contents to a stream (transfer
// out) and what a downstream operation demands (pull out).

#include <vector>

#include "unitops/contract/emissions.hpp"
#include "unitops/contract/operation.hpp"
#include "unitops/models/vessel/working_volumes.hpp"
#include "unitops/roster/identity.hpp"

namespace unitops {

class CTalTransferOp : public CTalOperation {
    TAL_DECLARE_CLASS(CTalTransferOp)
public:
    enum { kNoBasis = 0, kMassBasis = 1, kVolumeBasis = 2 };

    CTalTransferOp() = default;
    explicit CTalTransferOp(int emits) : CTalOperation(emits) {}

    void Serialize(CArchive& ar) override;
    int IsCyclical() const override { return 1; }
    int CanSizeEquipment(const CTalEquipment* equipment) const override;
    double MaxWorkingToVesselVol() const override { return m_Volumes.maxWorkingToVesselVol; }
    void SetMaxWorkingToVesselVol(double v) override { m_Volumes.maxWorkingToVesselVol = v; }
    void ProcedureHasBeenRemoved(const CTalProcedure* p) override;
    void CopyDataInto(CTalOperation* target, int flag) const override;
    void InitSimModelParams() override;
    void InitCostParams() override;
    int IsSimDataComplete(int group, CTalModelPP* page, bool flag, int askUser) override;
    int WriteIDR_Description(std::FILE* f) override;

    //! The stream on the selected port: input PortID - 1 for a positive PortID, output -PortID - 1 for a negative one.
    CTalStream* TransferStream() const { return GetStream(m_PortID); }
    CTalProcedure* TransferProcedure() const { return m_TransferProcedure; }
    void SetTransferProcedure(CTalProcedure* p) { m_TransferProcedure = p; }
    int PortID() const { return m_PortID; }
    void SetPortID(int id) { m_PortID = id; }

    CTalProcedure* m_TransferProcedure = nullptr;
    int m_PortID = 0;
    double m_MassFlowRate = 1.0 / 6.0;    //!< kg/s
    double m_VolFlowRate = 1.0 / 6000.0;  //!< m3/s
    int m_FlowBasis = kNoBasis;
    WorkingVolumes m_Volumes{0.0, 0.9, 0.0, 0.9, 0.0, 0.0};

protected:
    //! Duration and rates from the mass dM and volume dV moved; `zeroRateTime` is the duration
    //! given when the volume rate is zero (0 into a vessel, 1e-15 out of it).
    void CalcTimeAndRates(double dM, double dV, double zeroRateTime);
    bool IsSizedByVolume() const;
    int Units() const;
    double VesselVolume() const;
    int BatchVesselSizing(bool isInitial, double totalVolume, int skipSizing);
    //! Contents at the end of the operation: a larger volume than at the start sizes the vessel
    //! again; a smaller one never shrinks it. Returns 0 if the ratio left its range.
    int FinalVolumeStep(const CTalSModel& after, double initialVolume, double T, int n, int skipSizing);
    void CalcEquipCapacityUtilF() { m_CapacityUtilF = m_Volumes.CapacityUtilization(); }
    //! The validation questions that offer the stream's other end as the transfer's procedure.
    int AskForTransferProcedure(CTalModelPP* page);
    //! Whether the checks ask for the procedure at the stream's other end: not for a charge from
    //! a feed, nor for a draw of components that needs none.
    virtual bool NamesTransferProcedure() const { return true; }
    //! "Unable to scale up contents" with the amounts, for a vessel that holds less than asked.
    std::string ShortageText(const std::string& reason, double requested, double existing, bool transferOut) const;
    //! Head-space gas that `dV` per unit and cycle coming in pushes out of the vessel goes to the vent.
    void CalcEmissions(CTalEmissionsSpec& spec, const CTalStateStream& before, CTalStateStream& after, double dV, double T,
                       int n, int& result);
    //! Material comes in from another procedure: a feed on the port is refused (host text 0x72).
    int IsFedByAProcedure(CWnd* wnd);
    bool IsVentPortUsedBy(const CTalEmissionsSpec& spec, int port, int flag) const;
};

class CTalTransferInOp : public CTalTransferOp {
    TAL_DECLARE_CLASS(CTalTransferInOp)
public:
    CTalTransferInOp() : CTalTransferOp(1) {}
    TAL_OPERATION_IDENTITY(0xA204)

    void Serialize(CArchive& ar) override;
    CTalEmissions* EmissionsData() override { return &m_EmissionsSpec; }
    void SetOwner(CTalProcedure* owner) override;
    int IsAdequatelyConnectedForSimulation(CWnd* wnd) override;
    bool IsInPortUsed(int port, int flag) const override;
    bool IsOutPortUsed(int port, int flag) const override;
    bool CarriesInBatchMaterialIn() const override { return true; }
    void CopyDataInto(CTalOperation* target, int flag) const override;
    int Solve(CTalStateStream* before, CTalStateStream* after, int skipSizing) override;
    void GetCustomDescription(std::string& text) const override;
    void UpdatePortID() override;

    CTalEmissionsSpec m_EmissionsSpec;

protected:
    //! The word for the port in messages: "Charge" or "Transfer In".
    virtual const char* PortWord() const { return "Transfer In"; }
    virtual const char* TimeRateWord() const { return "Transfer"; }
};

class CTalChargeOp : public CTalTransferInOp {
    TAL_DECLARE_CLASS(CTalChargeOp)
public:
    CTalChargeOp() = default;
    TAL_OPERATION_IDENTITY(0xA20C)

    void Serialize(CArchive& ar) override;
    int IsAdequatelyConnectedForSimulation(CWnd* wnd) override;
    void InitSimModelParams() override;
    //! The transfer in's balance; first says when the description will count an ingredient
    //! without a density at 1000 kg/m3.
    int Solve(CTalStateStream* before, CTalStateStream* after, int skipSizing) override;
    int WriteIDR_Description(std::FILE* f) override;
    void GetCustomDescription(std::string& text) const override;
    void GetSampleDescription(std::string& text) const override;

    int m_IsDetailedDescription = 0;

protected:
    //! A feed given by volume, of which an ingredient present has no density; null otherwise.
    const CTalInputStream* FeedWithIngredientWithoutDensity() const;

    bool NamesTransferProcedure() const override { return false; }
    const char* PortWord() const override { return "Charge"; }
    const char* TimeRateWord() const override { return "Charge"; }
};

class CTalTransferOutOp : public CTalTransferOp {
    TAL_DECLARE_CLASS(CTalTransferOutOp)
public:
    enum { kFractionOut = 1, kMassOut = 2, kVolumeOut = 3 };

    CTalTransferOutOp() : CTalTransferOp(1) {}
    TAL_OPERATION_IDENTITY(0xA208)

    void Serialize(CArchive& ar) override;
    void PrepareForSimulation() override;
    bool IsInPortUsed(int, int) const override { return false; }
    bool IsOutPortUsed(int port, int flag) const override;
    bool CarriesInBatchMaterialOut() const override { return true; }
    void UpdateForNewCompDef(const ComponentList& oldComps) override;
    void UpdateCompInfoFromOldFlowsheet(const ComponentList& oldComps, const ComponentList& newComps) override;
    void InitSimModelParams() override;
    int IsSimDataComplete(int group, CTalModelPP* page, bool flag, int askUser) override;
    int Solve(CTalStateStream* before, CTalStateStream* after, int skipSizing) override;
    int WriteIDR_Description(std::FILE* f) override;
    void GetCustomDescription(std::string& text) const override;
    bool AffectsTPorCompOfContents() const override { return false; }
    bool DoesAfterStateAmtScaleWithInsAndOuts() const override;
    bool IsAmountSentOutFixed(int port) const override;
    double FixedAmountSentOut(int port) const override;
    bool CanInitiateStateBPG(std::string& reason) const override;

    int m_TransferOutMode = kFractionOut;
    double m_FractionOut = 1.0;
    double m_MassOut = 0.0;    //!< kg per cycle
    double m_VolumeOut = 0.0;  //!< m3 per cycle
    int m_TransferOutFlag = 0;
    std::vector<double> m_CompositionOut;  //!< composition asked of the contents by back-propagation

protected:
    //! Whether this operation sends a fixed amount: modes 2 and 3 here, always for a pull out.
    virtual bool SendsFixedAmount() const { return m_TransferOutMode == kMassOut || m_TransferOutMode == kVolumeOut; }
    virtual double FixedAmountPerCycle() const { return m_MassOut; }
    bool AsksMoreThanHeld(CTalStateStream& before, double requested, double held, double bidKgPerS, int& result);
};

class CTalPullOutOp : public CTalTransferOutOp {
    TAL_DECLARE_CLASS(CTalPullOutOp)
public:
    CTalPullOutOp() = default;
    TAL_OPERATION_IDENTITY(0xA23C)

    void Serialize(CArchive& ar) override;
    void PrepareForSimulation() override;
    bool IsOutPortUsed(int port, int flag) const override;
    void OnNotifyAfterDocOpening() override;
    void InitSimModelParams() override;
    int IsSimDataComplete(int group, CTalModelPP* page, bool flag, int askUser) override;
    int Solve(CTalStateStream* before, CTalStateStream* after, int skipSizing) override;
    void GetCustomDescription(std::string& text) const override;
    bool IsBPGTerminal() const override { return true; }
    void AbsorbBPG(double factor, double amount, const CTalSModel* stream) override;
    bool CanInitiateStateBPG(std::string& reason) const override;

    double m_AmountPulled = 0.001;  //!< kg per cycle, from downstream
    double m_AmountAvailable = 0.0; //!< kg per cycle
    int m_IsAmountAbsorbed = 0;

protected:
    bool SendsFixedAmount() const override { return true; }
    double FixedAmountPerCycle() const override { return m_AmountPulled; }
};

}  // namespace unitops
