#include "unitops/models/throughput/mixture_making.hpp"

#include <algorithm>
#include <cmath>
#include <memory>

#include "unitops/contract/archive.hpp"
#include "unitops/contract/component.hpp"
#include "unitops/contract/flowsheet.hpp"
#include "unitops/models/throughput/throughput_equipment.hpp"
#include "unitops/numerics/solvers.hpp"

namespace unitops {

// ---------------------------------------------------------------- what both mixings share

namespace {

constexpr unsigned kMsgTwoInputsNeeded = 14340;   // Error 100-08000
constexpr unsigned kMsgNotWellPosed = 14394;      // Error 100-08031
constexpr unsigned kMsgSpecifiedTwice = 14395;    // Error 100-08032
constexpr unsigned kMsgGasInInput = 14396;        // Error 100-08033
constexpr unsigned kMsgZeroDensityInput = 14397;  // Error 100-08034
constexpr unsigned kMsgNoMixtureDensity = 14399;  // Error 100-08035
constexpr unsigned kMsgNoMassFlow = 14336;
constexpr unsigned kMsgNoVolFlow = 14337;
constexpr unsigned kHelpData = 0x2A;
constexpr const char* kNone = CTalAdjustedMixingBase::kNoComponent;
constexpr const char* kSkipped = "M&E balances and sizing Calculations will be skipped.";
constexpr const char* kCountText =
    "There are %1d input streams, and %1d component concentration(s) is/are specified.\n"
    "Need to specify a total of %1d component concentration(s).";

std::string Format(const char* format, auto... args) {
    char buffer[512];
    std::snprintf(buffer, sizeof buffer, format, args...);
    return buffer;
}

// Rows of one entry of a member array: the file keeps the rows of the design table one after the
// other, each row's name, value and display unit together.
template <class C, class T, std::size_t N>
void Bind(MemberRow& r, std::array<T, N> C::*m, std::size_t i) {
    r.get = [m, i](const CObject& o) -> MemberValue { return (static_cast<const C&>(o).*m)[i]; };
    r.set = [m, i](CObject& o, const MemberValue& v) { (static_cast<C&>(o).*m)[i] = std::get<T>(v); };
}

template <class C, std::size_t N>
MemberRow RealAt(const std::string& name, std::array<double, N> C::*m, std::size_t i, Quantity q) {
    MemberRow r;
    r.name = name + std::to_string(i + 1);
    r.type = MemberType::Real;
    r.quantity = q;
    r.persist = Persist::Double;
    r.absent = 0.0;
    Bind(r, m, i);
    return r;
}

template <class C, std::size_t N>
MemberRow WordAt(const std::string& name, std::array<int, N> C::*m, std::size_t i) {
    MemberRow r;
    r.name = name + std::to_string(i + 1);
    r.type = MemberType::Integer;
    r.persist = Persist::Word16;
    r.absent = 0;
    Bind(r, m, i);
    return r;
}

template <class C, std::size_t N>
MemberRow TextAt(const std::string& name, std::array<std::string, N> C::*m, std::size_t i) {
    MemberRow r;
    r.name = name + std::to_string(i + 1);
    r.type = MemberType::Text;
    r.persist = Persist::Text;
    r.absent = std::string(kNone);
    Bind(r, m, i);
    return r;
}

// Display units of the fractions: 0x800 a plain fraction, 0x801 a percentage.
constexpr int kFractionUnits = 0x800;
constexpr int kPercentUnits = 0x801;

template <std::size_t I>
DisplayUnit ConcDisplayOf(const CObject& o) { return static_cast<const CTalMixtureMaking&>(o).ConcDisplay(I); }
template <std::size_t I>
DisplayUnit FractionDisplayOf(const CObject& o) { return static_cast<const CTalMixtureMaking&>(o).FractionDisplay(I); }
constexpr DisplayUnit (*kConcDisplays[])(const CObject&) = {&ConcDisplayOf<0>, &ConcDisplayOf<1>, &ConcDisplayOf<2>,
                                                             &ConcDisplayOf<3>};
constexpr DisplayUnit (*kFractionDisplays[])(const CObject&) = {&FractionDisplayOf<0>, &FractionDisplayOf<1>,
                                                                 &FractionDisplayOf<2>, &FractionDisplayOf<3>};

}  // namespace

void CTalAdjustedMixingBase::UpdateForNewPlantBatchTime(double oldTime, double newTime) {
    CTalThroughputOp::UpdateForNewPlantBatchTime(oldTime, newTime);
    if (!(oldTime > 1e-15)) return;
    m_OutputMassFlow *= newTime / oldTime;
    m_OutputVolFlow *= newTime / oldTime;
}

DisplayUnit CTalAdjustedMixingBase::MassFlowDisplay() const {
    if (!IsBatchMode()) return display::kKgPerHour;
    return {"kg/batch", PlantBatchTime(), 0.0};
}

DisplayUnit CTalAdjustedMixingBase::VolFlowDisplay() const {
    if (!IsBatchMode()) return {"L/h", 3.6e6, 0.0};
    return {"L/batch", 1000.0 * PlantBatchTime(), 0.0};
}

std::vector<CTalStream*> CTalAdjustedMixingBase::Inputs() const {
    std::vector<CTalStream*> inputs;
    for (int port = 0; port < NumberOfInStreams(); ++port) {
        if (CTalStream* s = InStream(port)) inputs.push_back(s);
    }
    return inputs;
}

void CTalAdjustedMixingBase::MixInto(CTalSModel& out, const std::vector<const CTalSModel*>& states) {
    if (states.size() == 1) {
        states.front()->CopyDataInto(out, 1);
    } else if (!states.empty()) {
        out.MixN(states.data(), static_cast<int>(states.size()));
    }
}

// The density depends on the composition only: an input without flow gets that of the
// composition it keeps.
double CTalAdjustedMixingBase::CompositionDensity(const CTalSModel& s) {
    if (s.MassFlow(kPerSecond, false) >= 1e-15) return s.Density();
    CTalSModel unit(s);
    unit.SetMassFlow(1.0);
    return unit.Density();
}

CTalStream& CTalAdjustedMixingBase::Outlet() {
    if (CTalStream* out = OutStream(0)) return *out;
    if (!m_Aside) m_Aside = std::make_unique<CTalStream>(Comps(), std::string());
    return *m_Aside;
}

int CTalAdjustedMixingBase::FinishThroughput(const CTalStream& out, int skipSizing) {
    return SolveThroughput(out.MassFlow(kPerSecond, false), EquipmentT(), skipSizing);
}

int CTalAdjustedMixingBase::DesignIndex(const std::string& name) const {
    return IsEmptyDesign(name) ? -1 : GetComponentIndex(name);
}

void CTalAdjustedMixingBase::ForgetIfMissing(std::string& name, const ComponentList& comps) {
    if (IsEmptyDesign(name) || FindComponentByName(comps, name) >= 0) return;
    name = kNone;
    ForceReinitialization();
}

double CTalAdjustedMixingBase::MolecularWeight(const std::string& name, double unknown) const {
    const CTalDocEss* doc = Flowsheet();
    const CTalPureComponent* c = doc && !IsEmptyDesign(name) ? doc->ComponentDefPtr(name) : nullptr;
    return c ? c->MolecularWeight() : unknown;
}

// ---------------------------------------------------------------- mixture making: data

const MemberTable& CTalMixtureMaking::Members() {
    using namespace members;
    using C = CTalMixtureMaking;
    static const MemberTable table = [] {
        std::vector<MemberRow> rows;
        rows.push_back(Word("OutputFlowBasis", &C::m_OutputFlowBasis).Choices(kMassBasis, kVolumeBasis));
        rows.push_back(Real("OutputMassFlow", &C::m_OutputMassFlow, Quantity::MassFlow).Shown([](const CObject& o) {
            return static_cast<const C&>(o).MassFlowDisplay();
        }));
        rows.push_back(Real("OutputVolFlow", &C::m_OutputVolFlow, Quantity::VolumeFlow).Shown([](const CObject& o) {
            return static_cast<const C&>(o).VolFlowDisplay();
        }));
        for (std::size_t i = 0; i < kRows; ++i) {
            rows.push_back(TextAt("DesignComponentName", &C::m_DesignComponentName, i));
            rows.push_back(RealAt("DesignConc", &C::m_DesignConc, i, Quantity::Concentration).Shown(kConcDisplays[i]));
            rows.push_back(WordAt("ConcUnits", &C::m_ConcUnits, i)
                               .Choices(CTalConcentrationPQ::kFirstUnits, CTalConcentrationPQ::kLastUnits));
        }
        rows.push_back(Real("RelativeError", &C::m_RelativeError, Quantity::Dimensionless));
        rows.push_back(Int("MaxIterations", &C::m_MaxIterations));
        rows.push_back(Int("NumberOfSpecs", &C::m_NumberOfSpecs).Result());
        rows.push_back(Word("IsOutputFlowSetByUser", &C::m_IsOutputFlowSetByUser).Choices(0, 1));
        rows.push_back(Real("MinOutputFlow", &C::m_MinOutputFlow, Quantity::MassFlow, display::kKgPerHour));
        rows.push_back(Word("SpecifyByConc", &C::m_SpecifyByConc).Choices(0, 1).Since(5.001, 1));
        for (std::size_t i = 0; i < kRows; ++i) {
            rows.push_back(RealAt("DesignMassFraction", &C::m_DesignMassFraction, i, Quantity::Fraction)
                               .Shown(kFractionDisplays[i])
                               .Since(5.001, 0.0));
            rows.push_back(WordAt("FractionUnits", &C::m_FractionUnits, i)
                               .Choices(kFractionUnits, kPercentUnits)
                               .Since(5.001, kFractionUnits));
        }
        rows.push_back(Real("BPGFlowDemand", &C::m_BPGFlowDemand, Quantity::MassFlow, display::kKgPerHour)
                           .Transient()
                           .Result());
        return MemberTable(CTalThroughputOp::Members(), std::move(rows));
    }();
    return table;
}

TAL_IMPLEMENT_CLASS(CTalMixtureMaking, CTalThroughputOp)

void CTalMixtureMaking::Serialize(CArchive& ar) {
    CTalThroughputOp::Serialize(ar);
    SerializeOwnMembers(ar, Members());
}

DisplayUnit CTalMixtureMaking::ConcDisplay(std::size_t row) const {
    return CTalConcentrationPQ(m_ConcUnits[row]).DisplayFor(MolecularWeight(m_DesignComponentName[row], 18.0));
}

DisplayUnit CTalMixtureMaking::FractionDisplay(std::size_t row) const {
    return m_FractionUnits[row] == kPercentUnits ? display::kPercent : display::kNone;
}

// Files before 5.0008 kept each concentration in its row's display unit; a molar unit of a
// component that the flowsheet does not know then takes a weight of 1.
void CTalMixtureMaking::OnNotifyAfterDocOpening() {
    CTalThroughputOp::OnNotifyAfterDocOpening();
    if (m_VersionNo <= 0.0 || m_VersionNo >= 5.0008) return;
    for (std::size_t i = 0; i < kRows; ++i) {
        m_DesignConc[i] *= CTalConcentrationPQ(m_ConcUnits[i]).ConvFToRefUnits(MolecularWeight(m_DesignComponentName[i], 1.0));
    }
}

void CTalMixtureMaking::ForgetMissingComponents(const ComponentList& comps) {
    for (std::string& name : m_DesignComponentName) ForgetIfMissing(name, comps);
}

void CTalMixtureMaking::UpdateForNewCompDef(const ComponentList& oldComps) {
    CTalThroughputOp::UpdateForNewCompDef(oldComps);
    if (const ComponentList* comps = Comps()) ForgetMissingComponents(*comps);
}

void CTalMixtureMaking::UpdateCompInfoFromOldFlowsheet(const ComponentList& oldComps, const ComponentList& newComps) {
    CTalThroughputOp::UpdateCompInfoFromOldFlowsheet(oldComps, newComps);
    ForgetMissingComponents(newComps);
}

void CTalMixtureMaking::IngredientRenamed(const std::string& from, const std::string& to) {
    const CTalDocEss* doc = Flowsheet();
    if (!doc) return;
    for (std::string& name : m_DesignComponentName) doc->FollowRename(name, true, from, to);
}

void CTalMixtureMaking::InitSimModelParams() {
    CTalThroughputOp::InitSimModelParams();
    m_CanCalculateDuration = 1;
    m_OutputFlowBasis = kMassBasis;
    m_OutputMassFlow = m_OutputVolFlow = 0.0;
    m_DesignComponentName.fill(kNone);
    m_DesignConc.fill(0.0);
    m_ConcUnits.fill(CTalConcentrationPQ::kFirstUnits);
    m_RelativeError = 1e-5;
    m_MaxIterations = 1000;
    m_NumberOfSpecs = 0;
    m_IsOutputFlowSetByUser = 1;
    m_MinOutputFlow = 1e-6;
    m_SpecifyByConc = 1;
    m_DesignMassFraction.fill(0.0);
    m_FractionUnits.fill(kFractionUnits);
    m_BPGFlowDemand = 0.0;
}

int CTalMixtureMaking::CountSpecs() const {
    return static_cast<int>(std::count_if(m_DesignComponentName.begin(), m_DesignComponentName.end(),
                                          [](const std::string& n) { return !IsEmptyDesign(n); }));
}

// ---------------------------------------------------------------- mixture making: connections

int CTalMixtureMaking::IsAdequatelyConnectedForSimulation(CWnd* wnd) {
    if (NumberOfInPortsUsed() < 2) {
        if (wnd) ShowSimMsg(kMsgTwoInputsNeeded, 0);
        return 0;
    }
    return CTalThroughputOp::IsAdequatelyConnectedForSimulation(wnd);
}

int CTalMixtureMaking::IsReadyForSimulation(CWnd* wnd) {
    if (CountSpecs() != NumberOfInPortsUsed() - 1) {
        if (wnd) ShowSimMsg(kMsgNotWellPosed, 0);
        return 0;
    }
    // A well-posed mixture is ready when its ports hold their streams.
    return CTalThroughputOp::IsAdequatelyConnectedForSimulation(wnd);
}

void CTalMixtureMaking::GetStreamsInitiatingBPG(std::vector<CTalStream*>& streams) const {
    for (CTalStream* s : Inputs()) {
        if (std::find(streams.begin(), streams.end(), s) == streams.end()) streams.push_back(s);
    }
}

// The demand is taken as the flow asked, whatever the factor.
void CTalMixtureMaking::AbsorbBPG(double, double flow, const CTalSModel* stream) {
    if (m_IsOutputFlowSetByUser == 0 && stream) m_BPGFlowDemand = flow;
}

// ---------------------------------------------------------------- mixture making: validation

int CTalMixtureMaking::IsSimDataComplete(int group, CTalModelPP* page, bool flag, int askUser) {
    return WithInternalUnits(*this, [&] {
        if (group != 0 && group != 9) return CTalThroughputOp::IsSimDataComplete(group, page, flag, askUser);
        m_NumberOfSpecs = CountSpecs();
        const int n = NumberOfInPortsUsed();
        const int m = std::max(n - 1, 0);
        if (m_IsOutputFlowSetByUser && m_OutputFlowBasis == kMassBasis && !(m_OutputMassFlow > 0.0)) {
            return ReportMessage(page, 0x601, kMsgNoMassFlow, kHelpData, kStopBox);
        }
        if (m_IsOutputFlowSetByUser && m_OutputFlowBasis == kVolumeBasis && !(m_OutputVolFlow > 0.0)) {
            return ReportMessage(page, 0x601, kMsgNoVolFlow, kHelpData, kStopBox);
        }
        if (n > 0 && m_NumberOfSpecs != m) {
            return ReportMessage(page, 0x601, Format(kCountText, n, m_NumberOfSpecs, m), kMsgNotWellPosed, kStopBox);
        }
        if (!(m_RelativeError >= 1e-15 && m_RelativeError < 1.0)) return ReportRange(page, 0x601, "Relative Error", 0x644);
        if (m_NumberOfSpecs == m) {
            // Each row against the first three: a repeat among them is reported once.
            for (std::size_t i = 0; i < kRows; ++i) {
                if (IsEmptyDesign(m_DesignComponentName[i])) continue;
                for (std::size_t j = 0; j < 3; ++j) {
                    if (j != i && m_DesignComponentName[j] == m_DesignComponentName[i]) {
                        return ReportMessage(page, 0x601,
                                             Format("The concentration of component %12s was specified more than once.",
                                                    m_DesignComponentName[i].c_str()),
                                             kMsgSpecifiedTwice, kStopBox);
                    }
                }
            }
        }
        for (std::size_t i = 0; i < kRows; ++i) {
            const char* name = m_DesignComponentName[i].c_str();
            if (IsEmptyDesign(m_DesignComponentName[i])) continue;
            if (m_SpecifyByConc && m_DesignConc[i] < 1e-15) {
                return ReportRange(page, 0x601, Format("Concentration of %12s", name), 0x640);
            }
            if (!m_SpecifyByConc && m_DesignMassFraction[i] < 1e-15) {
                return ReportRange(page, 0x601, Format("Fraction of %12s", name), 0x640);
            }
        }
        return CTalThroughputOp::IsSimDataComplete(group, page, flag, askUser);
    });
}

// ---------------------------------------------------------------- mixture making: solve

//! One solve: a free copy of each input (in port order), their original streams, the specified
//! rows and the linear system.
struct CTalMixtureMaking::Run {
    std::vector<CTalStream*> inputs;
    std::vector<std::unique_ptr<CTalSModel>> copies;
    std::vector<std::size_t> rows;  //!< the rows whose component is named
    CTalStream* out = nullptr;
    double rho = 0.0;
    int n = 0;

