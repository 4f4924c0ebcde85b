#pragma once
// The area, flux and time of a filter that passes a volume each cycle, shared by the membrane and
// cloth filters: A = Wc / (J t). Design finds the area; rating finds the flux when the time is the
// user's and the time otherwise.

#include <cstdio>
#include <functional>
#include <string>

#include "unitops/contract/equipment.hpp"
#include "unitops/contract/operation.hpp"

namespace unitops {

//! Sizes the equipment to an area (m2, all units); 0 with a message number on failure.
using AreaSizer = std::function<int(double area, unsigned& msg)>;

//! The volume (m3) that a flow of `volFlow` m3/s carries in one cycle of the operation.
double VolumePerCycle(const CTalOperation& op, double volFlow);

//! Answers the total area; sets `flux` or the operation's time in rating and sizes through `size`
//! in design unless `skipSizing`. A sizing failure is reported and clears `ok`.
double FilterAreaOfCycle(CTalOperation& op, const CTalEquipment* e, double Wc, double& flux, const AreaSizer& size,
                         int skipSizing, int& ok);

//! The report's time lines of a filtration: in rating whether the time is set or calculated, then
//! the time when it is given and the flux (L/m2-h) when it is not; in design both values.
void WriteFiltrationTimeLines(std::FILE* f, const CTalOperation& op, double flux);

//! Fills `copy` with the composition of `stream` at `volFlow` m3/s and bids that mass on the
//! stream for `op`. The stream may be empty: its remembered composition gives the density, and
//! 1000 kg/m3 is taken when it has none. Answers false when a volume is wanted but the stream has
//! no composition to give it, so that `copy` stays empty.
bool BidVolumeOnStream(const CTalOperation& op, CTalStream* stream, CTalSModel& copy, double volFlow);

//! "Filter at a flux of ..." when the time is calculated, "Filter for ..." when it is the user's.
std::string FiltrationTimeText(const CTalOperation& op, double flux);

//! Power from the specific power per m2, or, with the power given, the specific power from it.
void PowerByArea(CTalOperation& op, double area);

}  // namespace unitops
