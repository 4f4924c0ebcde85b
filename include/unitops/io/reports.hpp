#pragma once
// The text reports: messages, the stream table, the input data report (the models' own
// description lines) and the equipment report with purchase costs and how they were found.

#include <cstdio>

#include "unitops/contract/flowsheet.hpp"
#include "unitops/contract/simulation.hpp"

namespace unitops {

void WriteMessages(std::FILE* f, const CTalDocEss& doc, const SimulationResult* result);
void WriteStreamTable(std::FILE* f, const CTalDocEss& doc);
void WriteInputDataReport(std::FILE* f, CTalDocEss& doc);
//! The equipment report; `xls` writes the models' tab-separated lines for a spreadsheet.
void WriteEquipmentReport(std::FILE* f, CTalDocEss& doc, bool xls);
//! All of the above in order.
void WriteSimulationReport(std::FILE* f, CTalDocEss& doc, const SimulationResult* result, bool xls);

//! The custom description of an operation, in display units as the dialogs show it.
std::string OperationDescription(CTalOperation& op);

}  // namespace unitops
