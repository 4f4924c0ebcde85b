#pragma once
// The components of the reaction and separation benchmarks: A, B, C, D of 100 kg/kmol and water W
// of 18 for the kinetic ones; twenty numbered components for the batch reaction and separations.

#include <cmath>
#include <memory>
#include <string>

#include "unitops/contract/flowsheet.hpp"

namespace unitops::bench {

inline void AddReactingComponents(CTalDocEss& doc) {
    for (const char* name : {"A", "B", "C", "D", "W"}) {
        auto c = std::make_unique<CTalPureComponent>();
        c->name = name;
        c->molecularWeight = name[0] == 'W' ? 18.0 : 100.0;
        c->liqSolDensity = 1000.0;
        c->cpLiquid.c = {4000.0, 0, 0, 0, 0};
        c->cpIdealGas.c = c->cpLiquid.c;
        c->phase = NormalPhase::Liquid;
        doc.AddComponent(std::move(c));
    }
}

constexpr int kNumberedComponents = 20;

// A batch document of components C0..C19 of molecular weight 20 (i + 1), a constant heat capacity
// of 3000 + 50 i J/(kg K) and a liquid density of densityBase + densityStep i kg/m3. The first
// `volatileCount` have a vapour pressure of 0.2 (i + 1) atm at every temperature.
inline std::unique_ptr<CTalDocEss> NumberedComponentsDoc(double densityBase, double densityStep,
                                                         int volatileCount = 0) {
    auto doc = std::make_unique<CTalDocEss>();
    doc->SetBatchMode(true);
    for (int i = 0; i < kNumberedComponents; ++i) {
        auto c = std::make_unique<CTalPureComponent>();
        c->name = "C" + std::to_string(i);
        c->molecularWeight = 20.0 * (i + 1);
        c->liqSolDensity = densityBase + densityStep * i;
        c->cpLiquid.c = {3000.0 + 50.0 * i, 0, 0, 0, 0};
        c->cpIdealGas.c = c->cpLiquid.c;
        c->phase = NormalPhase::Liquid;
        if (i < volatileCount) {
            c->antoine = {std::log(101325.0 * (0.2 + 0.2 * i)), 0.0, 0.0, 1.0, 1e4};
            c->hasVaporPressure = true;
        }
        doc->AddComponent(std::move(c));
    }
    return doc;
}

// The feed of the numbered-component benchmarks: 0.001 (i + 1) of component Ci at 300 K.
inline void SetNumberedFeed(CTalStateStream& feed) {
    for (int i = 0; i < kNumberedComponents; ++i) feed.SetComponentFlow(i, 0.001 * (i + 1));
    feed.SetTemp(300.0);
}

}  // namespace unitops::bench
