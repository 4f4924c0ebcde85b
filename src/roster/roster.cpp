#include "unitops/roster/roster.hpp"

#include <cassert>

#include "unitops/roster/catalog.hpp"

namespace unitops {

namespace {
bool g_initialized = false;
}  // namespace

void InitRoster0() { g_initialized = true; }
void ReInitRoster0() { InitRoster0(); }
bool IsRosterInitialized() { return g_initialized; }

std::unique_ptr<CTalOperation> CreateOperationFromRoster0(CTalProcedure* owner, unsigned modelId) {
    const roster::OperationEntry* entry = roster::FindOperation(modelId);
    if (!entry) return nullptr;
    const CRuntimeClass* rc = RosterClasses().Find(entry->className);
    if (!rc) return nullptr;
    std::unique_ptr<CObject> obj = rc->CreateObject();
    std::unique_ptr<CTalOperation> op(dynamic_cast<CTalOperation*>(obj.get()));
    if (!op) return nullptr;
    obj.release();
    op->SetOwner(owner);
    op->InitSimModelParams();
    op->InitCostParams();
    return op;
}

namespace {
std::unique_ptr<CTalEquipment> MakeEquipment(int typeId) {
    const roster::EquipmentEntry* entry = roster::FindEquipment(typeId);
    if (!entry) return nullptr;
    const CRuntimeClass* rc = RosterClasses().Find(entry->className);
    if (!rc) return nullptr;
    std::unique_ptr<CObject> obj = rc->CreateObject();
    std::unique_ptr<CTalEquipment> e(dynamic_cast<CTalEquipment*>(obj.get()));
    if (e) obj.release();
    return e;
}
}  // namespace

int CreateEquipmentFromRoster0(CTalProcedure* owner, int typeId, std::unique_ptr<CTalEquipment>& out) {
    assert(!owner || !owner->Equipment());
    std::unique_ptr<CTalEquipment> e = MakeEquipment(typeId);
    if (!e) return 0;
    e->SetOwner(owner);
    e->InitSizeParams();
    e->InitCostParams();
    out = std::move(e);
    return 1;
}

int CreateEquipmentFromRoster0(int typeId, std::unique_ptr<CTalEquipment>& out) {
    std::unique_ptr<CTalEquipment> e = MakeEquipment(typeId);
    if (!e) return 0;
    out = std::move(e);
    return 1;
}

int CreateIconFromRoster0(CTalProcBlock* block, unsigned iconId) {
    assert(block && !block->UIcon());
    const roster::IconEntry* entry = roster::FindIcon(iconId);
    if (!entry || !block) return 0;
    block->SetUIcon(std::make_unique<CTalUIcon>(entry->className, iconId,
                                                IconPorts{entry->inputs, entry->outputs, entry->vent}));
    return 1;
}

int DefaultOperIDsFromRoster0(unsigned procedureId, std::list<unsigned>& ids) {
    const roster::ProcedureEntry* entry = roster::FindProcedure(procedureId);
    if (!entry) return 0;
    // The batch generic boxes deliberately answer 0, as for an unknown ID.
    switch (procedureId) {
        case 0xA0B5: case 0xA0B7: case 0xA0B8: case 0xA0B9: return 0;
        default: break;
    }
    if (entry->defaultOperation) ids.push_back(entry->defaultOperation);
    return 1;
}

int EquipTypeIDFromRoster0(unsigned procedureId) {
    const roster::ProcedureEntry* entry = roster::FindProcedure(procedureId);
    return entry ? entry->equipmentType : 0;
}

unsigned IconIDFromRoster0(unsigned procedureId) {
    const roster::ProcedureEntry* entry = roster::FindProcedure(procedureId);
    return entry ? entry->iconId : 0;
}

std::unique_ptr<CTalProcedure> CreateProcedureFromRoster(CTalDocEss* doc, std::string name, unsigned procedureId,
                                                         bool withDefaultOperations) {
    if (!roster::FindProcedure(procedureId)) return nullptr;
    auto proc = std::make_unique<CTalProcedure>(doc, std::move(name), procedureId);
    proc->SetBatchMode(proc->IsFlowsheetInBatchMode());
    CreateIconFromRoster0(&proc->Block(), IconIDFromRoster0(procedureId));
    proc->SetUpPorts();
    std::unique_ptr<CTalEquipment> equipment;
    if (const int type = EquipTypeIDFromRoster0(procedureId); type && CreateEquipmentFromRoster0(proc.get(), type, equipment)) {
        proc->SetEquipment(std::move(equipment));
    }
    if (withDefaultOperations) {
        std::list<unsigned> ids;
        DefaultOperIDsFromRoster0(procedureId, ids);
        for (unsigned id : ids) {
            if (auto op = CreateOperationFromRoster0(proc.get(), id)) {
                op->SetName(op->DefaultPrefix() + "1");
                proc->AddOperation(std::move(op));
            }
        }
    }
    return proc;
}

void OperationMapInRoster0(std::map<unsigned, const char*>& map) {
    for (const auto& e : roster::Operations()) {
        if (e.mapName) map[e.modelId] = e.mapName;
    }
}

void EquipmentMapInRoster0(std::map<unsigned, const char*>& map) {
    for (const auto& e : roster::EquipmentTypes()) {
        if (e.mapName) map[static_cast<unsigned>(e.typeId)] = e.mapName;
    }
}

void ProcedureMapInRoster0(std::map<unsigned, const char*>& map) {
    for (const auto& e : roster::Procedures()) {
        if (e.mapName) map[e.procedureId] = e.mapName;
    }
}

}  // namespace unitops
