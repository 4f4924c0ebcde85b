#include "unitops/models/separation/filter_cake.hpp"

#include "unitops/contract/messages.hpp"

namespace unitops {

double BiomassRetention(const CTalOperation& op, const std::vector<double>& retention) {
    const int b = op.GetPrimaryBiomassIndex();
    return b >= 0 && static_cast<std::size_t>(b) < retention.size() ? retention[static_cast<std::size_t>(b)] : 1.0;
}

FilterCake CakeOf(const CTalSModel& s, const std::vector<double>& retention, double Rb, const CakeDryness& dryness) {
    double mass = 0.0, volume = 0.0;
    for (int i = 0; i < s.NumberOfComponents(); ++i) {
        const double m = s.ComponentIntraMassFlow(i) * Rb + s.ComponentExtraMassFlow(i) * retention[static_cast<std::size_t>(i)];
        const double rho = s.ComponentDensity(i);
        mass += m;
        if (rho > 0.0) volume += m / rho;
    }
    FilterCake cake;
    if (mass <= 1e-15) return cake;  // nothing retained: no cake, whatever the dryness
    if (!dryness.byLOD) {
        cake.volume = volume / (1.0 - dryness.porosity);
        cake.liquid = cake.volume - volume;
    } else {
        const double liquidMass = mass / ((100.0 - dryness.lod) / 100.0) - mass;
        const double rho = s.SolventDensity(retention.data(), 1e-15);
        cake.liquid = rho > 1e-15 ? liquidMass / rho : 0.0;
        cake.volume = volume + cake.liquid;
    }
    return cake;
}

// The volume (m3/s) of the extracellular flow of the components that nothing retains, counting
// only those denser than `minDensity`.
double FreeLiquidVolume(const CTalSModel& s, const std::vector<double>& retention, double minDensity) {
    double V = 0.0;
    for (int i = 0; i < s.NumberOfComponents(); ++i) {
        const double rho = s.ComponentDensity(i);
        if (retention[static_cast<std::size_t>(i)] < 1e-15 && rho > minDensity) V += s.ComponentExtraMassFlow(i) / rho;
    }
    return V;
}

bool CakeShortOfLiquid(const FilterCake& cake, double freeLiquid) { return freeLiquid > 1e-15 && cake.liquid > freeLiquid; }

void SetCake(const CTalSModel& s, CTalSModel& cake, const std::vector<double>& retention, double Rb, double k) {
    for (int i = 0; i < s.NumberOfComponents(); ++i) {
        const double r = retention[static_cast<std::size_t>(i)];
        const double intra = s.ComponentIntraMassFlow(i) * Rb;
        const double extra = s.ComponentExtraMassFlow(i) * (r > 1e-15 ? r : k);
        cake.SetComponentFlow(i, intra + extra);
        cake.SetComponentVaporFrac(i, 0.0);
        cake.SetComponentExtraCellFrac(i, intra + extra > 1e-15 ? extra / (intra + extra) : 1.0);
    }
}

int CheckCakeDryness(CTalModelPP* page, const CakeDryness& dryness) {
    if (dryness.byLOD && (dryness.lod < 0.0 || dryness.lod > 100.0)) return ReportRange(page, 0x601, "'LOD' value", 0x648);
    if (!dryness.byLOD && (dryness.porosity < 0.0 || dryness.porosity > 1.0)) return ReportRange(page, 0x601, "Cake Porosity", 0x648);
    return 1;
}

void WriteRemovalTable(std::FILE* f, const CTalOperation& op, const std::vector<double>& retention) {
    std::fprintf(f, "Particulate Component Name     Removal %c      \n", '%');
    for (std::size_t i = 0; i < static_cast<std::size_t>(op.NumberOfComponents()) && i < retention.size(); ++i) {
        const CTalPureComponent* pc = op.GetPureComponent(static_cast<int>(i));
        std::fprintf(f, " %-15s    %18.3lf\n", pc ? pc->Name().c_str() : "", retention[i] * 100.0);
    }
}

void WriteCakeDryness(std::FILE* f, const CakeDryness& dryness) {
    if (!dryness.byLOD) {
        std::fprintf(f, "Cake concentration is specifed based on porosity \n");
        std::fprintf(f, "Cake Porosity          = %-15.3lf v/v\n", dryness.porosity);
    } else {
        std::fprintf(f, "Cake concentration is specifed based on LOD \n");
        std::fprintf(f, "Cake LOD               = %-15.3lf %c\n", dryness.lod, '%');
    }
}

std::string CakeDrynessText(const CakeDryness& dryness) {
    char buffer[80];
    if (!dryness.byLOD) {
        std::snprintf(buffer, sizeof buffer, ", to cake porosity of %.2lf v/v", dryness.porosity);
    } else {
        std::snprintf(buffer, sizeof buffer, ", to final LOD of %.2lf %c", dryness.lod, '%');
    }
    return buffer;
}

}  // namespace unitops
