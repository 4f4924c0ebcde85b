#pragma once
// The energy a flowsheet uses: per procedure and for the whole plant, the heating and cooling
// duties, the mass of each heat-transfer agent and the electric power. A batch plant counts them
// per batch, a continuous plant per unit of time.

#include <cstdio>
#include <map>
#include <string>

#include <nlohmann/json.hpp>

#include "unitops/contract/flowsheet.hpp"

namespace unitops {

//! Energy use of a procedure or of the flowsheet, in SI. In a batch plant the amounts are per
//! batch (J and kg); in a continuous plant they are rates (W and kg/s).
struct EnergyUse {
    double heating = 0.0;     //!< heating duty: J per batch, or W
    double cooling = 0.0;     //!< cooling duty: J per batch, or W
    double electric = 0.0;    //!< electric energy per batch (J), or electric power (W)
    double peakPower = 0.0;   //!< the sum of the electric powers drawn, W
    std::map<std::string, double> agents;  //!< by agent name: kg per batch, or kg/s

    void Add(const EnergyUse& other);
    bool IsZero() const;
};

//! The energy use of one procedure; `perBatch` counts per batch of the plant.
EnergyUse ProcedureEnergy(const CTalProcedure& p, bool perBatch, double plantBatchTime);
//! The sum over all procedures, per batch in a batch plant.
EnergyUse FlowsheetEnergy(const CTalDocEss& doc);

//! The body of the energy section of the text report: per procedure that uses any, then the total.
void WriteEnergyReport(std::FILE* f, const CTalDocEss& doc);
//! The same figures, SI, for the machine-readable results.
nlohmann::json EnergyToJson(const CTalDocEss& doc);

}  // namespace unitops
