#pragma once
// Field-by-field comparison of two flowsheets: what a saved file must bring back.

#include <string>

#include "unitops/contract/flowsheet.hpp"

namespace unitops::test {

//! Settings, components, agents, streams (with the feeds' definitions), procedures with their
//! ports, equipment, operations, states, messages and cost computations.
void ExpectSameFlowsheet(const CTalDocEss& expected, const CTalDocEss& actual);

void ExpectSameState(const CTalSModel& expected, const CTalSModel& actual, const std::string& what);
//! Every persisted row, and every row computed from them.
void ExpectSameMembers(const CObject& expected, const CObject& actual, const std::string& what);

}  // namespace unitops::test
