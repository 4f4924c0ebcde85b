#include "unitops/models/vessel/storage.hpp"

#include <algorithm>
#include <memory>

#include "unitops/contract/archive.hpp"
#include "unitops/contract/procedure.hpp"

namespace unitops {

namespace {

constexpr unsigned kHelpVolumeRatio = 0x50;

std::string Format(const char* format, auto... args) {
    char buffer[512];
    std::snprintf(buffer, sizeof buffer, format, args...);
    return buffer;
}

// Sizing at the start, the same filling at the end (holding changes no volume), and the check
// of its range.
int SizeForContents(CTalVesselOp& op, double V, int skipSizing, bool checkRatio) {
    int ok = op.BatchVesselSizing(true, V, skipSizing);
    op.m_Volumes.finalVolume = op.m_Volumes.workingVolume;
    op.m_Volumes.finalVolumeRatio = op.m_Volumes.workingToVesselVol;
    std::string text;
    if (checkRatio && !op.IsFinalVolumeRatioInRange(text)) {
        op.SetSimMsg(text, kHelpVolumeRatio);
        ok = 0;
    }
    return ok;
}

// The agitator's power from the specific power and the volume (mode 2), or the reverse (mode 1).
void PowerFromVolume(CTalOperation& op, double V) {
    if (op.m_PowerMode == 1) {
        op.m_SpecPower = V > 1e-15 ? op.m_Power / V : 0.0;
    } else {
        op.m_Power = V * op.m_SpecPower;
    }
}

// The pressure of the inlet unless the user set one, then the energy balance of the thermal mode.
void PressureAndEnergy(CTalThermalVesselOp& op, const CTalStateStream* in, CTalStateStream* out) {
    if (!op.m_IsPressureSetByUser) op.m_OperPressure = in->Press();
    out->SetPress(op.m_OperPressure);
    op.PerformEnergyBalance(in, out);
}

// A flow-through tank: sized for its feed of `volFlow` held for the residence time; what it
// stores leaves by its one outlet, and the state after it is empty.
int SolveContinuousStorage(CTalThermalVesselOp& op, CTalStateStream* before, CTalStateStream* after, int skipSizing,
                           double (*volFlowOf)(CTalThermalVesselOp&, const CTalSModel&)) {
    std::unique_ptr<CTalStateStream> feed = before->CreateCopy(before->Owner(), 1);
    op.GetFeedFlow(feed.get());
    feed->CopyDataInto(*after, 1);
    const double flow = volFlowOf(op, *feed);
    if (flow * 1e10 < 1e-15) return op.NormalSimEnding(1);
    const int ok = op.ContinuousVesselSizing(flow / op.UtilFactor(), skipSizing);
    op.CalcEquipCapacityUtilF();
    const CTalEquipment* e = op.Equipment();
    const double volume = e ? e->Volume() * std::max(e->NumberOfUnits(), 1) : 0.0;
    PowerFromVolume(op, volume);
    PressureAndEnergy(op, feed.get(), after);
    for (int port = 0; port < op.NumberOfOutStreams(); ++port) {
        CTalStream* s = op.OutStream(port);
        if (s && !(op.Owner() && port == op.Owner()->VentPortID())) after->CopyDataInto(*s, 1);
    }
    after->Zero(false, true);
    return op.NormalSimEnding(ok);
}

double LiquidVolFlow(CTalThermalVesselOp&, const CTalSModel& s) { return s.NonGaseousVolFlow(); }
double SolidsVolFlow(CTalThermalVesselOp& op, const CTalSModel& s) {
    const double rho = static_cast<CTalBatchSolidsStorage&>(op).StoredDensity(s);
    return rho > 1e-15 ? s.MassFlow() / rho : 0.0;
}

// A flow-through tank has one outlet besides its vent.
int IsOneOutletConnected(CTalOperation& op, CWnd* wnd) {
    int outlets = 0, vents = 0;
    for (int port = 0; port < op.NumberOfOutStreams(); ++port) {
        if (!op.OutStream(port)) continue;
        (op.Owner() && port == op.Owner()->VentPortID() ? vents : outlets) += 1;
    }
    const char* problem = nullptr;
    if (outlets == 0 && vents == 0) problem = "There must be a stream attached to the outlet\nport for transferring out the material.";
    if (outlets == 0 && vents > 0) {
        problem = "Please draw an output stream that is attached to a\nnon-vent port for removing the liquid/solid material.";
    }
    if (outlets > 1) problem = "There must be only one stream attached to an outlet\nnon-vent port for removing the liquid/solid material.";
    if (!problem) return 1;
    if (wnd) op.ShowSimMsg(problem, 0);
    return 0;
}

}  // namespace

// ---------------------------------------------------------------- member tables

TAL_IMPLEMENT_CLASS_NO_MEMBERS(CTalHoldOp, CTalOperation)
TAL_IMPLEMENT_CLASS_NO_MEMBERS(CTalAgitateOp, CTalVesselOp)
TAL_IMPLEMENT_CLASS_NO_MEMBERS(CTalBatchStorage, CTalThermalVesselOp)
TAL_IMPLEMENT_CLASS_NO_MEMBERS(CTalContinuousStorage, CTalThermalVesselOp)
TAL_IMPLEMENT_CLASS_NO_MEMBERS(CTalContinuousSolidsStorage, CTalBatchSolidsStorage)

const MemberTable& CTalBatchSolidsStorage::Members() {
    using namespace members;
    using C = CTalBatchSolidsStorage;
    static const MemberTable table(CTalBatchStorage::Members(), {
        Real("BulkDensity", &C::m_BulkDensity, Quantity::Density),
        Word("IsBulkDensitySetByUser", &C::m_IsBulkDensitySetByUser).Choices(0, 1),
    });
    return table;
}
TAL_IMPLEMENT_CLASS(CTalBatchSolidsStorage, CTalBatchStorage)

const MemberTable& CTalStoringInPlasticBag::Members() {
    using namespace members;
    using C = CTalStoringInPlasticBag;
    static const MemberTable table(CTalBatchStorage::Members(), {
        Word("IsReplacedByCycles", &C::m_IsReplacedByCycles).Choices(0, 1),
        Real("ReplacementCycles", &C::m_ReplacementCycles, Quantity::Dimensionless),
        Real("ReplacementTime", &C::m_ReplacementTime, Quantity::Time, display::kHour),
        Real("BagUnitCost", &C::m_BagUnitCost, Quantity::Money),
        Int("NumberOfBags", &C::m_NumberOfBags).Result(),
    });
    return table;
}
TAL_IMPLEMENT_CLASS(CTalStoringInPlasticBag, CTalBatchStorage)

// ---------------------------------------------------------------- hold

void CTalHoldOp::InitSimModelParams() {
    CTalOperation::InitSimModelParams();
    InitTimes(900.0, 0.0);
}

int CTalHoldOp::Solve(CTalStateStream* before, CTalStateStream* after, int) {
    before->CopyDataInto(*after, 1);
    return NormalSimEnding(1);
}

void CTalHoldOp::GetCustomDescription(std::string& text) const {
    text = Format("Hold for %.2lf %s", m_ProcessTime, ProcessTimeUnits().UnitsName().c_str());
}

// ---------------------------------------------------------------- agitate

void CTalAgitateOp::InitSimModelParams() {
    CTalVesselOp::InitSimModelParams();
    InitTimes(900.0, 0.0);
    m_Power = 0.0;
    m_SpecPower = 100.0;  // W/m3
    m_SpecPowerPQ.Init(9, 0x901, 0);
    m_PowerMode = 2;
    m_IsContinuousModel = 0;
}

int CTalAgitateOp::Solve(CTalStateStream* before, CTalStateStream* after, int skipSizing) {
    before->CopyDataInto(*after, 1);
    if (before->NonGaseousVolFlow() * 1e10 < 1e-15) return NormalSimEnding(1);
    const int n = NumberOfCycles();
    const double T = BatchReferenceTime();
    const double V = before->NonGaseousVolFlow() * T / n;
    const int ok = SizeForContents(*this, V, skipSizing, true);
    PowerFromVolume(*this, V);
    // The agitator's work over every cycle warms the contents of the batch.
    const double E = m_Power * m_ProcessTime * n;
    const double M = before->MassFlow() * T;
    const double Cp = before->LiqSolCp();
    const double dT = Cp > 1e-15 && M > 0.0 ? E / (M * Cp) : 0.0;
    m_ExitTemp = before->Temp() + dT;
    after->SetTemp(m_ExitTemp);
    CalcEquipCapacityUtilF();
    return NormalSimEnding(ok);
}

void CTalAgitateOp::GetCustomDescription(std::string& text) const {
    const std::string unit = ProcessTimeUnits().UnitsName();
    if (IsOpDescriptionShort()) {
        text = Format("Agitate for %.2lf %s", m_ProcessTime, unit.c_str());
    } else if (m_PowerMode == 1) {
        text = Format("Agitate for %.2lf %s at a power of %.2lf kW", m_ProcessTime, unit.c_str(), m_Power);
    } else {
        text = Format("Agitate for %.2lf %s at a specific power of %.2lf kW/m3", m_ProcessTime, unit.c_str(), m_SpecPower);
    }
}

// ---------------------------------------------------------------- batch storage

void CTalBatchStorage::InitSimModelParams() {
    CTalThermalVesselOp::InitSimModelParams();
    SetAdiabaticMode();
    m_IsContinuousModel = 0;
}

bool CTalBatchStorage::StoredVolume(const CTalStateStream& before, double T, int n, double& V) {
    const double flow = before.NonGaseousVolFlow();
    V = flow * T / n;
    return flow * 1e10 >= 1e-15;
}

int CTalBatchStorage::Solve(CTalStateStream* before, CTalStateStream* after, int skipSizing) {
    before->CopyDataInto(*after, 1);
    const int n = NumberOfCycles();
    double V = 0.0;
    if (!StoredVolume(*before, BatchReferenceTime(), n, V)) return NormalSimEnding(1);
    const int ok = SizeForContents(*this, V, skipSizing, ChecksFinalRatio());
    CalcEquipCapacityUtilF();
    PowerFromVolume(*this, V);
    PressureAndEnergy(*this, before, after);
    return NormalSimEnding(ok);
}

void CTalBatchStorage::GetCustomDescription(std::string& text) const {
    text = Format("Store for %.2lf %s", m_ProcessTime, ProcessTimeUnits().UnitsName().c_str());
    if (IsIsothermalMode()) text += Format(" at a temperature of %.2lf degC", m_ExitTemp);
    text += Format(", and pressure of %.3lf bar", m_OperPressure);
}

// ---------------------------------------------------------------- solids

void CTalBatchSolidsStorage::Serialize(CArchive& ar) {
    CTalBatchStorage::Serialize(ar);
    SerializeOwnMembers(ar, Members());
}

void CTalBatchSolidsStorage::InitSimModelParams() {
    CTalBatchStorage::InitSimModelParams();
    m_BulkDensity = 850.0;
    m_IsBulkDensitySetByUser = 1;
}

int CTalBatchSolidsStorage::IsSimDataComplete(int group, CTalModelPP* page, bool flag, int askUser) {
    return WithInternalUnits(*this, [&] {
        if (InGroup(group, 2) && m_IsBulkDensitySetByUser && m_BulkDensity < 1e-15) {
            return ReportRange(page, 0x601, "Bulk Density", 0x640);
        }
        return CTalBatchStorage::IsSimDataComplete(group, page, flag, askUser);
    });
}

double CTalBatchSolidsStorage::StoredDensity(const CTalSModel& s) {
    if (m_IsBulkDensitySetByUser) return m_BulkDensity;
    CTalSModel condensed(s), vapour;
    condensed.ExtractVaporPhase(vapour);
    m_BulkDensity = condensed.Density();
    return m_BulkDensity;
}

bool CTalBatchSolidsStorage::StoredVolume(const CTalStateStream& before, double T, int n, double& V) {
    if (before.MassFlow() < 1e-15) return false;
    const double rho = StoredDensity(before);
    V = rho > 1e-15 ? before.MassFlow() / rho * T / n : 0.0;
    return true;
}

void CTalContinuousSolidsStorage::InitSimModelParams() {
    CTalBatchSolidsStorage::InitSimModelParams();
    m_IsContinuousModel = 1;
}

int CTalContinuousSolidsStorage::IsAdequatelyConnectedForSimulation(CWnd* wnd) {
    if (!CTalBatchSolidsStorage::IsAdequatelyConnectedForSimulation(wnd)) return 0;
    return IsOneOutletConnected(*this, wnd);
}

int CTalContinuousSolidsStorage::Solve(CTalStateStream* before, CTalStateStream* after, int skipSizing) {
    return SolveContinuousStorage(*this, before, after, skipSizing, &SolidsVolFlow);
}

// ---------------------------------------------------------------- continuous storage

void CTalContinuousStorage::InitSimModelParams() {
    CTalThermalVesselOp::InitSimModelParams();
    SetAdiabaticMode();
    m_IsContinuousModel = 1;
}

int CTalContinuousStorage::IsAdequatelyConnectedForSimulation(CWnd* wnd) {
    if (!CTalThermalVesselOp::IsAdequatelyConnectedForSimulation(wnd)) return 0;
    return IsOneOutletConnected(*this, wnd);
}

int CTalContinuousStorage::Solve(CTalStateStream* before, CTalStateStream* after, int skipSizing) {
    return SolveContinuousStorage(*this, before, after, skipSizing, &LiquidVolFlow);
}

void CTalContinuousStorage::GetCustomDescription(std::string& text) const {
    text = Format("Store for a residence time of %.2lf h", m_ResidenceTime);
}

// ---------------------------------------------------------------- plastic bag

void CTalStoringInPlasticBag::Serialize(CArchive& ar) {
    CTalBatchStorage::Serialize(ar);
    SerializeOwnMembers(ar, Members());
}

void CTalStoringInPlasticBag::InitSimModelParams() {
    CTalBatchStorage::InitSimModelParams();
    m_IsReplacedByCycles = 1;
    m_ReplacementCycles = 1.0;
    m_ReplacementTime = 86400.0;
    m_BagUnitCost = 0.2;
    m_NumberOfBags = 0;
}

int CTalStoringInPlasticBag::IsSimDataComplete(int group, CTalModelPP* page, bool flag, int askUser) {
    return WithInternalUnits(*this, [&] {
        if (InGroup(group, 2)) {
            if (m_ProcessTime < 1e-15) return ReportRange(page, 0x601, "Duration", 0x640);
            const double frequency = m_IsReplacedByCycles ? m_ReplacementCycles : m_ReplacementTime;
            if (frequency < 1e-15) return ReportRange(page, 0x60d, "Bag Replacement Frequency", 0x640);
            if (m_BagUnitCost < 0.0) return ReportRange(page, 0x60d, "per Bag cost", 0x641);
        }
        return CTalBatchStorage::IsSimDataComplete(group, page, flag, askUser);
    });
}

int CTalStoringInPlasticBag::Solve(CTalStateStream* before, CTalStateStream* after, int skipSizing) {
    const int result = CTalBatchStorage::Solve(before, after, skipSizing);
    const CTalEquipment* e = Equipment();
    m_NumberOfBags = e ? std::max(e->NumberOfUnits(), 1) : 1;
    return result;
}

// The bags, how often they are replaced (s) and what one costs.
void CTalStoringInPlasticBag::GetInfoOnConsumables(int, double& area, double& quantity, double& frequency) const {
    quantity = m_NumberOfBags;
    const double cycle = m_Owner ? m_Owner->CycleTime() : 0.0;
    frequency = m_IsReplacedByCycles ? m_ReplacementCycles * cycle : m_ReplacementTime;
    area = m_BagUnitCost;
}

}  // namespace unitops
