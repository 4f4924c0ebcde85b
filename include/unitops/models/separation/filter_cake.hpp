#pragma once
// The cake that a filter forms from the solids it retains, shared by the cloth, rotary vacuum and
// dead-end filters. The cake liquid follows from the cake porosity ε (cake volume Vs / (1 − ε)) or
// from its loss on drying (cake mass Ms / (1 − LOD/100)).

#include <cstdio>
#include <string>
#include <vector>

#include "unitops/contract/operation.hpp"

namespace unitops {

//! How dry a cake is: by porosity (v/v) or by loss on drying (kept in percent).
struct CakeDryness {
    bool byLOD = false;
    double porosity = 0.4;
    double lod = 30.0;
};

//! Cake volume and the liquid volume the cake keeps with the retained solids, m3/s.
struct FilterCake {
    double volume = 0.0;
    double liquid = 0.0;
};

//! The retention of the operation's primary biomass; 1 without one.
double BiomassRetention(const CTalOperation& op, const std::vector<double>& retention);

//! The cake of the solids retained from `s`: intracellular at `Rb`, extracellular at each
//! component's own retention.
FilterCake CakeOf(const CTalSModel& s, const std::vector<double>& retention, double Rb, const CakeDryness& dryness);

//! The volume (m3/s) of the extracellular flow of the components that nothing retains, counting
//! only those denser than `minDensity`: the free liquid the cake can take its liquid from.
double FreeLiquidVolume(const CTalSModel& s, const std::vector<double>& retention, double minDensity);

//! True when the cake holds more liquid than the feed leaves free: the feed cannot give the cake
//! its liquid, so it is too concentrated to filter (and a split would create mass).
bool CakeShortOfLiquid(const FilterCake& cake, double freeLiquid);

//! Sets on `cake` the retained solids of `s` and the share `k` of each unretained component's
//! extracellular flow; the cake holds no vapour.
void SetCake(const CTalSModel& s, CTalSModel& cake, const std::vector<double>& retention, double Rb, double k);

//! Refuses a loss on drying outside 0 to 100 % or a porosity outside 0 to 1; 1 when accepted.
int CheckCakeDryness(CTalModelPP* page, const CakeDryness& dryness);

//! The report's table of each component's removal, in percent.
void WriteRemovalTable(std::FILE* f, const CTalOperation& op, const std::vector<double>& retention);
//! The report's lines on the cake's dryness.
void WriteCakeDryness(std::FILE* f, const CakeDryness& dryness);
//! ", to cake porosity of ..." or ", to final LOD of ..." for the operation's description.
std::string CakeDrynessText(const CakeDryness& dryness);

}  // namespace unitops
