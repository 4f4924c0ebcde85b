#include "unitops/contract/operation.hpp"

#include <algorithm>
#include <cassert>

#include "unitops/contract/archive.hpp"
#include "unitops/contract/emissions.hpp"
#include "unitops/contract/equipment.hpp"
#include "unitops/contract/flowsheet.hpp"
#include "unitops/contract/message_table.hpp"
#include "unitops/contract/procedure.hpp"

namespace unitops {

TAL_IMPLEMENT_CLASS(CTalOperation, CObject)

namespace {
DisplayUnit SetupTimeDisplay(const CObject& o) { return static_cast<const CTalOperation&>(o).SetupTimeUnits().Display(); }
DisplayUnit ProcessTimeDisplay(const CObject& o) { return static_cast<const CTalOperation&>(o).ProcessTimeUnits().Display(); }
DisplayUnit SpecPowerDisplay(const CObject& o) { return static_cast<const CTalOperation&>(o).m_SpecPowerPQ.Display(); }

//! A row for the unit code of a physical quantity held by the operation.
MemberRow UnitCodeRow(const char* name, CTalPhysicalQuantity& (*pq)(CObject&)) {
    MemberRow r = members::Computed(
        name, MemberType::Integer, Quantity::None, display::kNone,
        [pq](const CObject& o) -> MemberValue { return pq(const_cast<CObject&>(o)).Units(); },
        [pq](CObject& o, const MemberValue& v) { pq(o).SetUnits(std::get<int>(v)); });
    r.persist = Persist::Word16;
    return r;
}
CTalPhysicalQuantity& SetupPQ(CObject& o) { return static_cast<CTalOperation&>(o).m_SetupTimePQ; }
CTalPhysicalQuantity& ProcessPQ(CObject& o) { return static_cast<CTalOperation&>(o).m_ProcessTimePQ; }
}  // namespace

const MemberTable& CTalOperation::Members() {
    using namespace members;
    using C = CTalOperation;
    static const MemberTable table(CObject::Members(), [] {
        std::vector<MemberRow> rows;
        rows.push_back(Text("Name", &C::m_Name));
        rows.push_back(Real("SetupTime", &C::m_SetupTime, Quantity::Time).Shown(&SetupTimeDisplay));
        rows.push_back(UnitCodeRow("SetupTimeUnits", &SetupPQ));
        rows.push_back(Real("ProcessTime", &C::m_ProcessTime, Quantity::Time).Shown(&ProcessTimeDisplay));
        rows.push_back(UnitCodeRow("ProcessTimeUnits", &ProcessPQ));
        rows.push_back(Word("ProcessTimeMode", &C::m_ProcessTimeMode).Choices(1, 3));
        rows.push_back(Real("Power", &C::m_Power, Quantity::Power, display::kKilowatt));
        rows.push_back(Real("SpecPower", &C::m_SpecPower, Quantity::SpecificPower).Shown(&SpecPowerDisplay));
        rows.push_back(Computed(
            "SpecPowerBasis", MemberType::Integer, Quantity::None, display::kNone,
            [](const CObject& o) -> MemberValue { return static_cast<const C&>(o).m_SpecPowerPQ.Type(); },
            [](CObject& o, const MemberValue& v) {
                auto& pq = static_cast<C&>(o).m_SpecPowerPQ;
                pq.Init(std::get<int>(v), pq.Units(), 0);
            }));
        rows.back().persist = Persist::Word16;
        rows.back().input = false;
        rows.push_back(Word("PowerMode", &C::m_PowerMode));
        rows.push_back(Real("HeatingDuty", &C::m_HeatingDuty, Quantity::Power, display::kKcalPerHour));
        rows.push_back(Real("CoolingDuty", &C::m_CoolingDuty, Quantity::Power, display::kKcalPerHour));
        rows.push_back(Computed(
            "HxAgentName", MemberType::Text, Quantity::None, display::kNone,
            [](const CObject& o) -> MemberValue { return static_cast<const C&>(o).m_HxAgentName; },
            [](CObject& o, const MemberValue& v) {
                auto& op = static_cast<C&>(o);
                op.m_HxAgentName = std::get<std::string>(v);
                CTalDocEss* doc = op.Flowsheet();
                op.m_HxAgent = doc ? doc->FindAgent(op.m_HxAgentName) : nullptr;
            }));
        rows.back().persist = Persist::Text;
        rows.push_back(Word("HxAgentUse", &C::m_HxAgentUse));
        rows.push_back(Real("AgentRate", &C::m_AgentRate, Quantity::MassFlow, display::kKgPerHour).Result());
        rows.push_back(Real("CapacityUtilF", &C::m_CapacityUtilF, Quantity::Fraction, display::kPercent).Result());
        rows.push_back(Word("IsContinuousModel", &C::m_IsContinuousModel));
        rows.push_back(Word("CanCalculateDuration", &C::m_CanCalculateDuration));
        rows.push_back(Real("LaborNeed", &C::m_LaborA, Quantity::Dimensionless));
        rows.push_back(Real("LaborNeedPerCycle", &C::m_LaborB, Quantity::Dimensionless));
        return rows;
    }());
    return table;
}

CTalOperation::CTalOperation() = default;
CTalOperation::CTalOperation(int emits) : m_Emits(emits) {}
CTalOperation::~CTalOperation() = default;

// ---------------------------------------------------------------- virtual operations

void CTalOperation::Serialize(CArchive& ar) {
    if (ar.IsLoading()) m_VersionNo = ar.VersionNo();
    SerializeOwnMembers(ar, Members());
    if (ar.IsStoring()) {
        ar.WriteOperationRef(m_MasterOperation);
    } else {
        ar.ReadOperationRef(m_MasterOperation);
    }
    int hasEmissions = m_EmissionStream ? 1 : 0;
    if (ar.IsStoring()) {
        ar.WriteWord(hasEmissions);
    } else {
        hasEmissions = ar.ReadWord();
    }
    if (hasEmissions) {
        if (!m_EmissionStream) m_EmissionStream = std::make_unique<CTalEmissionStream>(ar.Components());
        m_EmissionStream->Serialize(ar);
    }
}

void CTalOperation::SerializeOwnMembers(CArchive& ar, const MemberTable& table) {
    SerializeRows(ar, *this, table.Own(), m_VersionNo, Count());
}

void CTalOperation::SetOwner(CTalProcedure* owner) {
    m_Owner = owner;
    const ComponentList* comps = Comps();
    m_NumberOfComponents = comps ? static_cast<int>(comps->size()) : 0;
    if (m_Emits && (!m_EmissionStream || m_EmissionStream->NumberOfComponents() != m_NumberOfComponents)) {
        m_EmissionStream = std::make_unique<CTalEmissionStream>(comps);
    }
}

// Every port that the operation takes from or gives to must hold a stream.
int CTalOperation::IsAdequatelyConnectedForSimulation(CWnd* wnd) {
    const std::string message = MissingPortMessage();
    if (message.empty()) return 1;
    if (wnd) ShowSimMsg(message, 0);
    return 0;
}

std::string CTalOperation::MissingPortMessage() const {
    const std::string missing = MissingPortStream();
    return missing.empty() ? missing : "No stream is attached to " + missing + ", which the operation uses.\n";
}

std::string CTalOperation::MissingPortStream() const {
    for (int p = 0; p < std::max(NumberOfInStreams(), InPortsNeeded()); ++p) {
        if (IsInPortUsed(p, 0) && !InStream(p)) return "input port " + std::to_string(p + 1);
    }
    // A vent without a stream is the operation's to report: it runs and warns that its emissions
    // go nowhere.
    const int vent = m_Owner ? m_Owner->VentPortID() : -1;
    for (int p = 0; p < NumberOfOutStreams(); ++p) {
        if (p != vent && IsOutPortUsed(p, 0) && !OutStream(p)) return "output port " + std::to_string(p + 1);
    }
    return {};
}

int CTalOperation::IsReadyForSimulation(CWnd*) { return 1; }

void CTalOperation::PrepareForSimulation() {
    m_Messages.clear();
    m_LastResult = -2;
}

void CTalOperation::GetInfoOnConsumables(int, double& area, double& quantity, double& frequency) const {
    area = 0.0;
    quantity = 0.0;
    frequency = 0.0;
}

bool CTalOperation::IsInPortUsed(int, int) const { return false; }
bool CTalOperation::IsOutPortUsed(int, int) const { return false; }
int CTalOperation::CanSizeEquipment(const CTalEquipment*) const { return 1; }

void CTalOperation::InitAuxHeatingAgent() {
    const CTalDocEss* doc = Flowsheet();
    m_AuxHeatingAgent = doc ? doc->GetDefaultHeatingAgent("Steam") : nullptr;
}

void CTalOperation::InitAuxCoolingAgent() {
    const CTalDocEss* doc = Flowsheet();
    m_AuxCoolingAgent = doc ? doc->GetDefaultCoolingAgent("Cooling Water") : nullptr;
}

void CTalOperation::CreateAgentPointersFromOldVersionNames() {
    const CTalDocEss* doc = Flowsheet();
    m_HxAgent = doc && !m_HxAgentName.empty() ? doc->FindAgent(m_HxAgentName) : nullptr;
}

void CTalOperation::CreateLaborNeedsForOldVersions() {
    if (m_VersionNo > 0.0 && m_VersionNo < kLaborNeedsSinceVersion && m_LaborA == 0.0 && m_LaborB == 0.0) InitCostParams();
}

void CTalOperation::DoPostSimChores(int, int) {}

// An operation whose duration the removed operation set keeps that duration as its own.
void CTalOperation::OperationHasBeenRemoved(const CTalOperation* op) {
    if (!op || op != m_MasterOperation) return;
    m_ProcessTime = op->m_ProcessTime;
    m_MasterOperation = nullptr;
    if (m_ProcessTimeMode == 3) m_ProcessTimeMode = 1;
}

void CTalOperation::UpdateForNewCompDef(const ComponentList& oldComps) {
    if (const ComponentList* comps = Comps()) ReMapOwnComponentData(oldComps, *comps);
}

void CTalOperation::UpdateCompInfoFromOldFlowsheet(const ComponentList& oldComps, const ComponentList& newComps) {
    ReMapOwnComponentData(oldComps, newComps);
}

void CTalOperation::ReMapOwnComponentData(const ComponentList& oldComps, const ComponentList& newComps) {
    m_NumberOfComponents = static_cast<int>(newComps.size());
    if (m_EmissionStream) m_EmissionStream->ReMapComponents(oldComps, &newComps);
    if (CTalEmissions* emissions = EmissionsData()) emissions->ReMapComponents(oldComps, newComps);
}

void CTalOperation::UpdateForNewPlantBatchTime(double, double) {}

std::unique_ptr<CTalOperation> CTalOperation::CreateCopy(CTalProcedure* owner, int flag) const {
    std::unique_ptr<CObject> obj = GetRuntimeClass()->CreateObject();
    std::unique_ptr<CTalOperation> copy(dynamic_cast<CTalOperation*>(obj.get()));
    if (!copy) return nullptr;
    obj.release();
    copy->m_NumberOfComponents = m_NumberOfComponents;
    if (copy->m_Emits) copy->m_EmissionStream = std::make_unique<CTalEmissionStream>(Comps());
    CopyDataInto(copy.get(), flag);
    copy->SetOwner(owner ? owner : m_Owner);
    return copy;
}

void CTalOperation::CopyDataInto(CTalOperation* target, int) const {
    assert(target && target->GetRuntimeClass() == GetRuntimeClass());
    if (!target || target == this) return;
    CopyMembers(*this, *target);
    target->m_MasterOperation = m_MasterOperation;
    target->m_HxAgent = m_HxAgent;
    target->m_IsInInternalUnits = m_IsInInternalUnits;
    target->m_IsOpDescriptionShort = m_IsOpDescriptionShort;
    if (m_EmissionStream && target->m_EmissionStream) m_EmissionStream->CopyDataInto(*target->m_EmissionStream, 1);
}

void CTalOperation::ConvertToDisplayUnits() {
    if (!m_IsInInternalUnits) return;
    ConvertMembers(*this, true);
    m_IsInInternalUnits = 0;
}

void CTalOperation::ConvertToInternalUnits() {
    if (m_IsInInternalUnits) return;
    ConvertMembers(*this, false);
    m_IsInInternalUnits = 1;
}

void CTalOperation::InitTimes(double process, double setup) {
    m_ProcessTime = process;
    m_SetupTime = setup;
    m_ProcessTimePQ.SetUnits(2);
    m_SetupTimePQ.SetUnits(2);
}

void CTalOperation::InitSimModelParams() {
    m_ProcessTimeMode = 1;
    m_PowerMode = 2;
    m_HxAgentUse = 4;
}

// The host's own checks, which every model reaches last: durations are never negative.
int CTalOperation::IsSimDataComplete(int group, CTalModelPP* page, bool, int) {
    if (InGroup(group, 2)) {
        if (m_SetupTime < 0.0) return ReportRange(page, 0x601, "Set-up Time", 0x641);
        if (m_ProcessTime < 0.0) return ReportRange(page, 0x601, "Process Time", 0x641);
    }
    return 1;
}

int CTalOperation::Solve(CTalStateStream* before, CTalStateStream* after, int) {
    if (before && after) before->CopyDataInto(*after, 1);
    return NormalSimEnding(1);
}

int CTalOperation::WriteIDR_Description(std::FILE*) { return 1; }

void CTalOperation::GetCustomDescription(std::string& text) const { text = IsA(); }

// ---------------------------------------------------------------- where am I

CTalDocEss* CTalOperation::Flowsheet() const { return m_Owner ? m_Owner->Owner() : m_Flowsheet; }
CTalEquipment* CTalOperation::Equipment() const { return m_Owner ? m_Owner->Equipment() : nullptr; }

std::string CTalOperation::NameAndType() const {
    return (m_Owner ? m_Owner->Name() + " / " : std::string()) + m_Name + " (" + IsA() + ")";
}

// ---------------------------------------------------------------- modes and times

bool CTalOperation::IsBatchMode() const { return m_Owner && m_Owner->IsBatchMode(); }
bool CTalOperation::IsDesignMode() const { return !m_Owner || m_Owner->IsDesignMode(); }
bool CTalOperation::IsFlowsheetInBatchMode() const { return m_Owner && m_Owner->IsFlowsheetInBatchMode(); }

double CTalOperation::PlantBatchTime() const {
    const CTalDocEss* doc = Flowsheet();
    return doc ? doc->PlantBatchTime() : 86400.0;
}

double CTalOperation::HoldupTime() const { return m_Owner ? m_Owner->HoldupTime() : 3600.0; }
double CTalOperation::CycleTime() const { return m_Owner ? m_Owner->CycleTime() : 3600.0; }
int CTalOperation::NumberOfCycles() const { return m_Owner ? m_Owner->NumberOfCycles() : 1; }
double CTalOperation::UtilFactor() const { return m_Owner ? m_Owner->UtilFactor() : 1.0; }
double CTalOperation::DutyTimePerBatch() const { return ProcessTime() * std::max(NumberOfCycles(), 1); }

double CTalOperation::BatchReferenceTime() const {
    return IsFlowsheetInBatchMode() ? PlantBatchTime() : HoldupTime();
}

// A master's duration is held in the master's units state; it is given in this operation's, so
// that a description in display units shows it in this operation's own time unit.
double CTalOperation::ProcessTime() const {
    const CTalOperation* master = m_MasterOperation;
    if (m_ProcessTimeMode != 3 || !master || master == this) return m_ProcessTime;
    double seconds = master->m_ProcessTime;
    if (!master->m_IsInInternalUnits) seconds = master->m_ProcessTimePQ.Display().ToInternal(seconds);
    return m_IsInInternalUnits ? seconds : m_ProcessTimePQ.Display().ToDisplay(seconds);
}

// ---------------------------------------------------------------- ports

CTalStream* CTalOperation::InStream(int port) const { return m_Owner ? m_Owner->InStream(port) : nullptr; }
CTalStream* CTalOperation::OutStream(int port) const { return m_Owner ? m_Owner->OutStream(port) : nullptr; }

CTalStream* CTalOperation::GetStream(int portId) const {
    if (portId > 0) return InStream(portId - 1);
    if (portId < 0) return OutStream(-(portId + 1));  // written so that the lowest int does not overflow
    return nullptr;
}

CTalStream* CTalOperation::VentStream() const { return m_Owner ? m_Owner->VentStream() : nullptr; }
int CTalOperation::NumberOfInStreams() const { return m_Owner ? m_Owner->NumberOfInPorts() : 0; }
int CTalOperation::NumberOfOutStreams() const { return m_Owner ? m_Owner->NumberOfOutPorts() : 0; }

int CTalOperation::NumberOfInPortsUsed() const {
    int n = 0;
    for (int p = 0; p < NumberOfInStreams(); ++p) n += InStream(p) ? 1 : 0;
    return n;
}

CTalStateStream* CTalOperation::GetStateBefore() const { return m_Owner ? m_Owner->GetStateBefore(this) : nullptr; }

// ---------------------------------------------------------------- components

const ComponentList* CTalOperation::Comps() const {
    const CTalDocEss* doc = Flowsheet();
    return doc ? doc->Comps() : nullptr;
}

int CTalOperation::GetComponentIndex(std::string_view name) const {
    const CTalDocEss* doc = Flowsheet();
    return doc ? doc->GetComponentIndex(name) : -1;
}

const CTalPureComponent* CTalOperation::GetPureComponent(int i) const {
    const ComponentList* comps = Comps();
    if (!comps || i < 0 || i >= static_cast<int>(comps->size())) return nullptr;
    return (*comps)[static_cast<std::size_t>(i)];
}

const CTalPureComponent* CTalOperation::GetPureComponent(std::string_view name) const {
    return GetPureComponent(GetComponentIndex(name));
}

int CTalOperation::GetPrimaryBiomassIndex() const {
    const ComponentList* comps = Comps();
    if (!comps) return -1;
    for (std::size_t i = 0; i < comps->size(); ++i) {
        if ((*comps)[i]->isBiomass) return static_cast<int>(i);
    }
    return -1;
}

void CTalOperation::ReInitCompVar(const ComponentList& oldComps, std::vector<double>& var, double value) const {
    const ComponentList* comps = Comps();
    ReInitCompVarFromOldFlowsheet(oldComps, comps ? *comps : ComponentList{}, var, value);
}

void CTalOperation::ReInitCompVarFromOldFlowsheet(const ComponentList& oldComps, const ComponentList& newComps,
                                                  std::vector<double>& var, double value) {
    var = MapByComponentName(oldComps, newComps, var, value);
}

bool CTalOperation::IsCompDataInRange(const std::vector<double>& a, double low, double high) const {
    return IsArrayDataInRange(a.data(), static_cast<int>(a.size()), low, high);
}

bool CTalOperation::IsArrayDataInRange(const double* a, int n, double low, double high) {
    for (int i = 0; i < n; ++i) {
        if (a[i] < low || a[i] > high) return false;
    }
    return true;
}

// ---------------------------------------------------------------- messages

void CTalOperation::SetSimMsg(const MsgText& text, unsigned help) {
    m_Messages.push_back({MsgKind::Warning, text.number, help, text.Resolve()});
}

void CTalOperation::ShowSimMsg(const MsgText& text, unsigned help) {
    m_Messages.push_back({MsgKind::Shown, text.number, help, text.Resolve()});
}

int CTalOperation::NormalSimEnding(int result) {
    m_LastResult = result ? 1 : 0;
    return result;
}

int CTalOperation::AbnormalSimEnding(const MsgText& text, unsigned help, int) {
    m_Messages.push_back({MsgKind::Abnormal, text.number, help, text.Resolve()});
    m_LastResult = -1;
    return 0;
}



// ---------------------------------------------------------------- power, heat, labour

void CTalOperation::SetHxAgent(CTalHeatTransferAgent* a) {
    m_HxAgent = a;
    m_HxAgentName = a ? a->name : std::string();
}

void CTalOperation::InitLabor(double a, double b, int, int) {
    m_LaborA = a;
    m_LaborB = b;
}

}  // namespace unitops
