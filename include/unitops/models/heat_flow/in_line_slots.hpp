#pragma once
// The virtual operations that every in-line thermal operation fills: one stream (or two, in the
// exchanger) passes through, every port is used, and the operation is essential, not cyclical.

#include <cstdio>
#include <string>

//! In the body of an in-line thermal operation class, after its identity.
#define TAL_IN_LINE_OPERATION_SLOTS                                                       \
    void Serialize(CArchive& ar) override;                                                \
    bool IsInPortUsed(int, int) const override { return true; }                           \
    bool IsOutPortUsed(int, int) const override { return true; }                          \
    int IsEssential() const override { return 1; }                                        \
    int IsCyclical() const override { return 0; }                                         \
    void InitSimModelParams() override;                                                   \
    void InitCostParams() override;                                                       \
    int IsSimDataComplete(int group, CTalModelPP* page, bool flag, int askUser) override; \
    int Solve(CTalStateStream* before, CTalStateStream* after, int skipSizing) override;  \
    int WriteIDR_Description(std::FILE* f) override;                                      \
    void GetCustomDescription(std::string& text) const override;

#include <algorithm>
#include <memory>

#include "unitops/contract/equipment.hpp"
#include "unitops/contract/operation.hpp"
#include "unitops/contract/stream.hpp"

namespace unitops {

//! The process time of an in-line operation: given (mode 1), 4 h, shown in hours; no set-up.
inline void InitInLineProcessTime(CTalOperation& op) {
    op.m_ProcessTimeMode = 1;
    op.m_ProcessTime = 14400.0;
    op.m_ProcessTimePQ.SetUnits(3);
    op.m_SetupTime = 0.0;
    op.m_SetupTimePQ.SetUnits(2);
}

//! The feed on input 0 copied to output 0, or to a copy kept aside when no outlet is connected.
struct InLinePassage {
    const CTalStream* in = nullptr;
    CTalStream* out = nullptr;
    std::unique_ptr<CTalStream> aside;
};

inline InLinePassage CopyThrough(const CTalOperation& op) {
    InLinePassage p;
    p.in = op.InStream(0);
    if (!p.in) return p;
    p.out = op.OutStream(0);
    if (!p.out) p.out = (p.aside = std::make_unique<CTalStream>(p.in->Comps(), std::string())).get();
    p.in->CopyDataInto(*p.out, 1);
    return p;
}

//! Units in parallel of the equipment, at least 1 (1 without equipment).
inline int UnitsOf(const CTalEquipment* e) { return e ? std::max(e->NumberOfUnits(), 1) : 1; }

}  // namespace unitops
