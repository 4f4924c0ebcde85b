#include "unitops/contract/procedure.hpp"

#include <algorithm>

#include "unitops/contract/flowsheet.hpp"

namespace unitops {

CTalProcedure::CTalProcedure(CTalDocEss* doc, std::string name, unsigned unitProcId)
    : doc_(doc), name_(std::move(name)), unitProcId_(unitProcId) {
    states_.push_back(std::make_unique<CTalStateStream>(doc ? doc->Comps() : nullptr, this));
}

CTalProcedure::~CTalProcedure() = default;

void CTalProcedure::SetName(std::string n) {
    name_ = std::move(n);
    if (doc_) doc_->NamesChanged();
}

void CTalProcedure::SetUpPorts() {
    ports_ = UIcon() ? UIcon()->Ports() : IconPorts{};
    in_.assign(static_cast<std::size_t>(ports_.inputs), nullptr);
    out_.assign(static_cast<std::size_t>(ports_.outputs), nullptr);
}

bool CTalProcedure::IsFlowsheetInBatchMode() const { return doc_ && doc_->IsBatchMode(); }

double CTalProcedure::BatchReferenceTime() const {
    return IsFlowsheetInBatchMode() ? doc_->PlantBatchTime() : holdupTime_;
}

void CTalProcedure::SetEquipment(std::unique_ptr<CTalEquipment> e) {
    equipment_ = std::move(e);
    if (equipment_) equipment_->SetOwner(this);
}

void CTalProcedure::AddOperation(std::unique_ptr<CTalOperation> op) {
    op->SetOwner(this);
    ops_.push_back(std::move(op));
    states_.push_back(std::make_unique<CTalStateStream>(doc_ ? doc_->Comps() : nullptr, this));
}

int CTalProcedure::GetOrderNo(const CTalOperation* op) const {
    for (std::size_t i = 0; i < ops_.size(); ++i) {
        if (ops_[i].get() == op) return static_cast<int>(i);
    }
    return -1;
}

CTalOperation* CTalProcedure::GetNextOp(const CTalOperation* op) const {
    const int i = GetOrderNo(op);
    return (i >= 0 && i + 1 < NumberOfOps()) ? GetOp(i + 1) : nullptr;
}

CTalOperation* CTalProcedure::GetEssentialOp() const {
    for (const auto& op : ops_) {
        if (op->IsEssential()) return op.get();
    }
    return nullptr;
}

CTalStateStream* CTalProcedure::GetStateBefore(const CTalOperation* op) const {
    const int i = GetOrderNo(op);
    return i < 0 ? nullptr : GetState(i);
}

CTalStream* CTalProcedure::InStream(int port) const {
    return (port >= 0 && port < NumberOfInPorts()) ? in_[static_cast<std::size_t>(port)] : nullptr;
}

CTalStream* CTalProcedure::OutStream(int port) const {
    return (port >= 0 && port < NumberOfOutPorts()) ? out_[static_cast<std::size_t>(port)] : nullptr;
}

void CTalProcedure::ConnectIn(int port, CTalStream* s) {
    in_.at(static_cast<std::size_t>(port)) = s;
    if (s) s->SetDestination(this, port);
}

void CTalProcedure::ConnectOut(int port, CTalStream* s) {
    out_.at(static_cast<std::size_t>(port)) = s;
    if (s) s->SetSource(this, port);
}

bool CTalProcedure::IsFullyConnected() const {
    return std::all_of(ops_.begin(), ops_.end(), [](const auto& op) { return op->MissingPortStream().empty(); });
}

void CTalProcedure::PrepareInitialState(bool sizeKnown) {
    CTalStateStream* first = GetState(0);
    if (sizeKnown && equipment_ && equipment_->m_UsesDefaultContents && equipment_->m_DefaultContents) {
        equipment_->InitDefaultContentsBeforeBatch();
        equipment_->m_DefaultContents->CopyDataInto(*first, 1);
        return;
    }
    first->Zero(true, false);
}

// Each operation finds the state after it holding a copy of the state before it, so that an
// operation that ends abnormally leaves the contents as they were.
int CTalProcedure::Solve(bool skipSizing, bool) {
    int result = 1;
    for (int i = 0; i < NumberOfOps(); ++i) {
        GetState(i)->CopyDataInto(*GetState(i + 1), 1);
        if (!GetOp(i)->Solve(GetState(i), GetState(i + 1), skipSizing ? 1 : 0)) result = 0;
        if (!KeepsFiniteResults(i)) result = 0;
    }
    return result;
}

// A result that is not a finite number ends the operation: the contents go back to those before
// it, and the streams, members and equipment values that hold such a number are cleared, so that
// no infinity or NaN reaches a stream, a report or a saved file.
bool CTalProcedure::KeepsFiniteResults(int opIndex) {
    CTalOperation& op = *GetOp(opIndex);
    CTalStateStream& after = *GetState(opIndex + 1);
    bool finite = true;
    if (!after.IsFinite()) {
        GetState(opIndex)->CopyDataInto(after, 1);
        finite = false;
    }
    const auto clear = [&finite](CTalSModel* s) {
        if (s && !s->IsFinite()) {
            s->Reset();
            finite = false;
        }
    };
    for (CTalStream* s : out_) clear(s);
    clear(op.EmissionStream());
    if (ClearNonFiniteMembers(op)) finite = false;
    if (equipment_ && ClearNonFiniteMembers(*equipment_)) finite = false;
    if (!finite) {
        op.AbnormalSimEnding("A result of the calculation is not a finite number (the data lead beyond the range of the "
                             "computer's numbers).\nThe operation's results were discarded.\n");
    }
    return finite;
}

void CTalProcedure::SetStateInitiatingBPG(CTalStateStream* state, CTalOperation* op, double kgPerS,
                                          const double* composition, bool) {
    StateBid bid;
    bid.state = state;
    bid.op = op;
    bid.kgPerS = kgPerS;
    if (composition && doc_) bid.composition.assign(composition, composition + doc_->NumberOfComponents());
    stateBids_.push_back(std::move(bid));
}

void CTalProcedure::UpdateForNewCompDef(const ComponentList& oldComps) {
    for (auto& s : states_) s->ReMapComponents(oldComps, doc_->Comps());
    stateBids_.clear();
    if (equipment_) equipment_->UpdateForNewCompDef(oldComps);
    for (auto& op : ops_) op->UpdateForNewCompDef(oldComps);
}

std::unique_ptr<CTalOperation> CTalProcedure::RemoveOperation(const CTalOperation* op) {
    const int i = GetOrderNo(op);
    if (i < 0) return nullptr;
    std::unique_ptr<CTalOperation> removed = std::move(ops_[static_cast<std::size_t>(i)]);
    ops_.erase(ops_.begin() + i);
    states_.erase(states_.begin() + i + 1);
    return removed;
}

void CTalProcedure::Disconnect(const CTalStream* s) {
    for (CTalStream*& port : in_) {
        if (port == s) port = nullptr;
    }
    for (CTalStream*& port : out_) {
        if (port == s) port = nullptr;
    }
}

void CTalProcedure::BindComponents(const ComponentList* comps) {
    for (auto& s : states_) s->SetComponents(comps);
    for (auto& op : ops_) op->SetOwner(this);
    if (equipment_) equipment_->SetOwner(this);
}

}  // namespace unitops
