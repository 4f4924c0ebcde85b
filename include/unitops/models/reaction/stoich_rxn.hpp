#pragma once
// Reactions to a stated extent, without rates: in a batch vessel, a continuous stirred vessel, a
// plug-flow reactor, and an item without a vessel of its own. One balance serves them all.

#include "unitops/contract/reaction.hpp"
#include "unitops/models/reaction/reaction_op.hpp"
#include "unitops/roster/identity.hpp"

namespace unitops {

class CTalPFR;

class CTalStoichRxnOp : public CTalRxnOp {
    TAL_DECLARE_CLASS(CTalStoichRxnOp)
public:
    CTalStoichRxnOp() = default;

    void Serialize(CArchive& ar) override;
    void SetOwner(CTalProcedure* owner) override;
    int IsAdequatelyConnectedForSimulation(CWnd* wnd) override;
    void OnNotifyAfterDocOpening() override;
    void UpdateForNewCompDef(const ComponentList& oldComps) override;
    void UpdateCompInfoFromOldFlowsheet(const ComponentList& oldComps, const ComponentList& newComps) override;
    std::string DefaultPrefix() const override { return "REACT-"; }
    void CopyDataInto(CTalOperation* target, int flag) const override;
    void ConvertToDisplayUnits() override;
    void ConvertToInternalUnits() override;
    void InitSimModelParams() override;
    void InitCostParams() override {}
    int IsSimDataComplete(int group, CTalModelPP* page, bool flag, int askUser) override;
    int WriteIDR_Description(std::FILE* f) override;
    void GetCustomDescription(std::string& text) const override;

    int NumberOfReactions() const { return m_RxnScheme.NumberOfReactions(); }
    CTalStoichReactionScheme& RxnScheme() { return m_RxnScheme; }
    const CTalStoichReactionScheme& RxnScheme() const { return m_RxnScheme; }
    //! The balance of the family: the reactions, the thermal mode and the vent.
    int MaterialBalances(const CTalStateStream* in, CTalStateStream* out, double headspace);

    CTalStoichReactionScheme m_RxnScheme;

protected:
    Balance TheBalance() {
        return [this](const CTalStateStream* in, CTalStateStream* out, double h) { return MaterialBalances(in, out, h); };
    }
    //! The sensible heat and the duties by the thermal mode, given the heat the reactions take up (W).
    void ThermalBalance(const CTalStateStream* in, double heat);
};

class CTalBatchStoichRxnOp : public CTalStoichRxnOp {
    TAL_DECLARE_CLASS(CTalBatchStoichRxnOp)
public:
    CTalBatchStoichRxnOp() = default;
    TAL_OPERATION_IDENTITY(0xA108)
    int Solve(CTalStateStream* before, CTalStateStream* after, int skipSizing) override;
};

class CTalContStoichRxnOp : public CTalStoichRxnOp {
    TAL_DECLARE_CLASS(CTalContStoichRxnOp)
public:
    CTalContStoichRxnOp() = default;
    TAL_OPERATION_IDENTITY(0xA104)
    int IsEssential() const override { return 1; }
    int IsCyclical() const override { return 0; }
    void InitSimModelParams() override;
    int Solve(CTalStateStream* before, CTalStateStream* after, int skipSizing) override;
};

class CTalPFStoichRxnOp : public CTalStoichRxnOp {
    TAL_DECLARE_CLASS(CTalPFStoichRxnOp)
public:
    CTalPFStoichRxnOp() = default;
    TAL_OPERATION_IDENTITY(0xA10C)
    int IsEssential() const override { return 1; }
    int IsCyclical() const override { return 0; }
    void Serialize(CArchive& ar) override;
    //! Every port that holds a stream is used (the host requires a stream on each used port, and
    //! the reactor's spare inlets may stay empty).
    bool IsInPortUsed(int port, int) const override { return InStream(port) != nullptr; }
    bool IsOutPortUsed(int port, int) const override { return OutStream(port) != nullptr; }
    void InitSimModelParams() override;
    int IsSimDataComplete(int group, CTalModelPP* page, bool flag, int askUser) override;
    int Solve(CTalStateStream* before, CTalStateStream* after, int skipSizing) override;
    int WriteIDR_Description(std::FILE* f) override;
    CTalPFR* EquipmentT() const;

    double m_MinResidenceTime = 900.0;  //!< s
};

class CTalGenBatchStoichRxnOp : public CTalBatchStoichRxnOp {
    TAL_DECLARE_CLASS(CTalGenBatchStoichRxnOp)
public:
    CTalGenBatchStoichRxnOp() = default;
    TAL_OPERATION_IDENTITY(0xA10E)
    bool IsInPortUsed(int, int) const override { return false; }
    bool IsOutPortUsed(int, int) const override { return false; }
    bool DoesAfterStateAmtScaleWithInsAndOuts() const override { return false; }
    int Solve(CTalStateStream* before, CTalStateStream* after, int skipSizing) override;
};

}  // namespace unitops
