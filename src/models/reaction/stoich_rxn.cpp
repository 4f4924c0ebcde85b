#include "unitops/models/reaction/stoich_rxn.hpp"

#include <cmath>

#include "unitops/contract/archive.hpp"
#include "unitops/contract/procedure.hpp"
#include "unitops/models/vessel/tanks.hpp"

namespace unitops {

const MemberTable& CTalPFStoichRxnOp::Members() {
    static const MemberTable table(CTalStoichRxnOp::Members(), {
        members::Real("MinResidenceTime", &CTalPFStoichRxnOp::m_MinResidenceTime, Quantity::Time, display::kHour),
    });
    return table;
}

TAL_IMPLEMENT_CLASS_NO_MEMBERS(CTalStoichRxnOp, CTalRxnOp)
TAL_IMPLEMENT_CLASS_NO_MEMBERS(CTalBatchStoichRxnOp, CTalStoichRxnOp)
TAL_IMPLEMENT_CLASS_NO_MEMBERS(CTalContStoichRxnOp, CTalStoichRxnOp)
TAL_IMPLEMENT_CLASS(CTalPFStoichRxnOp, CTalStoichRxnOp)
TAL_IMPLEMENT_CLASS_NO_MEMBERS(CTalGenBatchStoichRxnOp, CTalBatchStoichRxnOp)

// ---------------------------------------------------------------- CTalStoichRxnOp: the scheme

void CTalStoichRxnOp::Serialize(CArchive& ar) {
    CTalRxnOp::Serialize(ar);
    m_RxnScheme.Serialize(ar);
    if (ar.IsLoading()) m_RxnScheme.SetOwner(this);
}

void CTalStoichRxnOp::SetOwner(CTalProcedure* owner) {
    CTalRxnOp::SetOwner(owner);
    m_RxnScheme.SetOwner(this);
}

void CTalStoichRxnOp::OnNotifyAfterDocOpening() {
    CTalRxnOp::OnNotifyAfterDocOpening();
    m_RxnScheme.OnNotifyAfterDocOpening();
}

void CTalStoichRxnOp::UpdateForNewCompDef(const ComponentList& oldComps) {
    if (const ComponentList* comps = Comps()) m_RxnScheme.UpdateCompInfoFromOldFlowsheet(oldComps, *comps);
    CTalRxnOp::UpdateForNewCompDef(oldComps);
}

void CTalStoichRxnOp::UpdateCompInfoFromOldFlowsheet(const ComponentList& oldComps, const ComponentList& newComps) {
    m_RxnScheme.UpdateCompInfoFromOldFlowsheet(oldComps, newComps);
    CTalRxnOp::UpdateCompInfoFromOldFlowsheet(oldComps, newComps);
}

void CTalStoichRxnOp::CopyDataInto(CTalOperation* target, int flag) const {
    CTalRxnOp::CopyDataInto(target, flag);
    auto* t = dynamic_cast<CTalStoichRxnOp*>(target);
    if (t && t != this) m_RxnScheme.CopyInto(t->m_RxnScheme, t);
}

void CTalStoichRxnOp::ConvertToDisplayUnits() {
    if (!IsInInternalUnits()) return;
    m_RxnScheme.ConvertToDisplayUnits();
    CTalRxnOp::ConvertToDisplayUnits();
}

void CTalStoichRxnOp::ConvertToInternalUnits() {
    if (IsInInternalUnits()) return;
    m_RxnScheme.ConvertToInternalUnits();
    CTalRxnOp::ConvertToInternalUnits();
}

void CTalStoichRxnOp::InitSimModelParams() {
    CTalRxnOp::InitSimModelParams();
    m_RxnScheme.RemoveAll();
    m_RxnScheme.Add(std::make_unique<CTalStoichReaction>(this, 1, 1, "Reaction #1"));
}

int CTalStoichRxnOp::IsSimDataComplete(int group, CTalModelPP* page, bool flag, int askUser) {
    return WithInternalUnits(*this, [&] {
        if (!m_RxnScheme.IsSimDataComplete(group, page, flag)) return 0;
        return CTalRxnOp::IsSimDataComplete(group, page, flag, askUser);
    });
}

int CTalStoichRxnOp::IsAdequatelyConnectedForSimulation(CWnd* wnd) {
    if (!CTalRxnOp::IsAdequatelyConnectedForSimulation(wnd)) return 0;
    if (!IsCyclical() && NumberOfInPortsUsed() == 0) {
        ShowSimMsg("Please draw the inlet stream(s).\n");
        return 0;
    }
    return 1;
}

int CTalStoichRxnOp::WriteIDR_Description(std::FILE* f) {
    CTalRxnOp::WriteIDR_Description(f);
    m_RxnScheme.WriteIDR_Description(f);
    return 1;
}

void CTalStoichRxnOp::GetCustomDescription(std::string& text) const {
    CTalRxnOp::GetCustomDescription(text);
    if (NumberOfReactions() == 1 || IsOpDescriptionShort()) return;
    text += "Execute reactions: ";
    for (int i = 0; i < NumberOfReactions(); ++i) text += (i ? ", " : "") + m_RxnScheme[i].Name();
    text += ". ";
}

// ---------------------------------------------------------------- the balance

int CTalStoichRxnOp::MaterialBalances(const CTalStateStream* in, CTalStateStream* out, double headspace) {
    const bool ventOK = PrologueVentCheck();
    in->CopyDataInto(*out, 1);
    ProloguePressure(in, out);
    ProloguePower(true);
    TakeUserDuty();
    if (!IsIsothermalMode()) m_ExitTemp = in->Temp();
    double heat = 0.0;
    if (!out->MultipleStoichRxnCalculations(this, m_RxnScheme, m_ExitTemp, heat, m_IsRxnPhaseLiquid)) return 0;
    ThermalBalance(in, heat / UtilFactor() - m_Power);
    out->SetTemp(m_ExitTemp);
    VentEmissionStep(out, headspace);
    return ventOK ? 1 : 0;
}

// `heat` is what the reactions take up less the power put in, W.
void CTalStoichRxnOp::ThermalBalance(const CTalStateStream* in, double heat) {
    const double mCp = in->MassFlow() * in->LiqSolCp() / UtilFactor();
    const double Tin = in->Temp();
    if (IsIsothermalMode()) {
        double dT = m_ExitTemp - Tin;
        if (std::abs(dT) < 0.0001) dT = 0.0;
        m_ExternalDuty = mCp * dT + heat;
        SplitNetDuty();
    } else {
        double dT = 0.0;
        m_ExitTemp = Tin;
        if (mCp > 1e-15) {
            if (IsAdiabaticMode()) {
                m_HeatingDuty = m_CoolingDuty = m_ExternalDuty = 0.0;
                dT = -heat / mCp;
            } else if (IsDutySetMode()) {
                m_ExternalDuty = m_HeatingDuty - m_CoolingDuty - heat;
                dT = m_ExternalDuty / mCp;
            }
        }
        m_ExitTemp = Tin + dT;
    }
    m_ExternalDuty = m_HeatingDuty - m_CoolingDuty;
    SetAgentRate();
}

// ---------------------------------------------------------------- the forms

int CTalBatchStoichRxnOp::Solve(CTalStateStream* before, CTalStateStream* after, int skipSizing) {
    return BatchReactionFrame(before, after, skipSizing, TheBalance(), false);
}

void CTalContStoichRxnOp::InitSimModelParams() {
    CTalStoichRxnOp::InitSimModelParams();
    SetAdiabaticMode();
    m_IsContinuousModel = 1;
}

int CTalContStoichRxnOp::Solve(CTalStateStream* before, CTalStateStream* after, int skipSizing) {
    return ContinuousReactionFrame(before, after, skipSizing, TheBalance());
}

int CTalGenBatchStoichRxnOp::Solve(CTalStateStream* before, CTalStateStream* after, int) {
    if (before->NonGaseousVolFlow() * 1e10 < 1e-15) {
        before->CopyDataInto(*after, 1);
        return AbnormalSimEnding("No material is available for reaction.\nReaction calculations will be skipped.");
    }
    return NormalSimEnding(MaterialBalances(before, after, 0.0));
}

// ---------------------------------------------------------------- plug flow

void CTalPFStoichRxnOp::Serialize(CArchive& ar) {
    CTalStoichRxnOp::Serialize(ar);
    SerializeOwnMembers(ar, Members());
}

void CTalPFStoichRxnOp::InitSimModelParams() {
    CTalStoichRxnOp::InitSimModelParams();
    m_IsContinuousModel = 1;
    m_MinResidenceTime = 900.0;
    m_Volumes.workingToVesselVol = 1.0;
    m_Volumes.maxWorkingToVesselVol = 1.0;
}

CTalPFR* CTalPFStoichRxnOp::EquipmentT() const { return PlugFlowReactor(); }

int CTalPFStoichRxnOp::IsSimDataComplete(int group, CTalModelPP* page, bool flag, int askUser) {
    return WithInternalUnits(*this, [&] {
        if (!CheckMinResidenceTime(group, page, m_MinResidenceTime)) return 0;
        return CTalStoichRxnOp::IsSimDataComplete(group, page, flag, askUser);
    });
}

int CTalPFStoichRxnOp::WriteIDR_Description(std::FILE* f) {
    WriteMinResidenceTime(f, m_MinResidenceTime);
    return CTalStoichRxnOp::WriteIDR_Description(f);
}

int CTalPFStoichRxnOp::Solve(CTalStateStream* before, CTalStateStream* after, int skipSizing) {
    std::unique_ptr<CTalStateStream> feed = before->CreateCopy(before->Owner(), 1);
    GetFeedFlow(feed.get());
    const double Vdot = (feed->IsAllGaseous() ? feed->VolFlow(0, false) : feed->NonGaseousVolFlow()) / UtilFactor();
    if (Vdot * 1e10 < 1e-15) {
        return AbnormalSimEnding("No material is available for reaction.\nreaction calculations will be skipped.");
    }
    // The rating's and the sizing's failures have their messages but do not count in the result.
    PlugFlowRateOrSize(Vdot, m_MinResidenceTime, skipSizing);
    const int result = MaterialBalances(feed.get(), after, 0.0);
    SendToProduct(after);
    return NormalSimEnding(result);
}

}  // namespace unitops
