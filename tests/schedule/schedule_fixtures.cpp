#include "schedule_fixtures.hpp"

namespace unitops::test {

std::string TwoVesselRecipe(const std::string& shift, const std::string& flowsheetExtra, const std::string& chargeExtra) {
    return R"js({
  "flowsheet": {"name": "Two vessels", "mode": "batch", "PlantBatchTime": "8 h")js" + flowsheetExtra + R"js(},
  "components": ["Water", "Nitrogen", "Oxygen"],
  "streams": {"WATER": {"T": "20 degC", "flows": {"Water": "1000 kg/batch"}}},
  "procedures": [
    {"name": "P-1", "type": "Vessel Procedure (Generic)", "inputs": ["WATER"], "outputs": ["S-1"],
     "equipment": {"design": true, "name": "V-101"},
     "operations": [
       {"model": "Charge", "name": "CHARGE-1", "PortStream": "WATER", "SetupTime": 0, "ProcessTimeMode": 1,
        "ProcessTime": "20 min")js" + chargeExtra + R"js(},
       {"model": "Transfer Out", "name": "TRANSFER-OUT-1", "PortStream": "S-1", "TransferProcedure": "P-2", "SetupTime": 0,
        "TransferOutMode": 1, "FractionOut": 1, "ProcessTimeMode": 1, "ProcessTime": "30 min"}
     ]},
    {"name": "P-2", "type": "Vessel Procedure (Generic)", "inputs": ["S-1"], "outputs": ["PRODUCT"],
     "equipment": {"design": true, "name": "V-102"},
     "operations": [
       {"model": "Transfer In", "name": "TRANSFER-IN-1", "PortStream": "S-1", "TransferProcedure": "P-1", "SetupTime": 0,
        "ProcessTimeMode": 2, "FlowBasis": 1, "MassFlowRate": "100 kg/min",
        "start": {"with": "TRANSFER-OUT-1", "procedure": "P-1", "shift": ")js" + shift + R"js("}},
       {"model": "Holding", "name": "REACT", "SetupTime": 0, "ProcessTime": "4 h"},
       {"model": "Transfer Out", "name": "TRANSFER-OUT-1", "PortStream": "PRODUCT", "SetupTime": 0,
        "TransferOutMode": 1, "FractionOut": 1, "ProcessTimeMode": 1, "ProcessTime": "1 h"}
     ]}
  ]
})js";
}

std::string CyclingVessel(int cycles) {
    return R"js({
  "flowsheet": {"name": "Cycles", "mode": "batch", "PlantBatchTime": "8 h"},
  "components": ["Water", "Nitrogen", "Oxygen"],
  "procedures": [
    {"name": "P-1", "type": "Vessel Procedure (Generic)", "NumberOfCycles": )js" +
           std::to_string(cycles) + R"js(,
     "equipment": {"design": true, "name": "V-101"},
     "operations": [
       {"model": "Holding", "name": "HOLD-1", "SetupTime": "10 min", "ProcessTime": "20 min"},
       {"model": "Agitation", "name": "AGITATE-1", "SetupTime": 0, "ProcessTime": "15 min"}
     ]}
  ]
})js";
}

std::string SharedVessel(const std::string& p2Start) {
    return R"js({
  "flowsheet": {"name": "Shared", "mode": "batch", "PlantBatchTime": "8 h"},
  "components": ["Water", "Nitrogen", "Oxygen"],
  "procedures": [
    {"name": "P-1", "type": "Vessel Procedure (Generic)", "equipment": {"design": true, "name": "V-101"},
     "operations": [{"model": "Holding", "name": "HOLD-1", "SetupTime": 0, "ProcessTime": "30 min"}]},
    {"name": "P-2", "type": "Vessel Procedure (Generic)", "equipment": {"design": true, "name": "V-101"}, "start": )js" +
           p2Start + R"js(,
     "operations": [{"model": "Holding", "name": "HOLD-1", "SetupTime": 0, "ProcessTime": "1 h"}]}
  ]
})js";
}

std::string RecycleBetweenVessels() {
    return R"js({
  "flowsheet": {"name": "Recycle", "mode": "batch", "PlantBatchTime": "8 h"},
  "components": ["Water", "Nitrogen", "Oxygen"],
  "streams": {"WATER": {"T": "20 degC", "flows": {"Water": "1000 kg/batch"}}},
  "procedures": [
    {"name": "P-1", "type": "Vessel Procedure (Generic)", "inputs": ["WATER", "S-2"], "outputs": ["S-1", "OUT"],
     "equipment": {"design": true, "name": "V-101"},
     "operations": [
       {"model": "Charge", "name": "CHARGE-1", "PortStream": "WATER", "SetupTime": 0, "ProcessTimeMode": 1, "ProcessTime": "20 min"},
       {"model": "Transfer In", "name": "TRANSFER-IN-1", "PortStream": "S-2", "TransferProcedure": "P-2", "SetupTime": 0,
        "ProcessTimeMode": 1, "ProcessTime": "30 min"},
       {"model": "Transfer Out", "name": "TRANSFER-OUT-1", "PortStream": "S-1", "TransferProcedure": "P-2", "SetupTime": 0,
        "TransferOutMode": 1, "FractionOut": 0.5, "ProcessTimeMode": 1, "ProcessTime": "30 min"},
       {"model": "Transfer Out", "name": "TRANSFER-OUT-2", "PortStream": "OUT", "SetupTime": 0,
        "TransferOutMode": 1, "FractionOut": 1, "ProcessTimeMode": 1, "ProcessTime": "30 min"}
     ]},
    {"name": "P-2", "type": "Vessel Procedure (Generic)", "inputs": ["S-1"], "outputs": ["S-2"],
     "equipment": {"design": true, "name": "V-102"},
     "operations": [
       {"model": "Transfer In", "name": "TRANSFER-IN-1", "PortStream": "S-1", "TransferProcedure": "P-1", "SetupTime": 0,
        "ProcessTimeMode": 1, "ProcessTime": "30 min"},
       {"model": "Transfer Out", "name": "TRANSFER-OUT-1", "PortStream": "S-2", "TransferProcedure": "P-1", "SetupTime": 0,
        "TransferOutMode": 1, "FractionOut": 0.5, "ProcessTimeMode": 1, "ProcessTime": "30 min"}
     ]}
  ]
})js";
}

}  // namespace unitops::test
