#include "unitops/contract/cleaning_skid.hpp"

#include <algorithm>

#include "unitops/contract/archive.hpp"
#include "unitops/contract/flowsheet.hpp"
#include "unitops/contract/operation.hpp"
#include "unitops/contract/procedure.hpp"

namespace unitops {

const MemberTable& CTalIPCleaningSkid::Members() {
    static const MemberTable table(CObject::Members(), {members::Text("Name", &CTalIPCleaningSkid::m_Name)});
    return table;
}

TAL_IMPLEMENT_CLASS(CTalIPCleaningSkid, CObject)

void CTalIPCleaningSkid::Serialize(CArchive& ar) {
    if (ar.IsStoring()) {
        ar << m_Name;
    } else {
        ar >> m_Name;
    }
}

// Operations may outlive the skid: a copy not yet placed in a procedure shares it, and goes on
// living after the flowsheet is closed. Each one hooked up lets go of the skid here.
CTalIPCleaningSkid::~CTalIPCleaningSkid() {
    const std::vector<CTalOperation*> hooked = m_Operations;
    for (CTalOperation* op : hooked) op->SetSkid(nullptr);
}

void CTalIPCleaningSkid::HookupWithOp(CTalOperation* op) {
    if (op && std::find(m_Operations.begin(), m_Operations.end(), op) == m_Operations.end()) m_Operations.push_back(op);
}

void CTalIPCleaningSkid::UnHookupOp(const CTalOperation* op) { std::erase(m_Operations, op); }

std::vector<const CTalOperation*> CTalIPCleaningSkid::OperationsUsing() const {
    std::vector<const CTalOperation*> using_;
    for (const CTalOperation* op : m_Operations) {
        if (op->SkidInUse() == this) using_.push_back(op);
    }
    return using_;
}

double CTalIPCleaningSkid::BusyTimePerBatch() const {
    double busy = 0.0;
    for (const CTalOperation* op : OperationsUsing()) busy += (op->SetupTime() + op->ProcessTime()) * op->NumberOfCycles();
    return busy;
}

bool CTalIPCleaningSkid::FitsInBatchTime() const {
    if (!m_Flowsheet || !m_Flowsheet->IsBatchMode()) return true;
    return BusyTimePerBatch() <= m_Flowsheet->PlantBatchTime() * (1.0 + 1e-12);
}

void CTalIPCleaningSkid::WriteIDR_Description(std::FILE* f) const {
    std::fprintf(f, "Cleaning Skid       = %-s\n", m_Name.c_str());
    for (const CTalOperation* op : OperationsUsing()) {
        const std::string procedure = op->Owner() ? op->Owner()->Name() : std::string("-");
        std::fprintf(f, "  Used by %-s in %-s for %.2lf min per batch\n", op->Name().c_str(), procedure.c_str(),
                     (op->SetupTime() + op->ProcessTime()) * op->NumberOfCycles() / 60.0);
    }
    std::fprintf(f, "Busy Time per Batch = %-15.2lf h\n", BusyTimePerBatch() / 3600.0);
    if (!FitsInBatchTime()) std::fprintf(f, "The operations sharing this skid take longer than the plant batch time.\n");
}

// ---------------------------------------------------------------- SkidLink

SkidLink::~SkidLink() { Set(nullptr); }

void SkidLink::Set(CTalIPCleaningSkid* skid) {
    if (skid_ == skid) return;
    if (skid_) skid_->UnHookupOp(&op_);
    skid_ = skid;
    if (skid_) skid_->HookupWithOp(&op_);
}

void SkidLink::Serialize(CArchive& ar) {
    if (ar.IsStoring()) {
        ar.WriteObject(skid_);
        return;
    }
    bool isNew = false;
    CObject* read = ar.ReadObjectOf(RUNTIME_CLASS(CTalIPCleaningSkid), isNew);
    auto* skid = static_cast<CTalIPCleaningSkid*>(read);
    // A skid met for the first time belongs to whoever reads it first: the flowsheet when the
    // operation has one, else this link until the flowsheet adopts it.
    std::unique_ptr<CTalIPCleaningSkid> owned(isNew ? skid : nullptr);
    Set(skid);
    if (!owned) return;
    if (CTalDocEss* doc = op_.Flowsheet()) {
        doc->AddSkid(std::move(owned));
    } else {
        held_ = std::move(owned);
    }
}

void SkidLink::AdoptIntoFlowsheet() {
    CTalDocEss* doc = op_.Flowsheet();
    if (held_ && doc) doc->AddSkid(std::move(held_));
}

// A skid knows its flowsheet rather than being handed it at each call; an operation moved into
// another flowsheet therefore cannot use a skid that belongs to the first one, and drops it.
void SkidLink::FlowsheetChanged() {
    CTalDocEss* doc = op_.Flowsheet();
    if (!doc) return;
    AdoptIntoFlowsheet();
    if (!skid_) return;
    if (!skid_->Flowsheet()) {
        skid_->SetFlowsheet(doc);
    } else if (skid_->Flowsheet() != doc) {
        Set(nullptr);
    }
}

void SkidLink::CopyInto(SkidLink& target) const {
    // A copy not yet placed (as CreateCopy makes it) is taken to stay in this flowsheet.
    const CTalDocEss* there = target.op_.Flowsheet();
    target.Set(!there || there == op_.Flowsheet() ? skid_ : nullptr);
}

void SkidLink::WriteIDR_Description(std::FILE* f, int ignoreSkid) const {
    if (const CTalIPCleaningSkid* skid = InUse(ignoreSkid)) std::fprintf(f, "Skid Name           = %-s\n", skid->Name().c_str());
}

}  // namespace unitops
