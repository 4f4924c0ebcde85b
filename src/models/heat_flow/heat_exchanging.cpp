#include "unitops/models/heat_flow/heat_exchanging.hpp"

#include <algorithm>
#include <cmath>
#include <memory>

#include "unitops/models/heat_flow/heat_equipment.hpp"

namespace unitops {

namespace {

constexpr double kMinOutletPressure = 101300.0;  // Pa
constexpr int kMaxBisectionRounds = 100;
constexpr double kAreaTolerance = 0.01;          // m2
constexpr double kCrossoverApproach = 5.0;       // K

const char* const kMsgCrossover =
    "The current performance specification leads to temperature crossover.\n"
    "The specification will be changed to Min. Temp. Approach with a value of 5 C.";

// The two sides of the exchanger, each with its inlet and the outlet it leaves by.
struct Sides {
    const CTalStream* hotIn;
    const CTalStream* coldIn;
    CTalStream* hotOut;
    CTalStream* coldOut;
    double Thi, Tci, Ch, Cc;
};

}  // namespace

const MemberTable& CTalHeatExchanging::Members() {
    using namespace members;
    using C = CTalHeatExchanging;
    static const MemberTable table(CTalOperation::Members(), {
        Word("PerformanceSpec", &C::m_PerformanceSpec),
        Real("MinTempApproach", &C::m_MinTempApproach, Quantity::TemperatureDifference),
        Real("HotStreamTempDecrease", &C::m_HotStreamTempDecrease, Quantity::TemperatureDifference),
        Real("ColdStreamTempIncrease", &C::m_ColdStreamTempIncrease, Quantity::TemperatureDifference),
        Real("HotStreamExitTemp", &C::m_HotStreamExitTemp, Quantity::Temperature, display::kDegC),
        Real("ColdStreamExitTemp", &C::m_ColdStreamExitTemp, Quantity::Temperature, display::kDegC),
        Word("FlowType", &C::m_FlowType),
        Real("FlowCorrectionFactor", &C::m_FlowCorrectionFactor, Quantity::Dimensionless),
        Real("HeatTransferCoeff", &C::m_HeatTransferCoeff, Quantity::HeatTransferCoeff, display::kKcalPerHourM2DegC),
        Real("TubeSidePressureDrop", &C::m_TubeSidePressureDrop, Quantity::Pressure, display::kBar),
        Real("ShellSidePressureDrop", &C::m_ShellSidePressureDrop, Quantity::Pressure, display::kBar),
        Real("ExchangedDuty", &C::m_ExchangedDuty, Quantity::Power, display::kKcalPerHour).Transient().Result(),
        Real("RequiredArea", &C::m_RequiredArea, Quantity::Area).Transient().Result(),
    });
    return table;
}

TAL_IMPLEMENT_CLASS(CTalHeatExchanging, CTalOperation)

void CTalHeatExchanging::Serialize(CArchive& ar) {
    CTalOperation::Serialize(ar);
    SerializeOwnMembers(ar, Members());
}

void CTalHeatExchanging::InitSimModelParams() {
    CTalOperation::InitSimModelParams();
    m_ProcessTimeMode = 1;
    m_ProcessTime = 14400.0;
    m_ProcessTimePQ.SetUnits(3);
    m_SetupTime = 0.0;
    m_SetupTimePQ.SetUnits(2);
    m_PerformanceSpec = kMinTempApproach;
    m_MinTempApproach = 5.0;
    m_HotStreamTempDecrease = 20.0;
    m_ColdStreamTempIncrease = 20.0;
    m_HotStreamExitTemp = 333.15;
    m_ColdStreamExitTemp = 293.15;
    m_FlowType = kCounterCurrent;
    m_FlowCorrectionFactor = 1.0;
    m_HeatTransferCoeff = 1500.0;
    m_TubeSidePressureDrop = 0.0;
    m_ShellSidePressureDrop = 0.0;
    m_ExchangedDuty = 0.0;
    m_RequiredArea = 0.0;
}

void CTalHeatExchanging::InitCostParams() { InitLabor(0.1, 0.05, 0x1200, 0x1200); }

CTalHeatExchanger* CTalHeatExchanging::EquipmentT() const { return dynamic_cast<CTalHeatExchanger*>(Equipment()); }

// The labels of the two temperature changes are those the users know, though they read the
// other way round.
int CTalHeatExchanging::IsSimDataComplete(int group, CTalModelPP* page, bool flag, int askUser) {
    return WithInternalUnits(*this, [&] {
        if (group == 0 || group == 2) {
            switch (m_PerformanceSpec) {
                case kMinTempApproach:
                    if (m_MinTempApproach < 1e-15) return ReportRange(page, 0x601, "Min. Temp. Approach", 0x640);
                    break;
                case kHotStreamTempDecrease:
                    if (m_HotStreamTempDecrease < 1e-15) return ReportRange(page, 0x601, "Hot Stream Temp. Increase", 0x640);
                    break;
                case kColdStreamTempIncrease:
                    if (m_ColdStreamTempIncrease < 1e-15) return ReportRange(page, 0x601, "Cold Stream Temp. Decrease", 0x640);
                    break;
                case kHotStreamExitTemp:
                    if (m_HotStreamExitTemp < 1e-15) return ReportRange(page, 0x601, "Hot Stream Outlet Temp.", 0x640);
                    break;
                case kColdStreamExitTemp:
                    if (m_ColdStreamExitTemp < 1e-15) return ReportRange(page, 0x601, "Cold Stream Outlet Temp.", 0x640);
                    break;
                default: break;
            }
            if (!(m_HeatTransferCoeff >= 1e-15)) return ReportRange(page, 0x601, "Overall Heat Transfer Coefficient", 0x640);
            if (!(m_FlowCorrectionFactor >= 1e-15 && m_FlowCorrectionFactor <= 1.0)) {
                return ReportRange(page, 0x601, "Flow Correction Factor", 0x645);
            }
            if (!(m_TubeSidePressureDrop >= -1e-15)) return ReportRange(page, 0x601, "Tube (Main) Stream Pressure Drop", 0x641);
            if (!(m_ShellSidePressureDrop >= -1e-15)) return ReportRange(page, 0x601, "Shell (Side) Stream Pressure Drop", 0x641);
        }
        return CTalOperation::IsSimDataComplete(group, page, flag, askUser);
    });
}

int CTalHeatExchanging::Solve(CTalStateStream*, CTalStateStream* after, int skipSizing) {
    int ok = 1;
    if (after) after->Zero(false, true);
    const CTalStream* in0 = InStream(0);
    const CTalStream* in1 = InStream(1);
    // Without a connected outlet the side is balanced aside, so that the other still is.
    std::unique_ptr<CTalStream> aside0, aside1;
    CTalStream* out0 = OutStream(0);
    CTalStream* out1 = OutStream(1);
    const ComponentList* comps = after ? after->Comps() : Comps();
    if (!out0) out0 = (aside0 = std::make_unique<CTalStream>(comps, std::string())).get();
    if (!out1) out1 = (aside1 = std::make_unique<CTalStream>(comps, std::string())).get();
    if (in1) in1->CopyDataInto(*out0, 1);
    if (in0) in0->CopyDataInto(*out1, 1);
    m_ExchangedDuty = 0.0;
    m_RequiredArea = 0.0;
    if (!in0 || !in1 || in1->MassFlow(kPerSecond, false) < 1e-15 || in0->MassFlow(kPerSecond, false) < 1e-15) {
        return NormalSimEnding(ok);
    }
    if (m_PerformanceSpec == kMinTempApproach && std::abs(in1->Temp() - in0->Temp()) < m_MinTempApproach) {
        return AbnormalSimEnding(
            "The inlet stream temperature difference is less than \nthe Minimum Temperature Approach. Heat exchanging will be skipped.",
            0, 1);
    }
    Exchange x = CalcExchange(*out0, *out1);
    if (!x.ok) {
        SetSimMsg(x.message, 0);
        ok = 0;
    }
    CTalHeatExchanger* e = EquipmentT();
    if (e && !IsDesignMode()) {
        const double maxArea = e->m_Area * e->NumberOfUnits();
        if (maxArea < x.area) {
            SetSimMsg("The current performance specification cannot be\naccomplished with the specified Heat Exchanger Area.\n"
                      "A new performance value will be calculated.",
                      0);
            ok = 0;
            FindApproachForArea(*out0, *out1, maxArea);
            x.area = m_RequiredArea;
        }
    }
    if (e && IsDesignMode() && !skipSizing) {
        unsigned message = 0;
        if (!e->SizeForRequirement(x.area, message)) {
            SetSimMsg(message, 0);
            ok = 0;
        }
    }
    m_CapacityUtilF = !e || e->m_Area <= 1e-15 ? 1.0 : std::min(e->NumberOfUnits() * x.area / e->m_Area, 1.0);
    out0->SetPress(std::max(kMinOutletPressure, in1->Press() - m_TubeSidePressureDrop));
    out1->SetPress(std::max(kMinOutletPressure, in0->Press() - m_ShellSidePressureDrop));
    return NormalSimEnding(ok);
}

void CTalHeatExchanging::FindApproachForArea(CTalStream& out0, CTalStream& out1, double maxArea) {
    const int spec = m_PerformanceSpec;
    m_PerformanceSpec = kMinTempApproach;
    double lo = 1e-15;
    double hi = std::abs(InStream(1)->Temp() - InStream(0)->Temp());
    m_MinTempApproach = (lo + hi) / 2.0;
    double area = CalcExchange(out0, out1).area;
    for (int round = 0; round < kMaxBisectionRounds && std::abs(area - maxArea) > kAreaTolerance; ++round) {
        // A larger approach needs less area.
        if (area > maxArea) {
            lo = m_MinTempApproach;
        } else {
            hi = m_MinTempApproach;
        }
        m_MinTempApproach = (lo + hi) / 2.0;
        area = CalcExchange(out0, out1).area;
    }
    m_PerformanceSpec = spec;
}

CTalHeatExchanging::Exchange CTalHeatExchanging::CalcExchange(CTalStream& out0, CTalStream& out1) {
    Exchange x;
    const CTalStream* in0 = InStream(0);
    const CTalStream* in1 = InStream(1);
    const bool tubeIsHot = in1->Temp() > in0->Temp();
    Sides s{tubeIsHot ? in1 : in0, tubeIsHot ? in0 : in1, tubeIsHot ? &out0 : &out1, tubeIsHot ? &out1 : &out0, 0, 0, 0, 0};
    s.Thi = s.hotIn->Temp();
    s.Tci = s.coldIn->Temp();
    s.Ch = s.hotIn->MassFlow(kPerSecond, false) * s.hotIn->Cp();
    s.Cc = s.coldIn->MassFlow(kPerSecond, false) * s.coldIn->Cp();
    double Tho = s.Thi, Tco = s.Tci;

    switch (m_PerformanceSpec) {
        case kHotStreamTempDecrease:
            Tho = s.Thi - m_HotStreamTempDecrease;
            Tco = s.Tci + s.Ch * m_HotStreamTempDecrease / s.Cc;
            break;
        case kColdStreamTempIncrease:
            Tco = s.Tci + m_ColdStreamTempIncrease;
            Tho = s.Thi - s.Cc * m_ColdStreamTempIncrease / s.Ch;
            break;
        case kHotStreamExitTemp:
            Tho = m_HotStreamExitTemp;
            if (s.Thi <= Tho) {
                return {false, 0.0,
                        "The specified Hot Stream Outlet temperature is higher than its Inlet.\n"
                        "Energy balance and equipment sizing/rating calculations will be skipped."};
            }
            // The decrease stored by the previous pass enters here, not Thi - Tho.
            Tco = s.Tci + s.Ch * m_HotStreamTempDecrease / s.Cc;
            break;
        case kColdStreamExitTemp:
            Tco = m_ColdStreamExitTemp;
            m_ColdStreamTempIncrease = Tco - s.Tci;
            if (Tco <= s.Tci) {
                return {false, 0.0,
                        "The specified Cold Stream Outlet temperature is lower than its Inlet.\n"
                        "Energy balance and equipment sizing/rating calculations will be skipped."};
            }
            Tho = s.Thi - s.Cc * m_ColdStreamTempIncrease / s.Ch;
            break;
        default: break;
    }
    if (m_PerformanceSpec != kMinTempApproach) {
        const bool crosses = IsCounterCurrent() ? (Tho < s.Tci || Tco > s.Thi) : Tho <= Tco;
        if (crosses) {
            x.ok = false;
            x.message = kMsgCrossover;
            m_PerformanceSpec = kMinTempApproach;
            m_MinTempApproach = kCrossoverApproach;
        }
    }
    if (m_PerformanceSpec == kMinTempApproach) {
        if (!IsCounterCurrent()) {
            Tho = s.Thi - ((s.Thi - s.Tci) - m_MinTempApproach) / (s.Ch / s.Cc + 1.0);
            Tco = s.Tci + (s.Thi - Tho) * s.Ch / s.Cc;
        } else if (s.Ch <= s.Cc) {
            Tho = s.Tci + m_MinTempApproach;
            Tco = s.Tci + (s.Thi - Tho) * s.Ch / s.Cc;
        } else {
            Tco = s.Thi - m_MinTempApproach;
            Tho = s.Thi - s.Cc * (Tco - s.Tci) / s.Ch;
        }
    }

    m_HotStreamTempDecrease = s.Thi - Tho;
    m_ColdStreamTempIncrease = Tco - s.Tci;
    m_HotStreamExitTemp = Tho;
    m_ColdStreamExitTemp = Tco;
    m_ExchangedDuty = s.Ch * m_HotStreamTempDecrease;
    m_MinTempApproach = IsCounterCurrent() ? std::min(std::abs(s.Thi - Tco), std::abs(Tho - s.Tci)) : Tho - Tco;

    const double dT1 = IsCounterCurrent() ? s.Thi - Tco : s.Thi - s.Tci;
    const double dT2 = IsCounterCurrent() ? Tho - s.Tci : Tho - Tco;
    const double lmtd = LogMeanTempDifference(dT1, dT2);
    if (std::abs(lmtd) < 1e-15) {
        x.ok = false;
        x.message = "The log-mean temperature difference is zero.\nEquipment sizing/rating calculations will be skipped.";
    } else {
        x.area = m_ExchangedDuty / (m_HeatTransferCoeff * m_FlowCorrectionFactor * lmtd);
        if (std::abs(lmtd) < 5.0 && IsDesignMode()) {
            x.ok = false;
            x.message = "The log-mean temperature difference is less than 5°C.\nThe required heat transfer area may be too large.";
        }
    }
    m_RequiredArea = x.area;
    s.hotOut->SetTemp(Tho);
    s.coldOut->SetTemp(Tco);
    return x;
}

int CTalHeatExchanging::WriteIDR_Description(std::FILE* f) {
    CTalOperation::WriteIDR_Description(f);
    std::fprintf(f, "Flow Type         = %-s\n", IsCounterCurrent() ? "Counter Current" : "Co-Current");
    const auto spec = [&](const char* line, double value) {
        std::fprintf(f, "%s", line);
        std::fprintf(f, "Value             = %-15.2lf\n", value);
    };
    switch (m_PerformanceSpec) {
        case kMinTempApproach: spec("User specified Minimum Temperature Approach\n", m_MinTempApproach); break;
        case kHotStreamTempDecrease: spec("User specified Hot Stream Temperature Decrease\n", m_HotStreamTempDecrease); break;
        case kColdStreamTempIncrease: spec("User specified Cold Stream Temperature Increase\n", m_ColdStreamTempIncrease); break;
        case kHotStreamExitTemp: spec("User specified Hot Stream Exit Temperature\n", m_HotStreamExitTemp); break;
        case kColdStreamExitTemp: spec("User specified Cold Stream Exit Temperature\n", m_ColdStreamExitTemp); break;
        default: std::fprintf(f, "Error - Unknown specifaction option.\n"); break;
    }
    std::fprintf(f, "Heat Transf Coef  = %-15.2lf\n", m_HeatTransferCoeff);
    std::fprintf(f, "Correction Factor = %-15.2lf\n", m_FlowCorrectionFactor);
    std::fprintf(f, "Tube side DP      = %-15.2lf\n", m_TubeSidePressureDrop);
    std::fprintf(f, "Shell side DP     = %-15.2lf\n", m_ShellSidePressureDrop);
    return 1;
}

void CTalHeatExchanging::GetCustomDescription(std::string& text) const {
    text = IsCounterCurrent() ? "Exchange heat under counter-current flow" : "Exchange heat under co-current flow";
    if (IsOpDescriptionShort()) return;
    const bool internal = IsInInternalUnits() != 0;
    const auto degC = [&](double T) { return internal ? display::kDegC.ToDisplay(T) : T; };
    char buffer[128];
    switch (m_PerformanceSpec) {
        case kMinTempApproach:
            std::snprintf(buffer, sizeof buffer, " to a min. approach temperature of %.2lf °C", m_MinTempApproach);
            break;
        case kHotStreamTempDecrease:
            std::snprintf(buffer, sizeof buffer, " to a hot stream temperature decrease of %.2lf °C", m_HotStreamTempDecrease);
            break;
        case kColdStreamTempIncrease:
            std::snprintf(buffer, sizeof buffer, " to a cold stream temperature increase of %.2lf °C", m_ColdStreamTempIncrease);
            break;
        case kHotStreamExitTemp:
            std::snprintf(buffer, sizeof buffer, " to a hot stream exit temperature of %.2lf °C", degC(m_HotStreamExitTemp));
            break;
        case kColdStreamExitTemp:
            std::snprintf(buffer, sizeof buffer, " to a cold stream exit temperature of %.2lf °C", degC(m_ColdStreamExitTemp));
            break;
        default: buffer[0] = '\0'; break;
    }
    text += buffer;
}

}  // namespace unitops
