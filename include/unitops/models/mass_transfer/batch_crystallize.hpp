#pragma once
// Batch crystallization: a stated fraction of one component (the product) turns into the
// component that stands for its crystals, and other components follow by a polynomial of that
// fraction. The cooling duty takes the heat of crystallization and the cooling of the contents to
// the final temperature.
//
// Crystal forms are components of the flowsheet. In a flowsheet file the member `CrystalForm`
// pairs each crystallizing component with its crystal form: "Sucrose: Sucrose crystals;
// Glucose: Glucose crystals", in component order.

#include <string>
#include <vector>

#include "unitops/models/reaction/reaction_op.hpp"
#include "unitops/roster/identity.hpp"

namespace unitops {

class CTalBatchCrystallizeOp : public CTalRxnOp {
    TAL_DECLARE_CLASS(CTalBatchCrystallizeOp)
public:
    CTalBatchCrystallizeOp() = default;
    TAL_OPERATION_IDENTITY(0xA504)

    void Serialize(CArchive& ar) override;
    bool IsOutPortUsed(int port, int flag) const override;
    int IsCyclical() const override { return 1; }
    void InitHxAgent() override;
    void UpdateForNewCompDef(const ComponentList& oldComps) override;
    void UpdateCompInfoFromOldFlowsheet(const ComponentList& oldComps, const ComponentList& newComps) override;
    void InitSimModelParams() override;
    int IsSimDataComplete(int group, CTalModelPP* page, bool flag, int askUser) override;
    int Solve(CTalStateStream* before, CTalStateStream* after, int skipSizing) override;
    int WriteIDR_Description(std::FILE* f) override;
    void GetCustomDescription(std::string& text) const override;

    //! The share of component i that crystallizes: A + B Y + C Y^2, lowered to 1 at or above 1
    //! (a negative share is kept and moves material back from the crystal form).
    double ComponentYield(std::size_t i) const;
    //! Pairs "component: crystal form" joined by "; ", in component order.
    std::string CrystalFormText() const;
    //! Reads such pairs; false (nothing changed) when a name before a colon is not a component.
    bool SetCrystalFormText(const std::string& text);

    double m_CrystallizationHeat = 0.0;  //!< J/kg crystallized
    double m_ProductYield = 0.9;
    std::string m_ProductComp = "(none)";
    std::vector<double> m_YieldCoeffA;
    std::vector<double> m_YieldCoeffB;
    std::vector<double> m_YieldCoeffC;
    std::vector<std::string> m_CrystalForm;  //!< per component; empty when it does not crystallize

private:
    int MaterialBalances(const CTalStateStream* in, CTalStateStream* out, double headspace);
    //! Moves the share y of component `from` to component `to`.
    static void MoveToCrystals(CTalStateStream* out, int from, int to, double y);
    //! True when component i is the crystal form of some component (names compared on 16 characters).
    bool IsCrystalForm(int i) const;
    void SizeArrays();
    void RemapOwnArrays(const ComponentList& oldComps, const ComponentList& newComps);
};

}  // namespace unitops
