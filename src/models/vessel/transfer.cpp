#include "unitops/models/vessel/transfer.hpp"

#include <algorithm>
#include <cmath>

#include "unitops/contract/archive.hpp"
#include "unitops/contract/flowsheet.hpp"
#include "unitops/contract/message_table.hpp"
#include "unitops/contract/procedure.hpp"

namespace unitops {

namespace {

constexpr unsigned kHelpBalance = 0x30;
constexpr unsigned kHelpVolumeRatio = 0x50;
constexpr unsigned kHelpData = 0x2A;
constexpr unsigned kHostIngredientWithoutDensity = 0x1098;  // "An ingredient has no density; 1000 kg/m3 is used."
constexpr double kPullOutFloor = 1e-7;  // kg/s moved by a pull out that no one has asked yet

std::string Format(const char* format, auto... args) {
    char buffer[512];
    std::snprintf(buffer, sizeof buffer, format, args...);
    return buffer;
}

// The transfer's procedure by name in the flowsheet's results and files.
MemberRow TransferProcedureRow() {
    return members::Computed(
        "TransferProcedure", MemberType::Text, Quantity::None, display::kNone,
        [](const CObject& o) -> MemberValue {
            const CTalProcedure* p = static_cast<const CTalTransferOp&>(o).m_TransferProcedure;
            return p ? p->Name() : std::string();
        },
        [](CObject& o, const MemberValue& v) {
            auto& op = static_cast<CTalTransferOp&>(o);
            const CTalDocEss* doc = op.Flowsheet();
            op.m_TransferProcedure = doc ? doc->FindProcedure(std::get<std::string>(v)) : nullptr;
        });
}

// The stream on the transfer's port, by name: setting it selects the port that holds it.
MemberRow PortStreamRow() {
    return members::Computed(
        "PortStream", MemberType::Text, Quantity::None, display::kNone,
        [](const CObject& o) -> MemberValue {
            const CTalStream* s = static_cast<const CTalTransferOp&>(o).TransferStream();
            return s ? s->Name() : std::string();
        },
        [](CObject& o, const MemberValue& v) {
            auto& op = static_cast<CTalTransferOp&>(o);
            const std::string& name = std::get<std::string>(v);
            for (int port = 0; port < op.NumberOfInStreams(); ++port) {
                if (op.InStream(port) && op.InStream(port)->Name() == name) op.m_PortID = port + 1;
            }
            for (int port = 0; port < op.NumberOfOutStreams(); ++port) {
                if (op.OutStream(port) && op.OutStream(port)->Name() == name) op.m_PortID = -port - 1;
            }
        });
}

template <class C>
std::vector<MemberRow> VolumeRowsSince(double version) {
    std::vector<MemberRow> rows = WorkingVolumeRows<C>(&C::m_Volumes, true);
    for (MemberRow& r : WorkingVolumeRows<C>(&C::m_Volumes, false)) rows.push_back(std::move(r));
    const WorkingVolumes defaults{0.0, 0.9, 0.0, 0.9, 0.0, 0.0};
    const double absent[] = {defaults.workingVolume, defaults.workingToVesselVol, defaults.minWorkingToVesselVol,
                             defaults.maxWorkingToVesselVol, defaults.finalVolume, defaults.finalVolumeRatio};
    for (std::size_t i = 0; i < rows.size(); ++i) {
        rows[i].since = version;
        rows[i].absent = absent[i];
    }
    return rows;
}

}  // namespace

// ---------------------------------------------------------------- member tables

const MemberTable& CTalTransferOp::Members() {
    using namespace members;
    using C = CTalTransferOp;
    static const MemberTable table(CTalOperation::Members(), [] {
        std::vector<MemberRow> rows;
        rows.push_back(TransferProcedureRow());  // persisted as a reference, before the rows below
        rows.push_back(Int("PortID", &C::m_PortID));
        rows.push_back(Real("MassFlowRate", &C::m_MassFlowRate, Quantity::MassFlow, display::kKgPerMin));
        rows.push_back(Real("VolFlowRate", &C::m_VolFlowRate, Quantity::VolumeFlow, display::kLitrePerMin));
        rows.push_back(Word("FlowBasis", &C::m_FlowBasis).Since(4.707, 0).Choices(0, 2));
        for (MemberRow& r : VolumeRowsSince<C>(5.00092)) rows.push_back(std::move(r));
        rows.push_back(PortStreamRow());
        return rows;
    }());
    return table;
}

const MemberTable& CTalTransferInOp::Members() {
    static const MemberTable table(CTalTransferOp::Members(), {PerformEmissionCalcsRow(&CTalTransferInOp::m_EmissionsSpec)});
    return table;
}

const MemberTable& CTalChargeOp::Members() {
    static const MemberTable table(CTalTransferInOp::Members(), {
        members::Word("IsDetailedDescription", &CTalChargeOp::m_IsDetailedDescription).Since(4.705, 0),
    });
    return table;
}

const MemberTable& CTalTransferOutOp::Members() {
    using namespace members;
    using C = CTalTransferOutOp;
    static const MemberTable table(CTalTransferOp::Members(), {
        Word("TransferOutMode", &C::m_TransferOutMode),
        Real("FractionOut", &C::m_FractionOut, Quantity::Fraction, display::kPercent),
        Real("MassOut", &C::m_MassOut, Quantity::Mass),
        Real("VolumeOut", &C::m_VolumeOut, Quantity::Volume, display::kLitre),
        Word("TransferOutFlag", &C::m_TransferOutFlag),
        Computed("CompositionOut", MemberType::RealArray, Quantity::Fraction, display::kNone,
                 [](const CObject& o) -> MemberValue { return static_cast<const C&>(o).m_CompositionOut; },
                 [](CObject& o, const MemberValue& v) { static_cast<C&>(o).m_CompositionOut = std::get<std::vector<double>>(v); })
            .Result(),
    });
    return table;
}

const MemberTable& CTalPullOutOp::Members() {
    using namespace members;
    using C = CTalPullOutOp;
    static const MemberTable table(CTalTransferOutOp::Members(), {
        Real("AmountPulled", &C::m_AmountPulled, Quantity::Mass).Since(4.501, 0.001),
        Real("AmountAvailable", &C::m_AmountAvailable, Quantity::Mass).Since(5.0009, 0.0),
        Word("IsAmountAbsorbed", &C::m_IsAmountAbsorbed).Transient().Result(),
    });
    return table;
}

TAL_IMPLEMENT_CLASS(CTalTransferOp, CTalOperation)
TAL_IMPLEMENT_CLASS(CTalTransferInOp, CTalTransferOp)
TAL_IMPLEMENT_CLASS(CTalChargeOp, CTalTransferInOp)
TAL_IMPLEMENT_CLASS(CTalTransferOutOp, CTalTransferOp)
TAL_IMPLEMENT_CLASS(CTalPullOutOp, CTalTransferOutOp)

// ---------------------------------------------------------------- CTalTransferOp

void CTalTransferOp::Serialize(CArchive& ar) {
    CTalOperation::Serialize(ar);
    if (ar.IsStoring() && ar.StoreVersionNo() < 4.101) {
        // Files of that age named the procedure in 16 single bytes.
        std::string name = m_TransferProcedure ? m_TransferProcedure->Name() : std::string();
        name.resize(16, '\0');
        ar.WriteRaw(name.data(), name.size());
    } else if (ar.IsStoring()) {
        ar.WriteProcedureRef(m_TransferProcedure);
    } else if (m_VersionNo < 4.101) {
        ar.Skip(16);  // the procedure was kept by name then; it is asked again at validation
        m_TransferProcedure = nullptr;
    } else {
        ar.ReadProcedureRef(m_TransferProcedure);
    }
    SerializeOwnMembers(ar, Members());
    if (ar.IsLoading() && m_VersionNo < 4.707) {
        // The flow basis was part of the duration mode then.
        if (m_ProcessTimeMode == 4 || m_ProcessTimeMode == 5) {
            m_FlowBasis = m_ProcessTimeMode == 4 ? kMassBasis : kVolumeBasis;
            m_ProcessTimeMode = 2;
        } else {
            m_FlowBasis = kNoBasis;
        }
    }
}

int CTalTransferOp::CanSizeEquipment(const CTalEquipment* equipment) const {
    return equipment ? equipment->IsSizingBasedOnVolume() : 0;
}

void CTalTransferOp::ProcedureHasBeenRemoved(const CTalProcedure* p) {
    if (p == m_TransferProcedure) m_TransferProcedure = nullptr;
}

void CTalTransferOp::CopyDataInto(CTalOperation* target, int flag) const {
    CTalOperation::CopyDataInto(target, flag);
    if (auto* t = dynamic_cast<CTalTransferOp*>(target)) t->m_TransferProcedure = m_TransferProcedure;
}

void CTalTransferOp::InitSimModelParams() {
    CTalOperation::InitSimModelParams();
    m_ProcessTimeMode = 2;
    m_SetupTime = 1200.0;
    m_SetupTimePQ.SetUnits(2);
    m_ProcessTime = 0.0;
    m_ProcessTimePQ.SetUnits(2);
    m_TransferProcedure = nullptr;
    m_PortID = 0;
    m_MassFlowRate = 1.0 / 6.0;
    m_VolFlowRate = 1.0 / 6000.0;
    m_Volumes = WorkingVolumes{0.0, 0.9, 0.0, 0.9, 0.0, 0.0};
    // No basis stands as the default, so that the user picks one.
    m_FlowBasis = kNoBasis;
}

void CTalTransferOp::InitCostParams() { InitLabor(2.0, 0.0, 0x1200, 0x1200); }

bool CTalTransferOp::IsSizedByVolume() const {
    const CTalEquipment* e = Equipment();
    return e && e->IsSizingBasedOnVolume();
}

int CTalTransferOp::Units() const {
    const CTalEquipment* e = Equipment();
    return e ? std::max(e->NumberOfUnits(), 1) : 1;
}

double CTalTransferOp::VesselVolume() const {
    const CTalEquipment* e = Equipment();
    return e ? e->Volume() : 0.0;
}

int CTalTransferOp::BatchVesselSizing(bool isInitial, double totalVolume, int skipSizing) {
    CTalEquipment* e = Equipment();
    return e ? SizeBatchVessel(*this, *e, m_Volumes, isInitial, totalVolume, skipSizing) : 1;
}

void CTalTransferOp::CalcTimeAndRates(double dM, double dV, double zeroRateTime) {
    const auto ratesFromTime = [&](double time) {
        m_MassFlowRate = time > 1e-15 ? dM / time : 0.0;
        m_VolFlowRate = time > 1e-15 ? dV / time : 0.0;
    };
    if (m_ProcessTimeMode == 1) {
        ratesFromTime(m_ProcessTime);
    } else if (m_ProcessTimeMode == 2 && m_FlowBasis == kMassBasis) {
        if (m_MassFlowRate <= 1e-15) {
            m_ProcessTime = 1e-15;
        } else {
            m_ProcessTime = dM / m_MassFlowRate;
            m_VolFlowRate = m_ProcessTime <= 1e-15 ? 0.0 : dV / m_ProcessTime;
        }
    } else if (m_ProcessTimeMode == 2 && m_FlowBasis == kVolumeBasis) {
        if (m_VolFlowRate <= 1e-15) {
            m_ProcessTime = zeroRateTime;
        } else {
            m_ProcessTime = dV / m_VolFlowRate;
            m_MassFlowRate = m_ProcessTime <= 1e-15 ? 0.0 : dM / m_ProcessTime;
        }
    } else {
        // The duration comes from a master operation.
        m_ProcessTime = ProcessTime();
        ratesFromTime(m_ProcessTime);
    }
}

int CTalTransferOp::FinalVolumeStep(const CTalSModel& after, double initialVolume, double T, int n, int skipSizing) {
    if (!IsSizedByVolume()) return 1;
    int ok = 1;
    const double Vf = after.NonGaseousVolFlow() * T / n;
    m_Volumes.finalVolume = Vf;
    if (Vf <= initialVolume) {
        m_Volumes.finalVolume = Vf / Units();
        const double vessel = VesselVolume();
        m_Volumes.finalVolumeRatio = vessel > 1e-15 ? m_Volumes.finalVolume / vessel : m_Volumes.maxWorkingToVesselVol;
    } else if (!BatchVesselSizing(false, Vf, skipSizing)) {
        ok = 0;
    }
    if (const unsigned problem = m_Volumes.FinalRatioProblem()) {
        SetSimMsg(problem, kHelpVolumeRatio);
        ok = 0;
    }
    return ok;
}

std::string CTalTransferOp::ShortageText(const std::string& reason, double requested, double existing, bool transferOut) const {
    const bool oneCycle = NumberOfCycles() == 1;
    std::string text = "Unable to scale up contents. Reason:\n\n" + reason;
    text += std::string("Not enough liquid/solid contents to satisfy ") + (transferOut && oneCycle ? "transfer-out" : "pull-out") +
            " requirements.\n";
    text += oneCycle ? Format("%-10.4lf kg/batch was requested, but only \n%-10.4lf kg/batch existed.", requested, existing)
                     : Format("%-10.4lf kg/cycle/batch was requested, but only \n%-10.4lf kg/batch/cycle existed.", requested, existing);
    text += transferOut ? "\nMaximum possible amount will be pulled out (nothing will be left)" : "\n\nMaterial balances will not close.";
    return text;
}

int CTalTransferOp::IsSimDataComplete(int group, CTalModelPP* page, bool flag, int askUser) {
    return WithInternalUnits(*this, [&] {
        if (!CTalOperation::IsSimDataComplete(group, page, flag, askUser)) return 0;
        const bool timeGroup = group == 0 || group == 2 || group == 23;
        if (timeGroup && m_ProcessTimeMode == 2) {
            if (m_FlowBasis == kMassBasis && m_MassFlowRate < 1e-15) return ReportRange(page, 0x601, "Mass Flow Rate", 0x640);
            if (m_FlowBasis == kVolumeBasis && m_VolFlowRate < 1e-15) return ReportRange(page, 0x601, "Volumetric Flow Rate", 0x640);
        }
        if (timeGroup && m_PortID == 0) return ReportMessage(page, 0x601, 0x300D, 0, kStopBox);
        if (InGroup(group, 22)) {
            const WorkingVolumes& w = m_Volumes;
            if (w.minWorkingToVesselVol < 0.0 || w.minWorkingToVesselVol > 1.0) {
                return ReportRange(page, 0x615, "minimum working / vessel volume percentage", 0x648);
            }
            const CTalEquipment* e = Equipment();
            if (w.minWorkingToVesselVol > w.maxWorkingToVesselVol || (e && w.maxWorkingToVesselVol > e->MaxWorkingToVesselVol())) {
                return ReportMessage(page, 0x615, 0x3005, kHelpData, kStopBox);
            }
        }
        if (InGroup(group, 2) && NamesTransferProcedure() && !m_TransferProcedure && page && askUser) {
            return AskForTransferProcedure(page);
        }
        return 1;
    });
}

// Offers the procedure at the other end of the transfer stream. Yes takes it; Cancel (or No to
// the plain question) stops the validation.
int CTalTransferOp::AskForTransferProcedure(CTalModelPP* page) {
    const CTalStream* s = TransferStream();
    if (!s) return 1;
    const bool out = m_PortID < 0;
    CTalProcedure* other = out ? s->Destination() : s->Source();
    if (other) {
        const int answer = page->ModelDlgQuestion(0x601, FormatMessage(MessageText(out ? 0x3012 : 0x3010), other->Name()),
                                                  0, kYesNoCancel);
        if (answer == IDYES) m_TransferProcedure = other;
        return answer == IDCANCEL ? 0 : 1;
    }
    if (!(out ? s->IsOutput() : s->IsInput())) {
        return page->ModelDlgQuestion(0x601, out ? 0x3013 : 0x3011, 0, kYesNo) == IDNO ? 0 : 1;
    }
    return 1;
}

int CTalTransferOp::WriteIDR_Description(std::FILE* f) {
    CTalOperation::WriteIDR_Description(f);
    if (m_PortID > 0) {
        std::fprintf(f, "Material will be transfered in via the # %-2d input port.\n", m_PortID);
        if (m_TransferProcedure) {
            std::fprintf(f, "The material will be tranferred from procedure: %-16s", m_TransferProcedure->Name().c_str());
        } else {
            std::fprintf(f, "The source procedure has not been specified.\n");
        }
    } else if (m_PortID < 0) {
        std::fprintf(f, "Material will be transfered out via the # %-2lld output port.\n", -static_cast<long long>(m_PortID));
        if (m_TransferProcedure) {
            std::fprintf(f, "The material will be tranferred to procedure: %-16s", m_TransferProcedure->Name().c_str());
        } else {
            std::fprintf(f, "The destination procedure has not been specified.\n");
        }
    } else {
        std::fprintf(f, "The transfer port has not been specified yet.\n");
        std::fprintf(f, "The source/destination procedure has not been specified yet.\n");
    }
    std::fprintf(f, "Mass Flow Rate       = %-15.2lf\n", m_MassFlowRate);
    std::fprintf(f, "Volumetric Flow Rate = %-15.2lf\n", m_VolFlowRate);
    if (IsSizedByVolume()) {
        std::fprintf(f, "Working to Vessel Volume Ratio\t\t= %15.2lf %c\n", m_Volumes.workingToVesselVol, '%');
        std::fprintf(f, "Min Working To Total Volume\t\t= %15.2lf %c\n", m_Volumes.minWorkingToVesselVol, '%');
        std::fprintf(f, "Max Working To Total Volume\t\t= %15.2lf %c\n", m_Volumes.maxWorkingToVesselVol, '%');
    }
    return 1;
}

// ---------------------------------------------------------------- CTalTransferInOp

void CTalTransferInOp::Serialize(CArchive& ar) {
    CTalTransferOp::Serialize(ar);
    m_EmissionsSpec.Serialize(ar);
}

void CTalTransferInOp::SetOwner(CTalProcedure* owner) {
    CTalTransferOp::SetOwner(owner);
    m_EmissionsSpec.SetOwner(this);
}

void CTalTransferInOp::CopyDataInto(CTalOperation* target, int flag) const {
    CTalTransferOp::CopyDataInto(target, flag);
    if (auto* t = dynamic_cast<CTalTransferInOp*>(target)) {
        t->m_EmissionsSpec = m_EmissionsSpec;
        t->m_EmissionsSpec.SetOwner(t);
    }
}

int CTalTransferInOp::IsAdequatelyConnectedForSimulation(CWnd* wnd) {
    if (!CTalTransferOp::IsAdequatelyConnectedForSimulation(wnd)) return 0;
    return IsFedByAProcedure(wnd);
}

int CTalTransferOp::IsFedByAProcedure(CWnd* wnd) {
    const CTalStream* s = TransferStream();
    if (s && m_PortID > 0 && s->IsInput()) {
        if (wnd) {
            ShowSimMsg(FormatMessage(MessageText(0x72),
                                     Format("Stream on input port #%2d in procedure %-16s", m_PortID, NameAndType().c_str())),
                       0);
        }
        return 0;
    }
    return 1;
}

bool CTalTransferInOp::IsInPortUsed(int port, int) const { return m_PortID > 0 && port == m_PortID - 1; }

bool CTalTransferInOp::IsOutPortUsed(int port, int flag) const { return IsVentPortUsedBy(m_EmissionsSpec, port, flag); }

bool CTalTransferOp::IsVentPortUsedBy(const CTalEmissionsSpec& spec, int port, int flag) const {
    return flag == 0 && spec.PerformEmissionCalcs() && m_Owner && port == m_Owner->VentPortID();
}

int CTalTransferInOp::Solve(CTalStateStream* before, CTalStateStream* after, int skipSizing) {
    CTalStream* S = TransferStream();
    const std::string word = PortWord();
    if (!S) {
        return AbnormalSimEnding("No stream is attached to the '" + word + "' port.\n" + word + " calculations will be skipped.\n", 0);
    }
    const double T = BatchReferenceTime();
    const int n = NumberOfCycles();
    int result = 1;
    const double V0 = before->NonGaseousVolFlow() * T / n;
    if (IsSizedByVolume() && !BatchVesselSizing(true, V0, skipSizing)) result = 0;
    const int N = Units();
    const double dV = S->NonGaseousVolFlow() * T / (n * N);
    const double dM = S->MassFlow() * T / (n * N);
    after->Mix(*before, *S);
    if (dM < 1e-15) {
        return AbnormalSimEnding("The '" + word + "' stream has zero material flow.\n" + TimeRateWord() +
                                     " Time/Rate calculations will be skipped.\n",
                                 0);
    }
    CalcTimeAndRates(dM, dV, 0.0);
    CalcEmissions(m_EmissionsSpec, *before, *after, dV, T, n, result);
    if (!FinalVolumeStep(*after, V0, T, n, skipSizing)) result = 0;
    CalcEquipCapacityUtilF();
    return NormalSimEnding(result);
}

void CTalTransferOp::CalcEmissions(CTalEmissionsSpec& spec, const CTalStateStream& before, CTalStateStream& after,
                                   double dV, double T, int n, int& result) {
    CTalEmissionStream* emission = EmissionStream();
    CTalStream* vent = VentStream();
    if (!spec.PerformEmissionCalcs() || !m_Owner || !m_Owner->HasVentPort() || !vent) {
        if (spec.PerformEmissionCalcs() && m_Owner && m_Owner->HasVentPort()) {
            SetSimMsg("No vent stream attached to the procedure's vent port.\nEmission calculations for this operation were skipped.", 0);
            result = 0;
        }
        if (emission) emission->Zero(false, true);
        return;
    }
    const int N = Units();
    double freeVolume = VesselVolume() * N * n - after.NonGaseousVolFlow() * T;
    if (freeVolume < -1e-15) freeVolume = 0.0;
    const double displaced = N * dV * n;
    std::unique_ptr<CTalStateStream> gas = after.CreateCopy(nullptr, 1);
    std::unique_ptr<CTalStateStream> liquid = after.CreateCopy(nullptr, 1);
    gas->Zero(false, true);
    liquid->Zero(false, true);
    after.ExtractVaporPhase(*gas, 1);
    after.CopyDataInto(*liquid, 1);
    if (freeVolume <= 1e-15) {
        emission->Zero(false, true);
    } else {
        spec.CalcDisplacementEmissions(*liquid, *gas, *emission, freeVolume, displaced);
    }
    gas->SetTemp(before.Temp());
    after.Mix(*liquid, *gas);
    vent->Mix(*vent, *emission);
}

void CTalTransferInOp::UpdatePortID() {
    if (m_VersionNo >= 5.0004 || m_PortID != 3 || !m_Owner) return;
    const unsigned id = m_Owner->UnitProcID();
    if (id == 0xA037 || id == 0xB030 || id == 0xB031) m_PortID = 5;
}

void CTalTransferInOp::GetCustomDescription(std::string& text) const {
    const std::string from = m_TransferProcedure ? m_TransferProcedure->Name() : "Unknown";
    if (IsOpDescriptionShort()) {
        text = Format("Transfer in from %s", from.c_str());
    } else if (m_ProcessTimeMode == 2 && m_FlowBasis == kMassBasis) {
        text = Format("Transfer in at %.3lf kg/min from %s", m_MassFlowRate, from.c_str());
    } else if (m_ProcessTimeMode == 2 && m_FlowBasis == kVolumeBasis) {
        text = Format("Transfer in at %.3lf L/min from %s", m_VolFlowRate, from.c_str());
    } else {
        text = Format("Transfer in for %.2lf %s from %s", ProcessTime(), ProcessTimeUnits().UnitsName().c_str(), from.c_str());
    }
}

// ---------------------------------------------------------------- CTalChargeOp

void CTalChargeOp::Serialize(CArchive& ar) {
    CTalTransferInOp::Serialize(ar);
    SerializeOwnMembers(ar, Members());
}

int CTalChargeOp::IsAdequatelyConnectedForSimulation(CWnd* wnd) {
    if (!CTalTransferOp::IsAdequatelyConnectedForSimulation(wnd)) return 0;
    const CTalStream* s = TransferStream();
    if (s && !s->IsInput()) {
        if (wnd) {
            ShowSimMsg(FormatMessage(MessageText(0x70),
                                     Format("Stream on input port #%2d in procedure %-16s", m_PortID, NameAndType().c_str())),
                       0);
        }
        return 0;
    }
    return 1;
}

void CTalChargeOp::InitSimModelParams() {
    CTalTransferInOp::InitSimModelParams();
    m_IsDetailedDescription = 0;
}

int CTalChargeOp::WriteIDR_Description(std::FILE* f) {
    CTalTransferInOp::WriteIDR_Description(f);
    std::fprintf(f, "%s", m_IsDetailedDescription ? "Description will mention all ingredients of charge stream (detailed)."
                                                  : "Description will mention just the stream name (lumped).");
    return 1;
}

const CTalInputStream* CTalChargeOp::FeedWithIngredientWithoutDensity() const {
    const auto* feed = dynamic_cast<const CTalInputStream*>(TransferStream());
    if (!feed || !feed->IsVolFlowSetByUser()) return nullptr;
    for (int i = 0; i < feed->NumberOfComponents(); ++i) {
        if (feed->ComponentFlow(i) > 0.0 && feed->IngredientDensity(feed->GetPureComponent(i)->name) < 1e-15) return feed;
    }
    return nullptr;
}

int CTalChargeOp::Solve(CTalStateStream* before, CTalStateStream* after, int skipSizing) {
    if (FeedWithIngredientWithoutDensity()) ShowSimMsg(kHostIngredientWithoutDensity, 0);
    return CTalTransferInOp::Solve(before, after, skipSizing);
}

void CTalChargeOp::GetCustomDescription(std::string& text) const {
    const CTalStream* s = TransferStream();
    if (!s) {
        text = "Charge using Unknown stream Unknown Amounts.";
        return;
    }
    const double perCycle = BatchReferenceTime() / NumberOfCycles();
    const auto* feed = dynamic_cast<const CTalInputStream*>(s);
    const bool byVolume = feed && feed->IsVolFlowSetByUser();
    // An amount in kg, or in L for a feed given by volume (an ingredient without a density
    // counts as 1000 kg/m3).
    const auto amount = [&](int i) {
        const double kg = s->ComponentFlow(i) * perCycle;
        if (!byVolume) return kg;
        const double rho = feed->IngredientDensity(s->GetPureComponent(i)->name);
        return kg / (rho < 1e-15 ? 1000.0 : rho) * 1000.0;
    };
    const char* unit = byVolume ? "L" : "kg";
    int ingredients = 0;
    for (int i = 0; i < s->NumberOfComponents(); ++i) ingredients += s->ComponentFlow(i) > 0.0 ? 1 : 0;
    if (ingredients == 1 || m_IsDetailedDescription) {
        text = "Charge";
        for (int i = 0; i < s->NumberOfComponents(); ++i) {
            if (s->ComponentFlow(i) > 0.0) text += Format(" %.3lf %s of %s,", amount(i), unit, s->GetPureComponent(i)->name.c_str());
        }
    } else {
        double total = 0.0;
        for (int i = 0; i < s->NumberOfComponents(); ++i) total += amount(i);
        text = Format("Charge %.3lf %s of mixture", total, unit);
    }
    if (!IsOpDescriptionShort()) text += " using stream '" + s->Name() + "'";
}

void CTalChargeOp::GetSampleDescription(std::string& text) const {
    text = m_IsDetailedDescription ? "Charge 10.5 kg of A, 12.4 kg of B" : "Charge 22.9 kg of mixture";
}

// ---------------------------------------------------------------- CTalTransferOutOp

void CTalTransferOutOp::Serialize(CArchive& ar) {
    CTalTransferOp::Serialize(ar);
    SerializeOwnMembers(ar, Members());
    if (ar.IsLoading()) InitCompVar(m_CompositionOut, 0.0);
}

void CTalTransferOutOp::PrepareForSimulation() {
    CTalTransferOp::PrepareForSimulation();
    InitCompVar(m_CompositionOut, 0.0);
}

void CTalTransferOutOp::UpdateForNewCompDef(const ComponentList& oldComps) {
    ReInitCompVar(oldComps, m_CompositionOut, 0.0);
    CTalTransferOp::UpdateForNewCompDef(oldComps);
}

void CTalTransferOutOp::UpdateCompInfoFromOldFlowsheet(const ComponentList& oldComps, const ComponentList& newComps) {
    ReInitCompVarFromOldFlowsheet(oldComps, newComps, m_CompositionOut, 0.0);
    CTalTransferOp::UpdateCompInfoFromOldFlowsheet(oldComps, newComps);
}

bool CTalTransferOutOp::IsOutPortUsed(int port, int flag) const { return flag == 0 && m_PortID < 0 && port == -(m_PortID + 1); }

void CTalTransferOutOp::InitSimModelParams() {
    CTalTransferOp::InitSimModelParams();
    m_TransferOutMode = kFractionOut;
    m_FractionOut = 1.0;
    m_MassOut = 0.0;
    m_VolumeOut = 0.0;
    m_TransferOutFlag = 0;
    InitCompVar(m_CompositionOut, 0.0);
}

int CTalTransferOutOp::IsSimDataComplete(int group, CTalModelPP* page, bool flag, int askUser) {
    return WithInternalUnits(*this, [&] {
        if (InGroup(group, 2)) {
            if (m_TransferOutMode < kFractionOut || m_TransferOutMode > kVolumeOut) {
                return ReportRange(page, 0x601, "Transfer Out Mode", 0x648);
            }
            if (m_TransferOutMode == kFractionOut && (m_FractionOut < 0.0 || m_FractionOut > 1.0)) {
                return ReportRange(page, 0x601, "% Transferred Out", 0x644);
            }
            if (m_TransferOutMode == kMassOut && m_MassOut < 1e-15) return ReportRange(page, 0x601, "Mass Transfered Out", 0x640);
            if (m_TransferOutMode == kVolumeOut && m_VolumeOut < 1e-15) return ReportRange(page, 0x601, "Volume Transfered Out", 0x640);
        }
        return CTalTransferOp::IsSimDataComplete(group, page, flag, askUser);
    });
}

// The vessel holds less than asked: with back-propagation the host raises the contents for the
// next sweep; without it the operation says so and moves what there is.
bool CTalTransferOutOp::AsksMoreThanHeld(CTalStateStream& before, double requested, double held, double bidKgPerS,
                                         int& result) {
    std::string reason;
    if (!before.CanBPG(reason)) {
        SetSimMsg(ShortageText(reason, requested, held, true), kHelpBalance);
        result = 0;
        return false;
    }
    InitCompVar(m_CompositionOut, 0.0);
    before.GetComponentComposition(m_CompositionOut.data(), NumberOfComponents());
    m_Owner->SetStateInitiatingBPG(&before, this, bidKgPerS, m_CompositionOut.data(), true);
    return true;
}

int CTalTransferOutOp::Solve(CTalStateStream* before, CTalStateStream* after, int skipSizing) {
    before->CopyDataInto(*after, 1);
    if (before->NonGaseousVolFlow() < 1e-15) {
        return AbnormalSimEnding("There is no material in the vessel to transfer out.\nTransfer Time/Rate calculations will be skipped.\n", 0);
    }
    CTalStream* S = TransferStream();
    if (!S) return AbnormalSimEnding("No stream is attached to the 'Transfer Out' port.\nTransfer Out calculations will be skipped.\n", 0);
    std::unique_ptr<CTalStateStream> gas = before->CreateCopy(m_Owner, 1);
    std::unique_ptr<CTalStateStream> liquid = before->CreateCopy(m_Owner, 1);
    gas->Zero(false, true);
    liquid->Zero(false, true);
    after->ExtractVaporPhase(*gas, 1);
    after->CopyDataInto(*liquid, 1);
    const double T = BatchReferenceTime();
    const int n = NumberOfCycles();
    const double V0 = before->NonGaseousVolFlow() * T / n;
    const double M0 = liquid->MassFlow() * T / n;
    int result = 1;
    if (IsSizedByVolume() && !BatchVesselSizing(true, V0, skipSizing)) result = 0;
    if (m_TransferOutMode == kMassOut) {
        if (std::abs(m_MassOut - M0) < 1e-8) m_MassOut = M0;
        if (m_MassOut > M0) AsksMoreThanHeld(*before, m_MassOut, M0, m_MassOut * n / T, result);
        m_FractionOut = std::min(m_MassOut / M0, 1.0);
        m_VolumeOut = V0 * m_FractionOut;
    } else if (m_TransferOutMode == kVolumeOut) {
        if (std::abs(m_VolumeOut - V0) < 1e-8) m_VolumeOut = V0;
        const double massAsked = M0 / V0 * m_VolumeOut;
        if (m_VolumeOut > V0) AsksMoreThanHeld(*before, massAsked, M0, massAsked * n / T, result);
        m_FractionOut = std::min(m_VolumeOut / V0, 1.0);
        m_MassOut = M0 * m_FractionOut;
    } else {
        m_VolumeOut = V0 * m_FractionOut;
        m_MassOut = M0 * m_FractionOut;
    }
    liquid->Split(*after, *liquid, m_FractionOut);
    S->Mix(*S, *after);  // adds to what the stream holds
    after->Mix(*liquid, *gas);
    CalcTimeAndRates(M0 * m_FractionOut, V0 * m_FractionOut, 1e-15);
    if (!FinalVolumeStep(*after, V0, T, n, skipSizing)) result = 0;
    CalcEquipCapacityUtilF();
    return NormalSimEnding(result);
}

int CTalTransferOutOp::WriteIDR_Description(std::FILE* f) {
    CTalTransferOp::WriteIDR_Description(f);
    const CTalStream* s = TransferStream();
    std::fprintf(f, "Port / Stream        = %-16s\n", s ? s->Name().c_str() : "");
    switch (m_TransferOutMode) {
        case kMassOut: std::fprintf(f, "Mass Transfered Out   = %-15.2lf\n", m_MassOut); break;
        case kVolumeOut: std::fprintf(f, "Volume Transfered Out = %-15.2lf\n", m_VolumeOut); break;
        default: std::fprintf(f, "%% Trnsfered Out       = %-15.2lf\n", m_FractionOut); break;
    }
    return 1;
}

void CTalTransferOutOp::GetCustomDescription(std::string& text) const {
    const std::string to = m_TransferProcedure ? m_TransferProcedure->Name() : "Unknown";
    switch (m_TransferOutMode) {
        case kMassOut: text = Format("Transfer %.2lf %s to %s", m_MassOut, "kg", to.c_str()); break;
        case kVolumeOut: text = Format("Transfer %.2lf %s to %s", m_VolumeOut, "L", to.c_str()); break;
        default: text = Format("Transfer %.2lf %s to %s", m_FractionOut, "%", to.c_str()); break;
    }
    if (IsOpDescriptionShort()) return;
    if (m_ProcessTimeMode == 2 && m_FlowBasis == kMassBasis) {
        text += Format(" at %.3lf kg/min", m_MassFlowRate);
    } else if (m_ProcessTimeMode == 2 && m_FlowBasis == kVolumeBasis) {
        text += Format(" at %.3lf L/min", m_VolFlowRate);
    } else {
        text += Format(" for %.2lf %s", ProcessTime(), ProcessTimeUnits().UnitsName().c_str());
    }
}

bool CTalTransferOutOp::DoesAfterStateAmtScaleWithInsAndOuts() const {
    return m_TransferOutMode == kMassOut && std::abs(m_FractionOut - 1.0) < 1e-15;
}

bool CTalTransferOutOp::IsAmountSentOutFixed(int port) const {
    if (port < 0) return SendsFixedAmount();
    return IsOutPortUsed(port, 0) && SendsFixedAmount();
}

double CTalTransferOutOp::FixedAmountSentOut(int port) const {
    const double T = BatchReferenceTime();
    if (!(T > 1e-15) || !IsAmountSentOutFixed(port)) return 0.0;
    return NumberOfCycles() * FixedAmountPerCycle() / T;
}

bool CTalTransferOutOp::CanInitiateStateBPG(std::string& reason) const {
    if (!SendsFixedAmount()) return false;
    const CTalStateStream* before = GetStateBefore();
    return before && before->CanBPG(reason);
}

// ---------------------------------------------------------------- CTalPullOutOp

void CTalPullOutOp::Serialize(CArchive& ar) {
    CTalTransferOutOp::Serialize(ar);
    SerializeOwnMembers(ar, Members());
    if (ar.IsLoading() && m_VersionNo < 4.707) m_FlowBasis = kNoBasis;
}

// Files below 4.707 knew no mode 3: a duration from a master was mode 2 with a master. The
// master is known only once the whole flowsheet is read.
void CTalPullOutOp::OnNotifyAfterDocOpening() {
    CTalTransferOutOp::OnNotifyAfterDocOpening();
    if (m_VersionNo >= 4.707) return;
    if (!m_CanCalculateDuration) {
        m_ProcessTimeMode = 1;
    } else {
        m_ProcessTimeMode = (m_ProcessTimeMode == 2 && m_MasterOperation) ? 3 : 1;
    }
}

void CTalPullOutOp::PrepareForSimulation() {
    CTalTransferOutOp::PrepareForSimulation();
    m_AmountPulled = 0.001;
    m_IsAmountAbsorbed = 0;
}

bool CTalPullOutOp::IsOutPortUsed(int port, int) const { return m_PortID < 0 && port == -(m_PortID + 1); }

void CTalPullOutOp::InitSimModelParams() {
    CTalTransferOutOp::InitSimModelParams();
    m_ProcessTimeMode = 1;
    m_FlowBasis = kNoBasis;
    m_AmountPulled = 0.001;
    m_AmountAvailable = 0.0;
    m_IsAmountAbsorbed = 0;
}

int CTalPullOutOp::IsSimDataComplete(int group, CTalModelPP* page, bool flag, int askUser) {
    return WithInternalUnits(*this, [&] {
        if (!CTalOperation::IsSimDataComplete(group, page, flag, askUser)) return 0;
        if ((group == 0 || group == 2 || group == 23) && m_PortID == 0) return ReportMessage(page, 0x601, 0x300F, 0, kStopBox);
        return 1;
    });
}

int CTalPullOutOp::Solve(CTalStateStream* before, CTalStateStream* after, int skipSizing) {
    before->CopyDataInto(*after, 1);
    CTalStream* S = TransferStream();
    if (!S) return AbnormalSimEnding("No stream is attached to the 'Pull Out' port.\nPull Out calculations will be skipped.\n", 0);
    std::unique_ptr<CTalStateStream> gas = before->CreateCopy(m_Owner, 0);
    after->ExtractVaporPhase(*gas, 1);
    const double T = BatchReferenceTime();
    const int n = NumberOfCycles();
    const double M = after->MassFlow(), V = after->VolFlow();
    const double V0 = after->NonGaseousVolFlow() * T / n;
    int result = 1;
    if (IsSizedByVolume() && !BatchVesselSizing(true, V0, skipSizing)) result = 0;

    double R = n * m_AmountPulled / T;
    m_AmountAvailable = M * T / n;
    if (R < kPullOutFloor) {
        R = kPullOutFloor;
        m_AmountPulled = T * kPullOutFloor / n;
    }
    if (std::abs(R - M) < 1e-8) R = M;
    bool takeFromContents = true;
    if (R > M) {
        std::string reason;
        if (m_IsAmountAbsorbed && before->CanBPG(reason)) {
            // Ask the host for more contents; this sweep moves only the floor.
            InitCompVar(m_CompositionOut, 0.0);
            before->GetComponentComposition(m_CompositionOut.data(), NumberOfComponents());
            m_Owner->SetStateInitiatingBPG(before, this, R, m_CompositionOut.data(), true);
            R = std::min(kPullOutFloor, M);  // never more than the vessel holds
        } else {
            SetSimMsg(ShortageText(reason, R * T / n, M * T / n, false), kHelpBalance);
            result = 0;
            after->CopyDataInto(*S, 1);
            S->SetMassFlow(R);
            after->SetMassFlow(M);
            takeFromContents = false;
        }
    }
    if (takeFromContents) {
        if (R <= 1e-15) {
            S->Zero(true, true);
        } else {
            after->CopyDataInto(*S, 1);  // the pull out overwrites its stream
            if (M > 1e-15) {
                S->Multiply(R / M);
            } else {
                S->SetMassFlow(R);
            }
            after->Subtract(*S);
        }
    }
    const double moved = M - after->MassFlow();
    m_MassOut = std::max(moved * T / n, 0.0);
    m_VolumeOut = std::max((V - after->VolFlow()) * T / n, 0.0);
    m_FractionOut = M <= 1e-15 ? 0.0 : std::clamp(moved / M, 0.0, 1.0);
    after->Mix(*after, *gas);
    if (!FinalVolumeStep(*after, V0, T, n, skipSizing)) result = 0;
    CalcEquipCapacityUtilF();
    return NormalSimEnding(result);
}

void CTalPullOutOp::AbsorbBPG(double factor, double amount, const CTalSModel* stream) {
    if (stream && stream->NumberOfComponents() != NumberOfComponents()) return;
    const double T = BatchReferenceTime();
    if (factor > 1e-15) {
        m_AmountPulled *= factor;
    } else {
        m_AmountPulled = amount * T / NumberOfCycles();
    }
    m_IsAmountAbsorbed = 1;
    if (stream) {
        InitCompVar(m_CompositionOut, 0.0);
        stream->GetComponentComposition(m_CompositionOut.data(), NumberOfComponents());
    }
}

bool CTalPullOutOp::CanInitiateStateBPG(std::string& reason) const {
    const CTalStateStream* before = GetStateBefore();
    return before && before->CanBPG(reason);
}

void CTalPullOutOp::GetCustomDescription(std::string& text) const {
    const CTalOperation* master = m_MasterOperation;
    const std::string name = master ? master->Name() : "Unknown";
    const std::string where = master && master->Owner() ? master->Owner()->Name() : "Unspecified (yet)";
    text = Format("Allow %s in %s to pull out material", name.c_str(), where.c_str());
    if (const CTalStream* s = TransferStream()) text += ", using stream '" + s->Name() + "'";
}

}  // namespace unitops
