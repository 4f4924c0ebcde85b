#include "unitops/io/roster_listing.hpp"

#include <string>

#include "unitops/roster/catalog.hpp"
#include "unitops/roster/roster.hpp"

namespace unitops {

using nlohmann::json;

namespace {
std::string Hex(unsigned v, int digits) {
    char buffer[16];
    std::snprintf(buffer, sizeof buffer, "0x%0*X", digits, v);
    return buffer;
}
bool IsBuilt(const char* className) { return RosterClasses().Find(className) != nullptr; }
// A procedure can be used when its equipment (if any) and its default operation are built.
bool IsBuilt(const roster::ProcedureEntry& p) {
    const auto* equipment = p.equipmentType ? roster::FindEquipment(p.equipmentType) : nullptr;
    const auto* operation = p.defaultOperation ? roster::FindOperation(p.defaultOperation) : nullptr;
    return (!p.equipmentType || (equipment && IsBuilt(equipment->className))) &&
           (!p.defaultOperation || (operation && IsBuilt(operation->className)));
}
json TextOrNull(const char* s) { return s ? json(s) : json(nullptr); }
}  // namespace

void WriteRoster(std::FILE* f) {
    std::fprintf(f, "OPERATIONS (model ID, class, IsA, DefaultPrefix, name in the operation map)\n");
    for (const auto& op : roster::Operations()) {
        std::fprintf(f, "  %s  %-30s %-42s %-16s %s%s\n", Hex(op.modelId, 4).c_str(), op.className,
                     (std::string("\"") + op.isA + "\"").c_str(), (std::string("\"") + op.defaultPrefix + "\"").c_str(),
                     op.mapName ? (std::string("\"") + op.mapName + "\"").c_str() : "(not listed)",
                     IsBuilt(op.className) ? "" : "  [not built yet]");
    }
    std::fprintf(f, "\nEQUIPMENT (type ID, class, IsA, DefaultPrefix, DefaultDescription, name in the equipment map)\n");
    for (const auto& e : roster::EquipmentTypes()) {
        std::fprintf(f, "  %s  %-26s %-26s %-7s %-28s %s%s\n", Hex(static_cast<unsigned>(e.typeId), 4).c_str(),
                     e.className, (std::string("\"") + e.isA + "\"").c_str(),
                     (std::string("\"") + e.defaultPrefix + "\"").c_str(),
                     (std::string("\"") + e.defaultDescription + "\"").c_str(),
                     (std::string("\"") + e.mapName + "\"").c_str(), IsBuilt(e.className) ? "" : "  [not built yet]");
    }
    std::fprintf(f, "\nPROCEDURES (procedure ID, name in the procedure map, equipment type, icon, default operation)\n");
    for (const auto& p : roster::Procedures()) {
        std::fprintf(f, "  %s  %-58s %-7s %s  %-6s%s\n", Hex(p.procedureId, 4).c_str(),
                     p.mapName ? (std::string("\"") + p.mapName + "\"").c_str() : "(not listed)",
                     p.equipmentType ? Hex(static_cast<unsigned>(p.equipmentType), 4).c_str() : "none",
                     Hex(p.iconId, 4).c_str(), p.defaultOperation ? Hex(p.defaultOperation, 4).c_str() : "none",
                     IsBuilt(p) ? "" : "  [not built yet]");
    }
    std::fprintf(f, "\nICONS (icon ID, class, input ports, output ports, vent port)\n");
    for (const auto& i : roster::Icons()) {
        std::fprintf(f, "  %s  %-32s %2d %2d %s\n", Hex(i.iconId, 4).c_str(), i.className, i.inputs, i.outputs,
                     i.vent >= 0 ? std::to_string(i.vent).c_str() : "none");
    }
}

json RosterToJson() {
    json out;
    json ops = json::array();
    for (const auto& op : roster::Operations()) {
        ops.push_back({{"id", Hex(op.modelId, 4)}, {"class", op.className}, {"IsA", op.isA},
                       {"DefaultPrefix", op.defaultPrefix}, {"map_name", TextOrNull(op.mapName)},
                       {"built", IsBuilt(op.className)}});
    }
    json equipment = json::array();
    for (const auto& e : roster::EquipmentTypes()) {
        equipment.push_back({{"id", Hex(static_cast<unsigned>(e.typeId), 4)}, {"class", e.className}, {"IsA", e.isA},
                             {"DefaultPrefix", e.defaultPrefix}, {"DefaultDescription", e.defaultDescription},
                             {"map_name", TextOrNull(e.mapName)}, {"built", IsBuilt(e.className)}});
    }
    json procedures = json::array();
    for (const auto& p : roster::Procedures()) {
        procedures.push_back({{"id", Hex(p.procedureId, 4)}, {"map_name", TextOrNull(p.mapName)},
                              {"equipment", p.equipmentType ? json(Hex(static_cast<unsigned>(p.equipmentType), 4)) : json(nullptr)},
                              {"icon", Hex(p.iconId, 4)},
                              {"default_operation", p.defaultOperation ? json(Hex(p.defaultOperation, 4)) : json(nullptr)},
                              {"built", IsBuilt(p)}});
    }
    json icons = json::array();
    for (const auto& i : roster::Icons()) {
        icons.push_back({{"id", Hex(i.iconId, 4)}, {"class", i.className}, {"inputs", i.inputs}, {"outputs", i.outputs},
                         {"vent", i.vent >= 0 ? json(i.vent) : json(nullptr)}});
    }
    out["operations"] = ops;
    out["equipment"] = equipment;
    out["procedures"] = procedures;
    out["icons"] = icons;
    return out;
}

}  // namespace unitops
