#include "unitops/models/separation/centrifugation.hpp"

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>

#include "unitops/contract/archive.hpp"
#include "unitops/contract/flowsheet.hpp"
#include "unitops/contract/procedure.hpp"
#include "unitops/models/separation/liquid_heat.hpp"

namespace unitops {

namespace {

constexpr double kG = 9.81;
constexpr unsigned kHostNoFeedFlow = 85;
constexpr unsigned kHostGlobuleNotLighter = 22865;
constexpr unsigned kHostParticleNotHeavier = 22866;
constexpr unsigned kHostThroughputAboveRated = 92;
//! Files after this version keep whether the exit temperature is the user's.
const double kExitTempFlagSince = std::nextafter(4.501, 5.0);

const char* const kThroughputAboveRated =
    "The calculated operating throughput is greater than the specified\n"
    "(rated) throughput. Please do one or more of the following: \n"
    "1) Increase the process time.\n"
    "2) Increase the number of units that operate in parallel.\n"
    "3) Use a larger unit that has a higher rated throughput.";
const char* const kSigmaAboveGiven =
    "The required Sigma Factor of the centrifuge is greater than the\n"
    "specified value. Please use a larger centrifuge  or a higher\n"
    "number of equipment units operating in parallel.";
const char* const kSigmaAboveGivenTimeSet =
    "The required Sigma Factor of the centrifuge is greater than the\n"
    "specified value. Please do one or more of the following:\n"
    "1) Increase the process time.\n"
    "2) Increase the number of units that operate in parallel.\n"
    "3) Use a larger unit that has a higher Sigma Factor.";
const char* const kSigmaAboveGivenTimeCalculated =
    "The required Sigma Factor of the centrifuge is greater than the\n"
    "specified value. Please do one or more of the following:\n"
    "1) Reduce the Operating Throughput.\n"
    "2) Increase the number of units that operate in parallel.\n"
    "3) Use a larger unit that has a higher Sigma Factor.";
const char* const kSolidsOnly =
    "The solids stream of the centrifuge presently consists of solids only;\n"
    "the amount of solvent is zero. You may want to reduce the specified \n"
    "value of 'Solids Concentration in Solids Stream'.\n";
const char* const kOilOnly =
    "The oil stream of the centrifuge presently consists of oil only;\n"
    "the amount of solvent is zero. You may want to reduce the specified \n"
    "value of 'Oil Concentration in Oil Stream'.\n";
const char* const kAttachOil =
    "Please attach a stream to the OIL (top) outlet port\n"
    "and redo the M&E balances. Otherwise the material\n"
    "balances around the centrifuge will not close.";
const char* const kAttachSolids =
    "Please attach a stream to the SOLIDS (bottom) outlet\n"
    "port and redo the M&E balances. Otherwise the material\n"
    "balances around the centrifuge will not close.";

}  // namespace

// ---------------------------------------------------------------- settling velocities

double GlobuleRiseVelocity(double d, double rho, double liquidDensity, double liquidViscosity) {
    return d * d * (liquidDensity - rho) * kG / (18.0 * liquidViscosity);
}

double SettlingRegimeCriterion(double d, double rho, double liquidDensity, double liquidViscosity) {
    return d * std::cbrt((rho - liquidDensity) * liquidDensity * kG / (liquidViscosity * liquidViscosity));
}

double ParticleSettlingVelocity(double d, double rho, double liquidDensity, double liquidViscosity) {
    const double K = SettlingRegimeCriterion(d, rho, liquidDensity, liquidViscosity);
    double b = 0.44, n = 0.0;  // Newton's regime
    if (K <= 3.3) {
        b = 24.0;
        n = 1.0;
    } else if (K <= 43.6) {
        b = 18.5;
        n = 0.6;
    }
    const double base = 4.0 * kG * std::pow(d, 1.0 + n) * (rho - liquidDensity) /
                        (3.0 * b * std::pow(liquidViscosity, n) * std::pow(liquidDensity, 1.0 - n));
    return std::pow(base, 1.0 / (2.0 - n));
}

// ---------------------------------------------------------------- members

const MemberTable& CTalCentrifuge::Members() {
    using namespace members;
    using C = CTalCentrifuge;
    static const MemberTable table(CTalEquipment::Members(), {
        Real("RatedThroughput", &C::m_RatedThroughput, Quantity::VolumeFlow, display::kLitrePerMin),
        Real("MaxRatedThroughput", &C::m_MaxRatedThroughput, Quantity::VolumeFlow, display::kLitrePerMin),
        Real("MaxSigmaFactor", &C::m_MaxSigmaFactor, Quantity::Area),
        Real("SigmaFactor", &C::m_SigmaFactor, Quantity::Area),
        Word("SizingBasedOnThroughput", &C::m_SizingBasedOnThroughput).Choices(0, 1),
        Word("IsAseptic", &C::m_IsAseptic).Choices(0, 1),
    });
    return table;
}

// The two removal arrays are written interleaved per component by Serialize itself.
const MemberTable& CTalCentrifugation::Members() {
    using namespace members;
    using C = CTalCentrifugation;
    static const MemberTable table(CTalOperation::Members(), {
        RealArray("SolidsRemoval", &C::m_SolidsRemoval, Quantity::Fraction, display::kPercent).Transient(),
        RealArray("OilRemoval", &C::m_OilRemoval, Quantity::Fraction, display::kPercent).Transient(),
        Word("IsRemovalSetByUser", &C::m_IsRemovalSetByUser).Choices(0, 1),
        Word("DesignBasis", &C::m_DesignBasis).Choices(0, 2),
        Real("OilConcInOilStream", &C::m_OilConcInOilStream, Quantity::Concentration, display::kGramPerLitre),
        Real("GlobuleDiameter", &C::m_GlobuleDiameter, Quantity::Length, display::kMicron),
        Real("GlobuleDensity", &C::m_GlobuleDensity, Quantity::Density),
        Real("SolidsConcInSolidsStream", &C::m_SolidsConcInSolidsStream, Quantity::Concentration, display::kGramPerLitre),
        Real("ParticleDensity", &C::m_ParticleDensity, Quantity::Density),
        Real("ParticleDiameter", &C::m_ParticleDiameter, Quantity::Length, display::kMicron),
        Real("LiquidDensity", &C::m_LiquidDensity, Quantity::Density),
        Real("LiquidViscosity", &C::m_LiquidViscosity, Quantity::Viscosity, display::kCentipoise),
        Real("VolThroughput", &C::m_VolThroughput, Quantity::VolumeFlow, display::kLitrePerMin),
        Real("SedimentationEfficiency", &C::m_SedimentationEfficiency, Quantity::Fraction, display::kPercent),
        Real("ExitTemp", &C::m_ExitTemp, Quantity::Temperature, display::kDegC),
        Word("IsExitTempSetByUser", &C::m_IsExitTempSetByUser).Choices(0, 1).Since(kExitTempFlagSince, 1),
    });
    return table;
}

TAL_IMPLEMENT_CLASS(CTalCentrifuge, CTalEquipment)
TAL_IMPLEMENT_CLASS_NO_MEMBERS(CTalDecanterCentrifuge, CTalCentrifuge)
TAL_IMPLEMENT_CLASS(CTalCentrifugation, CTalOperation)

// ---------------------------------------------------------------- CTalCentrifuge

void CTalCentrifuge::Serialize(CArchive& ar) {
    CTalEquipment::Serialize(ar);
    SerializeOwnMembers(ar, Members());
}

int CTalCentrifuge::CalcSize(double throughput, double sigma, unsigned& msg) {
    const bool onThroughput = m_SizingBasedOnThroughput != 0;
    if (!onThroughput) m_RatedThroughput = throughput;
    double& size = onThroughput ? m_RatedThroughput : m_SigmaFactor;
    const double need = onThroughput ? throughput : sigma;
    const double maximum = onThroughput ? m_MaxRatedThroughput : m_MaxSigmaFactor;
    if (!m_IsSizedInThisRun) {
        size = need;
        m_IsSizedInThisRun = 1;
    } else {
        size = std::max(m_NumberOfUnits * size, need);  // the larger need of the procedure's operations
    }
    m_NumberOfUnits = 1;
    if (maximum < size) {
        if (!UnitsNeeded(size, maximum, m_NumberOfUnits)) {
            msg = kMsgCannotSize;
            return 0;
        }
        size /= m_NumberOfUnits;
    }
    return 1;
}

int CTalCentrifuge::IsSimDataComplete(int group, CTalEquipmentPP* page, int flag) {
    return WithInternalUnits(*this, [&] {
        if (group == 0 || group == 1) {
            const bool design = IsDesignMode();
            if (m_SizingBasedOnThroughput) {
                if (design && m_MaxRatedThroughput < 1e-15) return ReportRange(page, 0x600, "Maximum Rated Throughput", 0x640);
                if (!design && m_RatedThroughput < 1e-15) return ReportRange(page, 0x600, "Rated Throughput", 0x640);
            } else {
                if (design && m_MaxSigmaFactor < 1e-15) return ReportRange(page, 0x600, "Maximum Sigma Factor", 0x640);
                if (!design && m_SigmaFactor < 1e-15) return ReportRange(page, 0x600, "Sigma Factor", 0x640);
            }
        }
        return CTalEquipment::IsSimDataComplete(group, page, flag);
    });
}

void CTalCentrifuge::WriteEER_Description(std::FILE* f, int) {
    if (m_SizingBasedOnThroughput) {
        std::fprintf(f, "%17s Rated Throughput = %-.2lf L/min\n\n", "", m_RatedThroughput);
    } else {
        std::fprintf(f, "%17s Sigma Factor = %-.2lf m^2\n\n", "", m_SigmaFactor);
    }
}

void CTalCentrifuge::WriteEER_Description_XLS(std::FILE* f, int) {
    if (m_SizingBasedOnThroughput) {
        std::fprintf(f, "\t\t Rated Throughput = %-.2lf L/min\n\n", m_RatedThroughput);
    } else {
        std::fprintf(f, "\t\t Sigma Factor = %-.2lf m^2\n\n", m_SigmaFactor);
    }
}

// Reports are written in display units: throughputs in L/min here.
void CTalCentrifuge::WriteIDR_Description(std::FILE* f, int flag) {
    CTalEquipment::WriteIDR_Description(f, flag);
    if (!IsDesignMode()) {
        if (m_SizingBasedOnThroughput) {
            std::fprintf(f, "Rated Throughput = %-15.2lf L/min\n", m_RatedThroughput);
        } else {
            std::fprintf(f, "Sigma Factor = %-15.2lf m2\n", m_SigmaFactor);
        }
        std::fprintf(f, "Number of Units  = %-15d\n", m_NumberOfUnits);
    } else if (m_SizingBasedOnThroughput) {
        std::fprintf(f, "Max Rated Throughput = %-15.2lf L/min\n", m_MaxRatedThroughput);
    } else {
        std::fprintf(f, "Max Sigma Factor = %-15.2lf m2\n", m_MaxSigmaFactor);
    }
    std::fprintf(f, "The unit is %s aseptic.\n", m_IsAseptic ? "" : "not");
}

bool CTalCentrifuge::SetNumericalValue(int id, double value, int flag) {
    if (id == kVarRatedThroughput) {
        m_RatedThroughput = value;
    } else if (id == kVarSigmaFactor) {
        m_SigmaFactor = value;
    } else {
        return CTalEquipment::SetNumericalValue(id, value, flag);
    }
    return true;
}

bool CTalCentrifuge::SetBooleanValue(int id, bool value, int flag) {
    if (id == kVarSizingBasedOnThroughput) {
        m_SizingBasedOnThroughput = value ? 1 : 0;
    } else if (id == kVarIsAseptic) {
        m_IsAseptic = value ? 1 : 0;
    } else {
        return CTalEquipment::SetBooleanValue(id, value, flag);
    }
    return true;
}

int CTalCentrifuge::IsDBEquipPropsValid(CTalSpecsPP* page, int flag) {
    if (m_RatedThroughput < 1e-15) return ReportRange(page, 0x628, "Rated Throughput", 0x640);
    if (m_SigmaFactor < 1e-15) return ReportRange(page, 0x628, "Sigma Factor", 0x640);
    return CTalEquipment::IsDBEquipPropsValid(page, flag);
}

int CTalCentrifuge::HasIdenticalRatingData(const CTalEquipment* other, int flag) const {
    const auto* o = dynamic_cast<const CTalCentrifuge*>(other);
    if (!o || m_RatedThroughput != o->m_RatedThroughput || m_SigmaFactor != o->m_SigmaFactor ||
        m_SizingBasedOnThroughput != o->m_SizingBasedOnThroughput || m_IsAseptic != o->m_IsAseptic) {
        return 0;
    }
    return CTalEquipment::HasIdenticalRatingData(other, flag);
}

// ---------------------------------------------------------------- CTalDecanterCentrifuge

void CTalDecanterCentrifuge::InitSizeParams() {
    m_RatedThroughput = 0.0;
    m_MaxRatedThroughput = 2.5;
    m_MaxSigmaFactor = 20000.0;
    m_SigmaFactor = 0.0;
    m_SizingBasedOnThroughput = 1;
    m_IsAseptic = 1;
}

void CTalDecanterCentrifuge::InitCostParams() {
    m_MaterialName = "SS316";
    m_CostFactor2 = 0.5;
    m_CostFactor3 = 0.1;
}

// The rated throughput enters in m3/s, so the floor of 5 holds up to about 138.9 m3/s.
double CTalDecanterCentrifuge::CalcPurchaseCost(CWnd* wnd) {
    if (m_IsCostSetByUser || !m_UseBuiltInCostModel) return CTalEquipment::CalcPurchaseCost(wnd);
    m_CostBaseYear = 1998.0;
    const double x = std::max(m_RatedThroughput / 100.0 * 3.6, 5.0);
    m_PurchaseCost = 100000.0 + 5000.0 * x;
    TraceLaw("100000 + 5000 x, x = rated throughput (m3/s) / 100 x 3.6, at least 5", x, "", m_CostBaseYear);
    if (m_IsAseptic) {
        m_PurchaseCost *= 1.2;
        TraceFactor("aseptic design x 1.2");
    }
    ConsiderMaterialFactor();
    UpdatePurchaseCost();
    return m_PurchaseCost;
}

int CTalDecanterCentrifuge::IsCompatible(const CTalEquipment* other) const {
    return other && dynamic_cast<const CTalDecanterCentrifuge*>(other) ? 1 : 0;
}

// ---------------------------------------------------------------- CTalCentrifugation: data

void CTalCentrifugation::Serialize(CArchive& ar) {
    CTalOperation::Serialize(ar);
    const std::size_t n = Count();
    if (!ar.IsStoring()) {
        m_SolidsRemoval.assign(n, 0.0);
        m_OilRemoval.assign(n, 0.0);
    }
    m_SolidsRemoval.resize(n, 0.0);
    m_OilRemoval.resize(n, 0.0);
    for (std::size_t i = 0; i < n; ++i) {
        if (ar.IsStoring()) {
            ar << m_SolidsRemoval[i] << m_OilRemoval[i];
        } else {
            ar >> m_SolidsRemoval[i] >> m_OilRemoval[i];
        }
    }
    SerializeOwnMembers(ar, Members());
}

bool CTalCentrifugation::IsOutPortUsed(int port, int flag) const {
    if (flag != 0) return false;
    if (port == 1) return true;
    if (port == 0) return m_DesignBasis == kOilRemoval || m_DesignBasis == kSolidsAndOilRemoval;
    if (port == 2) return m_DesignBasis == kSolidsRemoval || m_DesignBasis == kSolidsAndOilRemoval;
    return false;
}

void CTalCentrifugation::InitSimModelParams() {
    CTalOperation::InitSimModelParams();
    InitCompVar(m_SolidsRemoval, 0.0);
    InitCompVar(m_OilRemoval, 0.0);
    m_IsRemovalSetByUser = 1;
    m_DesignBasis = kSolidsRemoval;
    m_OilConcInOilStream = 200.0;
    m_GlobuleDiameter = 2e-5;
    m_GlobuleDensity = 900.0;
    m_SolidsConcInSolidsStream = 150.0;
    m_ParticleDensity = 1030.0;
    m_ParticleDiameter = 1e-6;
    m_LiquidDensity = 1000.0;
    m_LiquidViscosity = 0.0015;
    m_SedimentationEfficiency = 0.3;
    m_VolThroughput = 0.0;
    m_ExitTemp = 298.15;
    m_IsExitTempSetByUser = 0;
    m_ProcessTime = 14400.0;
    m_ProcessTimePQ.SetUnits(3);
    m_ProcessTimeMode = 2;
    m_SetupTimePQ.SetUnits(2);
    m_HxAgentUse = 4;
    m_PowerMode = 3;
    InitHxAgent();
}

void CTalCentrifugation::InitCostParams() { InitLabor(1.0, 0.0, 0x1200, 0x1200); }

void CTalCentrifugation::InitHxAgent() {
    CTalDocEss* doc = Flowsheet();
    SetHxAgent(doc ? doc->GetDefaultCoolingAgent("Chilled Water") : nullptr);
}

void CTalCentrifugation::UpdateForNewCompDef(const ComponentList& oldComps) {
    ReInitCompVar(oldComps, m_SolidsRemoval, 0.0);
    ReInitCompVar(oldComps, m_OilRemoval, 0.0);
    CTalOperation::UpdateForNewCompDef(oldComps);
}

void CTalCentrifugation::UpdateCompInfoFromOldFlowsheet(const ComponentList& oldComps, const ComponentList& newComps) {
    ReInitCompVarFromOldFlowsheet(oldComps, newComps, m_SolidsRemoval, 0.0);
    ReInitCompVarFromOldFlowsheet(oldComps, newComps, m_OilRemoval, 0.0);
    CTalOperation::UpdateCompInfoFromOldFlowsheet(oldComps, newComps);
}

CTalCentrifuge* CTalCentrifugation::EquipmentT() const { return dynamic_cast<CTalCentrifuge*>(Equipment()); }

int CTalCentrifugation::IsSimDataComplete(int group, CTalModelPP* page, bool flag, int askUser) {
    return WithInternalUnits(*this, [&] {
        const bool design = IsDesignMode();
        const bool oilBasis = m_DesignBasis == kOilRemoval || m_DesignBasis == kSolidsAndOilRemoval;
        const bool solidsBasis = m_DesignBasis == kSolidsRemoval || m_DesignBasis == kSolidsAndOilRemoval;
        const bool batchRating = IsBatchMode() && !design;
        const CTalCentrifuge* e = EquipmentT();
        if (InGroup(group, 2)) {
            if (design && m_LiquidDensity < 1e-15) return ReportRange(page, 0x601, "Liquid Density", 0x640);
            if (design && oilBasis && m_GlobuleDiameter < 1e-15) {
                return ReportMessage(page, 0x601, "The design Globule Diameter must be positive.", 0, kStopBox);
            }
            if (design && oilBasis && m_LiquidDensity < m_GlobuleDensity) {
                return ReportMessage(page, 0x601, "The design Globule Density must be lower than the density of water (solvent).", 0, kStopBox);
            }
            if (design && solidsBasis && m_ParticleDiameter < 1e-15) {
                return ReportMessage(page, 0x601, "The design Particle Diameter must be positive.", 0, kStopBox);
            }
            if (design && solidsBasis && m_ParticleDensity < m_LiquidDensity) {
                return ReportMessage(page, 0x601, "The design Particle Density must be higher than the density of water (solvent).", 0, kStopBox);
            }
            if (m_LiquidViscosity < 1e-15) return ReportRange(page, 0x601, "Liquid Viscosity", 0x640);
        }
        // The upper bound of the efficiency is checked in every group.
        if ((InGroup(group, 2) && m_SedimentationEfficiency <= 1e-15) || m_SedimentationEfficiency > 1.0) {
            return ReportRange(page, 0x601, "Sedimentation Efficiency", 0x648);
        }
        if (InGroup(group, 2) && batchRating) {
            if (!IsProcessTimeSetByUser() && m_VolThroughput < 1e-15) return ReportRange(page, 0x601, "Volumetric Throughput", 0x640);
            if (!IsProcessTimeSetByUser() && e && e->m_SizingBasedOnThroughput && e->m_RatedThroughput < m_VolThroughput) {
                return ReportMessage(page, 0x601, "The operating throughput cannot be greater than the equipment's rated throughput.", 0, kStopBox);
            }
            if (IsProcessTimeSetByUser() && m_ProcessTime < 1e-15) return ReportRange(page, 0x601, "Centrifugation Time", 0x640);
        }
        if (InGroup(group, 15)) {
            if (m_IsRemovalSetByUser) {
                if (!IsCompDataInRange(m_OilRemoval, 0.0, 1.0)) {
                    return ReportRange(page, 0x601, "oil components removal percentage of every\ncomponent", 0x648);
                }
                if (!IsCompDataInRange(m_SolidsRemoval, 0.0, 1.0)) {
                    return ReportRange(page, 0x601, "solid components removal percentage of every\ncomponent", 0x648);
                }
                for (std::size_t i = 0; i < Count(); ++i) {
                    if (m_OilRemoval[i] + m_SolidsRemoval[i] > 1.0) {
                        return ReportRange(page, 0x601, "oil removal + solid removal percentage\nfor each component", 0x648);
                    }
                }
            }
            if (m_OilConcInOilStream < 1e-15) return ReportRange(page, 0x60E, "oil concentration in skimmed oil stream", 0x640);
            if (m_SolidsConcInSolidsStream < 1e-15) return ReportRange(page, 0x60E, "particle concentration in solids stream", 0x640);
        }
        if (InGroup(group, 20) && m_IsExitTempSetByUser &&
            !CheckExitTempAgent(*this, m_ExitTemp, page, 0x613, 0x613, "The Operating Temperature is Too Low!")) {
            return 0;
        }
        return CTalOperation::IsSimDataComplete(group, page, flag, askUser);
    });
}

// ---------------------------------------------------------------- CTalCentrifugation: solution

// The velocity of the limiting globule or particle by the design basis; 0 with `failure` set
// when the densities cannot give one.
double CTalCentrifugation::LimitingVelocity(unsigned& failure) const {
    const bool globuleLighter = m_LiquidDensity - m_GlobuleDensity > 1e-15;
    const bool particleHeavier = m_ParticleDensity - m_LiquidDensity > 1e-15;
    const double globule = globuleLighter ? GlobuleRiseVelocity(m_GlobuleDiameter, m_GlobuleDensity, m_LiquidDensity, m_LiquidViscosity) : 0.0;
    const double particle = particleHeavier ? ParticleSettlingVelocity(m_ParticleDiameter, m_ParticleDensity, m_LiquidDensity, m_LiquidViscosity) : 0.0;
    failure = 0;
    switch (m_DesignBasis) {
        case kOilRemoval:
            if (!globuleLighter) failure = kHostGlobuleNotLighter;
            return globule;
        case kSolidsRemoval:
            if (!particleHeavier) failure = kHostParticleNotHeavier;
            return particle;
        default: {
            const bool globuleLimits = globule <= particle;  // the globule's on a tie
            const double v = globuleLimits ? globule : particle;
            if (!(v >= 1e-15)) failure = globuleLimits ? kHostGlobuleNotLighter : kHostParticleNotHeavier;
            return v;
        }
    }
}

// Design sizes the centrifuge for the flow; rating checks the flow against it. Answers the
// settling velocity that the removals are computed from, and the sigma factor S of the power law.
double CTalCentrifugation::RateOrSize(double v, double& S, int skipSizing, int& ok) {
    const CTalStream& feed = *InStream(0);
    CTalCentrifuge* e = EquipmentT();
    const double utilF = UtilFactor();
    S = v > 1e-15 ? feed.NonGaseousVolFlow() / v / utilF : 0.0;
    const double Q = feed.NonGaseousVolFlow() / utilF;
    if (IsDesignMode() || !e) {
        m_VolThroughput = Q;
        if (e && !skipSizing) {
            unsigned msg = 0;
            if (!e->CalcSize(Q, S, msg)) {
                SetSimMsg(msg, 0);
                ok = 0;
            }
        }
        m_VolThroughput /= std::max(e ? e->NumberOfUnits() : 1, 1);
        m_CapacityUtilF = 1.0;
        return v;
    }
    const int N = std::max(e->NumberOfUnits(), 1);
    const bool onThroughput = e->m_SizingBasedOnThroughput != 0;
    const bool batch = IsBatchMode();
    const bool timeGiven = IsProcessTimeSetByUser();
    if (!batch) {
        m_VolThroughput = Q / N;
        S /= N;
    } else {
        const double T = IsFlowsheetInBatchMode() ? PlantBatchTime() : CycleTime();
        const double W = feed.NonGaseousVolFlow() * T / std::max(NumberOfCycles(), 1) / N;
        if (timeGiven) {
            // S stays that of the whole stream, as step 6 gave it.
            m_VolThroughput = m_ProcessTime > 1e-15 ? W / m_ProcessTime : 0.0;
        } else {
            m_ProcessTime = m_VolThroughput > 1e-15 ? std::max(W / m_VolThroughput, 1e-15) : 1e-15;
            S = v > 1e-15 ? m_VolThroughput / v : 0.0;
        }
    }
    if (onThroughput) {
        if (e->m_RatedThroughput < m_VolThroughput) {
            if (!batch) {
                SetSimMsg(kHostThroughputAboveRated, 0);
                ok = 0;
            } else if (timeGiven) {
                SetSimMsg(kThroughputAboveRated, 0);
                ok = 0;
            }
        }
    } else if (e->m_SigmaFactor < S) {
        SetSimMsg(!batch ? kSigmaAboveGiven : timeGiven ? kSigmaAboveGivenTimeSet : kSigmaAboveGivenTimeCalculated, 0);
        ok = 0;
    }
    // The rating velocity is that of the machine as given.
    const double rated = onThroughput ? e->m_RatedThroughput : e->m_SigmaFactor;
    const double load = onThroughput ? m_VolThroughput : S;
    m_CapacityUtilF = rated > 1e-15 ? std::min(load / rated, 1.0) : 1.0;
    if (onThroughput || e->m_SigmaFactor <= 1e-15) return 1e-15;
    return m_VolThroughput / e->m_SigmaFactor * m_SedimentationEfficiency;
}

// Removal of a component by its own settling velocity relative to the limiting one, from its
// particle size and its density at 25 degC.
void CTalCentrifugation::CalculateRemovals(double v) {
    for (std::size_t i = 0; i < Count(); ++i) {
        const CTalPureComponent* pc = GetPureComponent(static_cast<int>(i));
        const double d = pc ? pc->ParticleSize() : 0.0;
        const double rho = pc ? pc->Density(298.15) : 0.0;
        m_SolidsRemoval[i] = m_OilRemoval[i] = 0.0;
        if (!(d > 1e-15 && rho > 1e-15 && std::abs(rho - m_LiquidDensity) > 1e-15 && v > 1e-15)) continue;
        if (rho <= m_LiquidDensity) {
            m_OilRemoval[i] = std::min(GlobuleRiseVelocity(d, rho, m_LiquidDensity, m_LiquidViscosity) / v, 1.0);
        } else {
            m_SolidsRemoval[i] = std::min(ParticleSettlingVelocity(d, rho, m_LiquidDensity, m_LiquidViscosity) / v, 1.0);
        }
    }
}

// Loads of the solids and oil streams, made up with solvent to their set concentrations, and the
// three-way split of the feed.
int CTalCentrifugation::SolveSplit(const CTalStream& feed, CTalStream& main, CTalSModel& solids, CTalSModel& oil, int ok) {
    const int n = static_cast<int>(Count());
    // With a primary biomass its removals apply to the intracellular part of every component.
    const int biomass = GetPrimaryBiomassIndex();
    const auto intraSolids = [&](int i) { return m_SolidsRemoval[static_cast<std::size_t>(biomass >= 0 ? biomass : i)]; };
    const auto intraOil = [&](int i) { return m_OilRemoval[static_cast<std::size_t>(biomass >= 0 ? biomass : i)]; };
    double Ms = 0.0, Vs = 0.0, Mo = 0.0, Vo = 0.0;
    for (int i = 0; i < n; ++i) {
        const double rho = GetPureComponent(i)->Density(298.15);
        if (rho <= 100.0) continue;
        const std::size_t k = static_cast<std::size_t>(i);
        const double s = feed.ComponentIntraMassFlow(i) * intraSolids(i) + feed.ComponentExtraMassFlow(i) * m_SolidsRemoval[k];
        const double o = feed.ComponentIntraMassFlow(i) * intraOil(i) + feed.ComponentExtraMassFlow(i) * m_OilRemoval[k];
        Ms += s;
        Vs += s / rho;
        Mo += o;
        Vo += o / rho;
    }
    double Ws = Ms / m_SolidsConcInSolidsStream - Vs;
    double Wo = Mo / m_OilConcInOilStream - Vo;
    if (Ws < 0.0) {
        Ws = 0.0;
        SetSimMsg(kSolidsOnly, 0);
        ok = 0;
    }
    if (Wo < 0.0) {
        Wo = 0.0;
        SetSimMsg(kOilOnly, 0);
        ok = 0;
    }
    // Solvent: the components that neither outlet removes; it makes up the two volumes.
    std::vector<double> removed(Count());
    for (std::size_t i = 0; i < Count(); ++i) removed[i] = m_SolidsRemoval[i] + m_OilRemoval[i];
    const double V = feed.SolventExtraVolFlow(removed.data(), 1e-15);
    double fs = V > 1e-15 ? std::min(Ws / V, 1.0) : 0.0;
    double fo = V > 1e-15 ? std::min(Wo / V, 1.0) : 0.0;
    if (fs + fo > 1.0) {
        const double sum = fs + fo;
        fs /= sum;
        fo /= sum;
    }
    for (int i = 0; i < n; ++i) {
        const std::size_t k = static_cast<std::size_t>(i);
        const double extra = feed.ComponentExtraMassFlow(i);
        const bool solvent = m_SolidsRemoval[k] + m_OilRemoval[k] < 1e-15;
        const auto extraPart = [&](double own, double solventShare) {
            if (own > 1e-15) return extra * own;
            return solvent ? extra * solventShare : 0.0;
        };
        solids.SetComponentCellFlows(i, feed.ComponentIntraMassFlow(i) * intraSolids(i), extraPart(m_SolidsRemoval[k], fs));
        oil.SetComponentCellFlows(i, feed.ComponentIntraMassFlow(i) * intraOil(i), extraPart(m_OilRemoval[k], fo));
    }
    // The main stream is the feed less the solids, less the oil.
    feed.DivideInto(solids, main);
    main.DivideInto(main, oil);
    return ok;
}

int CTalCentrifugation::Solve(CTalStateStream*, CTalStateStream* after, int skipSizing) {
    if (after) after->Zero(false, true);
    const CTalStream* feed = InStream(0);
    CTalStream* main = OutStream(1);
    if (!feed || !main) return AbnormalSimEnding(kHostNoFeedFlow, 0, 1);
    if (feed->MassFlow(kPerSecond, false) < 1e-15) {
        feed->CopyDataInto(*main, 1);
        return AbnormalSimEnding(kHostNoFeedFlow, 0, 1);
    }
    // The working copies take the feed's pressure and phases, and none of its flow.
    CTalSModel oil(*feed), solids(*feed);
    oil.Zero(false, true);
    solids.Zero(false, true);

    unsigned failure = 0;
    const double limiting = LimitingVelocity(failure);
    if (failure) {
        feed->CopyDataInto(*main, 1);
        return AbnormalSimEnding(failure, 0, 1);
    }
    int ok = 1;
    double S = 0.0;
    const double v = RateOrSize(limiting * m_SedimentationEfficiency, S, skipSizing, ok);
    m_SolidsRemoval.resize(Count(), 0.0);
    m_OilRemoval.resize(Count(), 0.0);
    if (!m_IsRemovalSetByUser) CalculateRemovals(v);
    ok = SolveSplit(*feed, *main, solids, oil, ok);

    const CTalCentrifuge* e = EquipmentT();
    if (m_PowerMode == 3) m_Power = 30000.0 * std::pow(S / 220000.0, 0.4) * std::max(e ? e->NumberOfUnits() : 1, 1);
    const double C = feed->MassFlow(kPerSecond, false) * feed->LiqSolCp() / UtilFactor();
    BalanceLiquidHeat(*this, m_IsExitTempSetByUser != 0, m_ExitTemp, feed->Temp(), C, m_Power, {0.5, 15.0});
    for (CTalSModel* s : {static_cast<CTalSModel*>(main), &solids, &oil}) s->SetTemp(m_ExitTemp);
    if (after) after->SetTemp(m_ExitTemp);

    const auto deliver = [&](CTalSModel& part, int port, const char* attach) {
        if (CTalStream* out = OutStream(port)) {
            part.CopyDataInto(*out, 1);
        } else if (part.MassFlow(kPerSecond, false) > 1e-15) {
            SetSimMsg(attach, 0);
            ok = 0;
        }
    };
    deliver(oil, 0, kAttachOil);
    deliver(solids, 2, kAttachSolids);
    return NormalSimEnding(ok);
}

// ---------------------------------------------------------------- CTalCentrifugation: reports

int CTalCentrifugation::WriteIDR_Description(std::FILE* f) {
    CTalOperation::WriteIDR_Description(f);
    std::fprintf(f, "Liquid Density       = %-15.3lf\n", m_LiquidDensity);
    std::fprintf(f, "Liquid Viscosity     = %-15.3lf\n", m_LiquidViscosity);
    if (m_DesignBasis != kSolidsRemoval) {
        std::fprintf(f, "Oil globule diameter = %-15.3lf\n", m_GlobuleDiameter);
        std::fprintf(f, "Oil globule density  = %-15.3lf\n", m_GlobuleDensity);
    }
    if (m_DesignBasis != kOilRemoval) {
        std::fprintf(f, "Particle diameter = %-15.3lf\n", m_ParticleDiameter);
        std::fprintf(f, "Particle density  = %-15.3lf\n", m_ParticleDensity);
    }
    if (!m_IsRemovalSetByUser) {
        std::fprintf(f, "Removal mass percentages are calculated by the system.\n");
    } else {
        std::fprintf(f, "Removal mass percentages are set by user.\n");
        std::fprintf(f, "Component Name     Oil Removal %% Solids Removal %%\n");
        for (std::size_t i = 0; i < Count() && i < m_OilRemoval.size() && i < m_SolidsRemoval.size(); ++i) {
            const CTalPureComponent* pc = GetPureComponent(static_cast<int>(i));
            std::fprintf(f, " %-15s %11.3lf  %11.3lf \n", pc ? pc->Name().c_str() : "", m_OilRemoval[i] * 100.0,
                         m_SolidsRemoval[i] * 100.0);  // arrays stay fractions in display units
        }
    }
    std::fprintf(f, "\nOil conc. in oil stream     = %-15.4lf\n", m_OilConcInOilStream);
    std::fprintf(f, "Solids conc. in sludge stream = %-15.4lf\n\n", m_SolidsConcInSolidsStream);
    std::fprintf(f, "Liquid Viscosity = %-15.2lf\n", m_LiquidViscosity);  // printed a second time on purpose
    std::fprintf(f, "Efficiency (%c)   = %-15.2lf\n", '%', m_SedimentationEfficiency);
    if (!m_IsExitTempSetByUser) {
        std::fprintf(f, "The Exit Temperature is calculated from the energy balances.\n");
    } else {
        std::fprintf(f, "The Exit Temperature is set by the user.\n");
        std::fprintf(f, "Exit Temperature     = %-15.2lf\n", m_ExitTemp);
    }
    return 1;
}

void CTalCentrifugation::GetCustomDescription(std::string& text) const {
    const bool internal = IsInInternalUnits() != 0;
    char buffer[160];
    if (IsProcessTimeCalculated()) {
        const double rate = internal ? display::kLitrePerMin.ToDisplay(m_VolThroughput) : m_VolThroughput;
        std::snprintf(buffer, sizeof buffer, "Centrifuge at a rate of %.1lf L/min", rate);
    } else {
        const double t = internal ? ProcessTimeUnits().Display().ToDisplay(ProcessTime()) : ProcessTime();
        std::snprintf(buffer, sizeof buffer, "Centrifuge for %.1lf %s", t,
                      ProcessTimeUnits().UnitsName().c_str());
    }
    text = buffer;
    if (IsOpDescriptionShort()) return;
    static const char* const kAims[] = {" to remove oil", " to remove solids", " to remove solids and oil"};
    text += kAims[std::clamp(m_DesignBasis, 0, 2)];
}

}  // namespace unitops
