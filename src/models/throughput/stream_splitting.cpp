#include "unitops/models/throughput/stream_splitting.hpp"

#include <algorithm>
#include <array>
#include <cmath>

#include "unitops/contract/archive.hpp"
#include "unitops/contract/procedure.hpp"

namespace unitops {

namespace {
constexpr int kMaxOutlets = 9;
constexpr double kSumTolerance = 1e-15;
const char* const kFlowSplitText = "flow split percentage to each output stream";

std::size_t FlowFractionCount(const CObject& o) { return static_cast<std::size_t>(static_cast<const CTalFlow3WaySplitting&>(o).NumberOfOutlets()); }
std::size_t CompFractionCount(const CObject& o) {
    const auto& op = static_cast<const CTalComp3WaySplitting&>(o);
    return static_cast<std::size_t>(op.NumberOfOutlets() * op.NumberOfComponents());
}

// The splittings check their data in the groups 0 (all) and 2.
bool InGroupTwo(int group) { return group == 0 || group == 2; }

bool IsFraction(double f) { return f >= 0.0 && f <= 1.0; }

//! The batch-mode checks of every splitting, after its own: durations and throughput.
int CheckBatchThroughput(CTalThroughputOp& op, int group, CTalModelPP* page) {
    if (!InGroupTwo(group) || !op.IsBatchMode()) return 1;
    if (op.IsDesignMode()) {
        if (op.m_ProcessTime < 1e-15) return ReportRange(page, 0x601, "Process Time", 0x640);
        return 1;
    }
    if (op.IsProcessTimeSetByUser()) {
        if (op.m_ProcessTime < 1e-15) return ReportRange(page, 0x601, "Process Time", 0x641);
        return 1;
    }
    if (op.m_Throughput < 1e-15) return ReportRange(page, 0x601, "Volumetric Throughput", 0x640);
    const CTalThroughputEquipment* e = op.EquipmentT();
    if (e && e->RatedThroughput() < op.m_Throughput) {
        return ReportMessage(page, 0x601, "The operating throughput cannot be greater than the equipment's rated throughput.", 0,
                             kStopBox);
    }
    return 1;
}

void WriteDashes(std::FILE* f, int n, char c) {
    for (int i = 0; i < n; ++i) std::fputc(c, f);
    std::fputc('\n', f);
}
}  // namespace

const MemberTable& CTalFlowSplitting::Members() {
    using namespace members;
    using C = CTalFlowSplitting;
    static const MemberTable table(CTalThroughputOp::Members(), {
        Word("IsSplitTopSide", &C::m_IsSplitTopSide).Choices(0, 1),
        Real("TopFlowFraction", &C::m_TopFlowFraction, Quantity::Fraction, display::kPercent),
    });
    return table;
}

const MemberTable& CTalComponentSplitting::Members() {
    using namespace members;
    using C = CTalComponentSplitting;
    static const MemberTable table(CTalThroughputOp::Members(), {
        Word("IsSplitTopSide", &C::m_IsSplitTopSide).Choices(0, 1),
        RealArray("ComponentFractions", &C::m_ComponentFractions, Quantity::Fraction),
    });
    return table;
}

const MemberTable& CTalFlow3WaySplitting::Members() {
    using namespace members;
    using C = CTalFlow3WaySplitting;
    static const MemberTable table(CTalThroughputOp::Members(), {
        Computed("NumberOfOutlets", MemberType::Integer, Quantity::None, display::kNone,
                 [](const CObject& o) -> MemberValue { return static_cast<const C&>(o).NumberOfOutlets(); })
            .Result(),
        RealArray("FlowFractions", &C::m_FlowFractions, Quantity::Fraction)
            .Length(&FlowFractionCount),
    });
    return table;
}

const MemberTable& CTalComp3WaySplitting::Members() {
    using namespace members;
    using C = CTalComp3WaySplitting;
    static const MemberTable table(CTalThroughputOp::Members(), {
        Computed("NumberOfOutlets", MemberType::Integer, Quantity::None, display::kNone,
                 [](const CObject& o) -> MemberValue { return static_cast<const C&>(o).NumberOfOutlets(); })
            .Result(),
        RealArray("ComponentFractions", &C::m_ComponentFractions, Quantity::Fraction)
            .Length(&CompFractionCount),
    });
    return table;
}

TAL_IMPLEMENT_CLASS(CTalFlowSplitting, CTalThroughputOp)
TAL_IMPLEMENT_CLASS(CTalComponentSplitting, CTalThroughputOp)
TAL_IMPLEMENT_CLASS(CTalFlow3WaySplitting, CTalThroughputOp)
TAL_IMPLEMENT_CLASS(CTalComp3WaySplitting, CTalThroughputOp)
TAL_IMPLEMENT_CLASS_NO_MEMBERS(CTalFlow4WaySplitting, CTalFlow3WaySplitting)
TAL_IMPLEMENT_CLASS_NO_MEMBERS(CTalFlow5WaySplitting, CTalFlow3WaySplitting)
TAL_IMPLEMENT_CLASS_NO_MEMBERS(CTalFlow6WaySplitting, CTalFlow3WaySplitting)
TAL_IMPLEMENT_CLASS_NO_MEMBERS(CTalFlow7WaySplitting, CTalFlow3WaySplitting)
TAL_IMPLEMENT_CLASS_NO_MEMBERS(CTalFlow8WaySplitting, CTalFlow3WaySplitting)
TAL_IMPLEMENT_CLASS_NO_MEMBERS(CTalFlow9WaySplitting, CTalFlow3WaySplitting)
TAL_IMPLEMENT_CLASS_NO_MEMBERS(CTalComp4WaySplitting, CTalComp3WaySplitting)
TAL_IMPLEMENT_CLASS_NO_MEMBERS(CTalComp5WaySplitting, CTalComp3WaySplitting)
TAL_IMPLEMENT_CLASS_NO_MEMBERS(CTalComp6WaySplitting, CTalComp3WaySplitting)
TAL_IMPLEMENT_CLASS_NO_MEMBERS(CTalComp7WaySplitting, CTalComp3WaySplitting)
TAL_IMPLEMENT_CLASS_NO_MEMBERS(CTalComp8WaySplitting, CTalComp3WaySplitting)
TAL_IMPLEMENT_CLASS_NO_MEMBERS(CTalComp9WaySplitting, CTalComp3WaySplitting)

// ---------------------------------------------------------------- two-way splitting

bool CTalTwoWaySplittingBase::IsOutPortUsed(int port, int) const {
    if (port == 0) return true;
    return port == 1 && (!m_Owner || !m_Owner->GetNextOp(this));
}

bool CTalTwoWaySplittingBase::WorksOnContents() const { return IsBatchMode() && !EquipmentT(); }

int CTalTwoWaySplittingBase::Solve(CTalStateStream* before, CTalStateStream* after, int skipSizing) {
    int ok = 1;
    if (!WorksOnContents()) {
        after->Zero(false, true);
        CTalStream* top = OutStream(0);
        CTalStream* bottom = OutStream(1);
        if (!InStream(0) || !top || !bottom) return AbnormalSimEnding("The splitting needs its input and both output streams.\n");
        SplitStream(*InStream(0), *top, *bottom);
    } else {
        SplitState(*before, *after);
    }
    // No flow: nothing to rate or size; equipment and throughput keep their values.
    const double massFlow = WorksOnContents() ? before->MassFlow(kPerSecond, false) : InStream(0)->MassFlow(kPerSecond, false);
    if (massFlow < 1e-15) return NormalSimEnding(ok);
    if (!SolveThroughput(massFlow, EquipmentT(), skipSizing)) ok = 0;
    return NormalSimEnding(ok);
}

void CTalTwoWaySplittingBase::SplitState(const CTalStateStream& before, CTalStateStream& after) {
    CTalStateStream top(before), bottom(before);
    top.Zero(false, true);
    bottom.Zero(false, true);
    SplitStream(before, top, bottom);
    after.Zero(false, true);
    const bool hasNext = m_Owner && m_Owner->GetNextOp(this);
    const auto send = [this](int port, const CTalSModel& share) {
        if (CTalStream* s = OutStream(port)) s->Mix(*s, share);
    };
    if (!hasNext) {
        send(0, top);
        send(1, bottom);
    } else if (m_IsSplitTopSide == 0) {
        send(1, bottom);
        top.CopyDataInto(after, 1);
    } else {
        send(0, top);
        bottom.CopyDataInto(after, 1);
    }
}

// ---------------------------------------------------------------- flow splitting

void CTalFlowSplitting::Serialize(CArchive& ar) {
    CTalThroughputOp::Serialize(ar);
    SerializeOwnMembers(ar, Members());
}

void CTalFlowSplitting::InitSimModelParams() {
    CTalThroughputOp::InitSimModelParams();
    m_IsSplitTopSide = 1;
    m_TopFlowFraction = 0.0;
}

void CTalFlowSplitting::SplitStream(const CTalSModel& in, CTalSModel& top, CTalSModel& bottom) const {
    in.Split(top, bottom, m_TopFlowFraction);
}

int CTalFlowSplitting::IsSimDataComplete(int group, CTalModelPP* page, bool flag, int askUser) {
    return WithInternalUnits(*this, [&] {
        if (InGroupTwo(group) && !IsFraction(m_TopFlowFraction)) return ReportRange(page, 0x601, kFlowSplitText, 0x648);
        if (!CheckBatchThroughput(*this, group, page)) return 0;
        return CTalThroughputOp::IsSimDataComplete(group, page, flag, askUser);
    });
}

int CTalFlowSplitting::WriteIDR_Description(std::FILE* f) {
    CTalThroughputOp::WriteIDR_Description(f);
    std::fprintf(f, "Mass %c to Top Strm= %-15.2lf\n", '%', IsInInternalUnits() ? m_TopFlowFraction * 100.0 : m_TopFlowFraction);
    WriteDashes(f, 75, '-');
    return 1;
}

void CTalFlowSplitting::GetCustomDescription(std::string& text) const {
    text = "Split flow of streams";
    AppendThroughputTail(*this, text, "kg/h");
}

// ---------------------------------------------------------------- component splitting

void CTalComponentSplitting::Serialize(CArchive& ar) {
    CTalThroughputOp::Serialize(ar);
    SerializeOwnMembers(ar, Members());
}

void CTalComponentSplitting::InitSimModelParams() {
    CTalThroughputOp::InitSimModelParams();
    m_IsSplitTopSide = 1;
    InitCompVar(m_ComponentFractions, 0.0);
}

void CTalComponentSplitting::PrepareForSimulation() {
    CTalThroughputOp::PrepareForSimulation();
    m_ComponentFractions.resize(Count(), 0.0);
}

void CTalComponentSplitting::UpdateForNewCompDef(const ComponentList& oldComps) {
    ReInitCompVar(oldComps, m_ComponentFractions, 0.0);
    CTalThroughputOp::UpdateForNewCompDef(oldComps);
}

void CTalComponentSplitting::UpdateCompInfoFromOldFlowsheet(const ComponentList& oldComps, const ComponentList& newComps) {
    ReInitCompVarFromOldFlowsheet(oldComps, newComps, m_ComponentFractions, 0.0);
    CTalThroughputOp::UpdateCompInfoFromOldFlowsheet(oldComps, newComps);
}

// The fractions go to the top outlet, or to the bottom one when the bottom side is the one split.
void CTalComponentSplitting::SplitStream(const CTalSModel& in, CTalSModel& top, CTalSModel& bottom) const {
    std::vector<double> toTop = m_ComponentFractions;
    toTop.resize(static_cast<std::size_t>(in.NumberOfComponents()), 0.0);
    if (m_IsSplitTopSide == 0) {
        for (double& f : toTop) f = 1.0 - f;
    }
    in.CompSplit(top, bottom, toTop.data());
}

int CTalComponentSplitting::IsSimDataComplete(int group, CTalModelPP* page, bool flag, int askUser) {
    return WithInternalUnits(*this, [&] {
        if (InGroupTwo(group) && !IsCompDataInRange(m_ComponentFractions, 0.0, 1.0)) {
            return ReportRange(page, 0x601, "split percentage to top/bottom\nstream of every component", 0x648);
        }
        if (!CheckBatchThroughput(*this, group, page)) return 0;
        return CTalThroughputOp::IsSimDataComplete(group, page, flag, askUser);
    });
}

int CTalComponentSplitting::WriteIDR_Description(std::FILE* f) {
    CTalThroughputOp::WriteIDR_Description(f);
    std::fprintf(f, m_IsSplitTopSide == 0 ? "Component Name      Prct to Bottom Strm\n" : "Component Name      Prct to Top Strm\n");
    for (int i = 0; i < NumberOfComponents() && i < static_cast<int>(m_ComponentFractions.size()); ++i) {
        const CTalPureComponent* c = GetPureComponent(i);
        std::fprintf(f, "%-19s %15.2lf\n", c ? c->Name().c_str() : "", m_ComponentFractions[static_cast<std::size_t>(i)] * 100.0);
    }
    return 1;
}

void CTalComponentSplitting::GetCustomDescription(std::string& text) const {
    text = "Split component flow";
    AppendThroughputTail(*this, text, "kg/h");
}

// ---------------------------------------------------------------- N-way splitting

void CTalNWaySplittingBase::SerializeOutletCount(CArchive& ar) {
    if (ar.IsStoring()) {
        ar.WriteWord(m_NumberOfOutlets);
        return;
    }
    const int count = ar.ReadWord();
    if (count != m_NumberOfOutlets) {
        ar.Fail(std::string(GetRuntimeClass()->m_lpszClassName) + " has " + std::to_string(m_NumberOfOutlets) +
                " outlets, but the file gives " + std::to_string(count));
    }
}

// The throughput is rated or sized before the split; without flow nothing is split, and the
// outlets stay as the host left them.
int CTalNWaySplittingBase::Solve(CTalStateStream*, CTalStateStream* after, int skipSizing) {
    int ok = 1;
    after->Zero(false, true);
    const int n = std::min(NumberOfOutStreams(), kMaxOutlets);
    std::array<CTalSModel*, kMaxOutlets> outs{};
    for (int k = 0; k < n; ++k) {
        outs[static_cast<std::size_t>(k)] = OutStream(k);
        if (!outs[static_cast<std::size_t>(k)]) {
            return AbnormalSimEnding("No stream is attached to output port " + std::to_string(k + 1) + " of the splitting.\n");
        }
    }
    const CTalStream* in = InStream(0);
    if (!in) return AbnormalSimEnding("No stream is attached to the input port of the splitting.\n");
    const double massFlow = in->MassFlow(kPerSecond, false);
    if (massFlow < 1e-15) return NormalSimEnding(ok);
    if (!SolveThroughput(massFlow, EquipmentT(), skipSizing)) ok = 0;
    SplitStream(*in, outs.data());
    return NormalSimEnding(ok);
}

// ---------------------------------------------------------------- N-way flow splitting

void CTalFlow3WaySplitting::Serialize(CArchive& ar) {
    CTalThroughputOp::Serialize(ar);
    SerializeOutletCount(ar);
    SerializeOwnMembers(ar, Members());
}

void CTalFlow3WaySplitting::InitSimModelParams() {
    CTalThroughputOp::InitSimModelParams();
    InitArrayVar(m_FlowFractions, m_NumberOfOutlets, 0.0);
}

void CTalFlow3WaySplitting::SplitStream(const CTalSModel& in, CTalSModel* const* outs) const {
    in.SplitN(outs, std::min(m_NumberOfOutlets, static_cast<int>(m_FlowFractions.size())), m_FlowFractions.data());
}

int CTalFlow3WaySplitting::IsSimDataComplete(int group, CTalModelPP* page, bool flag, int askUser) {
    return WithInternalUnits(*this, [&] {
        if (InGroupTwo(group)) {
            double sum = 0.0;
            for (double f : m_FlowFractions) {
                if (!IsFraction(f)) return ReportRange(page, 0x601, kFlowSplitText, 0x648);
                sum += f;
            }
            if (std::abs(sum - 1.0) > kSumTolerance) return ReportRange(page, 0x601, "the split percentages", 0x64E);
        }
        if (!CheckBatchThroughput(*this, group, page)) return 0;
        return CTalThroughputOp::IsSimDataComplete(group, page, flag, askUser);
    });
}

int CTalFlow3WaySplitting::WriteIDR_Description(std::FILE* f) {
    CTalThroughputOp::WriteIDR_Description(f);
    WriteDashes(f, 75, '=');
    std::fprintf(f, "Stream  Name      Split %c  \n", '%');
    for (int k = 0; k < m_NumberOfOutlets && k < static_cast<int>(m_FlowFractions.size()); ++k) {
        const CTalStream* s = OutStream(k);
        std::fprintf(f, " %-15s %15.2lf\n", s ? s->Name().c_str() : "", m_FlowFractions[static_cast<std::size_t>(k)] * 100.0);
    }
    return 1;
}

void CTalFlow3WaySplitting::GetCustomDescription(std::string& text) const {
    text = "Split flow of streams";
    AppendThroughputTail(*this, text, "kg/h");
}

// ---------------------------------------------------------------- N-way component splitting

double CTalComp3WaySplitting::Fraction(int outlet, int component) const {
    const std::size_t at = static_cast<std::size_t>(outlet * NumberOfComponents() + component);
    return at < m_ComponentFractions.size() ? m_ComponentFractions[at] : 0.0;
}

void CTalComp3WaySplitting::FitFractions() {
    m_ComponentFractions.resize(static_cast<std::size_t>(m_NumberOfOutlets) * Count(), 0.0);
}

template <class Remap>
void CTalComp3WaySplitting::RemapOutlets(std::size_t oldCount, Remap remap) {
    std::vector<double> all;
    for (int k = 0; k < m_NumberOfOutlets; ++k) {
        const std::size_t begin = std::min(static_cast<std::size_t>(k) * oldCount, m_ComponentFractions.size());
        const std::size_t end = std::min(begin + oldCount, m_ComponentFractions.size());
        std::vector<double> outlet(m_ComponentFractions.begin() + static_cast<std::ptrdiff_t>(begin),
                                   m_ComponentFractions.begin() + static_cast<std::ptrdiff_t>(end));
        outlet.resize(oldCount, 0.0);
        remap(outlet);
        all.insert(all.end(), outlet.begin(), outlet.end());
    }
    m_ComponentFractions = std::move(all);
}

void CTalComp3WaySplitting::Serialize(CArchive& ar) {
    CTalThroughputOp::Serialize(ar);
    SerializeOutletCount(ar);
    SerializeOwnMembers(ar, Members());
}

void CTalComp3WaySplitting::InitSimModelParams() {
    CTalThroughputOp::InitSimModelParams();
    m_ComponentFractions.assign(static_cast<std::size_t>(m_NumberOfOutlets) * Count(), 0.0);
}

void CTalComp3WaySplitting::PrepareForSimulation() {
    CTalThroughputOp::PrepareForSimulation();
    FitFractions();
}

void CTalComp3WaySplitting::UpdateForNewCompDef(const ComponentList& oldComps) {
    RemapOutlets(oldComps.size(), [&](std::vector<double>& a) { ReInitCompVar(oldComps, a, 0.0); });
    CTalThroughputOp::UpdateForNewCompDef(oldComps);
}

void CTalComp3WaySplitting::UpdateCompInfoFromOldFlowsheet(const ComponentList& oldComps, const ComponentList& newComps) {
    RemapOutlets(oldComps.size(), [&](std::vector<double>& a) { ReInitCompVarFromOldFlowsheet(oldComps, newComps, a, 0.0); });
    CTalThroughputOp::UpdateCompInfoFromOldFlowsheet(oldComps, newComps);
}

void CTalComp3WaySplitting::SplitStream(const CTalSModel& in, CTalSModel* const* outs) const {
    std::array<const double*, kMaxOutlets> fractions{};
    std::vector<double> all = m_ComponentFractions;
    const int components = in.NumberOfComponents();
    all.resize(static_cast<std::size_t>(m_NumberOfOutlets * components), 0.0);
    const int n = std::min(m_NumberOfOutlets, kMaxOutlets);
    for (int k = 0; k < n; ++k) fractions[static_cast<std::size_t>(k)] = all.data() + k * components;
    in.CompSplitN(outs, n, fractions.data());
}

int CTalComp3WaySplitting::IsSimDataComplete(int group, CTalModelPP* page, bool flag, int askUser) {
    return WithInternalUnits(*this, [&] {
        if (InGroupTwo(group)) {
            for (int i = 0; i < NumberOfComponents(); ++i) {
                const CTalPureComponent* c = GetPureComponent(i);
                const std::string name = c ? c->Name() : std::to_string(i + 1);
                double sum = 0.0;
                for (int k = 0; k < m_NumberOfOutlets; ++k) {
                    if (!IsFraction(Fraction(k, i))) {
                        return ReportRange(page, 0x601, "split percentage of component " + name + " to each output stream", 0x648);
                    }
                    sum += Fraction(k, i);
                }
                if (std::abs(sum - 1.0) > kSumTolerance) {
                    return ReportRange(page, 0x601, "the split percentages of component " + name, 0x64E);
                }
            }
        }
        if (!CheckBatchThroughput(*this, group, page)) return 0;
        return CTalThroughputOp::IsSimDataComplete(group, page, flag, askUser);
    });
}

int CTalComp3WaySplitting::WriteIDR_Description(std::FILE* f) {
    CTalThroughputOp::WriteIDR_Description(f);
    for (int i = 0; i < NumberOfComponents(); ++i) {
        const CTalPureComponent* c = GetPureComponent(i);
        std::fprintf(f, "Split Percentages for Component : %-15s \n", c ? c->Name().c_str() : "");
        std::fprintf(f, "    Stream  Name      Split %c  \n", '%');
        for (int k = 0; k < m_NumberOfOutlets; ++k) {
            const CTalStream* s = OutStream(k);
            std::fprintf(f, "    %-15s %15.2lf\n", s ? s->Name().c_str() : "", Fraction(k, i) * 100.0);
        }
    }
    return 1;
}

void CTalComp3WaySplitting::GetCustomDescription(std::string& text) const {
    text = "Split component flow";
    AppendThroughputTail(*this, text, "kg/h");
}

}  // namespace unitops
