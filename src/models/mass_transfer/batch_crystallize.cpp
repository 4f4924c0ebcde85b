#include "unitops/models/mass_transfer/batch_crystallize.hpp"

#include <algorithm>
#include <cmath>

#include "unitops/contract/archive.hpp"
#include "unitops/contract/flowsheet.hpp"
#include "unitops/contract/procedure.hpp"

namespace unitops {

namespace {

constexpr unsigned kMsgNoProduct = 0x451f;
constexpr unsigned kMsgMissingComponent = 0x4520;
constexpr unsigned kMsgProductNotSelected = 0x4503;
constexpr std::size_t kNameCompared = 16;

std::string Format(const char* format, auto... args) {
    char buffer[512];
    std::snprintf(buffer, sizeof buffer, format, args...);
    return buffer;
}

std::string Trimmed(const std::string& s) {
    const auto first = s.find_first_not_of(" \t");
    if (first == std::string::npos) return {};
    return s.substr(first, s.find_last_not_of(" \t") - first + 1);
}

}  // namespace

const MemberTable& CTalBatchCrystallizeOp::Members() {
    using namespace members;
    using C = CTalBatchCrystallizeOp;
    static const MemberTable table(CTalRxnOp::Members(), {
        Real("CrystallizationHeat", &C::m_CrystallizationHeat, Quantity::SpecificEnergy, display::kKcalPerKg),
        Real("ProductYield", &C::m_ProductYield, Quantity::Fraction, display::kPercent),
        Text("ProductComp", &C::m_ProductComp),
        RealArray("YieldCoeffA", &C::m_YieldCoeffA, Quantity::Dimensionless),
        RealArray("YieldCoeffB", &C::m_YieldCoeffB, Quantity::Dimensionless),
        RealArray("YieldCoeffC", &C::m_YieldCoeffC, Quantity::Dimensionless),
        // Kept in the archive by Serialize, one name per component after the coefficients.
        Computed("CrystalForm", MemberType::Text, Quantity::None, display::kNone,
                 [](const CObject& o) -> MemberValue { return static_cast<const C&>(o).CrystalFormText(); },
                 [](CObject& o, const MemberValue& v) { static_cast<C&>(o).SetCrystalFormText(std::get<std::string>(v)); }),
    });
    return table;
}
TAL_IMPLEMENT_CLASS(CTalBatchCrystallizeOp, CTalRxnOp)

void CTalBatchCrystallizeOp::SizeArrays() {
    for (std::vector<double>* a : {&m_YieldCoeffA, &m_YieldCoeffB, &m_YieldCoeffC}) a->resize(Count(), 0.0);
    m_CrystalForm.resize(Count());
}

void CTalBatchCrystallizeOp::Serialize(CArchive& ar) {
    CTalRxnOp::Serialize(ar);
    SerializeOwnMembers(ar, Members());
    if (ar.IsStoring()) {
        SizeArrays();
        for (const std::string& name : m_CrystalForm) ar << name;
    } else {
        m_CrystalForm.assign(Count(), std::string());
        for (std::string& name : m_CrystalForm) ar >> name;
    }
}

std::string CTalBatchCrystallizeOp::CrystalFormText() const {
    std::string text;
    for (std::size_t i = 0; i < m_CrystalForm.size() && i < Count(); ++i) {
        if (m_CrystalForm[i].empty()) continue;
        if (!text.empty()) text += "; ";
        text += GetPureComponent(static_cast<int>(i))->Name() + ": " + m_CrystalForm[i];
    }
    return text;
}

bool CTalBatchCrystallizeOp::SetCrystalFormText(const std::string& text) {
    std::vector<std::string> forms(Count());
    std::size_t start = 0;
    while (start <= text.size()) {
        const std::size_t end = std::min(text.find(';', start), text.size());
        const std::string pair = Trimmed(text.substr(start, end - start));
        start = end + 1;
        if (pair.empty()) continue;
        const std::size_t colon = pair.find(':');
        const int i = colon == std::string::npos ? -1 : GetComponentIndex(Trimmed(pair.substr(0, colon)));
        if (i < 0) return false;
        forms[static_cast<std::size_t>(i)] = Trimmed(pair.substr(colon + 1));
    }
    m_CrystalForm = std::move(forms);
    return true;
}

bool CTalBatchCrystallizeOp::IsOutPortUsed(int port, int flag) const {
    if (flag) return CTalRxnOp::IsOutPortUsed(port, flag);
    const int vent = m_EmissionsSpec.GaseousPortID() >= 0 ? m_EmissionsSpec.GaseousPortID() : (Owner() ? Owner()->VentPortID() : -1);
    return port == vent && m_EmissionsSpec.PerformEmissionCalcs();
}

void CTalBatchCrystallizeOp::InitHxAgent() {
    const CTalDocEss* doc = Flowsheet();
    SetHxAgent(doc ? doc->GetDefaultCoolingAgent("Chilled Water") : nullptr);
}

void CTalBatchCrystallizeOp::UpdateForNewCompDef(const ComponentList& oldComps) {
    CTalRxnOp::UpdateForNewCompDef(oldComps);
    const ComponentList* comps = Comps();
    RemapOwnArrays(oldComps, comps ? *comps : ComponentList{});
    if (m_ProductComp != "(none)" && GetComponentIndex(m_ProductComp) < 0) {
        m_ProductComp = "(none)";
        ForceReinitialization();
    }
}

void CTalBatchCrystallizeOp::UpdateCompInfoFromOldFlowsheet(const ComponentList& oldComps, const ComponentList& newComps) {
    CTalRxnOp::UpdateCompInfoFromOldFlowsheet(oldComps, newComps);
    RemapOwnArrays(oldComps, newComps);
}

void CTalBatchCrystallizeOp::RemapOwnArrays(const ComponentList& oldComps, const ComponentList& newComps) {
    for (std::vector<double>* a : {&m_YieldCoeffA, &m_YieldCoeffB, &m_YieldCoeffC}) {
        *a = MapByComponentName(oldComps, newComps, *a, 0.0);
    }
    m_CrystalForm = MapByComponentName(oldComps, newComps, m_CrystalForm, std::string());
}

void CTalBatchCrystallizeOp::InitSimModelParams() {
    CTalRxnOp::InitSimModelParams();
    InitTimes(7200.0, 300.0);
    m_ProcessTimeMode = 1;
    m_OperPressure = 101299.99999999999;
    m_IsPressureSetByUser = 1;
    m_HxAgentUse = 3;
    m_ExitTemp = 298.15;
    m_PowerMode = 2;
    m_SpecPower = 0.0;
    m_Power = 0.0;
    m_CrystallizationHeat = 0.0;
    m_ProductYield = 0.9;
    m_ProductComp = "(none)";
    InitCompVar(m_YieldCoeffA, 0.0);
    InitCompVar(m_YieldCoeffB, 0.0);
    InitCompVar(m_YieldCoeffC, 0.0);
    InitCompVar(m_CrystalForm, std::string());
}

int CTalBatchCrystallizeOp::IsSimDataComplete(int group, CTalModelPP* page, bool flag, int askUser) {
    return WithInternalUnits(*this, [&] {
        if (InGroup(group, 2) && m_ExitTemp < 50.0) {
            return ReportMessage(page, 0x601, "The Final Solution Temperature is too low!", 0, 0);
        }
        if (InGroup(group, 8)) {
            if (GetComponentIndex(m_ProductComp) < 0) return ReportMessage(page, 0x607, kMsgProductNotSelected, 0, 0);
            if (!(m_ProductYield > 1e-15 && m_ProductYield <= 1.0)) {
                return ReportRange(page, 0x607, "crystallization yield of\nthe product component", 0x649);
            }
        }
        return CTalRxnOp::IsSimDataComplete(group, page, flag, askUser);
    });
}

double CTalBatchCrystallizeOp::ComponentYield(std::size_t i) const {
    const double Y = m_ProductYield;
    const double y = m_YieldCoeffA[i] + m_YieldCoeffB[i] * Y + m_YieldCoeffC[i] * Y * Y;
    return y >= 1.0 ? 1.0 : y;
}

bool CTalBatchCrystallizeOp::IsCrystalForm(int i) const {
    const std::string name = GetPureComponent(i)->Name().substr(0, kNameCompared);
    return std::any_of(m_CrystalForm.begin(), m_CrystalForm.end(),
                       [&](const std::string& form) { return !form.empty() && form.substr(0, kNameCompared) == name; });
}

void CTalBatchCrystallizeOp::MoveToCrystals(CTalStateStream* out, int from, int to, double y) {
    const double Ff = out->ComponentFlow(from);
    const double Ft = out->ComponentFlow(to);
    // A negative yield moves crystals back into solution; only what the crystal form holds can go
    // back, so no flow turns negative and no mass is created.
    const double moved = std::max(y * Ff, -Ft);
    out->SetComponentFlow(from, Ff - moved);
    out->SetComponentFlow(to, Ft + moved);
}

int CTalBatchCrystallizeOp::Solve(CTalStateStream* before, CTalStateStream* after, int skipSizing) {
    SizeArrays();
    const Balance balance = [this](const CTalStateStream* in, CTalStateStream* out, double h) {
        return MaterialBalances(in, out, h);
    };
    return BatchReactionFrame(before, after, skipSizing, balance, true,
                              "No material is available for crystallization.\nCrystallization calculations will be skipped.", 1.0);
}

int CTalBatchCrystallizeOp::MaterialBalances(const CTalStateStream* in, CTalStateStream* out, double headspace) {
    const bool ventOK = PrologueVentCheck("Gaseous");
    const double Vin = in->NonGaseousVolFlow() * BatchReferenceTime() / std::max(NumberOfCycles(), 1);
    // The power follows the charge, not the working volume of one unit.
    PowerFromCharge(Vin);
    const int p = GetComponentIndex(m_ProductComp);
    const int q = p < 0 ? -1 : GetComponentIndex(m_CrystalForm[static_cast<std::size_t>(p)]);
    // No product to crystallize comes first; a product that is not a component has none either.
    if (p < 0 || out->ComponentFlow(p) < 1e-15) {
        AbnormalSimEnding(kMsgNoProduct);
        return kBalanceEndedAbnormally;
    }
    if (q < 0) {
        AbnormalSimEnding(kMsgMissingComponent);
        return kBalanceEndedAbnormally;
    }
    MoveToCrystals(out, p, q, m_ProductYield);
    for (int i = 0; i < NumberOfComponents(); ++i) {
        if (i == p || IsCrystalForm(i)) continue;
        const int k = GetComponentIndex(m_CrystalForm[static_cast<std::size_t>(i)]);
        if (k >= 0) MoveToCrystals(out, i, k, ComponentYield(static_cast<std::size_t>(i)));
    }
    if (!m_IsPressureSetByUser) m_OperPressure = in->Press();
    out->SetPress(m_OperPressure);
    // Crystallizing gives up heat; cooling the contents to the final temperature takes more.
    double duty = std::abs((out->ComponentFlow(p) - in->ComponentFlow(p)) * m_CrystallizationHeat);
    out->SetTemp(m_ExitTemp);
    duty -= out->LiqSolEnthalpy() - in->LiqSolEnthalpy();
    if (duty < -1e-15) duty = 0.0;
    if (UtilFactor() > 1e-15) duty /= UtilFactor();
    m_CoolingDuty = std::max(duty, 0.0);
    m_HeatingDuty = 0.0;
    m_ExternalDuty = -m_CoolingDuty;
    m_AgentRate = m_HxAgent ? m_HxAgent->EnergyToMassF() * m_CoolingDuty : 0.0;
    VentEmissionStep(out, headspace, m_OperPressure);
    return ventOK ? 1 : 0;
}

int CTalBatchCrystallizeOp::WriteIDR_Description(std::FILE* f) {
    CTalThermalVesselOp::WriteIDR_Description(f);
    const bool internal = IsInInternalUnits() != 0;
    const double hours = internal ? display::kHour.ToDisplay(1.0) : 1.0;
    std::fprintf(f, "Setup Time           = %-15.2lf\n", SetupTime() * hours);
    std::fprintf(f, "Crystallization Time = %-15.2lf\n", ProcessTime() * hours);
    std::fprintf(f, "Crystallization Heat = %-15.2lf\n", internal ? display::kKcalPerKg.ToDisplay(m_CrystallizationHeat) : m_CrystallizationHeat);
    std::fprintf(f, "Product Compont   = %-15s\n", m_ProductComp.c_str());
    std::fprintf(f, "Prod Crys Yld(%c) = %-15.2lf\n", '%', internal ? m_ProductYield * 100.0 : m_ProductYield);
    std::fprintf(f, "Component Name     Yield Coeff A     Yield Coeff B     Yield Coeff C\n");
    for (std::size_t i = 0; i < Count() && i < m_YieldCoeffA.size(); ++i) {
        std::fprintf(f, " %-15s %15.2lf %15.2lf %15.2lf\n", GetPureComponent(static_cast<int>(i))->Name().substr(0, 16).c_str(),
                     m_YieldCoeffA[i], m_YieldCoeffB[i], m_YieldCoeffC[i]);
    }
    m_EmissionsSpec.WriteIDR_Description(f);
    return 1;
}

void CTalBatchCrystallizeOp::GetCustomDescription(std::string& text) const {
    const bool internal = IsInInternalUnits() != 0;
    const DisplayUnit unit = ProcessTimeUnits().Display();
    text = Format("Crystallize %s for %.2lf %s to a yield of %.2lf %c ", m_ProductComp.c_str(),
                  internal ? unit.ToDisplay(ProcessTime()) : ProcessTime(), unit.name,
                  internal ? m_ProductYield * 100.0 : m_ProductYield, '%');
    if (IsOpDescriptionShort()) return;
    text += Format(", final temperature is %.2lf \u00b0C and pressure is %.3lf bar", internal ? m_ExitTemp - 273.15 : m_ExitTemp,
                   internal ? m_OperPressure / 1e5 : m_OperPressure);
}

}  // namespace unitops
