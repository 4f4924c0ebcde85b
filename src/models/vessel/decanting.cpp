#include "unitops/models/vessel/decanting.hpp"

#include <algorithm>
#include <cmath>
#include <memory>

#include "unitops/contract/archive.hpp"
#include "unitops/contract/procedure.hpp"
#include "unitops/models/vessel/tanks.hpp"

namespace unitops {

namespace {

constexpr unsigned kMsgFeedWithoutFlow = 85;
constexpr unsigned kMsgLightHeavier = 14160;  // Error 100-07001
constexpr unsigned kMsgEqualDensities = 14161;  // Error 100-07002
constexpr unsigned kMsgNoHeavyFlow = 14162;  // Error 100-07003

std::string Format(const char* format, auto... args) {
    char buffer[512];
    std::snprintf(buffer, sizeof buffer, format, args...);
    return buffer;
}

}  // namespace

const MemberTable& CTalDecanting::Members() {
    using namespace members;
    using C = CTalDecanting;
    static const MemberTable table(CTalVesselOp::Members(), {
        RealArray("LightPhaseShare", &C::m_LightPhaseShare, Quantity::Fraction),
        Real("DropletDiameter", &C::m_DropletDiameter, Quantity::Length, display::kMicron),
        Real("InterfaceWidthToDiameter", &C::m_InterfaceWidthToDiameter, Quantity::Dimensionless),
        Real("LightPhaseViscosity", &C::m_LightPhaseViscosity, Quantity::Viscosity, display::kCentipoise),
        Real("HeavyPhaseViscosity", &C::m_HeavyPhaseViscosity, Quantity::Viscosity, display::kCentipoise),
        Real("DispersionIndex", &C::m_DispersionIndex, Quantity::Dimensionless).Transient().Result(),
        Real("SettlingVelocity", &C::m_SettlingVelocity, Quantity::Velocity).Transient().Result(),
        Real("RequiredVolume", &C::m_RequiredVolume, Quantity::Volume).Transient().Result(),
        Real("DecanterDiameter", &C::m_DecanterDiameter, Quantity::Length).Transient().Result(),
        Real("DecanterLength", &C::m_DecanterLength, Quantity::Length).Transient().Result(),
    });
    return table;
}
TAL_IMPLEMENT_CLASS(CTalDecanting, CTalVesselOp)

void CTalDecanting::Serialize(CArchive& ar) {
    CTalVesselOp::Serialize(ar);
    SerializeOwnMembers(ar, Members());
}

void CTalDecanting::UpdateForNewCompDef(const ComponentList& oldComps) {
    CTalVesselOp::UpdateForNewCompDef(oldComps);
    ReInitCompVar(oldComps, m_LightPhaseShare, 0.0);
}

void CTalDecanting::UpdateCompInfoFromOldFlowsheet(const ComponentList& oldComps, const ComponentList& newComps) {
    CTalVesselOp::UpdateCompInfoFromOldFlowsheet(oldComps, newComps);
    ReInitCompVarFromOldFlowsheet(oldComps, newComps, m_LightPhaseShare, 0.0);
}

void CTalDecanting::InitSimModelParams() {
    CTalVesselOp::InitSimModelParams();
    m_IsContinuousModel = 1;
    InitCompVar(m_LightPhaseShare, 0.0);
    m_DropletDiameter = 0.00015;
    m_InterfaceWidthToDiameter = 0.8;
    m_LightPhaseViscosity = 0.002;
    m_HeavyPhaseViscosity = 0.001;
    m_ResidenceTime = 0.0;
}

void CTalDecanting::InitCostParams() { InitLabor(0.02, 0.01, 0x1200, 0x1200); }

CTalDecantingTank* CTalDecanting::TankT() const { return dynamic_cast<CTalDecantingTank*>(Equipment()); }

int CTalDecanting::IsSimDataComplete(int group, CTalModelPP* page, bool flag, int askUser) {
    return WithInternalUnits(*this, [&] {
        if (InGroup(group, 2)) {
            const bool design = IsDesignMode();
            if (design && !(m_InterfaceWidthToDiameter > 0.0)) return ReportRange(page, 0x601, "Interface Width/Diameter", 0x640);
            if (design && !(m_LightPhaseViscosity > 0.0)) return ReportRange(page, 0x601, "Viscosity of Light Phase", 0x640);
            if (design && !(m_HeavyPhaseViscosity > 0.0)) return ReportRange(page, 0x601, "Viscosity of Heavy Phase", 0x640);
            if (design && !(m_DropletDiameter > 0.0)) return ReportRange(page, 0x601, "Droplet Diameter", 0x640);
            if (!IsCompDataInRange(m_LightPhaseShare, 0.0, 1.0)) {
                return ReportRange(page, 0x601, "component percentages\nin the liquid phase", 0x648);
            }
        }
        return CTalVesselOp::IsSimDataComplete(group, page, flag, askUser);
    });
}

double CTalDecanting::DispersionIndex(double Ql, double Qh, double rhoL, double rhoH) const {
    return (Ql / Qh) * std::pow((rhoL / rhoH) * (m_HeavyPhaseViscosity / m_LightPhaseViscosity), 0.3);
}

double CTalDecanting::SettlingVelocity(double rhoL, double rhoH, double mu) const {
    return (rhoH - rhoL) * m_DropletDiameter * m_DropletDiameter * kGravity / 18.0 / mu;
}

int CTalDecanting::Solve(CTalStateStream* before, CTalStateStream* after, int skipSizing) {
    after->Zero(false, true);
    CTalStream* light = OutStream(0);
    CTalStream* heavy = OutStream(1);
    if (!light || !heavy || !InStream(0)) {
        return AbnormalSimEnding("No stream is attached to the feed or to a phase outlet.\nDecanting calculations will be skipped.");
    }
    std::unique_ptr<CTalStateStream> feed = before->CreateCopy(before->Owner(), 1);
    GetFeedFlow(feed.get());
    if (feed->MassFlow() < 1e-15) {
        feed->CopyDataInto(*light, 1);
        heavy->Zero(false, true);
        return AbnormalSimEnding(kMsgFeedWithoutFlow, 0, 1);
    }
    if (m_LightPhaseShare.size() != Count()) InitCompVar(m_LightPhaseShare, 0.0);
    feed->CompSplit(*light, *heavy, m_LightPhaseShare.data());
    if (!m_IsPressureSetByUser) m_OperPressure = feed->Press();
    light->SetPress(m_OperPressure);
    heavy->SetPress(m_OperPressure);
    // The flows stand from here on; a failed check skips the sizing only. An empty heavy phase
    // has no density to compare (it reads 0), so its flow is checked first.
    const double Ql = light->NonGaseousVolFlow() / UtilFactor();
    const double Qh = heavy->NonGaseousVolFlow() / UtilFactor();
    if (Qh < 1e-15) return AbnormalSimEnding(kMsgNoHeavyFlow, 0, 1);
    const double rhoL = light->Density();
    const double rhoH = heavy->Density();
    if (rhoL > rhoH) return AbnormalSimEnding(kMsgLightHeavier, 0, 1);
    if (std::abs(rhoL - rhoH) < 1e-15) return AbnormalSimEnding(kMsgEqualDensities, 0, 1);
    if (!(m_LightPhaseViscosity > 0.0) || !(m_HeavyPhaseViscosity > 0.0) || !(m_DropletDiameter > 0.0) ||
        !(m_InterfaceWidthToDiameter > 0.0)) {
        // Validation asks for these in design only; a rating run without them cannot size.
        return AbnormalSimEnding("The droplet diameter, the viscosities and the interface width must be positive.\n"
                                 "Sizing calculations will be skipped.");
    }
    m_DispersionIndex = DispersionIndex(Ql, Qh, rhoL, rhoH);
    const bool lightContinuous = m_DispersionIndex >= 1.0;
    const double mu = lightContinuous ? m_LightPhaseViscosity : m_HeavyPhaseViscosity;
    const double Q = lightContinuous ? Ql : Qh;
    const bool ok = SizeForSettling(Q, mu, rhoL, rhoH, skipSizing);
    const CTalDecantingTank* tank = TankT();
    const double installed = tank ? tank->NumberOfUnits() * tank->Volume() : 0.0;
    const double Q0 = feed->NonGaseousVolFlow() / UtilFactor();
    m_ResidenceTime = Q0 > 1e-15 ? installed / Q0 : 0.0;
    m_CapacityUtilF = tank && tank->Volume() > 1e-15 ? std::min(m_RequiredVolume / installed, 1.0) : 1.0;
    return NormalSimEnding(ok ? 1 : 0);
}

bool CTalDecanting::SizeForSettling(double Q, double mu, double rhoL, double rhoH, int skipSizing) {
    m_SettlingVelocity = SettlingVelocity(rhoL, rhoH, mu);
    CTalDecantingTank* tank = TankT();
    const double r = tank ? tank->LengthToDiameter() : 5.0;
    m_DecanterDiameter = std::sqrt(Q / m_SettlingVelocity / r / m_InterfaceWidthToDiameter);
    m_DecanterLength = m_DecanterDiameter * r;
    m_RequiredVolume = kPi * m_DecanterDiameter * m_DecanterDiameter * m_DecanterLength / 4.0;
    if (!tank) return true;
    bool ok = true;
    if (!IsDesignMode() && tank->NumberOfUnits() * tank->Volume() < m_RequiredVolume) {
        SetSimMsg("The specified vessel volume cannot accomodate the required phase split.\n"
                  "Please increase the size of the vessel and/or the number \noperate in parallel.");
        ok = false;
    }
    if (IsDesignMode() && !skipSizing) {
        unsigned message = 0;
        if (!tank->CalcSize(m_RequiredVolume, 1.0, message)) {
            SetSimMsg(message, 0);
            ok = false;
        }
    }
    tank->CalcDimensions();
    return ok;
}

int CTalDecanting::WriteIDR_Description(std::FILE* f) {
    CTalVesselOp::WriteIDR_Description(f);
    const bool internal = IsInInternalUnits() != 0;
    std::fprintf(f, "Droplet Diameter = %-15.2lf\n", internal ? m_DropletDiameter * 1e6 : m_DropletDiameter);
    std::fprintf(f, "Interf Wd/Diam   = %-15.2lf\n", m_InterfaceWidthToDiameter);
    std::fprintf(f, "Light Phase Visc = %-15.3lf\n", internal ? m_LightPhaseViscosity * 1000.0 : m_LightPhaseViscosity);
    std::fprintf(f, "Heavy Phase Visc = %-15.3lf\n", internal ? m_HeavyPhaseViscosity * 1000.0 : m_HeavyPhaseViscosity);
    std::fprintf(f, "Component Name        Prct In Light Phase  \n");
    for (std::size_t i = 0; i < m_LightPhaseShare.size() && i < Count(); ++i) {
        const CTalPureComponent* pc = GetPureComponent(static_cast<int>(i));
        std::fprintf(f, " %-20.20s %15.2lf\n", pc ? pc->Name().c_str() : "", m_LightPhaseShare[i] * 100.0);
    }
    return 1;
}

void CTalDecanting::GetCustomDescription(std::string& text) const {
    text = "Decant two immiscible liquid phases";
    const bool internal = IsInInternalUnits() != 0;
    if (IsBatchMode()) {
        const DisplayUnit unit = ProcessTimeUnits().Display();
        text += Format(", for %.2lf %s", internal ? unit.ToDisplay(ProcessTime()) : ProcessTime(), unit.name);
    }
    if (!IsOpDescriptionShort()) text += Format(", the pressure is %.3lf bar", internal ? m_OperPressure / 1e5 : m_OperPressure);
}

}  // namespace unitops
