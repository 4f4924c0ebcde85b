#include "unitops/contract/flowsheet.hpp"

#include <algorithm>
#include <set>
#include <stdexcept>

namespace unitops {

CTalDocEss::CTalDocEss() = default;
CTalDocEss::~CTalDocEss() = default;

CTalPureComponent& CTalDocEss::AddComponent(std::unique_ptr<CTalPureComponent> c) {
    c->Finish();
    components_.push_back(std::move(c));
    compList_.push_back(components_.back().get());
    simModified_ = true;
    return *components_.back();
}

int CTalDocEss::GetComponentIndex(std::string_view name) const {
    for (std::size_t i = 0; i < compList_.size(); ++i) {
        if (compList_[i]->name == name) return static_cast<int>(i);
    }
    return -1;
}

std::string CTalDocEss::GetComponentLocalName(std::string_view databaseName) const {
    for (const CTalPureComponent* c : compList_) {
        if (c->databaseName == databaseName) return c->name;
    }
    for (const CTalPureComponent* c : compList_) {
        if (c->name == databaseName) return c->name;
    }
    return {};
}

const CTalPureComponent* CTalDocEss::ComponentDefPtr(std::string_view name) const {
    const int i = GetComponentIndex(name);
    return i < 0 ? nullptr : compList_[static_cast<std::size_t>(i)];
}

void CTalDocEss::UpdateComponentList(std::vector<std::unique_ptr<CTalPureComponent>> definitions) {
    std::set<std::string> names;
    for (const auto& c : definitions) {
        if (!names.insert(c->name).second) throw std::invalid_argument("component '" + c->name + "' is listed twice");
    }
    // The old definitions live until everything has been re-mapped by their names.
    const std::vector<std::unique_ptr<CTalPureComponent>> oldDefinitions = std::move(components_);
    const ComponentList oldComps = compList_;
    components_.clear();
    compList_.clear();
    for (auto& c : definitions) AddComponent(std::move(c));
    for (auto& s : streams_) s->ReMapComponents(oldComps, &compList_);
    for (auto& p : procedures_) p->UpdateForNewCompDef(oldComps);
}

CTalIPCleaningSkid& CTalDocEss::AddSkid(std::unique_ptr<CTalIPCleaningSkid> skid) {
    skid->SetFlowsheet(this);
    skids_.push_back(std::move(skid));
    simModified_ = true;
    return *skids_.back();
}

CTalIPCleaningSkid* CTalDocEss::GetSkid(std::string_view name) const {
    for (const auto& skid : skids_) {
        if (skid->Name() == name) return skid.get();
    }
    return nullptr;
}

// The skid unties every operation hooked up with it as it goes, in the procedures or not.
void CTalDocEss::RemoveSkid(const CTalIPCleaningSkid* skid) {
    std::erase_if(skids_, [&](const auto& s) { return s.get() == skid; });
    simModified_ = true;
}

bool CTalDocEss::RenameComponent(std::string_view from, const std::string& to) {
    const int i = GetComponentIndex(from);
    if (i < 0 || GetComponentIndex(to) >= 0) return false;
    const std::string old(from);
    components_[static_cast<std::size_t>(i)]->name = to;  // the lists hold the same definition
    for (CTalStockMixture& m : mixtures_) {
        for (auto& ingredient : m.ingredients) {
            if (ingredient.first == old) ingredient.first = to;
        }
    }
    ForEachOperation([&](CTalOperation& op) { op.IngredientRenamed(old, to); });
    simModified_ = true;
    return true;
}

bool CTalDocEss::RenameStockMixture(std::string_view from, const std::string& to) {
    CTalStockMixture* renamed = nullptr;
    for (CTalStockMixture& m : mixtures_) {
        if (m.name == to) return false;
        if (m.name == from && !renamed) renamed = &m;
    }
    if (!renamed) return false;
    const std::string old(from);
    renamed->name = to;
    ForEachOperation([&](CTalOperation& op) { op.IngredientRenamed(old, to); });
    simModified_ = true;
    return true;
}

void CTalDocEss::FollowRename(std::string& name, bool isComponent, const std::string& from, const std::string& to) const {
    if (name != from) return;
    if (isComponent ? GetComponentIndex(to) >= 0 : MixtureDefPtr(to) != nullptr) name = to;
}

const CTalStockMixture& CTalDocEss::AddStockMixture(CTalStockMixture mixture) {
    simModified_ = true;
    for (CTalStockMixture& m : mixtures_) {
        if (m.name == mixture.name) return m = std::move(mixture);
    }
    mixtures_.push_back(std::move(mixture));
    return mixtures_.back();
}

const CTalStockMixture* CTalDocEss::MixtureDefPtr(std::string_view name) const {
    for (const CTalStockMixture& m : mixtures_) {
        if (m.name == name) return &m;
    }
    return nullptr;
}

bool CTalDocEss::GetStockMixture(std::string_view name, std::vector<double>& massFractions) const {
    const CTalStockMixture* m = MixtureDefPtr(name);
    if (!m) return false;
    massFractions.assign(compList_.size(), 0.0);
    for (const auto& [component, fraction] : m->ingredients) {
        const int i = GetComponentIndex(component);
        if (i >= 0) massFractions[static_cast<std::size_t>(i)] = fraction;
    }
    return true;
}

double CTalDocEss::GetStockMixtureDensity(std::string_view name) const {
    const CTalStockMixture* m = MixtureDefPtr(name);
    return m ? m->density : 0.0;
}

CTalHeatTransferAgent& CTalDocEss::AddAgent(std::unique_ptr<CTalHeatTransferAgent> a) {
    for (auto& existing : agents_) {
        if (existing->name == a->name) {
            *existing = *a;  // a flowsheet's own definition replaces the built-in one
            return *existing;
        }
    }
    agents_.push_back(std::move(a));
    return *agents_.back();
}

CTalHeatTransferAgent* CTalDocEss::FindAgent(std::string_view name) const {
    for (const auto& a : agents_) {
        if (a->name == name) return a.get();
    }
    return nullptr;
}

CTalHeatTransferAgent* CTalDocEss::GetDefaultHeatingAgent(std::string_view name) const {
    if (CTalHeatTransferAgent* a = FindAgent(name); a && a->isHeating) return a;
    for (const auto& a : agents_) {
        if (a->isHeating) return a.get();
    }
    return nullptr;
}

CTalHeatTransferAgent* CTalDocEss::GetDefaultCoolingAgent(std::string_view name) const {
    if (CTalHeatTransferAgent* a = FindAgent(name); a && !a->isHeating) return a;
    for (const auto& a : agents_) {
        if (!a->isHeating) return a.get();
    }
    return nullptr;
}

CTalStream& CTalDocEss::AddStream(std::unique_ptr<CTalStream> s) {
    s->SetDocument(this);
    simModified_ = true;
    streams_.push_back(std::move(s));
    streamsByName_.emplace(streams_.back()->Name(), streams_.back().get());
    return *streams_.back();
}

CTalProcedure& CTalDocEss::AddProcedure(std::unique_ptr<CTalProcedure> p) {
    simModified_ = true;
    procedures_.push_back(std::move(p));
    CTalProcedure* added = procedures_.back().get();
    proceduresByName_.emplace(added->Name(), added);
    procedureIndex_.emplace(added, static_cast<int>(procedures_.size() - 1));
    return *added;
}

void CTalDocEss::RebuildIndexes() const {
    streamsByName_.clear();
    proceduresByName_.clear();
    procedureIndex_.clear();
    for (const auto& s : streams_) streamsByName_.emplace(s->Name(), s.get());
    for (std::size_t i = 0; i < procedures_.size(); ++i) {
        proceduresByName_.emplace(procedures_[i]->Name(), procedures_[i].get());
        procedureIndex_.emplace(procedures_[i].get(), static_cast<int>(i));
    }
    indexesStale_ = false;
}

CTalStream* CTalDocEss::FindStream(std::string_view name) const {
    if (indexesStale_) RebuildIndexes();
    const auto it = streamsByName_.find(name);
    return it == streamsByName_.end() ? nullptr : it->second;
}

CTalProcedure* CTalDocEss::FindProcedure(std::string_view name) const {
    if (indexesStale_) RebuildIndexes();
    const auto it = proceduresByName_.find(name);
    return it == proceduresByName_.end() ? nullptr : it->second;
}

int CTalDocEss::GetProcedureIndex(const CTalProcedure* p) const {
    if (indexesStale_) RebuildIndexes();
    const auto it = procedureIndex_.find(p);
    return it == procedureIndex_.end() ? -1 : it->second;
}

bool CTalDocEss::RemoveStream(CTalStream* s, CWnd* wnd) {
    const auto it = std::find_if(streams_.begin(), streams_.end(), [s](const auto& own) { return own.get() == s; });
    if (it == streams_.end()) return false;
    bool allowed = true;
    ForEachOperation([&](CTalOperation& op) { allowed = allowed && op.StreamWillBeRemoved(s, wnd); });
    if (!allowed) return false;
    for (const auto& p : procedures_) p->Disconnect(s);
    const std::unique_ptr<CTalStream> removed = std::move(*it);
    streams_.erase(it);
    indexesStale_ = true;
    simModified_ = true;
    ForEachOperation([&](CTalOperation& op) { op.StreamHasBeenRemoved(removed.get()); });
    return true;
}

bool CTalDocEss::RemoveOperation(CTalOperation* op, CWnd* wnd) {
    CTalProcedure* p = op ? op->Owner() : nullptr;
    if (!p || GetProcedureIndex(p) < 0) return false;
    bool allowed = true;
    ForEachOperation([&](CTalOperation& other) { allowed = allowed && other.OperationWillBeRemoved(op, wnd); });
    if (!allowed) return false;
    const std::unique_ptr<CTalOperation> removed = p->RemoveOperation(op);
    simModified_ = true;
    ForEachOperation([&](CTalOperation& other) { other.OperationHasBeenRemoved(removed.get()); });
    return true;
}

// The streams at the removed procedure's ports stay on the flowsheet with that end open.
bool CTalDocEss::RemoveProcedure(CTalProcedure* p, CWnd* wnd) {
    const int index = GetProcedureIndex(p);
    if (index < 0) return false;
    bool allowed = true;
    ForEachOperation([&](CTalOperation& op) {
        allowed = allowed && op.ProcedureWillBeRemoved(p, wnd);
        for (int i = 0; allowed && i < p->NumberOfOps(); ++i) allowed = op.OperationWillBeRemoved(p->GetOp(i), wnd);
    });
    if (!allowed) return false;
    for (const auto& s : streams_) {
        if (s->Source() == p) s->SetSource(nullptr, -1);
        if (s->Destination() == p) s->SetDestination(nullptr, -1);
    }
    const std::unique_ptr<CTalProcedure> removed = std::move(procedures_[static_cast<std::size_t>(index)]);
    procedures_.erase(procedures_.begin() + index);
    indexesStale_ = true;
    simModified_ = true;
    ForEachOperation([&](CTalOperation& op) {
        for (int i = 0; i < removed->NumberOfOps(); ++i) op.OperationHasBeenRemoved(removed->GetOp(i));
        op.ProcedureHasBeenRemoved(removed.get());
    });
    return true;
}

}  // namespace unitops