    std::vector<const CTalSModel*> States() const {
        std::vector<const CTalSModel*> s;
        for (const auto& c : copies) s.push_back(c.get());
        return s;
    }
};

int CTalMixtureMaking::GiveUp(Run& run, const MsgText& message) {
    for (std::size_t j = 0; j < run.inputs.size(); ++j) {
        const double flow = run.inputs[j]->MassFlow(kPerSecond, false);
        run.copies[j]->SetMassFlow(flow);
        run.inputs[j]->SetBPGFlowBid(this, flow, 0);
    }
    MixInto(*run.out, run.States());
    return AbnormalSimEnding(message, 0, 1);
}

double CTalMixtureMaking::WantedComponentFlow(std::size_t row, double r) const {
    const bool byConc = m_SpecifyByConc != 0;
    if (m_OutputFlowBasis == kMassBasis) {
        return byConc ? m_DesignConc[row] * m_OutputMassFlow / r : m_DesignMassFraction[row] * m_OutputMassFlow;
    }
    return byConc ? m_DesignConc[row] * m_OutputVolFlow : m_DesignMassFraction[row] * m_OutputVolFlow * r;
}

double CTalMixtureMaking::SpecError(const CTalStream& out) const {
    double sum = 0.0;
    const double M = out.MassFlow(kPerSecond, false);
    const double V = out.VolFlow(kPerSecond, false);
    for (std::size_t i = 0; i < kRows; ++i) {
        if (IsEmptyDesign(m_DesignComponentName[i])) continue;
        const double flow = out.ComponentFlow(m_DesignComponentName[i]);
        const double spec = m_SpecifyByConc ? m_DesignConc[i] : m_DesignMassFraction[i];
        const double achieved = m_SpecifyByConc ? flow / V : flow / M;
        sum += std::pow((spec - achieved) / spec, 2);
    }
    const double wanted = m_OutputFlowBasis == kMassBasis ? m_OutputMassFlow : m_OutputVolFlow;
    const double achieved = m_OutputFlowBasis == kMassBasis ? M : V;
    sum += std::pow((wanted - achieved) / wanted, 2);
    return std::sqrt(sum);
}

// The balance is linear in the input flows once the mixture's density is known; the density
// follows from the mixture found, so the two are repeated until the outlet meets the
// mixing specification. A matrix with a zero pivot (two inputs alike in the specified components) ends
// the loop as a failure, which the explanation then traces.
bool CTalMixtureMaking::Iterate(Run& run) {
    const auto n = static_cast<std::size_t>(run.n);
    std::vector<double> A(n * n), b(n), x(n);
    int iter = 0;
    double err = 1.0;
    bool failed = false;
    while (iter < m_MaxIterations && m_RelativeError < err && !failed) {
        const double r = run.rho > 1e-15 ? run.rho : 1000.0;
        for (std::size_t i = 0; i + 1 < n; ++i) b[i] = WantedComponentFlow(run.rows[i], r);
        b[n - 1] = m_OutputFlowBasis == kMassBasis ? m_OutputMassFlow : r * m_OutputVolFlow;
        for (std::size_t j = 0; j < n; ++j) {
            CTalSModel& copy = *run.copies[j];
            if (copy.MassFlow(kPerSecond, false) < 1e-15) copy.SetMassFlow(0.01);
            const double M = copy.MassFlow(kPerSecond, false);
            for (std::size_t i = 0; i + 1 < n; ++i) {
                const int index = GetComponentIndex(m_DesignComponentName[run.rows[i]]);
                A[j * n + i] = M > 1e-15 ? copy.ComponentFlow(index) / M : 0.0;  // column-major
            }
            A[j * n + n - 1] = 1.0;
        }
        if (numerics::CurrentSolvers().linear->Solve(run.n, A.data(), b.data(), x.data()) != 0) {
            failed = true;
            break;
        }
        if (std::any_of(x.begin(), x.end(), [](double v) { return !(v >= 0.0); })) {
            failed = true;
            break;
        }
        // A flow solved as exactly 0 leaves that copy at its previous flow in this round's mix.
        for (std::size_t j = 0; j < n; ++j) {
            if (x[j] > 0.0) run.copies[j]->SetMassFlow(x[j]);
        }
        MixInto(*run.out, run.States());
        if (run.out->MassFlow(kPerSecond, false) < 1e-15 || run.out->VolFlow(kPerSecond, false) < 1e-15) {
            failed = true;
            break;
        }
        run.rho = run.out->Density();
        // Without a density the loop cannot go on: the counter jumps to its bound and the round
        // still counts, so that the loop ends as not converged.
        if (run.rho < 1e-15) iter = m_MaxIterations;
        err = SpecError(*run.out);
        if (!std::isfinite(err)) failed = true;
        ++iter;
    }
    return !failed && iter < m_MaxIterations;
}

std::string CTalMixtureMaking::Explain(Run& run) const {
    const bool byConc = m_SpecifyByConc != 0;
    for (std::size_t row : run.rows) {
        const std::string& name = m_DesignComponentName[row];
        const char* c = name.c_str();
        double largest = 0.0, smallest = 5000.0;
        for (const auto& copy : run.copies) {
            if (copy->VolFlow(kPerSecond, false) < 1e-15) copy->SetMassFlow(1.0);
            const double v = byConc ? copy->ComponentConc(name) : copy->ComponentMassFrac(name);
            largest = std::max(largest, v);
            smallest = std::min(smallest, v);
        }
        const double spec = byConc ? m_DesignConc[row] : m_DesignMassFraction[row];
        if (!(largest > 0.0) || std::abs(largest - smallest) / largest < 0.0001) {
            return Format(byConc ? "This could be due to the fact that concentration of: %12s,\nis the same in all input streams.\n"
                                 : "This could be due to the fact that mass fraction of: %12s,\nis the same in all input streams.\n",
                          c);
        }
        if (largest < spec) {
            return Format(byConc ? "The concentration of: %12s, might be unachievable\n(too high compared to the concentrations of the input streams).\n"
                                 : "The mass fraction of: %12s, is unachievable\n(too high compared to the mass fractions of the input streams).\n",
                          c);
        }
        if (spec < smallest) {
            return Format(byConc ? "The concentration of: %12s, might be unachievable\n(too low compared to the concentrations of the input streams).\n"
                                 : "The mass fraction of: %12s, is unachievable\n(too low compared to the mass fractionsof the input streams).\n",
                          c);
        }
    }
    return {};
}

int CTalMixtureMaking::Solve(CTalStateStream*, CTalStateStream* after, int skipSizing) {
    int ok = 1;
    after->Zero(false, true);
    Run run;
    run.inputs = Inputs();
    run.n = static_cast<int>(run.inputs.size());
    run.out = &Outlet();
    for (CTalStream* s : run.inputs) {
        run.copies.push_back(std::make_unique<CTalSModel>(Comps()));
        s->CopyDataInto(*run.copies.back(), 0);
    }
    if (m_IsOutputFlowSetByUser == 0) {
        m_OutputFlowBasis = kMassBasis;
        m_BPGFlowDemand = std::max(m_BPGFlowDemand, m_MinOutputFlow);
        m_OutputMassFlow = m_BPGFlowDemand;
    }
    m_NumberOfSpecs = CountSpecs();
    if (run.n == 0) return AbnormalSimEnding(kMsgTwoInputsNeeded, 0, 1);
    if (m_NumberOfSpecs != run.n - 1) {
        return GiveUp(run, Format(kCountText, run.n, m_NumberOfSpecs, m_NumberOfSpecs - 1));
    }
    for (std::size_t i = 0; i < kRows; ++i) {
        if (!IsEmptyDesign(m_DesignComponentName[i])) run.rows.push_back(i);
    }
    for (std::size_t row : run.rows) {
        const std::string& name = m_DesignComponentName[row];
        const bool present = GetComponentIndex(name) >= 0 &&
                             std::any_of(run.copies.begin(), run.copies.end(),
                                         [&](const auto& c) { return c->ComponentMassFrac(name) > 1e-15; });
        if (!present) {
            return GiveUp(run, Format("The concentration of %12s is specified,\nbut this component is not present in any stream.\n"
                                      "Input streams were not adjusted.\n%s",
                                      name.c_str(), kSkipped));
        }
    }
    double densitySum = 0.0;
    for (const auto& c : run.copies) {
        if (c->TotalVaporMassFrac() > 0.01) return GiveUp(run, kMsgGasInInput);
    }
    for (const auto& c : run.copies) {
        const double density = CompositionDensity(*c);
        if (density < 1e-15) return GiveUp(run, kMsgZeroDensityInput);
        densitySum += density;
    }
    run.rho = densitySum / run.n;
    if (run.rho < 1e-15) return GiveUp(run, kMsgNoMixtureDensity);
    const double wanted = m_OutputFlowBasis == kMassBasis ? m_OutputMassFlow : m_OutputVolFlow;
    if (!(wanted >= 1e-15)) {
        return GiveUp(run, std::string("The specified output flow is too low. \n"
                                       "Please increase the Mass or Volume flow rate of the product stream.\n") + kSkipped);
    }
    if (!Iterate(run)) {
        return GiveUp(run, "Error 100-08015:\n\nIterative calculations did not converge.\n"
                           "Could not meet user-specifications on output stream.\n" + Explain(run) +
                           "InPut streams were not adjusted.\nM&E balances and sizing Calculations will be skiped.");
    }

    CTalStream& out = *run.out;
    const double M = out.MassFlow(kPerSecond, false);
    const double V = out.VolFlow(kPerSecond, false);
    for (std::size_t row : run.rows) {
        if (m_SpecifyByConc && M > 1e-15) m_DesignMassFraction[row] = m_DesignConc[row] * V / M;
        if (!m_SpecifyByConc && V > 1e-15) m_DesignConc[row] = M * m_DesignMassFraction[row] / V;
    }
    for (std::size_t j = 0; j < run.inputs.size(); ++j) {
        run.inputs[j]->SetBPGFlowBid(this, run.copies[j]->MassFlow(kPerSecond, false), 0);
    }
    const double density = out.Density();
    if (density > 1e-15) {
        if (m_OutputFlowBasis == kMassBasis) {
            m_OutputVolFlow = m_OutputMassFlow / density;
        } else {
            m_OutputMassFlow = density * m_OutputVolFlow;
        }
    }
    if (!FinishThroughput(out, skipSizing)) ok = 0;
    return NormalSimEnding(ok);
}

// ---------------------------------------------------------------- mixture making: reports

int CTalMixtureMaking::WriteIDR_Description(std::FILE* f) {
    CTalThroughputOp::WriteIDR_Description(f);
    std::fprintf(f, "Output Specification :\n");
    if (m_OutputFlowBasis == kMassBasis) {
        std::fprintf(f, "Outlet Strm Flow = %-15.4lf (mass)\n", m_OutputMassFlow);
    } else {
        std::fprintf(f, "Outlet Strm Flow = %-15.4lf (vol)\n", m_OutputVolFlow);
    }
    for (std::size_t i = 0; i < kRows; ++i) {
        if (IsEmptyDesign(m_DesignComponentName[i])) continue;
        std::fprintf(f, "Design Component = %-16s\n", m_DesignComponentName[i].c_str());
        if (m_SpecifyByConc) {
            std::fprintf(f, "Outlet Concentrn = %-15.4lf %-12s \n", m_DesignConc[i], ConcDisplay(i).name);
        } else {
            std::fprintf(f, "Outlet Mass Fraction = %-15.4lf %-12s \n", m_DesignMassFraction[i], FractionDisplay(i).name);
        }
    }
    std::fprintf(f, "%s\n", std::string(50, '-').c_str());
    return 1;
}

void CTalMixtureMaking::GetCustomDescription(std::string& text) const {
    text = "Adjust flow of input streams";
    if (IsOpDescriptionShort()) return;
    const bool batch = IsBatchMode();
    // The description is read in display units, where the flows are per hour or per batch.
    const double shown = m_IsInInternalUnits
                             ? (m_OutputFlowBasis == kMassBasis ? MassFlowDisplay().ToDisplay(m_OutputMassFlow)
                                                                : VolFlowDisplay().ToDisplay(m_OutputVolFlow))
                             : (m_OutputFlowBasis == kMassBasis ? m_OutputMassFlow : m_OutputVolFlow);
    if (m_OutputFlowBasis == kMassBasis) {
        text += Format(batch ? " to reach an outlet stream mass flow of %.3lf kg/Batch and specified concentrations"
                             : " to reach an outlet stream mass flow of %.3lf kg/h and specified concentrations",
                       shown);
    } else {
        text += Format(batch ? " to reach an outlet stream volume flow of %.3lf L/Batch and specified concentrations"
                             : " to reach an outlet stream volume flow of %.3lf L/h and specified concentrations",
                       shown);
    }
}

}  // namespace unitops
