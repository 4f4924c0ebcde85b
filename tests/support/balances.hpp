#pragma once
// Checks that hold for every simulated flowsheet, whatever its models.

#include <string>

#include <nlohmann/json.hpp>

#include "unitops/contract/flowsheet.hpp"

namespace unitops::test {

//! What enters each procedure (its inputs, and in a batch recipe its first state) leaves it (its
//! outputs, and in a batch recipe its last state) to `relative` of what enters; no flow of a stream or state is negative or not finite.
void ExpectMassClosesPerProcedure(const CTalDocEss& doc, double relative = 1e-9);

//! Two result trees alike: numbers to `tolerance` relative, everything else equal; `path` names
//! the place of a difference.
void ExpectSameResults(const nlohmann::json& expected, const nlohmann::json& actual, const std::string& path,
                       double tolerance);

}  // namespace unitops::test
