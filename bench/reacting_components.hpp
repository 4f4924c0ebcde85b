#pragma once
// The components of the reaction benchmarks: A, B, C, D of 100 kg/kmol and water W of 18, all
// liquids of 1000 kg/m3 with a heat capacity of 4000 J/(kg K).

#include <memory>

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

}  // namespace unitops::bench
