#pragma once
// Splitting of one stream into 2 to 9 outlets: by one share of the total flow, or by a share per
// component. The two-way forms also work in a batch procedure on the procedure's state, where the
// share that does not leave stays for the next operation.

#include <cstdio>
#include <vector>

#include "unitops/models/throughput/throughput_equipment.hpp"
#include "unitops/models/throughput/throughput_op.hpp"
#include "unitops/roster/identity.hpp"

namespace unitops {

//! What the two-way splittings share: the ports, the batch form and the throughput steps.
//! `SplitStream` divides one stream into a top and a bottom share.
class CTalTwoWaySplittingBase : public CTalThroughputOp {
public:
    //! The input stream in line; inside a batch recipe the operation takes the contents instead.
    bool IsInPortUsed(int port, int) const override { return port == 0 && !WorksOnContents(); }
    //! Outlet 0 always; outlet 1 only when no operation follows (else its share stays).
    bool IsOutPortUsed(int port, int flag) const override;
    bool AffectsTPorCompOfContents() const override { return true; }
    bool DoesAfterStateAmtScaleWithInsAndOuts() const override { return true; }
    int Solve(CTalStateStream* before, CTalStateStream* after, int skipSizing) override;
    int IsSplitTopSide() const { return m_IsSplitTopSide; }
    //! True in a batch procedure whose equipment holds material (a vessel): the split acts on
    //! the contents. In-line equipment splits its input stream in either plant mode.
    bool WorksOnContents() const;

    int m_IsSplitTopSide = 1;  //!< in a batch procedure with a next operation: 1 the top share leaves, 0 the bottom

protected:
    virtual void SplitStream(const CTalSModel& in, CTalSModel& top, CTalSModel& bottom) const = 0;

private:
    //! The batch form: the state is split; outlets take their shares, the rest stays.
    void SplitState(const CTalStateStream& before, CTalStateStream& after);
};

class CTalFlowSplitting : public CTalTwoWaySplittingBase {
    TAL_DECLARE_CLASS(CTalFlowSplitting)
public:
    CTalFlowSplitting() = default;
    TAL_OPERATION_IDENTITY(0xA832)

    void Serialize(CArchive& ar) override;
    void InitSimModelParams() override;
    int IsSimDataComplete(int group, CTalModelPP* page, bool flag, int askUser) override;
    int WriteIDR_Description(std::FILE* f) override;
    void GetCustomDescription(std::string& text) const override;

    double m_TopFlowFraction = 0.0;  //!< share of the total flow to the top outlet

protected:
    void SplitStream(const CTalSModel& in, CTalSModel& top, CTalSModel& bottom) const override;
};

class CTalComponentSplitting : public CTalTwoWaySplittingBase {
    TAL_DECLARE_CLASS(CTalComponentSplitting)
public:
    CTalComponentSplitting() = default;
    TAL_OPERATION_IDENTITY(0xA840)

    void Serialize(CArchive& ar) override;
    void InitSimModelParams() override;
    void PrepareForSimulation() override;
    void UpdateForNewCompDef(const ComponentList& oldComps) override;
    void UpdateCompInfoFromOldFlowsheet(const ComponentList& oldComps, const ComponentList& newComps) override;
    int IsSimDataComplete(int group, CTalModelPP* page, bool flag, int askUser) override;
    int WriteIDR_Description(std::FILE* f) override;
    void GetCustomDescription(std::string& text) const override;

    //! Share of each component to the top outlet (`IsSplitTopSide` 1) or to the bottom one (0).
    std::vector<double> m_ComponentFractions;

protected:
    void SplitStream(const CTalSModel& in, CTalSModel& top, CTalSModel& bottom) const override;
};

//! What the N-way splittings share: the outlet count, the order of the throughput check before
//! the split, and the batch-mode data checks.
class CTalNWaySplittingBase : public CTalThroughputOp {
public:
    bool IsInPortUsed(int, int) const override { return true; }
    bool IsOutPortUsed(int, int) const override { return true; }
    bool AffectsTPorCompOfContents() const override { return false; }
    int Solve(CTalStateStream* before, CTalStateStream* after, int skipSizing) override;
    int NumberOfOutlets() const { return m_NumberOfOutlets; }

protected:
    explicit CTalNWaySplittingBase(int outlets) : m_NumberOfOutlets(outlets) {}
    //! Writes, or reads and checks, the outlet count that the file holds before the fractions.
    void SerializeOutletCount(CArchive& ar);
    virtual void SplitStream(const CTalSModel& in, CTalSModel* const* outs) const = 0;

