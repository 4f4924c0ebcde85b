#pragma once
// Small batch recipes whose timelines are worked out by hand in the tests.

#include <string>

namespace unitops::test {

//! Two vessels: V-101 charges 1000 kg in 20 min and transfers it out in 30 min to V-102, whose
//! transfer in starts with it (shifted by `shift`), reacts (holds) 4 h and transfers out in 1 h.
//! No operation has a set-up time. `flowsheetExtra` is added to the flowsheet section,
//! `chargeExtra` to the first charge's keys.
std::string TwoVesselRecipe(const std::string& shift = "0 min", const std::string& flowsheetExtra = "",
                            const std::string& chargeExtra = "");

//! One empty vessel V-101 with `cycles` cycles of: hold 20 min after a 10 min set-up, agitate 15 min.
std::string CyclingVessel(int cycles);

//! P-1 holds 30 min in V-101; P-2 holds 1 h in the same item and starts by `p2Start`.
std::string SharedVessel(const std::string& p2Start);

//! Two vessels that send each other a stream in one batch, without start relations: V-101 charges
//! (20 min), takes S-2 back from V-102, then sends S-1 (30 min); V-102 takes S-1, then sends S-2
//! (30 min). The transfer in of S-2 cannot wait for its feed, which comes later in the batch.
std::string RecycleBetweenVessels();

}  // namespace unitops::test
