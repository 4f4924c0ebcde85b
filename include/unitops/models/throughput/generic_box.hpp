#pragma once
// Generic boxes: the placeholder procedures of a flowsheet. On the continuous side a generic box
// either reacts (by stated extents) and splits its feed, or passes it on; the batch generic box is
// a vessel (tanks.hpp) used with the ordinary vessel operations.

#include <cstdio>
#include <string>
#include <vector>

#include "unitops/models/reaction/stoich_rxn.hpp"
#include "unitops/models/throughput/throughput_op.hpp"
#include "unitops/roster/identity.hpp"

namespace unitops {

class CTalThroughputEquipment;

//! Reaction and separation in a generic box: the feed of all inlets optionally reacts through the
//! stoichiometric balance (one hour of flow is the working volume it sees), or only meets the
//! thermal mode; then it leaves whole, or split in two by one share of the mass or by a share per
//! component. Outlet 0 is the top stream of a split.
class CTalGBXStoichRxnOp : public CTalBatchStoichRxnOp {
    TAL_DECLARE_CLASS(CTalGBXStoichRxnOp)
public:
    CTalGBXStoichRxnOp() = default;
    TAL_OPERATION_IDENTITY(0xA10F)

    void Serialize(CArchive& ar) override;
    void UpdateThroughput() override;
    int IsAdequatelyConnectedForSimulation(CWnd* wnd) override;
    bool IsOutPortUsed(int port, int flag) const override;
    int IsEssential() const override { return 1; }
    int IsCyclical() const override { return 0; }
    bool DoesAfterStateAmtScaleWithInsAndOuts() const override { return false; }
    void UpdateForNewCompDef(const ComponentList& oldComps) override;
    void UpdateCompInfoFromOldFlowsheet(const ComponentList& oldComps, const ComponentList& newComps) override;
    void PrepareForSimulation() override;
    void InitSimModelParams() override;
    int IsSimDataComplete(int group, CTalModelPP* page, bool flag, int askUser) override;
    int Solve(CTalStateStream* before, CTalStateStream* after, int skipSizing) override;
    int WriteIDR_Description(std::FILE* f) override;
    void GetCustomDescription(std::string& text) const override;
    //! Takes the split of a flow splitting or a component splitting (and, when this operation
    //! still has its defaults, the other's durations and power); returns what the user is told,
    //! empty when `other` is neither kind.
    std::string ImportDataFromAnotherOperation(const CTalOperation& other);
    //! The stream whose flow is the throughput: outlet 0.
    CTalStream* ThroughputOutStream() const { return OutStream(0); }
    CTalThroughputEquipment* EquipmentT() const;

    int m_DoesReact = 1;
    int m_DoesSplit = 0;
    int m_IsSplitByMass = 1;                 //!< 1: one share of the whole mass; 0: a share per component
    std::vector<double> m_ComponentSplit;    //!< share of each component to outlet 0
    int m_IsSplitToTop = 1;                  //!< display only: shares shown for the top (1) or the bottom stream
    double m_MassSplit = 0.0;                //!< share of the mass to outlet 0
    double m_Throughput = 0.0;               //!< operating throughput of one unit, kg/s

private:
    InlineThroughput Steps() { return InlineThroughput(*this, m_Throughput, false); }
    //! The thermal mode alone, without reactions, from `feed` to `out`.
    void ThermalOnly(const CTalStateStream* feed, CTalStateStream* out);
    //! `result` to the outlets: whole to the product stream, or split.
    void SendToOutlets(const CTalStateStream& result);
};

//! A generic box that passes its input on unchanged; it only rates or sizes the box.
class CTalPassThroughGBX : public CTalThroughputOp {
    TAL_DECLARE_CLASS(CTalPassThroughGBX)
public:
    CTalPassThroughGBX() = default;
    TAL_OPERATION_IDENTITY(0xA88F)

    int IsEssential() const override { return 0; }
    bool IsInPortUsed(int port, int) const override { return port == 0; }
    bool IsOutPortUsed(int port, int) const override { return port == 0; }
    bool AffectsTPorCompOfContents() const override { return false; }
    bool DoesAfterStateAmtScaleWithInsAndOuts() const override { return false; }
    int Solve(CTalStateStream* before, CTalStateStream* after, int skipSizing) override;
    void GetCustomDescription(std::string& text) const override;
};

}  // namespace unitops
