#pragma once
// Cleaning of a vessel in place by a sequence of steps, each with its agent, duration and
// amount, and steaming in place with one heating agent. Neither changes the contents: they pass
// the state through and compute the agents' consumption.
//
// A step's amount may be given in five ways, from which the others follow: a total volume per
// cycle, a volume per size unit of the vessel, a volume flow, a flow per metre of circumference
// (pi x diameter) or per m2 of internal surface. A recirculated step raises the flows by its
// recirculation times (a total given) or gives the fresh agent as the total (a flow given).

#include <memory>
#include <string>
#include <vector>

#include "unitops/contract/cleaning_skid.hpp"
#include "unitops/contract/operation.hpp"
#include "unitops/contract/quantities.hpp"
#include "unitops/roster/identity.hpp"

namespace unitops {

class CTalCIPOp;

// Both operations may be tied to a cleaning skid of the flowsheet, which they share with others;
// `m_IgnoreSkid` 1 keeps the skid named but unused.
#define TAL_SKID_OVERRIDES                                                                         \
    CTalIPCleaningSkid* Skid() const override { return m_SkidLink.Get(); }                         \
    void SetSkid(CTalIPCleaningSkid* skid) override { m_SkidLink.Set(skid); }                      \
    const CTalIPCleaningSkid* SkidInUse() const override { return m_SkidLink.InUse(m_IgnoreSkid); } \
    void GetSateliteEquipmentUsed(std::vector<CObject*>& list, int) const override {               \
        if (m_SkidLink.Get()) list.push_back(m_SkidLink.Get());                                    \
    }                                                                                              \
    void SetFlowsheet(CTalDocEss* doc) override {                                                  \
        CTalOperation::SetFlowsheet(doc);                                                          \
        m_SkidLink.FlowsheetChanged();                                                             \
    }                                                                                              \
    void SetOwner(CTalProcedure* owner) override {                                                 \
        CTalOperation::SetOwner(owner);                                                            \
        m_SkidLink.FlowsheetChanged();                                                             \
    }                                                                                              \
    void OnNotifyAfterDocOpening() override { m_SkidLink.AdoptIntoFlowsheet(); }

class CTalCIPStep : public CObject {
    TAL_DECLARE_CLASS(CTalCIPStep)
public:
    enum { kTotalVolume = 1, kVolumePerSize = 2, kVolumeFlow = 3, kFlowPerCircumference = 4, kFlowPerInternalSurface = 5 };

    CTalCIPStep() = default;
    CTalCIPStep(CTalOperation* owner, int number);

    void Serialize(CArchive& ar) override;
    void CopyDataInto(CTalCIPStep& target) const;
    //! The step's checks of the operating conditions; 0 at the first failure.
    int IsComplete(CTalModelPP* page, int group) const;
    //! Fills every form of the amount from the one given and the agent's mass rate over the
    //! operation's time `processTime`.
    void Compute(const CTalEquipment* equipment, double processTime);
    void WriteDescription(std::FILE* f) const;
    double AgentDensity() const;
    //! A pure-component agent missing from `comps` becomes "(none)"; true if it did.
    bool DropsUndefinedComponent(const ComponentList& comps);

    CTalOperation* m_Owner = nullptr;
    std::string m_Name = "Cleaning Step #1";
    double m_VolFlowRate = 0.01;                   //!< m3/s
    int m_ConsumptionSpec = kVolumePerSize;
    double m_VolPerSize = 0.1;                     //!< m3 per m3 of vessel
    double m_VolFlowPerCircumference = 0.000583333;  //!< m3/(s m)
    double m_VolFlowPerInternalSurface = 0.00025;  //!< m3/(s m2)
    double m_TotalVolume = 10.0;                   //!< m3 per cycle
    double m_AgentMassRate = 0.0;                  //!< kg/s over the operation's time
    std::string m_AgentName = "Water";
    int m_IsAgentPureComp = 1;
    double m_SupplyTemp = 298.15;
    double m_Duration = 900.0;
    int m_IsRecirculated = 0;
    int m_IsRecircTimesGiven = 1;
    double m_RecirculationTimes = 1.0;
    double m_OnceThroughTime = 900.0;
    int m_IsInInternalUnits = 1;
    int m_StepNumber = 1;
    CTalTimePQ m_DurationPQ, m_OnceThroughTimePQ;
    double m_VersionNo = 0.0;
    CTalOperation* m_OwnerOnFile = nullptr;  //!< the owner as a file names it, resolved after loading
};

//! The steps of a cleaning in their order of execution.
class CTalCIPScheme : public CObject {
    TAL_DECLARE_CLASS(CTalCIPScheme)
public:
    void Serialize(CArchive& ar) override;
    int IsComplete(CTalModelPP* page, int group) const;
    //! The target gets as many steps as this scheme (its tail removed or default steps added),
    //! each a copy of this one's.
    void CopyDataInto(CTalCIPScheme& target) const;

