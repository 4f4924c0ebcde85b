#include "unitops/models/heat_flow/heating.hpp"

#include <algorithm>
#include <cmath>
#include <memory>

#include "unitops/contract/component.hpp"
#include "unitops/contract/flowsheet.hpp"
#include "unitops/contract/message_table.hpp"
#include "unitops/models/heat_flow/heat_equipment.hpp"

namespace unitops {

namespace {

constexpr unsigned kMsgLmtdZero = 14343;      // Error 100-08003
constexpr unsigned kMsgLmtdBelow5 = 14344;    // Error 100-08004
constexpr unsigned kMsgAreaTooSmallHeating = 14345;  // Error 100-08005
constexpr unsigned kMsgAreaTooSmallCooling = 14346;  // Error 100-08016
constexpr unsigned kMsgExitBelowFeed = 14347; // Error 100-08006
constexpr unsigned kMsgExitAboveFeed = 14348; // Error 100-08007
constexpr unsigned kHostAgentTooCold = 0x33;
constexpr unsigned kHostAgentTooWarm = 0x34;
constexpr unsigned kHostNoHeatingAgent = 0x57;
constexpr unsigned kHostNoCoolingAgent = 0x6D;

//! What differs between heating and cooling.
struct Side {
    double sign;              //!< +1 heating, -1 cooling: the stream's temperature moves by sign x dT
    const char* noMaterial;
    unsigned wrongDirection;  //!< the exit temperature lies on the wrong side of the feed's
    unsigned areaTooSmall;
    unsigned noAgent;
    const char* verb;         //!< "Heat" or "Cool"
};

const Side kHeating{+1.0, "No material is available for Heating.\nHeating calculations will be skipped.",
                    kMsgExitBelowFeed, kMsgAreaTooSmallHeating, kHostNoHeatingAgent, "Heat"};
const Side kCooling{-1.0, "No material is available for Cooling.\nCooling calculations will be skipped.",
                    kMsgExitAboveFeed, kMsgAreaTooSmallCooling, kHostNoCoolingAgent, "Cool"};

double& Duty(CTalOperation& op, const Side& side) { return side.sign > 0 ? op.m_HeatingDuty : op.m_CoolingDuty; }
double Duty(const CTalOperation& op, const Side& side) { return side.sign > 0 ? op.m_HeatingDuty : op.m_CoolingDuty; }

template <class C>
std::vector<MemberRow> AgentExchangeRows() {
    using namespace members;
    return {
        Word("SpecifyExitTemp", &C::m_SpecifyExitTemp),
        Real("ExitTemp", &C::m_ExitTemp, Quantity::Temperature, display::kDegC),
        Real("HeatTransferCoeff", &C::m_HeatTransferCoeff, Quantity::HeatTransferCoeff, display::kKcalPerHourM2DegC),
        Real("Efficiency", &C::m_Efficiency, Quantity::Fraction, display::kPercent),
    };
}

template <class C>
void InitAgentExchange(C& op, int agentUse) {
    op.m_ProcessTimeMode = 1;
    op.m_ProcessTime = 14400.0;
    op.m_ProcessTimePQ.SetUnits(3);
    op.m_SetupTime = 0.0;
    op.m_SetupTimePQ.SetUnits(2);
    op.m_SpecifyExitTemp = 1;
    op.m_ExitTemp = 298.15;
    op.m_HeatTransferCoeff = 1500.0;
    op.m_Efficiency = 1.0;
    op.m_HxAgentUse = agentUse;
    op.InitHxAgent();
}

// The exit temperature from the duty or the duty from the exit temperature; false when the
// given exit temperature lies on the wrong side of the feed's.
template <class C>
bool BalanceStream(C& op, const Side& side, double Tin, double mCp) {
    double& duty = Duty(op, side);
    if (op.m_SpecifyExitTemp == 0) {
        const double dT = duty > 1e-15 && mCp > 1e-15 ? duty * op.m_Efficiency / mCp : 0.0;
        op.m_ExitTemp = Tin + side.sign * dT;
        return true;
    }
    if (side.sign * (op.m_ExitTemp - Tin) <= 0.0) {
        duty = 0.0;
        return false;
    }
    duty = side.sign * (op.m_ExitTemp - Tin) * mCp / op.m_Efficiency;
    return true;
}

// Rating test, or sizing in design mode, and the capacity utilisation, for the area `required`.
int SizeOrRate(CTalOperation& op, CTalHeatExchanger* e, const Side& side, double required, int skipSizing) {
    int ok = 1;
    if (e && !op.IsDesignMode() && e->m_Area * e->NumberOfUnits() < required) {
        op.SetSimMsg(side.areaTooSmall, 0);
        ok = 0;
    }
    if (e && op.IsDesignMode() && !skipSizing) {
        unsigned message = 0;
        if (!e->SizeForRequirement(required, message)) {
            op.SetSimMsg(message, 0);
            ok = 0;
        }
    }
    // The number of units multiplies here; the utilisation of several units reads high.
    op.m_CapacityUtilF = !e || e->m_Area <= 1e-15 ? 1.0 : std::min(e->NumberOfUnits() * required / e->m_Area, 1.0);
    return ok;
}

template <class C>
int SolveAgainstAgent(C& op, const Side& side, CTalStateStream* after, int skipSizing) {
    int ok = 1;
    if (after) after->Zero(false, true);
    const CTalStream* in = op.InStream(0);
    if (!in) return op.AbnormalSimEnding(side.noMaterial, 0, 1);
    std::unique_ptr<CTalStream> aside;
    CTalStream* out = op.OutStream(0);
    if (!out) {
        aside = std::make_unique<CTalStream>(in->Comps(), std::string());
        out = aside.get();
    }
    in->CopyDataInto(*out, 1);
    if (in->MassFlow(kPerSecond, false) < 1e-15) return op.AbnormalSimEnding(side.noMaterial, 0, 1);

    const double Tin = in->Temp();
    const double mCp = in->MassFlow(kPerSecond, false) / op.UtilFactor() * in->LiqSolCp();
    if (!BalanceStream(op, side, Tin, mCp)) return op.AbnormalSimEnding(side.wrongDirection, 0, 1);
    const CTalHeatTransferAgent* agent = op.HxAgent();
    op.m_AgentRate = agent ? agent->EnergyToMassF() * Duty(op, side) : 0.0;
    out->SetTemp(op.m_ExitTemp);
    if (after) after->SetTemp(op.m_ExitTemp);
    if (!agent) return op.AbnormalSimEnding(side.noAgent, 0, 1);

    // The agent runs counter-current: its inlet faces the stream's exit.
    const double dT1 = side.sign * (agent->InTemp() - op.m_ExitTemp);
    const double dT2 = side.sign * (agent->OutTemp() - Tin);
    const double lmtd = LogMeanTempDifference(dT1, dT2);
    if (std::abs(lmtd) < 1e-15) return op.AbnormalSimEnding(kMsgLmtdZero, 0, 1);
    if (std::abs(lmtd) < 5.0) {
        op.SetSimMsg(kMsgLmtdBelow5, 0);
        ok = 0;
    }
    const double required = Duty(op, side) / (lmtd * op.m_HeatTransferCoeff);
    if (!SizeOrRate(op, op.EquipmentT(), side, required, skipSizing)) ok = 0;
    return op.NormalSimEnding(ok);
}

// Heating: the agent's outlet must stay 1 K above the exit; cooling: 1 K below it.
template <class C>
int CheckAgentExchange(C& op, const Side& side, int group, CTalModelPP* page, const char* const labels[4]) {
    if (group != 0 && group != 2) return 1;
    if (op.m_SpecifyExitTemp != 0) {
        const bool bad = side.sign > 0 ? !(op.m_ExitTemp > 0.0) : !(op.m_ExitTemp >= 0.0);
        if (bad) return ReportRange(page, 0x601, labels[0], 0x640);
    } else if (!(Duty(op, side) >= 0.0)) {
        return ReportRange(page, 0x601, labels[1], 0x641);
    }
    if (!(op.m_Efficiency >= 1e-15 && op.m_Efficiency <= 1.0)) return ReportRange(page, 0x601, labels[2], 0x649);
    if (!(op.m_HeatTransferCoeff >= 1e-15)) return ReportRange(page, 0x601, labels[3], 0x640);
    const CTalHeatTransferAgent* agent = op.HxAgent();
    if (!agent) return ReportMessage(page, 0x601, side.noAgent, 0, kStopBox);
    const bool agentFails = side.sign > 0 ? agent->OutTemp() < op.m_ExitTemp + 1.0 : agent->OutTemp() > op.m_ExitTemp - 1.0;
    if (agentFails) {
        const unsigned text = side.sign > 0 ? kHostAgentTooCold : kHostAgentTooWarm;
        return ReportMessage(page, 0x601, FormatMessage(MessageText(text), agent->Name()), 0, kStopBox);
    }
    return 1;
}

template <class C>
void WriteAgentExchange(const C& op, const Side& side, std::FILE* f) {
    const bool heating = side.sign > 0;
    if (op.m_SpecifyExitTemp == 0) {
        std::fprintf(f, heating ? "Heating Duty     = %-15.2lf\n" : "Cooling Duty     = %-15.2lf\n", Duty(op, side));
    } else {
        std::fprintf(f, "Exit Temperature = %-15.2lf\n", op.m_ExitTemp);
    }
    std::fprintf(f, "Overall Effic.(%c)= %-15.2lf\n", '%', op.m_Efficiency);
    std::fprintf(f, "Heat Transf Coef = %-15.2lf\n", op.m_HeatTransferCoeff);
    const std::string agent = op.HxAgent() ? op.HxAgent()->Name() : std::string();
    std::fprintf(f, heating ? "Heating Agent    = %-15s\n" : "Cooling Agent    = %-15s\n", agent.c_str());
    std::fprintf(f, "%s\n", std::string(50, '-').c_str());
}

// The description reads the members in internal units and shows them as the user sees them.
template <class C>
void DescribeAgentExchange(const C& op, const Side& side, std::string& text) {
    const bool internal = op.IsInInternalUnits() != 0;
    const std::string agent = op.HxAgent() ? op.HxAgent()->Name() : std::string("(no agent)");
    char buffer[256];
    if (op.m_SpecifyExitTemp == 0) {
        const double duty = internal ? display::kKcalPerHour.ToDisplay(Duty(op, side)) : Duty(op, side);
        std::snprintf(buffer, sizeof buffer, "%s with %s at a rate of %.2lf kcal/h", side.verb, agent.c_str(), duty);
    } else {
        const double T = internal ? display::kDegC.ToDisplay(op.m_ExitTemp) : op.m_ExitTemp;
        std::snprintf(buffer, sizeof buffer, "%s with %s to %.2lf °C", side.verb, agent.c_str(), T);
    }
    text = buffer;
    if (!op.IsOpDescriptionShort() && op.IsBatchMode()) {
        std::snprintf(buffer, sizeof buffer, ", for %.2lf %s", op.ProcessTimeUnits().Display().ToDisplay(op.ProcessTime()),
                      op.ProcessTimeUnits().UnitsName().c_str());
        text += buffer;
    }
}

const char* const kHeatingLabels[4] = {"Exit Temperature (deg K)", "Heating Duty", "Heat Transfer Efficiency",
                                       "Overall Heat Transfer Coefficient"};
const char* const kCoolingLabels[4] = {"Exit Temperature", "Cooling Duty", "Overall Heat Transfer Efficiency",
                                       "overall Heat Transfer Coefficient"};

}  // namespace

const MemberTable& CTalHeating::Members() {
    static const MemberTable table(CTalOperation::Members(), AgentExchangeRows<CTalHeating>());
    return table;
}

const MemberTable& CTalCooling::Members() {
    static const MemberTable table(CTalOperation::Members(), AgentExchangeRows<CTalCooling>());
    return table;
}

TAL_IMPLEMENT_CLASS(CTalHeating, CTalOperation)
TAL_IMPLEMENT_CLASS(CTalCooling, CTalOperation)

// ---------------------------------------------------------------- CTalHeating

void CTalHeating::Serialize(CArchive& ar) {
    CTalOperation::Serialize(ar);
    SerializeOwnMembers(ar, Members());
}

void CTalHeating::InitHxAgent() {
    const CTalDocEss* doc = Flowsheet();
    SetHxAgent(doc ? doc->GetDefaultHeatingAgent("Steam") : nullptr);
}

void CTalHeating::InitSimModelParams() {
    CTalOperation::InitSimModelParams();
    InitAgentExchange(*this, 2);
}

void CTalHeating::InitCostParams() { InitLabor(0.1, 0.05, 0x1200, 0x1200); }

CTalHeatExchanger* CTalHeating::EquipmentT() const { return dynamic_cast<CTalHeatExchanger*>(Equipment()); }

int CTalHeating::IsSimDataComplete(int group, CTalModelPP* page, bool flag, int askUser) {
    return WithInternalUnits(*this, [&] {
        if (!CheckAgentExchange(*this, kHeating, group, page, kHeatingLabels)) return 0;
        return CTalOperation::IsSimDataComplete(group, page, flag, askUser);
    });
}

int CTalHeating::Solve(CTalStateStream*, CTalStateStream* after, int skipSizing) {
    return SolveAgainstAgent(*this, kHeating, after, skipSizing);
}

int CTalHeating::WriteIDR_Description(std::FILE* f) {
    CTalOperation::WriteIDR_Description(f);
    WriteAgentExchange(*this, kHeating, f);
    return 1;
}

void CTalHeating::GetCustomDescription(std::string& text) const { DescribeAgentExchange(*this, kHeating, text); }

// ---------------------------------------------------------------- CTalCooling

void CTalCooling::Serialize(CArchive& ar) {
    CTalOperation::Serialize(ar);
    SerializeOwnMembers(ar, Members());
}

void CTalCooling::InitHxAgent() {
    const CTalDocEss* doc = Flowsheet();
    SetHxAgent(doc ? doc->GetDefaultCoolingAgent("Chilled Water") : nullptr);
}

void CTalCooling::InitSimModelParams() {
    CTalOperation::InitSimModelParams();
    InitAgentExchange(*this, 3);
}

void CTalCooling::InitCostParams() { InitLabor(0.1, 0.05, 0x1200, 0x1200); }

CTalHeatExchanger* CTalCooling::EquipmentT() const { return dynamic_cast<CTalHeatExchanger*>(Equipment()); }

int CTalCooling::IsSimDataComplete(int group, CTalModelPP* page, bool flag, int askUser) {
    return WithInternalUnits(*this, [&] {
        if (!CheckAgentExchange(*this, kCooling, group, page, kCoolingLabels)) return 0;
        return CTalOperation::IsSimDataComplete(group, page, flag, askUser);
    });
}

int CTalCooling::Solve(CTalStateStream*, CTalStateStream* after, int skipSizing) {
    return SolveAgainstAgent(*this, kCooling, after, skipSizing);
}

int CTalCooling::WriteIDR_Description(std::FILE* f) {
    CTalOperation::WriteIDR_Description(f);
    WriteAgentExchange(*this, kCooling, f);
    return 1;
}

void CTalCooling::GetCustomDescription(std::string& text) const { DescribeAgentExchange(*this, kCooling, text); }

}  // namespace unitops