    int m_NumberOfOutlets;
};

class CTalFlow3WaySplitting : public CTalNWaySplittingBase {
    TAL_DECLARE_CLASS(CTalFlow3WaySplitting)
public:
    CTalFlow3WaySplitting() : CTalFlow3WaySplitting(3) {}
    TAL_OPERATION_IDENTITY(0xA833)

    void Serialize(CArchive& ar) override;
    void InitSimModelParams() override;
    int IsSimDataComplete(int group, CTalModelPP* page, bool flag, int askUser) override;
    int WriteIDR_Description(std::FILE* f) override;
    void GetCustomDescription(std::string& text) const override;

    std::vector<double> m_FlowFractions;  //!< share of the total flow to each outlet

protected:
    explicit CTalFlow3WaySplitting(int outlets) : CTalNWaySplittingBase(outlets) { InitArrayVar(m_FlowFractions, outlets, 0.0); }
    void SplitStream(const CTalSModel& in, CTalSModel* const* outs) const override;
};

class CTalComp3WaySplitting : public CTalNWaySplittingBase {
    TAL_DECLARE_CLASS(CTalComp3WaySplitting)
public:
    CTalComp3WaySplitting() : CTalComp3WaySplitting(3) {}
    TAL_OPERATION_IDENTITY(0xA842)

    void Serialize(CArchive& ar) override;
    void InitSimModelParams() override;
    void PrepareForSimulation() override;
    void UpdateForNewCompDef(const ComponentList& oldComps) override;
    void UpdateCompInfoFromOldFlowsheet(const ComponentList& oldComps, const ComponentList& newComps) override;
    int IsSimDataComplete(int group, CTalModelPP* page, bool flag, int askUser) override;
    int WriteIDR_Description(std::FILE* f) override;
    void GetCustomDescription(std::string& text) const override;

    //! Share of component i to outlet k, at [k * components + i]: one array per outlet in turn.
    std::vector<double> m_ComponentFractions;
    double Fraction(int outlet, int component) const;

protected:
    explicit CTalComp3WaySplitting(int outlets) : CTalNWaySplittingBase(outlets) {}
    void SplitStream(const CTalSModel& in, CTalSModel* const* outs) const override;

private:
    //! Sizes the outlet arrays for the present components, keeping what fits.
    void FitFractions();
    //! Rebuilds each outlet's array through `remap`, which follows the components by name.
    template <class Remap>
    void RemapOutlets(std::size_t oldCount, Remap remap);
};

#define TAL_N_WAY_SPLITTING_CLASS(name, base, id, outlets) \
    class name : public base {                              \
        TAL_DECLARE_CLASS(name)                             \
    public:                                                 \
        name() : base(outlets) {}                           \
        TAL_OPERATION_IDENTITY(id)                          \
    };

TAL_N_WAY_SPLITTING_CLASS(CTalFlow4WaySplitting, CTalFlow3WaySplitting, 0xA834, 4)
TAL_N_WAY_SPLITTING_CLASS(CTalFlow5WaySplitting, CTalFlow3WaySplitting, 0xA835, 5)
TAL_N_WAY_SPLITTING_CLASS(CTalFlow6WaySplitting, CTalFlow3WaySplitting, 0xA836, 6)
TAL_N_WAY_SPLITTING_CLASS(CTalFlow7WaySplitting, CTalFlow3WaySplitting, 0xA837, 7)
TAL_N_WAY_SPLITTING_CLASS(CTalFlow8WaySplitting, CTalFlow3WaySplitting, 0xA838, 8)
TAL_N_WAY_SPLITTING_CLASS(CTalFlow9WaySplitting, CTalFlow3WaySplitting, 0xA839, 9)
TAL_N_WAY_SPLITTING_CLASS(CTalComp4WaySplitting, CTalComp3WaySplitting, 0xA843, 4)
TAL_N_WAY_SPLITTING_CLASS(CTalComp5WaySplitting, CTalComp3WaySplitting, 0xA844, 5)
TAL_N_WAY_SPLITTING_CLASS(CTalComp6WaySplitting, CTalComp3WaySplitting, 0xA845, 6)
TAL_N_WAY_SPLITTING_CLASS(CTalComp7WaySplitting, CTalComp3WaySplitting, 0xA846, 7)
TAL_N_WAY_SPLITTING_CLASS(CTalComp8WaySplitting, CTalComp3WaySplitting, 0xA847, 8)
TAL_N_WAY_SPLITTING_CLASS(CTalComp9WaySplitting, CTalComp3WaySplitting, 0xA848, 9)

#undef TAL_N_WAY_SPLITTING_CLASS

}  // namespace unitops
