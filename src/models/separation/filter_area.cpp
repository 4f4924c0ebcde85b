#include "unitops/models/separation/filter_area.hpp"

#include <algorithm>

namespace unitops {

double VolumePerCycle(const CTalOperation& op, double volFlow) {
    const double T = op.IsFlowsheetInBatchMode() ? op.PlantBatchTime() : op.CycleTime();
    return volFlow * T / std::max(op.NumberOfCycles(), 1);
}

double FilterAreaOfCycle(CTalOperation& op, const CTalEquipment* e, double Wc, double& flux, const AreaSizer& size,
                         int skipSizing, int& ok) {
    double area = 0.0;
    if (!op.IsDesignMode() && e) {
        area = std::max(e->NumberOfUnits(), 1) * e->Size();
        if (op.IsProcessTimeSetByUser()) {
            flux = area * op.m_ProcessTime > 1e-15 ? Wc / (area * op.m_ProcessTime) : 0.0;
        } else {
            op.m_ProcessTime = area * flux > 1e-15 ? std::max(Wc / (area * flux), 1e-15) : 1e-15;
        }
        return area;
    }
    const double t = op.ProcessTime();
    area = flux * t > 1e-15 ? Wc / (flux * t) : 0.0;
    if (e && !skipSizing) {
        unsigned msg = 0;
        if (!size(area, msg)) {
            op.SetSimMsg(msg, 0);
            ok = 0;
        }
    }
    return area;
}

void WriteFiltrationTimeLines(std::FILE* f, const CTalOperation& op, double flux) {
    const double fluxShown = op.IsInInternalUnits() ? display::kLitrePerM2Hour.ToDisplay(flux) : flux;
    // The time is printed in hours whatever units the operation shows it in.
    const double process = op.IsInInternalUnits() ? op.ProcessTime() : op.ProcessTimeUnits().Display().ToInternal(op.ProcessTime());
    const double hours = process / 3600.0;
    const bool design = op.IsDesignMode();
    const bool set = op.IsProcessTimeSetByUser();
    if (!design) std::fprintf(f, set ? "Filtration Time is Set.\n" : "Filtration Time is Calculated.\n");
    if (design || set) std::fprintf(f, "Filtration Time        = %-15.3lf h\n", hours);
    if (design || !set) std::fprintf(f, "Average Filtrate Flux  = %-15.3lf L/m2-h\n", fluxShown);
}

bool BidVolumeOnStream(const CTalOperation& op, CTalStream* stream, CTalSModel& copy, double volFlow) {
    copy.Zero(true, true);
    if (stream) stream->CopyDataInto(copy, 1);
    copy.SetMassFlow(1.0);  // an empty stream shows the density of its remembered composition
    const double density = copy.Density();
    const double rho = density >= 1e-15 ? density : 1000.0;
    const double bid = std::max(volFlow, 0.0) * rho;
    copy.SetMassFlow(bid);
    if (stream) stream->SetBPGFlowBid(&op, bid, 0);
    return !(bid > 1e-15 && copy.MassFlow() <= 1e-15);
}

void PowerByArea(CTalOperation& op, double area) {
    if (op.m_PowerMode != 1 || area <= 1e-15) {
        op.m_Power = area * op.m_SpecPower;
    } else {
        op.m_SpecPower = op.m_Power / area;
    }
}

std::string FiltrationTimeText(const CTalOperation& op, double flux) {
    const bool internal = op.IsInInternalUnits() != 0;
    char buffer[120];
    if (op.IsProcessTimeCalculated()) {
        std::snprintf(buffer, sizeof buffer, "Filter at a flux of %.2lf L/m2-h", internal ? display::kLitrePerM2Hour.ToDisplay(flux) : flux);
    } else {
        const double t = internal ? op.ProcessTimeUnits().Display().ToDisplay(op.ProcessTime()) : op.ProcessTime();
        std::snprintf(buffer, sizeof buffer, "Filter for %.2lf %s", t, op.ProcessTimeUnits().UnitsName().c_str());
    }
    return buffer;
}

}  // namespace unitops
