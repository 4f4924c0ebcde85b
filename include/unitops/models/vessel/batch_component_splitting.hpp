#pragma once
// Drawing components out of a vessel's contents: a share per component of the liquid, of the
// vapour or of both goes to a stream; the rest stays for the next operation.

#include <vector>

#include "unitops/models/vessel/transfer.hpp"
#include "unitops/roster/identity.hpp"

namespace unitops {

class CTalBatchComponentSplitting : public CTalTransferOp {
    TAL_DECLARE_CLASS(CTalBatchComponentSplitting)
public:
    enum { kLiquidPhase = 1, kVaporPhase = 2, kTotalContents = 3 };

    CTalBatchComponentSplitting() = default;
    TAL_OPERATION_IDENTITY(0xA841)

    void Serialize(CArchive& ar) override;
    void PrepareForSimulation() override;
    bool IsInPortUsed(int, int) const override { return false; }
    bool IsOutPortUsed(int port, int flag) const override { return flag == 0 && m_PortID < 0 && port == -(m_PortID + 1); }
    bool CarriesInBatchMaterialOut() const override { return true; }
    bool AffectsTPorCompOfContents() const override { return true; }
    bool IsAmountSentOutFixed(int) const override { return false; }
    bool CanInitiateStateBPG(std::string& reason) const override;
    void UpdateForNewCompDef(const ComponentList& oldComps) override;
    void UpdateCompInfoFromOldFlowsheet(const ComponentList& oldComps, const ComponentList& newComps) override;
    void InitSimModelParams() override;
    int Solve(CTalStateStream* before, CTalStateStream* after, int skipSizing) override;
    int WriteIDR_Description(std::FILE* f) override;
    void GetCustomDescription(std::string& text) const override;

    int m_DrawFrom = kTotalContents;
    std::vector<double> m_ComponentFractions;  //!< share of each component to the split stream

protected:
    bool NamesTransferProcedure() const override { return false; }

private:
    //! Splits `phase` by component: the split share joins `total`, the rest `rest`.
    void DrawFromPhase(const CTalSModel& phase, CTalSModel& total, CTalSModel& rest) const;
};

}  // namespace unitops
