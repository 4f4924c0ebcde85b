#include "unitops/models/throughput/throughput_op.hpp"

#include <algorithm>

#include "unitops/contract/procedure.hpp"
#include "unitops/models/throughput/throughput_equipment.hpp"

namespace unitops {

namespace {
constexpr unsigned kHostThroughputAboveRated = 0x5C;
DisplayUnit ThroughputDisplay(const CObject& o) { return static_cast<const CTalThroughputOp&>(o).ThroughputUnit(); }
}  // namespace

const MemberTable& CTalThroughputOp::Members() {
    using namespace members;
    static const MemberTable table(CTalOperation::Members(), {
        Real("Throughput", &CTalThroughputOp::m_Throughput, Quantity::MassFlow).Shown(&ThroughputDisplay),
    });
    return table;
}

TAL_IMPLEMENT_CLASS(CTalThroughputOp, CTalOperation)
TAL_IMPLEMENT_CLASS_NO_MEMBERS(CTalDiscreteThroughputOp, CTalThroughputOp)

void CTalThroughputOp::Serialize(CArchive& ar) {
    CTalOperation::Serialize(ar);
    SerializeOwnMembers(ar, Members());
}

CTalThroughputEquipment* CTalThroughputOp::EquipmentT() const {
    return dynamic_cast<CTalThroughputEquipment*>(Equipment());
}

void CTalThroughputOp::UpdateThroughput() {
    const CTalStream* s = ThroughputStream();
    if (!s) return;
    m_Throughput = s->MassFlow(kPerSecond, false) / UtilFactor();
    if (!m_IsInInternalUnits) m_Throughput *= 3600.0;
}

void CTalThroughputOp::InitSimModelParams() {
    CTalOperation::InitSimModelParams();
    m_ProcessTimeMode = 1;
    m_ProcessTime = 3600.0;
    m_ProcessTimePQ.SetUnits(3);
    m_SetupTime = 0.0;
    m_SetupTimePQ.SetUnits(2);
    m_Throughput = 0.0;
    m_SpecPowerPQ.Init(11, 0xB01, 0);
    m_PowerMode = 2;
}

int CTalThroughputOp::IsSimDataComplete(int group, CTalModelPP* page, bool flag, int askUser) {
    return WithInternalUnits(*this, [&] {
        if (!Steps().CheckData(group, page, EquipmentT())) return 0;
        return CTalOperation::IsSimDataComplete(group, page, flag, askUser);
    });
}

int CTalThroughputOp::WriteIDR_Description(std::FILE* f) {
    CTalOperation::WriteIDR_Description(f);
    if (m_ProcessTimeMode != 1) std::fprintf(f, "Throughput (kg/h)              = %-15.2lf\n", m_Throughput);
    return 1;
}

// ---------------------------------------------------------------- the shared steps

int InlineThroughput::CheckData(int group, CTalModelPP* page, const CTalThroughputEquipment* e) const {
    const CTalOperation& op = op_;
    if ((group == 0 || group == 20)) {
        if (op.m_PowerMode == 1 && op.m_Power < 0.0) return ReportRange(page, 0x601, "Power", 0x641);
        if (op.m_PowerMode == 2 && op.m_SpecPower < 0.0) return ReportRange(page, 0x601, "Specific Power", 0x641);
    }
    if ((group == 0 || group == 2) && op.IsBatchMode()) {
        if (op.IsDesignMode()) {
            if (op.m_ProcessTime < 1e-15) return ReportRange(page, 0x601, "Process Time", 0x640);
        } else if (op.m_ProcessTimeMode == 2) {
            if (throughput_ < 1e-15) return ReportRange(page, 0x601, "Throughput", 0x640);
            if (e && e->RatedThroughput() < throughput_) {
                return ReportMessage(page, 0x601, "The operating throughput cannot be greater than the equipment's rated throughput.", 0,
                                     kStopBox);
            }
        } else if (op.m_ProcessTimeMode == 1 && op.m_ProcessTime < 1e-15) {
            return ReportRange(page, 0x601, "Process Time", 0x641);
        }
    }
    return 1;
}

// Without throughput equipment (a split of a vessel's contents) there is no rated throughput to
// hold the operation against: the throughput is computed, not checked.
int InlineThroughput::Rate(double massFlow, const CTalThroughputEquipment* e) {
    const int units = e ? std::max(e->NumberOfUnits(), 1) : 1;
    const double rated = e ? e->RatedThroughput() : 0.0;
    if (!op_.IsBatchMode()) {
        const double limit = RatedLimit(e);
        throughput_ = massFlow / op_.UtilFactor() / units;
        if (e && limit < throughput_) {
            op_.SetSimMsg(kHostThroughputAboveRated, 0);
            return 0;
        }
        return 1;
    }
    const double T = op_.IsFlowsheetInBatchMode() ? op_.PlantBatchTime() : op_.CycleTime();
    const double amount = massFlow * T / op_.NumberOfCycles() / units;
    const bool byMaster = masterDuration_ && op_.IsDurationSetByMaster();
    if (op_.m_ProcessTimeMode == 1 || byMaster) {
        const double duration = byMaster ? op_.ProcessTime() : op_.m_ProcessTime;
        throughput_ = duration > 1e-15 ? amount / duration : 0.0;
        if (e && rated < throughput_) {
            op_.SetSimMsg(
                "The calculated operating throughput is greater than the specified (rated) throughput.\n"
                "Please do one or more of the following: 1) Increase the process time; 2) Increase the\n"
                "number of units that operate in parallel; 3) Use a larger unit that has a higher throughput.",
                kHostThroughputAboveRated);
            return 0;
        }
        return 1;
    }
    op_.m_ProcessTime = throughput_ > 0.0 ? std::max(amount / throughput_, 1e-15) : 1e-15;
    return 1;
}

int InlineThroughput::Design(double massFlow, CTalThroughputEquipment* e, int skipSizing) {
    int result = 1;
    throughput_ = massFlow / op_.UtilFactor();
    if (!e) return result;
    if (!skipSizing) {
        unsigned message = 0;
        if (!e->CalcSize(throughput_, message)) {
            op_.SetSimMsg(message, 0);
            result = 0;
        }
    }
    throughput_ /= std::max(e->NumberOfUnits(), 1);
    return result;
}

void InlineThroughput::PowerAndUtilization(const CTalThroughputEquipment* e) {
    const int units = e ? std::max(e->NumberOfUnits(), 1) : 1;
    if (op_.m_PowerMode != 1 || throughput_ <= 1e-15) {
        op_.m_Power = op_.m_SpecPower * throughput_ * units;
    } else {
        op_.m_SpecPower = op_.m_Power / (units * throughput_);
    }
    const double rated = RatedLimit(e);
    op_.m_CapacityUtilF = rated <= 1e-15 ? 1.0 : std::min(throughput_ / rated, 1.0);
}

double InlineThroughput::RatedLimit(const CTalThroughputEquipment* e) const {
    if (!e) return 0.0;
    return ratedForAllUnits_ ? e->RatedThroughput() * std::max(e->NumberOfUnits(), 1) : e->RatedThroughput();
}

int InlineThroughput::Solve(double massFlow, CTalThroughputEquipment* e, int skipSizing) {
    const int ok = op_.IsDesignMode() ? Design(massFlow, e, skipSizing) : Rate(massFlow, e);
    PowerAndUtilization(e);
    return ok;
}

void AppendThroughputTail(const CTalThroughputOp& op, std::string& text, const char* throughputUnits) {
    if (op.IsOpDescriptionShort() || !op.IsBatchMode()) return;
    char buffer[128];
    if (!op.IsProcessTimeCalculated()) {
        std::snprintf(buffer, sizeof buffer, " for %.1lf %s", op.ProcessTime(), op.ProcessTimeUnits().UnitsName().c_str());
    } else {
        std::snprintf(buffer, sizeof buffer, " at a throughput of %.2lf %s", op.Throughput(), throughputUnits);
    }
    text += buffer;
}

// ---------------------------------------------------------------- discrete entities

CTalDiscreteThroughputEquipment* CTalDiscreteThroughputOp::EquipmentT() const {
    return dynamic_cast<CTalDiscreteThroughputEquipment*>(Equipment());
}

CTalDiscreteEntity* CTalDiscreteThroughputOp::Entity() const { return m_Owner ? m_Owner->Entity() : nullptr; }

void CTalDiscreteThroughputOp::UpdateThroughput() {
    const CTalStream* s = ThroughputStream();
    if (!s) return;
    const CTalDiscreteEntity* entity = Entity();
    const double conv = entity ? entity->BulkConvF() : 0.0;
    if (!entity || conv <= 1e-15) return;
    const double q = entity->IsBulkConvFMass() ? s->MassFlow(kPerSecond, false) : s->VolFlow(kPerSecond, false);
    m_Throughput = q / (UtilFactor() * conv);
    if (!m_IsInInternalUnits) m_Throughput *= 60.0;
}

void CTalDiscreteThroughputOp::InitSimModelParams() {
    CTalThroughputOp::InitSimModelParams();
    m_SpecPowerPQ.Init(13, 0xD01, 0);
    m_PowerMode = 2;
}

void CTalDiscreteThroughputOp::GetCustomDescription(std::string& text) const {
    text = "Process discrete entities";
    AppendThroughputTail(*this, text, "entities/min");
}

}  // namespace unitops
