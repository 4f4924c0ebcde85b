#pragma once
// The roster's tables: every operation model, equipment type, procedure and icon of the
// library, by the numbers that flowsheet files keep.

#include <span>

namespace unitops::roster {

struct OperationEntry {
    unsigned modelId;
    const char* className;
    const char* isA;
    const char* defaultPrefix;
    const char* mapName;  //!< text in the operation map; null when the model is not listed
};

struct EquipmentEntry {
    int typeId;
    const char* className;
    const char* isA;
    const char* defaultPrefix;
    const char* defaultDescription;
    const char* mapName;
};

struct ProcedureEntry {
    unsigned procedureId;
    const char* mapName;   //!< null for the procedures that stand in no map
    int equipmentType;     //!< 0 for none
    unsigned iconId;
    unsigned defaultOperation;  //!< 0 for none
};

struct IconEntry {
    unsigned iconId;
    const char* className;
    int inputs;
    int outputs;
    int vent;  //!< output port that is the vent, -1 for none
};

std::span<const OperationEntry> Operations();
std::span<const EquipmentEntry> EquipmentTypes();
std::span<const ProcedureEntry> Procedures();
std::span<const IconEntry> Icons();

const OperationEntry* FindOperation(unsigned modelId);
const EquipmentEntry* FindEquipment(int typeId);
const ProcedureEntry* FindProcedure(unsigned procedureId);
const IconEntry* FindIcon(unsigned iconId);

}  // namespace unitops::roster