    std::vector<std::unique_ptr<CTalCIPStep>> m_Steps;
    CTalOperation* m_Owner = nullptr;
};

class CTalCIPOp : public CTalOperation {
    TAL_DECLARE_CLASS(CTalCIPOp)
public:
    CTalCIPOp();
    TAL_OPERATION_IDENTITY(0xA218)
    TAL_SKID_OVERRIDES

    void Serialize(CArchive& ar) override;
    int IsCyclical() const override { return 1; }
    int CanSizeEquipment(const CTalEquipment*) const override { return 0; }
    bool AffectsTPorCompOfContents() const override { return false; }
    bool DoesAfterStateAmtScaleWithInsAndOuts() const override { return false; }
    bool IsNonBlendedNSIngredientBeingUsed(std::string_view name, int blendedAlso) const override;
    double NonBlendedNSIngredientConsumption(std::string_view name, int blendedAlso) const override;
    void CopyDataInto(CTalOperation* target, int flag) const override;
    void IngredientRenamed(const std::string& from, const std::string& to) override;
    void UpdateForNewCompDef(const ComponentList& oldComps) override;
    void UpdateCompInfoFromOldFlowsheet(const ComponentList& oldComps, const ComponentList& newComps) override;
    void InitSimModelParams() override;
    void InitCostParams() override;
    int IsSimDataComplete(int group, CTalModelPP* page, bool flag, int askUser) override;
    int Solve(CTalStateStream* before, CTalStateStream* after, int skipSizing) override;
    int WriteIDR_Description(std::FILE* f) override;
    void GetCustomDescription(std::string& text) const override;

    //! Appends a default step and returns it.
    CTalCIPStep& AddStep();
    //! The operation's time: the sum of its steps' durations.
    double StepsDuration() const;

    int m_IgnoreSkid = 1;
    SkidLink m_SkidLink{*this};
    CTalCIPScheme m_Scheme;

private:
    void ReadSingleStepLayout(CArchive& ar);
    void WriteSingleStepLayout(CArchive& ar);
};

class CTalSIPOp : public CTalOperation {
    TAL_DECLARE_CLASS(CTalSIPOp)
public:
    CTalSIPOp() = default;
    TAL_OPERATION_IDENTITY(0xA238)
    TAL_SKID_OVERRIDES

    void Serialize(CArchive& ar) override;
    void CopyDataInto(CTalOperation* target, int flag) const override;
    int IsCyclical() const override { return 1; }
    int CanSizeEquipment(const CTalEquipment*) const override { return 0; }
    bool AffectsTPorCompOfContents() const override { return false; }
    bool DoesAfterStateAmtScaleWithInsAndOuts() const override { return false; }
    void InitSimModelParams() override;
    void InitCostParams() override;
    int IsSimDataComplete(int group, CTalModelPP* page, bool flag, int askUser) override;
    int Solve(CTalStateStream* before, CTalStateStream* after, int skipSizing) override;
    int WriteIDR_Description(std::FILE* f) override;
    void GetCustomDescription(std::string& text) const override;

    int m_IsRateGiven = 1;
    double m_AgentAmount = 150.0;  //!< kg per unit and cycle
    int m_IgnoreSkid = 1;
    SkidLink m_SkidLink{*this};
};

}  // namespace unitops
