#pragma once
// Splitting of one stream into a top and a bottom stream by a ratio, by a set mass or volume flow
// of one outlet, or by the flow that a downstream operation asks of one outlet. When an outlet is
// asked for more than the feed holds, the feed is raised through back-propagation.

#include <cstdio>

#include "unitops/models/throughput/throughput_op.hpp"
#include "unitops/roster/identity.hpp"

namespace unitops {

class CTalCustomSplitting : public CTalThroughputOp {
    TAL_DECLARE_CLASS(CTalCustomSplitting)
public:
    enum {
        kRatio = 0, kTopMass = 1, kTopVolume = 2, kBottomMass = 3, kBottomVolume = 4,
        kTopRequested = 5, kBottomRequested = 6
    };
    static constexpr double kLeastRequest = 1e-7;  //!< kg/s asked before any request arrives

    CTalCustomSplitting() { m_IsRatedForAllUnits = true; }
    TAL_OPERATION_IDENTITY(0xA830)

    void Serialize(CArchive& ar) override;
    void PrepareForSimulation() override;
    bool IsInPortUsed(int port, int) const override { return port == 0; }
    bool IsOutPortUsed(int port, int) const override { return port == 0 || port == 1; }
    void InitSimModelParams() override;
    int IsSimDataComplete(int group, CTalModelPP* page, bool flag, int askUser) override;
    int Solve(CTalStateStream* before, CTalStateStream* after, int skipSizing) override;
    int WriteIDR_Description(std::FILE* f) override;
    void GetCustomDescription(std::string& text) const override;
    bool AffectsTPorCompOfContents() const override { return false; }
    bool IsBPGTerminal() const override { return m_SplitSpec == kTopRequested || m_SplitSpec == kBottomRequested; }
    bool IsScaleable() const override { return false; }
    void AbsorbBPG(double factor, double flow, const CTalSModel* stream) override;

    int m_SplitSpec = kRatio;
    double m_SplitRatio = 1.0;  //!< top over bottom
    double m_TopMassFlow = 0.0;
    double m_TopVolFlow = 0.0;
    double m_BottomMassFlow = 0.0;
    double m_BottomVolFlow = 0.0;
    double m_TopFlowRequest = kLeastRequest;
    double m_BottomFlowRequest = kLeastRequest;
    int m_IsFlowRequested = 1;

private:
    //! Sends `flow` (kg/s) of the input's composition to `chosen` and the rest to `other`; asks
    //! for a larger feed when the input holds less.
    int SplitByFlow(double flow, CTalStream& in, CTalStream& chosen, CTalStream& other);
    //! Bids `flow` on the input so that back-propagation raises what makes it.
    int ScaleUpFeed(CTalStream& in, double flow);
    //! The four flows from the outlets, and the ratio of top to bottom.
    void ReadOutlets(const CTalStream& top, const CTalStream& bottom);
};

}  // namespace unitops
