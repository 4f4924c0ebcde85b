#include "unitops/contract/component.hpp"

#include <algorithm>
#include <cmath>

namespace unitops {

void CTalPureComponent::PreparedCp::Prepare(const CpCorrelation& c) {
    cp = c;
    integral = {c.c[0], c.c[1] / 2, c.c[2] / 3, c.c[3] / 4};
    atReference = c.Antiderivative(kReferenceTemp);
}

void CTalPureComponent::Finish() {
    liquid_.Prepare(cpLiquid);
    gas_.Prepare(cpIdealGas);
}

double CTalPureComponent::VaporPressure(double T) const {
    if (!hasVaporPressure || T + antoine[2] <= 0.0) return 0.0;
    return std::exp(antoine[0] - antoine[1] / (T + antoine[2]));
}

bool CTalPureComponent::IsVolatileAt(double T, double P) const {
    if (hasVaporPressure) {
        if (criticalTemperature > 0.0 && T >= criticalTemperature) return true;
        return VaporPressure(T) > P;
    }
    return phase == NormalPhase::Gas;
}

int FindComponentByName(const ComponentList& comps, std::string_view name) {
    for (std::size_t i = 0; i < comps.size(); ++i) {
        if (comps[i]->name == name) return static_cast<int>(i);
    }
    return -1;
}

bool CTalStockMixture::IsPureCompIn(std::string_view component) const {
    return std::any_of(ingredients.begin(), ingredients.end(), [&](const auto& i) { return i.first == component; });
}

double CTalStockMixture::MassFrac(std::string_view component) const {
    for (const auto& [ingredient, fraction] : ingredients) {
        if (ingredient == component) return fraction;
    }
    return 0.0;
}

}  // namespace unitops
