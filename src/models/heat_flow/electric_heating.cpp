#include "unitops/models/heat_flow/electric_heating.hpp"

#include <algorithm>
#include <memory>

#include "unitops/models/heat_flow/heat_equipment.hpp"

namespace unitops {

namespace {

constexpr unsigned kMsgExitBelowFeed = 14347;  // Error 100-08006
constexpr unsigned kMsgExitAboveFeed = 14348;  // Error 100-08007
constexpr double kThroughputPerUnitSince = 5.001;

//! What differs between electric heating and cooling.
struct Side {
    double sign;  //!< +1 heating, -1 cooling
    double defaultExitTemp;
    double defaultEfficiency;
    const char* noMaterial;
    unsigned wrongDirection;
    const char* device;  //!< "heater" or "cooler" in the texts
    const char* verbPhrase;
};

const Side kHeating{+1.0, 298.15, 1.0,
                    "No material is available for Electric Heating.\nHeating calculations will be skipped.",
                    kMsgExitBelowFeed, "heater", "Heat with electricity to %.2lf °C"};
const Side kCooling{-1.0, 278.15, 0.5, "No material is available for cooling.\nCooling calculations will be skipped.",
                    kMsgExitAboveFeed, "cooler", "Cool  with electricity  to %.2lf °C"};

template <class C>
std::vector<MemberRow> ElectricRows(double throughputSince) {
    using namespace members;
    return {
        Real("ExitTemp", &C::m_ExitTemp, Quantity::Temperature, display::kDegC),
        Real("Efficiency", &C::m_Efficiency, Quantity::Fraction, display::kPercent),
        Real("ThroughputPerUnit", &C::m_ThroughputPerUnit, Quantity::MassFlow, display::kKgPerHour)
            .Since(throughputSince, 0.0),
    };
}

template <class C>
void InitElectric(C& op, const Side& side) {
    op.m_ProcessTimeMode = 1;
    op.m_ProcessTime = 14400.0;
    op.m_ProcessTimePQ.SetUnits(3);
    op.m_SetupTime = 0.0;
    op.m_SetupTimePQ.SetUnits(2);
    op.m_ExitTemp = side.defaultExitTemp;
    op.m_Efficiency = side.defaultEfficiency;
    op.m_ThroughputPerUnit = 0.0;
}

std::string PowerAboveRated(const Side& side, bool batch, bool timeGiven) {
    const std::string head = "The calculated operating power is greater than the specified (rated) power.\n";
    if (!batch) {
        return head + "Please increase the number of units that operate in parallel or use a cooler\nwith greater power and efficiency.";
    }
    if (timeGiven) {
        return head + "Please do one or more of the following: 1) Increase the process time; 2) Increase\n"
                      "the number of units that operate in parallel; 3) Use a " + side.device +
               " with greater power and efficiency.";
    }
    return head + "Please decrease throughput per unit or use a " + side.device + " with greater power and efficiency.";
}

// Rating: the power per unit for the throughput per unit, tested against the rated power.
template <class C>
int RateElectric(C& op, const Side& side, const CTalStream& in, double dT, double Cp, CTalElectricHeater* e) {
    int ok = 1;
    const int n = e ? std::max(e->NumberOfUnits(), 1) : 1;
    const bool batch = op.IsBatchMode();
    const bool timeGiven = op.IsProcessTimeSetByUser();
    if (!batch) {
        // A volume flow stands where design takes a mass flow.
        op.m_ThroughputPerUnit = in.NonGaseousVolFlow() / op.UtilFactor() / n;
    } else {
        const double timeBase = op.IsFlowsheetInBatchMode() ? op.PlantBatchTime() : op.CycleTime();
        const double perUnit = in.MassFlow(kPerSecond, false) * timeBase / op.NumberOfCycles() / n;
        if (timeGiven) {
            op.m_ThroughputPerUnit = op.m_ProcessTime > 1e-15 ? perUnit / op.m_ProcessTime : 0.0;
        } else {
            op.m_ProcessTime = op.m_ThroughputPerUnit > 1e-15 ? std::max(perUnit / op.m_ThroughputPerUnit, 1e-15) : 1e-15;
        }
    }
    const double power = dT * Cp * op.m_ThroughputPerUnit / op.m_Efficiency;
    if (e && e->m_Power < power) {
        op.SetSimMsg(PowerAboveRated(side, batch, timeGiven), 0);
        ok = 0;
    }
    op.m_Power = n * power;
    return ok;
}

template <class C>
int SolveElectric(C& op, const Side& side, CTalStateStream* after, int skipSizing) {
    int ok = 1;
    if (after) after->Zero(false, true);
    const CTalStream* in = op.InStream(0);
    if (!in) return op.AbnormalSimEnding(side.noMaterial, 0, 1);
    std::unique_ptr<CTalStream> aside;
    CTalStream* out = op.OutStream(0);
    if (!out) out = (aside = std::make_unique<CTalStream>(in->Comps(), std::string())).get();
    in->CopyDataInto(*out, 1);
    if (in->MassFlow(kPerSecond, false) < 1e-15) return op.AbnormalSimEnding(side.noMaterial, 0, 1);

    const double Tin = in->Temp();
    const double Cp = in->LiqSolCp();
    const double dT = side.sign * (op.m_ExitTemp - Tin);
    if (dT < 0.0) {
        // Reported, but the power below is still computed, negative.
        op.m_Power = 0.0;
        ok = 0;
        op.SetSimMsg(side.wrongDirection, 0);
    }
    CTalElectricHeater* e = op.EquipmentT();
    if (op.IsDesignMode()) {
        op.m_ThroughputPerUnit = in->MassFlow(kPerSecond, false) / op.UtilFactor();
        op.m_Power = dT * Cp * op.m_ThroughputPerUnit / op.m_Efficiency;
        if (e && !skipSizing && ok) {
            unsigned message = 0;
            if (!e->SizeForRequirement(op.m_Power, message)) {
                op.SetSimMsg(message, 0);
                ok = 0;
            }
        }
        if (e) op.m_ThroughputPerUnit /= std::max(e->NumberOfUnits(), 1);
    } else if (!RateElectric(op, side, *in, dT, Cp, e)) {
        ok = 0;
    }
    out->SetTemp(op.m_ExitTemp);
    if (after) after->SetTemp(op.m_ExitTemp);
    op.m_CapacityUtilF = 1.0;
    return op.NormalSimEnding(ok);
}

template <class C>
int CheckElectric(C& op, int group, CTalModelPP* page) {
    if (group != 0 && group != 2) return 1;
    if (op.IsDesignMode() && op.m_ExitTemp < 1e-15) return ReportRange(page, 0x601, "Exit Temperature (deg K)", 0x640);
    if (!(op.m_Efficiency > 1e-15 && op.m_Efficiency <= 1.0)) return ReportRange(page, 0x601, "Heat Transfer Efficiency", 0x649);
    if (op.IsBatchMode() && !op.IsDesignMode() && !op.IsProcessTimeSetByUser() && op.m_ThroughputPerUnit < 1e-15) {
        return ReportRange(page, 0x601, "Throughput", 0x640);
    }
    return 1;
}

template <class C>
void WriteElectric(const C& op, std::FILE* f) {
    if (op.IsDesignMode()) std::fprintf(f, "Exit Temperature = %-15.2lf\n", op.m_ExitTemp);
    std::fprintf(f, "Overall Effic.(%c)= %-15.2lf\n", '%', op.m_Efficiency);
    if (!op.IsProcessTimeSetByUser()) std::fprintf(f, "Throughput (kg3/h)              = %-15.2lf\n", op.m_ThroughputPerUnit);
}

template <class C>
void DescribeElectric(const C& op, const Side& side, std::string& text) {
    const bool internal = op.IsInInternalUnits() != 0;
    char buffer[160];
    std::snprintf(buffer, sizeof buffer, side.verbPhrase, internal ? display::kDegC.ToDisplay(op.m_ExitTemp) : op.m_ExitTemp);
    text = buffer;
    if (op.IsOpDescriptionShort() || !op.IsBatchMode()) return;
    if (op.IsProcessTimeCalculated()) {
        const double rate = internal ? display::kKgPerHour.ToDisplay(op.m_ThroughputPerUnit) : op.m_ThroughputPerUnit;
        std::snprintf(buffer, sizeof buffer, ", at a throughput of %.2lf kg/h", rate);
    } else {
        std::snprintf(buffer, sizeof buffer, ", for %.2lf %s", op.ProcessTimeUnits().Display().ToDisplay(op.ProcessTime()),
                      op.ProcessTimeUnits().UnitsName().c_str());
    }
    text += buffer;
}

}  // namespace

const MemberTable& CTalElectricHeating::Members() {
    static const MemberTable table(CTalOperation::Members(), ElectricRows<CTalElectricHeating>(kThroughputPerUnitSince));
    return table;
}

// The cooling class has always kept its throughput per unit.
const MemberTable& CTalElectricCooling::Members() {
    static const MemberTable table(CTalOperation::Members(), ElectricRows<CTalElectricCooling>(0.0));
    return table;
}

TAL_IMPLEMENT_CLASS(CTalElectricHeating, CTalOperation)
TAL_IMPLEMENT_CLASS(CTalElectricCooling, CTalOperation)

// ---------------------------------------------------------------- CTalElectricHeating

void CTalElectricHeating::Serialize(CArchive& ar) {
    CTalOperation::Serialize(ar);
    SerializeOwnMembers(ar, Members());
}

void CTalElectricHeating::InitSimModelParams() {
    CTalOperation::InitSimModelParams();
    InitElectric(*this, kHeating);
}

void CTalElectricHeating::InitCostParams() { InitLabor(0.1, 0.05, 0x1200, 0x1200); }

CTalElectricHeater* CTalElectricHeating::EquipmentT() const { return dynamic_cast<CTalElectricHeater*>(Equipment()); }

int CTalElectricHeating::IsSimDataComplete(int group, CTalModelPP* page, bool flag, int askUser) {
    return WithInternalUnits(*this, [&] {
        if (!CheckElectric(*this, group, page)) return 0;
        return CTalOperation::IsSimDataComplete(group, page, flag, askUser);
    });
}

int CTalElectricHeating::Solve(CTalStateStream*, CTalStateStream* after, int skipSizing) {
    return SolveElectric(*this, kHeating, after, skipSizing);
}

int CTalElectricHeating::WriteIDR_Description(std::FILE* f) {
    CTalOperation::WriteIDR_Description(f);
    WriteElectric(*this, f);
    return 1;
}

void CTalElectricHeating::GetCustomDescription(std::string& text) const { DescribeElectric(*this, kHeating, text); }

// ---------------------------------------------------------------- CTalElectricCooling

void CTalElectricCooling::Serialize(CArchive& ar) {
    CTalOperation::Serialize(ar);
    SerializeOwnMembers(ar, Members());
}

void CTalElectricCooling::InitSimModelParams() {
    CTalOperation::InitSimModelParams();
    InitElectric(*this, kCooling);
}

void CTalElectricCooling::InitCostParams() { InitLabor(0.1, 0.05, 0x1200, 0x1200); }

CTalElectricHeater* CTalElectricCooling::EquipmentT() const { return dynamic_cast<CTalElectricHeater*>(Equipment()); }

int CTalElectricCooling::IsSimDataComplete(int group, CTalModelPP* page, bool flag, int askUser) {
    return WithInternalUnits(*this, [&] {
        if (!CheckElectric(*this, group, page)) return 0;
        return CTalOperation::IsSimDataComplete(group, page, flag, askUser);
    });
}

int CTalElectricCooling::Solve(CTalStateStream*, CTalStateStream* after, int skipSizing) {
    return SolveElectric(*this, kCooling, after, skipSizing);
}

int CTalElectricCooling::WriteIDR_Description(std::FILE* f) {
    CTalOperation::WriteIDR_Description(f);
    WriteElectric(*this, f);
    return 1;
}

void CTalElectricCooling::GetCustomDescription(std::string& text) const { DescribeElectric(*this, kCooling, text); }

}  // namespace unitops
