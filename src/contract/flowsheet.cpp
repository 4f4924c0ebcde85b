#include "unitops/contract/flowsheet.hpp"

namespace unitops {

CTalDocEss::CTalDocEss() = default;
CTalDocEss::~CTalDocEss() = default;

CTalPureComponent& CTalDocEss::AddComponent(std::unique_ptr<CTalPureComponent> c) {
    c->Finish();
    components_.push_back(std::move(c));
    compList_.push_back(components_.back().get());
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
    streams_.push_back(std::move(s));
    streamsByName_.emplace(streams_.back()->Name(), streams_.back().get());
    return *streams_.back();
}

CTalProcedure& CTalDocEss::AddProcedure(std::unique_ptr<CTalProcedure> p) {
    procedures_.push_back(std::move(p));
    CTalProcedure* added = procedures_.back().get();
    proceduresByName_.emplace(added->Name(), added);
    procedureIndex_.emplace(added, static_cast<int>(procedures_.size() - 1));
    return *added;
}

void CTalDocEss::RebuildNameIndexes() const {
    streamsByName_.clear();
    proceduresByName_.clear();
    for (const auto& s : streams_) streamsByName_.emplace(s->Name(), s.get());
    for (const auto& p : procedures_) proceduresByName_.emplace(p->Name(), p.get());
    namesChanged_ = false;
}

CTalStream* CTalDocEss::FindStream(std::string_view name) const {
    if (namesChanged_) RebuildNameIndexes();
    const auto it = streamsByName_.find(name);
    return it == streamsByName_.end() ? nullptr : it->second;
}

CTalProcedure* CTalDocEss::FindProcedure(std::string_view name) const {
    if (namesChanged_) RebuildNameIndexes();
    const auto it = proceduresByName_.find(name);
    return it == proceduresByName_.end() ? nullptr : it->second;
}

int CTalDocEss::GetProcedureIndex(const CTalProcedure* p) const {
    const auto it = procedureIndex_.find(p);
    return it == procedureIndex_.end() ? -1 : it->second;
}

}  // namespace unitops
