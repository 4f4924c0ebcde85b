#pragma once
// The library's front door: factories and lookups by procedure, operation, equipment and
// icon number, and the registry of every class that can be created by name.

#include <list>
#include <map>
#include <string>
#include <memory>

#include "unitops/contract/equipment.hpp"
#include "unitops/contract/object.hpp"
#include "unitops/contract/operation.hpp"
#include "unitops/contract/procedure.hpp"

namespace unitops {

//! Every class of the library, for loading objects by class name.
const ClassRegistry& RosterClasses();

void InitRoster0();
void ReInitRoster0();
bool IsRosterInitialized();

//! A new operation of the model for `owner`, with its defaults; null for an unknown ID
//! or a model that this build does not have yet.
std::unique_ptr<CTalOperation> CreateOperationFromRoster0(CTalProcedure* owner, unsigned modelId);
//! A new item for `owner` with its size and cost defaults; 0 for an unknown type.
int CreateEquipmentFromRoster0(CTalProcedure* owner, int typeId, std::unique_ptr<CTalEquipment>& out);
//! An empty item for loading or copying: no size or cost defaults and no owner.
int CreateEquipmentFromRoster0(int typeId, std::unique_ptr<CTalEquipment>& out);
int CreateIconFromRoster0(CTalProcBlock* block, unsigned iconId);
//! Appends the procedure's default operation to `ids`; 0 for unknown IDs and the batch generic boxes.
int DefaultOperIDsFromRoster0(unsigned procedureId, std::list<unsigned>& ids);
int EquipTypeIDFromRoster0(unsigned procedureId);
unsigned IconIDFromRoster0(unsigned procedureId);
//! A procedure of the given kind with its icon, ports and equipment (if this build has its
//! class), and its default operation when `withDefaultOperations`. Null for an unknown ID.
std::unique_ptr<CTalProcedure> CreateProcedureFromRoster(CTalDocEss* doc, std::string name, unsigned procedureId,
                                                         bool withDefaultOperations);

void OperationMapInRoster0(std::map<unsigned, const char*>& map);
void EquipmentMapInRoster0(std::map<unsigned, const char*>& map);
void ProcedureMapInRoster0(std::map<unsigned, const char*>& map);

}  // namespace unitops
