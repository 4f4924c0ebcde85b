#include "unitops/models/vessel/cleaning.hpp"

#include <algorithm>

#include "unitops/contract/archive.hpp"
#include "unitops/contract/flowsheet.hpp"
#include "unitops/contract/procedure.hpp"
#include "unitops/models/vessel/vessel.hpp"

namespace unitops {

namespace {

constexpr double kPi = 3.1415926;
constexpr double kDefaultAgentDensity = 1000.0;  // kg/m3
constexpr double kLowestSupplyTemp = 150.0;      // K
constexpr DisplayUnit kLitrePerMinPerM{"L/min-m", 60000.0, 0.0};
constexpr DisplayUnit kLitrePerMinPerM2{"L/min-m2", 60000.0, 0.0};

std::string Format(const char* format, auto... args) {
    char buffer[512];
    std::snprintf(buffer, sizeof buffer, format, args...);
    return buffer;
}

double Over(double a, double b) { return b > 1e-15 ? a / b : 0.0; }

// The name of the skid an operation is tied to, shown with its results ("" for none).
MemberRow SkidNameRow(const SkidLink& (*link)(const CObject&)) {
    return members::Computed("Skid", MemberType::Text, Quantity::None, display::kNone, [link](const CObject& o) -> MemberValue {
               const CTalIPCleaningSkid* skid = link(o).Get();
               return skid ? skid->Name() : std::string();
           }).Result();
}

}  // namespace

// ---------------------------------------------------------------- member tables

const MemberTable& CTalCIPStep::Members() {
    using namespace members;
    using C = CTalCIPStep;
    static const MemberTable table(CObject::Members(), {
        Text("Name", &C::m_Name),
        Real("VolFlowRate", &C::m_VolFlowRate, Quantity::VolumeFlow, display::kLitrePerMin),
        Word("ConsumptionSpec", &C::m_ConsumptionSpec).Choices(1, 5),
        Real("VolPerSize", &C::m_VolPerSize, Quantity::Dimensionless, display::kLitre),
        Real("VolFlowPerCircumference", &C::m_VolFlowPerCircumference, Quantity::Dimensionless, kLitrePerMinPerM),
        Real("VolFlowPerInternalSurface", &C::m_VolFlowPerInternalSurface, Quantity::Dimensionless, kLitrePerMinPerM2),
        Real("TotalVolume", &C::m_TotalVolume, Quantity::Volume, display::kLitre),
        Real("AgentMassRate", &C::m_AgentMassRate, Quantity::MassFlow, display::kKgPerHour).Result(),
        Text("AgentName", &C::m_AgentName),
        Word("IsAgentPureComp", &C::m_IsAgentPureComp).Choices(0, 1),
        Real("SupplyTemp", &C::m_SupplyTemp, Quantity::Temperature, display::kDegC),
        Real("Duration", &C::m_Duration, Quantity::Time, display::kMinute),
        Word("IsRecirculated", &C::m_IsRecirculated).Choices(0, 1),
        Word("IsRecircTimesGiven", &C::m_IsRecircTimesGiven).Choices(0, 1),
        Real("RecirculationTimes", &C::m_RecirculationTimes, Quantity::Dimensionless),
        Real("OnceThroughTime", &C::m_OnceThroughTime, Quantity::Time, display::kMinute),
        Word("IsInInternalUnits", &C::m_IsInInternalUnits).Result(),
        Int("StepNumber", &C::m_StepNumber).Result(),
    });
    return table;
}

TAL_IMPLEMENT_CLASS(CTalCIPStep, CObject)
TAL_IMPLEMENT_CLASS_NO_MEMBERS(CTalCIPScheme, CObject)

const MemberTable& CTalCIPOp::Members() {
    static const MemberTable table(CTalOperation::Members(), [] {
        std::vector<MemberRow> rows;
        rows.push_back(members::Word("IgnoreSkid", &CTalCIPOp::m_IgnoreSkid).Choices(0, 1));
        MemberRow skid = SkidNameRow([](const CObject& o) -> const SkidLink& { return static_cast<const CTalCIPOp&>(o).m_SkidLink; });
        skid.stored = false;
        rows.push_back(std::move(skid));
        return rows;
    }());
    return table;
}

const MemberTable& CTalSIPOp::Members() {
    using namespace members;
    using C = CTalSIPOp;
    static const MemberTable table(CTalOperation::Members(), [] {
        std::vector<MemberRow> rows;
        rows.push_back(Word("IsRateGiven", &C::m_IsRateGiven).Choices(0, 1));
        rows.push_back(Real("AgentAmount", &C::m_AgentAmount, Quantity::Mass));
        rows.push_back(Word("IgnoreSkid", &C::m_IgnoreSkid).Choices(0, 1));
        MemberRow skid = SkidNameRow([](const CObject& o) -> const SkidLink& { return static_cast<const C&>(o).m_SkidLink; });
        skid.stored = false;
        rows.push_back(std::move(skid));
        // The agent's rate is an input here when the rate is given; it is kept as the host's
        // `AgentRate`, whose row converts and copies it: this one only reads and sets it.
        MemberRow rate = Computed(
            "SIPAgentRate", MemberType::Real, Quantity::MassFlow, display::kKgPerMin,
            [](const CObject& o) -> MemberValue { return static_cast<const C&>(o).AgentRate(); },
            [](CObject& o, const MemberValue& v) { static_cast<C&>(o).m_AgentRate = std::get<double>(v); });
        rate.stored = false;
        rows.push_back(std::move(rate));
        return rows;
    }());
    return table;
}

TAL_IMPLEMENT_CLASS(CTalCIPOp, CTalOperation)
TAL_IMPLEMENT_CLASS(CTalSIPOp, CTalOperation)

// ---------------------------------------------------------------- CTalCIPStep

CTalCIPStep::CTalCIPStep(CTalOperation* owner, int number) : m_Owner(owner), m_StepNumber(number) {
    m_Name = "Cleaning Step #" + std::to_string(number);
    m_DurationPQ.SetUnits(2);
    m_OnceThroughTimePQ.SetUnits(2);
    // The default amount follows the vessel: per circumference for a vertical one, per internal
    // surface for a horizontal one, per size otherwise.
    const CTalEquipment* e = owner ? owner->Equipment() : nullptr;
    if (dynamic_cast<const CTalVerticalVessel*>(e)) {
        m_ConsumptionSpec = kFlowPerCircumference;
    } else if (dynamic_cast<const CTalHorizontalVessel*>(e)) {
        m_ConsumptionSpec = kFlowPerInternalSurface;
    }
}

void CTalCIPStep::Serialize(CArchive& ar) {
    if (ar.IsStoring()) {
        ar.WriteOperationRef(m_Owner);
    } else {
        ar.ReadOperationRef(m_OwnerOnFile);  // the scheme's operation stays the owner
    }
    SerializeRows(ar, *this, Members().Own(), m_VersionNo, 0);
    m_DurationPQ.SetVersionNo(m_VersionNo);
    m_DurationPQ.Serialize(ar);
    m_OnceThroughTimePQ.SetVersionNo(m_VersionNo);
    m_OnceThroughTimePQ.Serialize(ar);
}

void CTalCIPStep::CopyDataInto(CTalCIPStep& target) const {
    CTalOperation* owner = target.m_Owner;
    target = *this;
    target.m_Owner = owner;
}

bool CTalCIPStep::DropsUndefinedComponent(const ComponentList& comps) {
    if (!m_IsAgentPureComp || m_AgentName == "(none)") return false;
    for (const CTalPureComponent* c : comps) {
        if (c->name == m_AgentName) return false;
    }
    m_AgentName = "(none)";
    return true;
}

double CTalCIPStep::AgentDensity() const {
    const CTalDocEss* doc = m_Owner ? m_Owner->Flowsheet() : nullptr;
    double rho = kDefaultAgentDensity;
    if (doc && !m_IsAgentPureComp) {
        rho = doc->GetStockMixtureDensity(m_AgentName);
    } else if (doc && doc->GetComponentIndex(m_AgentName) >= 0) {
        // A pure agent's density is taken at 25 degC whatever its supply temperature.
        CTalSModel pure(doc->Comps());
        pure.SetComponentFlow(doc->GetComponentIndex(m_AgentName), 1.0);
        rho = pure.Density(298.15, 101300.0);
    }
    return rho < 1e-15 ? kDefaultAgentDensity : rho;
}

void CTalCIPStep::Compute(const CTalEquipment* e, double processTime) {
    const double S = e ? e->Size() : 0.0;
    const int n = e ? std::max(e->NumberOfUnits(), 1) : 1;
    const double C = (e ? e->Diameter() : 0.0) * kPi;
    const double A = e ? e->InternalSurfaceArea() : 0.0;
    if (m_IsRecirculated) {
        if (m_IsRecircTimesGiven && m_RecirculationTimes > 1e-15) m_OnceThroughTime = m_Duration / m_RecirculationTimes;
        if (!m_IsRecircTimesGiven && m_OnceThroughTime > 1e-15) m_RecirculationTimes = m_Duration / m_OnceThroughTime;
    }
    const auto flowsFromTotal = [&] {
        m_VolPerSize = Over(m_TotalVolume, n * S);
        m_VolFlowRate = Over(m_TotalVolume, m_Duration);
        m_VolFlowPerCircumference = Over(m_VolFlowRate, n * C);
        m_VolFlowPerInternalSurface = Over(m_VolFlowRate, n * A);
        if (m_IsRecirculated) {
            m_VolFlowRate *= m_RecirculationTimes;
            m_VolFlowPerCircumference *= m_RecirculationTimes;
            m_VolFlowPerInternalSurface *= m_RecirculationTimes;
        }
    };
    // A flow given: the fresh agent is the flow over the step, less the recirculation.
    const auto totalFromFlow = [&](bool circumference, bool surface) {
        m_TotalVolume = m_VolFlowRate * m_Duration;
        m_VolPerSize = Over(m_TotalVolume, n * S);
        if (circumference) m_VolFlowPerCircumference = Over(m_VolFlowRate, n * C);
        if (surface) m_VolFlowPerInternalSurface = Over(m_VolFlowRate, n * A);
        if (m_IsRecirculated && m_RecirculationTimes > 1e-15) {
            m_TotalVolume /= m_RecirculationTimes;
            m_VolPerSize /= m_RecirculationTimes;
        }
    };
    switch (m_ConsumptionSpec) {
        case kTotalVolume: flowsFromTotal(); break;
        case kVolumePerSize:
            m_TotalVolume = S * m_VolPerSize * n;
            flowsFromTotal();
            break;
        case kVolumeFlow: totalFromFlow(true, true); break;
        case kFlowPerCircumference:
            m_VolFlowRate = C * m_VolFlowPerCircumference * n;
            totalFromFlow(false, true);
            break;
        case kFlowPerInternalSurface:
            // The flow is tested for zero on the circumference, not on the surface.
            m_VolFlowRate = C > 1e-15 ? A * m_VolFlowPerInternalSurface * n : 0.0;
            totalFromFlow(true, false);
            break;
        default: break;
    }
    m_AgentMassRate = m_TotalVolume > 1e-15 ? Over(AgentDensity() * m_TotalVolume, processTime) : 0.0;
}

int CTalCIPStep::IsComplete(CTalModelPP* page, int group) const {
    if (group != 0 && group != 2) return 1;
    const std::string& name = m_Name;
    const auto range = [&](const std::string& label) { return ReportRange(page, 0x601, label + name, 0x640); };
    if (m_ConsumptionSpec == kVolumePerSize && m_VolPerSize < 1e-15) return range("Cleaning Agent's Volume Per Size Specification in ");
    if (m_ConsumptionSpec == kTotalVolume && m_TotalVolume < 1e-15) return range("Cleaning Agent's Total Volume in ");
    if (m_ConsumptionSpec == kVolumeFlow && m_VolFlowRate < 1e-15) return range("Cleaning Agent's Volumetric Flowrate in ");
    if (m_ConsumptionSpec == kFlowPerCircumference && m_VolFlowPerCircumference < 1e-15) {
        return range("Cleaning Agents's Volumetric Flowrate per Circumference Specification in ");
    }
    if (m_ConsumptionSpec == kFlowPerInternalSurface && m_VolFlowPerInternalSurface < 1e-15) {
        return range("Cleaning Agents's Volumetric Flowrate per Internal Surface Specification in ");
    }
    const auto box = [&](const std::string& text) { return ReportMessage(page, 0x601, text, 0, kStopBox); };
    if (m_SupplyTemp < kLowestSupplyTemp) return box("Supply Temperature in " + name + " is too low.");
    if (m_AgentName == "(none)") return box("The Cleaning Agent solution in " + name + " is not selected.");
    if (m_IsRecirculated && m_IsRecircTimesGiven && m_RecirculationTimes < 1.0) return box("Recirculation times in " + name + " must be >1.");
    if (m_IsRecirculated && !m_IsRecircTimesGiven && m_OnceThroughTime > m_Duration) {
        return box("The once-through equivalent time in " + name + " must be <= to the cleaning time.");
    }
    if (m_IsRecirculated && !m_IsRecircTimesGiven && m_OnceThroughTime < 1e-15) return range("once-through equivalent time in ");
    return 1;
}

// A step keeps its values in internal units; the report shows L, L/min, degC and minutes.
void CTalCIPStep::WriteDescription(std::FILE* f) const {
    std::fprintf(f, "%-32s :\n", m_Name.c_str());
    std::fprintf(f, "Cleaning Agent Name = %-s\n", m_AgentName.c_str());
    std::fprintf(f, "Supply Temperature  = %-15.3lf C\n", m_SupplyTemp - 273.15);
    std::fprintf(f, "Cleaning Agent Consumption Specification:\n");
    switch (m_ConsumptionSpec) {
        case kTotalVolume: std::fprintf(f, "Total Volume per Cycle (L)     = %-15.2lf\n", m_TotalVolume * 1000.0); break;
        case kVolumePerSize: std::fprintf(f, "Volume Per Size                = %-15.2lf\n", m_VolPerSize * 1000.0); break;
        case kVolumeFlow: std::fprintf(f, "Vol. Flowrate (L/min)          = %-15.2lf\n", m_VolFlowRate * 60000.0); break;
        case kFlowPerCircumference:
            std::fprintf(f, "Vol.Flow Per Circumf (L/min-m) = %-15.2lf\n", m_VolFlowPerCircumference * 60000.0);
            break;
        case kFlowPerInternalSurface:
            std::fprintf(f, "Vol.Flow Per Internal Surf (L/min-m2) = %-15.2lf\n", m_VolFlowPerInternalSurface * 60000.0);
            break;
        default: std::fprintf(f, "System Error!\nUnknown CIP cleaning agent volume specification."); break;
    }
    if (m_IsRecirculated) std::fprintf(f, "The cleaning agent is recirculated  = %-15.1lf times\n", m_RecirculationTimes);
    std::fprintf(f, "Agent Volume per Cycle (L)     = %-15.2lf\n", m_TotalVolume * 1000.0);
    std::fprintf(f, "Agent Vol. Flowrate (L/min)    = %-15.2lf\n", m_VolFlowRate * 60000.0);
    std::fprintf(f, "Agent Mass Rate (kg/h)         = %-15.2lf\n", m_AgentMassRate * 3600.0);
    std::fprintf(f, "Duration (min)                 = %-15.2lf\n", m_Duration / 60.0);
}

// ---------------------------------------------------------------- CTalCIPScheme

void CTalCIPScheme::Serialize(CArchive& ar) {
    std::int32_t count = static_cast<std::int32_t>(m_Steps.size());
    if (ar.IsStoring()) {
        ar << count;
    } else {
        ar >> count;
        if (count > 10000) count = 0;
        m_Steps.clear();
        for (std::int32_t i = 0; i < std::max(count, 0); ++i) m_Steps.push_back(std::make_unique<CTalCIPStep>(m_Owner, i + 1));
    }
    for (auto& step : m_Steps) {
        step->m_Owner = m_Owner;
        step->m_VersionNo = m_Owner ? m_Owner->VersionNo() : 0.0;
        step->Serialize(ar);
    }
}

int CTalCIPScheme::IsComplete(CTalModelPP* page, int group) const {
    for (const auto& step : m_Steps) {
        if (!step->IsComplete(page, group)) return 0;
    }
    return 1;
}

void CTalCIPScheme::CopyDataInto(CTalCIPScheme& target) const {
    target.m_Steps.resize(std::min(target.m_Steps.size(), m_Steps.size()));
    while (target.m_Steps.size() < m_Steps.size()) {
        target.m_Steps.push_back(std::make_unique<CTalCIPStep>(target.m_Owner, static_cast<int>(target.m_Steps.size()) + 1));
    }
    for (std::size_t i = 0; i < m_Steps.size(); ++i) m_Steps[i]->CopyDataInto(*target.m_Steps[i]);
}

// ---------------------------------------------------------------- CTalCIPOp

CTalCIPOp::CTalCIPOp() { m_Scheme.m_Owner = this; }

CTalCIPStep& CTalCIPOp::AddStep() {
    m_Scheme.m_Steps.push_back(std::make_unique<CTalCIPStep>(this, static_cast<int>(m_Scheme.m_Steps.size()) + 1));
    return *m_Scheme.m_Steps.back();
}

double CTalCIPOp::StepsDuration() const {
    double total = 0.0;
    for (const auto& step : m_Scheme.m_Steps) total += step->m_Duration;
    return total;
}

void CTalCIPOp::Serialize(CArchive& ar) {
    CTalOperation::Serialize(ar);
    m_Scheme.m_Owner = this;
    if (ar.IsStoring() && ar.StoreVersionNo() < 5.001) {
        WriteSingleStepLayout(ar);
        return;
    }
    if (ar.IsLoading() && m_VersionNo < 5.001) {
        ReadSingleStepLayout(ar);
        return;
    }
    if (ar.IsStoring()) {
        ar.WriteWord(m_IgnoreSkid);
    } else {
        m_IgnoreSkid = ar.ReadWord();
    }
    m_SkidLink.Serialize(ar);
    m_Scheme.Serialize(ar);
}

// Files before 5.001 held one step in the operation itself; it becomes "Cleaning Step #1",
// lasting the operation's process time.
void CTalCIPOp::ReadSingleStepLayout(CArchive& ar) {
    m_Scheme.m_Steps.clear();
    CTalCIPStep& step = AddStep();
    step.m_VersionNo = m_VersionNo;
    ar >> step.m_VolFlowRate;
    const int spec = ar.ReadWord();
    step.m_ConsumptionSpec = m_VersionNo >= 4.901 ? spec : (spec != 0 ? CTalCIPStep::kVolumePerSize : CTalCIPStep::kVolumeFlow);
    double unused = 0.0;
    ar >> unused;
    step.m_VolFlowPerCircumference = step.m_VolFlowPerInternalSurface = 0.0;
    if (m_VersionNo >= 4.901) ar >> step.m_VolFlowPerCircumference >> step.m_VolFlowPerInternalSurface;
    ar >> step.m_TotalVolume >> step.m_AgentMassRate;
    m_IgnoreSkid = ar.ReadWord();
    m_SkidLink.Serialize(ar);
    ar >> step.m_AgentName;
    step.m_IsAgentPureComp = ar.ReadWord();
    ar >> step.m_SupplyTemp;
    step.m_Duration = m_ProcessTime;
    step.m_DurationPQ.SetUnits(m_ProcessTimePQ.Units());
    m_ProcessTimeMode = 2;
}

// Files of those versions keep the first step only; before 4.901 its amount is a volume per
// size (word 1) or a flow (word 0).
void CTalCIPOp::WriteSingleStepLayout(CArchive& ar) {
    const CTalCIPStep fallback(this, 1);
    const CTalCIPStep& step = m_Scheme.m_Steps.empty() ? fallback : *m_Scheme.m_Steps.front();
    const bool hasForms = ar.StoreVersionNo() >= 4.901;
    ar << step.m_VolFlowRate;
    ar.WriteWord(hasForms ? step.m_ConsumptionSpec : (step.m_ConsumptionSpec == CTalCIPStep::kVolumePerSize ? 1 : 0));
    ar << step.m_VolPerSize;  // read back and not kept
    if (hasForms) ar << step.m_VolFlowPerCircumference << step.m_VolFlowPerInternalSurface;
    ar << step.m_TotalVolume << step.m_AgentMassRate;
    ar.WriteWord(m_IgnoreSkid);
    m_SkidLink.Serialize(ar);
    ar << step.m_AgentName;
    ar.WriteWord(step.m_IsAgentPureComp);
    ar << step.m_SupplyTemp;
}

void CTalCIPOp::CopyDataInto(CTalOperation* target, int flag) const {
    CTalOperation::CopyDataInto(target, flag);
    if (auto* t = dynamic_cast<CTalCIPOp*>(target)) {
        m_SkidLink.CopyInto(t->m_SkidLink);
        t->m_Scheme.m_Owner = t;
        m_Scheme.CopyDataInto(t->m_Scheme);
    }
}

// A step's agent is named by text: a renamed component or mixture is followed (a step names the
// kind of agent it takes, so a component and a mixture of one name stay apart).
void CTalCIPOp::IngredientRenamed(const std::string& from, const std::string& to) {
    const CTalDocEss* doc = Flowsheet();
    if (!doc) return;
    for (auto& step : m_Scheme.m_Steps) doc->FollowRename(step->m_AgentName, step->m_IsAgentPureComp != 0, from, to);
}

// An agent that is no longer a component of the flowsheet is unset, and the user must set the
// operation up again.
void CTalCIPOp::UpdateForNewCompDef(const ComponentList& oldComps) {
    CTalOperation::UpdateForNewCompDef(oldComps);
    const ComponentList* comps = Comps();
    bool dropped = false;
    for (auto& step : m_Scheme.m_Steps) dropped = (comps && step->DropsUndefinedComponent(*comps)) || dropped;
    if (dropped) ForceReinitialization();
}

void CTalCIPOp::UpdateCompInfoFromOldFlowsheet(const ComponentList& oldComps, const ComponentList& newComps) {
    CTalOperation::UpdateCompInfoFromOldFlowsheet(oldComps, newComps);
    bool dropped = false;
    for (auto& step : m_Scheme.m_Steps) dropped = step->DropsUndefinedComponent(newComps) || dropped;
    if (dropped) SetIsInitializedByUser(0);
}

void CTalCIPOp::InitSimModelParams() {
    CTalOperation::InitSimModelParams();
    m_ProcessTimeMode = 2;
    InitTimes(900.0, 0.0);
    m_IgnoreSkid = 1;
    m_Scheme.m_Steps.clear();
    AddStep();
}

void CTalCIPOp::InitCostParams() { InitLabor(1.0, 0.0, 0x1200, 0x1200); }

// A step counts for an agent of its own name; with `blendedAlso` 0 a stock mixture counts also
// for each component of the flowsheet it holds, in its mass fraction.
bool CTalCIPOp::IsNonBlendedNSIngredientBeingUsed(std::string_view name, int blendedAlso) const {
    const CTalDocEss* doc = Flowsheet();
    for (const auto& step : m_Scheme.m_Steps) {
        if (step->m_AgentName == name) return true;
        if (blendedAlso != 0 || step->m_IsAgentPureComp || !doc || doc->GetComponentIndex(name) < 0) continue;
        const CTalStockMixture* m = doc->MixtureDefPtr(step->m_AgentName);
        if (m && m->IsPureCompIn(name)) return true;
    }
    return false;
}

double CTalCIPOp::NonBlendedNSIngredientConsumption(std::string_view name, int blendedAlso) const {
    const CTalDocEss* doc = Flowsheet();
    double total = 0.0;
    for (const auto& step : m_Scheme.m_Steps) {
        if (step->m_AgentName == name) {
            total += step->m_AgentMassRate;
        } else if (blendedAlso == 0 && !step->m_IsAgentPureComp && doc && doc->GetComponentIndex(name) >= 0) {
            const CTalStockMixture* m = doc->MixtureDefPtr(step->m_AgentName);
            total += m ? step->m_AgentMassRate * m->MassFrac(name) : 0.0;
        }
    }
    return total;
}

int CTalCIPOp::IsSimDataComplete(int group, CTalModelPP* page, bool flag, int askUser) {
    return WithInternalUnits(*this, [&] {
        if (InGroup(group, 2) && m_Scheme.m_Steps.empty()) return ReportMessage(page, 0x601, 12879, 0, kStopBox);
        if (!m_Scheme.IsComplete(page, group)) return 0;
        if (InGroup(group, 2)) {
            const double time = m_Scheme.m_Steps.empty() ? m_ProcessTime : StepsDuration();
            if (time < 1e-15) return ReportRange(page, 0x601, "Cleaning Time", 0x640);
            if (m_SetupTime < -1e-15) return ReportRange(page, 0x601, "Setup Time", 0x641);
        }
        return CTalOperation::IsSimDataComplete(group, page, flag, askUser);
    });
}

int CTalCIPOp::Solve(CTalStateStream* before, CTalStateStream* after, int) {
    before->CopyDataInto(*after, 1);
    // The operation lasts as long as its steps together; the agents' rates are over that time.
    if (!m_Scheme.m_Steps.empty()) m_ProcessTime = StepsDuration();
    const CTalEquipment* e = Equipment();
    if (!e || e->Size() < 1e-15) {
        for (const auto& step : m_Scheme.m_Steps) {
            if (step->m_ConsumptionSpec == CTalCIPStep::kVolumePerSize) {
                return AbnormalSimEnding("The Equipment size is zero (unknown).\nCIP calculations will be skipped.", 0, 1);
            }
        }
    }
    for (const auto& step : m_Scheme.m_Steps) {
        if (!step->m_IsRecirculated) continue;
        if (step->m_IsRecircTimesGiven && step->m_RecirculationTimes < 1e-15) {
            return AbnormalSimEnding(Format("The recirculations times number in:\n %20s\nis too small.\nRecirculation Times must be >=1.",
                                            step->m_Name.c_str()), 0, 1);
        }
        if (!step->m_IsRecircTimesGiven && step->m_OnceThroughTime < 1e-15) {
            return AbnormalSimEnding(Format("The Once Through Equivalent Time in:\n %20s\nis too small.\nThe Once Through Equivalent Time must be >0.",
                                            step->m_Name.c_str()), 0, 1);
        }
    }
    for (const auto& step : m_Scheme.m_Steps) step->Compute(e, m_ProcessTime);
    return NormalSimEnding(1);
}

int CTalCIPOp::WriteIDR_Description(std::FILE* f) {
    CTalOperation::WriteIDR_Description(f);
    m_SkidLink.WriteIDR_Description(f, m_IgnoreSkid);
    std::fprintf(f, "\nREACTION DATA \n\n");
    for (const auto& step : m_Scheme.m_Steps) step->WriteDescription(f);
    return 1;
}

void CTalCIPOp::GetCustomDescription(std::string& text) const {
    const std::string unit = ProcessTimeUnits().UnitsName();
    if (IsOpDescriptionShort()) {
        text = Format("Clean In Place for a total of %.2lf %s", m_ProcessTime, unit.c_str());
        return;
    }
    text = Format("Clean In Place for a total of %.2lf %s.", m_ProcessTime, unit.c_str()) + " Excecute CIP Steps:";
    for (std::size_t i = 0; i < m_Scheme.m_Steps.size(); ++i) text += (i ? ", " : " ") + m_Scheme.m_Steps[i]->m_Name;
}

// ---------------------------------------------------------------- CTalSIPOp

void CTalSIPOp::Serialize(CArchive& ar) {
    CTalOperation::Serialize(ar);
    if (ar.IsStoring()) {
        ar.WriteWord(m_IsRateGiven);
        ar << m_AgentAmount;
    } else {
        m_IsRateGiven = ar.ReadWord();
        ar >> m_AgentAmount;
    }
    m_SkidLink.Serialize(ar);
    if (ar.IsStoring()) {
        ar.WriteWord(m_IgnoreSkid);
    } else {
        m_IgnoreSkid = ar.ReadWord();
    }
}

void CTalSIPOp::CopyDataInto(CTalOperation* target, int flag) const {
    CTalOperation::CopyDataInto(target, flag);
    if (auto* t = dynamic_cast<CTalSIPOp*>(target)) m_SkidLink.CopyInto(t->m_SkidLink);
}

void CTalSIPOp::InitSimModelParams() {
    CTalOperation::InitSimModelParams();
    m_IsRateGiven = 1;
    m_AgentAmount = 150.0;
    m_IgnoreSkid = 1;
    m_AgentRate = 1.0 / 6.0;
    m_HxAgentUse = 2;
    if (const CTalDocEss* doc = Flowsheet()) SetHxAgent(doc->GetDefaultAgent("Steam"));
}

void CTalSIPOp::InitCostParams() { InitLabor(1.0, 0.0, 0x1200, 0x1200); }

int CTalSIPOp::IsSimDataComplete(int group, CTalModelPP* page, bool flag, int askUser) {
    return WithInternalUnits(*this, [&] {
        if (InGroup(group, 2)) {
            if (m_IsRateGiven && m_AgentRate < 1e-15) return ReportRange(page, 0x601, "SIP Agent Rate", 0x640);
            if (!m_IsRateGiven && m_AgentAmount < 1e-15) return ReportRange(page, 0x601, "SIP Agent Amount", 0x640);
            if (m_ProcessTime < 1e-15) return ReportRange(page, 0x601, "SIP Time", 0x640);
            if (m_SetupTime < -1e-15) return ReportRange(page, 0x601, "SIP Setup Time", 0x641);
        }
        return CTalOperation::IsSimDataComplete(group, page, flag, askUser);
    });
}

int CTalSIPOp::Solve(CTalStateStream* before, CTalStateStream* after, int) {
    before->CopyDataInto(*after, 1);
    const CTalEquipment* e = Equipment();
    const int n = e ? std::max(e->NumberOfUnits(), 1) : 1;
    if (!m_IsRateGiven) {
        m_AgentRate = Over(m_AgentAmount, n * m_ProcessTime);
    } else {
        m_AgentAmount = m_AgentRate * m_ProcessTime * n;
    }
    return NormalSimEnding(1);
}

int CTalSIPOp::WriteIDR_Description(std::FILE* f) {
    CTalOperation::WriteIDR_Description(f);
    std::fprintf(f, "Agent Amount    = %-15.2lf kg \n", m_AgentAmount);
    std::fprintf(f, "Agent Rate      = %-15.2lf kg/min \n", m_AgentRate / 60.0);  // shown in kg/h here
    return 1;
}

void CTalSIPOp::GetCustomDescription(std::string& text) const {
    const std::string agent = HxAgent() ? HxAgent()->Name() : std::string("(none)");
    const std::string unit = ProcessTimeUnits().UnitsName();
    if (IsOpDescriptionShort()) {
        text = Format("SIP for %.2lf %s using %s", m_ProcessTime, unit.c_str(), agent.c_str());
    } else if (!m_IsRateGiven) {
        text = Format("SIP for %.2lf %s using %.2lf kg of %s", m_ProcessTime, unit.c_str(), m_AgentAmount, agent.c_str());
    } else {
        text = Format("SIP for %.2lf %s using %s at a rate of %.2lf kg/h", m_ProcessTime, unit.c_str(), agent.c_str(), m_AgentRate);
    }
}

}  // namespace unitops
