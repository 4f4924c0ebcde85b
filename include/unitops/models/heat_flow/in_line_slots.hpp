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
