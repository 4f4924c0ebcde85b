#include "unitops/contract/emissions.hpp"

#include <algorithm>
#include <cmath>

#include "unitops/contract/archive.hpp"
#include "unitops/contract/operation.hpp"

namespace unitops {

void CTalEmissions::SetEmissionFrac(int i, double f) {
    if (i < 0) return;
    const auto k = static_cast<std::size_t>(i);
    if (fractions_.size() <= k) fractions_.resize(k + 1, -1.0);
    fractions_[k] = std::clamp(f, 0.0, 1.0);
}

double CTalEmissions::EmissionFrac(int i) const {
    return IsEmissionSet(i) ? fractions_[static_cast<std::size_t>(i)] : 1.0;
}

bool CTalEmissions::IsEmissionSet(int i) const {
    return i >= 0 && static_cast<std::size_t>(i) < fractions_.size() && fractions_[static_cast<std::size_t>(i)] >= 0.0;
}

void CTalEmissions::ReMapComponents(const ComponentList& oldComps, const ComponentList& newComps) {
    if (fractions_.empty()) return;
    fractions_ = MapByComponentName(oldComps, newComps, fractions_, -1.0);
}

void CTalEmissions::Serialize(CArchive& ar) {
    if (ar.IsStoring()) {
        ar.WriteWord(perform_);
        ar << static_cast<std::int32_t>(fractions_.size());
        for (double f : fractions_) ar << f;
        return;
    }
    perform_ = ar.ReadWord();
    std::int32_t n = 0;
    ar >> n;
    if (n < 0 || static_cast<std::size_t>(n) > (ar.Bytes().size() - ar.Position()) / sizeof(double)) {
        ar.Fail("bad count of emission fractions");
    }
    fractions_.assign(static_cast<std::size_t>(n), 0.0);
    for (double& f : fractions_) ar >> f;
}

void CTalEmissionsSpec::MoveShare(CTalSModel& gas, CTalSModel& emission, double share) const {
    for (int i = 0; i < gas.NumberOfComponents(); ++i) {
        const double leaving = gas.ComponentFlow(i) * share * EmissionFrac(i);
        if (leaving <= 0.0) continue;
        emission.SetComponentFlow(i, leaving);
        emission.SetComponentVaporFrac(i, 1.0);
        gas.SetComponentFlow(i, gas.ComponentFlow(i) - leaving);
    }
}

void CTalEmissionsSpec::CalcDisplacementEmissions(CTalSModel&, CTalSModel& gas, CTalSModel& emission,
                                                  double freeVolume, double displacedVolume) const {
    emission.Zero(false, true);
    emission.SetTemp(gas.Temp());
    emission.SetPress(gas.Press());
    const double total = freeVolume + displacedVolume;
    if (!(total > 0.0) || !(displacedVolume > 0.0)) return;
    const double share = std::min(displacedVolume / total, 1.0);
    MoveShare(gas, emission, share);
}

void CTalEmissionsSpec::CalcVentEvacuateEmissions(CTalSModel&, CTalSModel& vapor, CTalSModel& emission, double,
                                                  double headSpace, double fromPressure, double toPressure) const {
    emission.Zero(false, true);
    emission.SetTemp(vapor.Temp());
    emission.SetPress(toPressure);
    if (!(headSpace > 1e-15) || !(fromPressure > 0.0) || !(toPressure < fromPressure)) return;
    MoveShare(vapor, emission, 1.0 - std::max(toPressure, 0.0) / fromPressure);
}

void CTalEmissionsSpec::CalcGasSweepEmissions(CTalSModel& liquid, CTalSModel& vapor, const CTalSModel& gas,
                                              CTalSModel& emission, double, double headSpace, double, double pressure) const {
    emission.Zero(false, true);
    emission.SetTemp(gas.Temp());
    emission.SetPress(pressure);
    const double swept = gas.MoleFlow();
    if (!(swept > 0.0)) return;
    const double T = liquid.Temp() > 0.0 ? liquid.Temp() : gas.Temp();
    // Moles the head space holds, as a flow on the batch basis of the streams.
    const double Tb = owner_ ? owner_->BatchReferenceTime() : 1.0;
    const double held = headSpace > 1e-15 && pressure > 0.0 && T > 0.0
                            ? pressure * headSpace / (CTalSModel::kGasConstant * T) / (Tb > 0.0 ? Tb : 1.0)
                            : 0.0;
    const double replaced = held > 0.0 ? 1.0 - std::exp(-swept / held) : 0.0;
    MoveShare(vapor, emission, replaced);
    // The sweep gas that stays fills what left; the rest passes on to the vent.
    const double stays = held > 0.0 ? std::min(replaced * held / swept, 1.0) : 0.0;
    for (int i = 0; i < gas.NumberOfComponents(); ++i) {
        const double flow = gas.ComponentFlow(i);
        if (!(flow > 0.0)) continue;
        vapor.SetComponentFlow(i, vapor.ComponentFlow(i) + flow * stays);
        vapor.SetComponentVaporFrac(i, 1.0);
        emission.SetComponentFlow(i, emission.ComponentFlow(i) + flow * (1.0 - stays));
        emission.SetComponentVaporFrac(i, 1.0);
    }
}

void CTalEmissionsSpec::CalcHeatEmissions(CTalSModel&, CTalSModel& gas, CTalSModel& emission, double headSpace,
                                          double, double finalTemp) const {
    emission.Zero(false, true);
    emission.SetTemp(finalTemp);
    emission.SetPress(gas.Press());
    const double T = gas.Temp();
    if (!(headSpace > 1e-15) || !(T > 0.0) || !(finalTemp > T)) return;
    const double share = 1.0 - T / finalTemp;
    MoveShare(gas, emission, share);
}

void CTalEmissionsSpec::CalcRxnEmissions(CTalSModel&, CTalSModel& vapor, CTalSModel& emission, double pressure,
                                         double headspaceVolume) const {
    emission.Zero(false, true);
    emission.SetTemp(vapor.Temp());
    emission.SetPress(pressure);
    const double formed = vapor.MoleFlow();
    if (!(formed > 0.0)) return;
    double share = 1.0;
    const bool batch = owner_ && owner_->IsCyclical();
    const double T = vapor.Temp();
    if (batch && headspaceVolume > 0.0 && pressure > 0.0 && T > 0.0) {
        // Kept in the head space at the end of a cycle, as a flow on the batch basis.
        const double Tb = owner_->BatchReferenceTime();
        const double kept = pressure * headspaceVolume / (CTalSModel::kGasConstant * T) * owner_->NumberOfCycles() /
                            (Tb > 0.0 ? Tb : 1.0);
        share = std::max(1.0 - kept / formed, 0.0);
    }
    for (int i = 0; i < vapor.NumberOfComponents(); ++i) {
        const double leaving = vapor.ComponentFlow(i) * share * EmissionFrac(i);
        if (!(leaving > 0.0)) continue;
        emission.SetComponentFlow(i, leaving);
        emission.SetComponentVaporFrac(i, 1.0);
        vapor.SetComponentFlow(i, vapor.ComponentFlow(i) - leaving);
    }
}

void CTalEmissionsSpec::WriteIDR_Description(std::FILE* f) const {
    std::fprintf(f, "Emissions      : %s\n", PerformEmissionCalcs() ? "calculated (vapour leaves by the vent)" : "not calculated");
}

void CTalEmissionsSpec::Serialize(CArchive& ar) {
    CTalEmissions::Serialize(ar);
    if (ar.IsStoring()) {
        ar << static_cast<std::int32_t>(gaseousPort_);
    } else {
        std::int32_t port = 0;
        ar >> port;
        gaseousPort_ = port;
    }
}

}  // namespace unitops
