#pragma once
// Keeping material in a vessel for a time: holding (nothing happens), agitating (the agitator's
// energy warms the contents by P t n / (M Cp)), and storage, which sizes the vessel and runs the
// energy balance of its thermal mode: a batch, a flow-through tank, solids on a bulk density, and
// a consumable plastic bag.
//
// Storage works adiabatically unless told otherwise: a tank neither heats nor cools, so what is
// stored keeps its temperature (plus the agitator's heat, if any).

#include "unitops/models/vessel/vessel_op.hpp"
#include "unitops/roster/identity.hpp"

namespace unitops {

class CTalHoldOp : public CTalOperation {
    TAL_DECLARE_CLASS(CTalHoldOp)
public:
    CTalHoldOp() = default;
    TAL_OPERATION_IDENTITY(0xA224)

    int IsCyclical() const override { return 1; }
    void InitSimModelParams() override;
    int Solve(CTalStateStream* before, CTalStateStream* after, int skipSizing) override;
    void GetCustomDescription(std::string& text) const override;
};

class CTalAgitateOp : public CTalVesselOp {
    TAL_DECLARE_CLASS(CTalAgitateOp)
public:
    CTalAgitateOp() = default;
    TAL_OPERATION_IDENTITY(0xA220)

    void InitSimModelParams() override;
    int Solve(CTalStateStream* before, CTalStateStream* after, int skipSizing) override;
    void GetCustomDescription(std::string& text) const override;
};

class CTalBatchStorage : public CTalThermalVesselOp {
    TAL_DECLARE_CLASS(CTalBatchStorage)
public:
    CTalBatchStorage() = default;
    TAL_OPERATION_IDENTITY(0xA704)

    void InitSimModelParams() override;
    int Solve(CTalStateStream* before, CTalStateStream* after, int skipSizing) override;
    void GetCustomDescription(std::string& text) const override;

protected:
    //! The volume the contents fill over the batch, m3 per cycle; false when there is nothing.
    virtual bool StoredVolume(const CTalStateStream& before, double T, int n, double& V);
    //! Whether the final filling is checked against its range.
    virtual bool ChecksFinalRatio() const { return true; }
};

class CTalBatchSolidsStorage : public CTalBatchStorage {
    TAL_DECLARE_CLASS(CTalBatchSolidsStorage)
public:
    CTalBatchSolidsStorage() = default;
    TAL_OPERATION_IDENTITY(0xA708)

    void Serialize(CArchive& ar) override;
    void InitSimModelParams() override;
    int IsSimDataComplete(int group, CTalModelPP* page, bool flag, int askUser) override;
    //! The bulk density: the user's, or the density of the contents without their vapour.
    double StoredDensity(const CTalSModel& s);

    double m_BulkDensity = 850.0;  //!< kg/m3
    int m_IsBulkDensitySetByUser = 1;

protected:
    bool StoredVolume(const CTalStateStream& before, double T, int n, double& V) override;
};

class CTalContinuousSolidsStorage : public CTalBatchSolidsStorage {
    TAL_DECLARE_CLASS(CTalContinuousSolidsStorage)
public:
    CTalContinuousSolidsStorage() = default;
    TAL_OPERATION_IDENTITY(0xA710)

    int IsCyclical() const override { return 0; }
    //! A flow-through tank takes every feed and sends its contents to its outlets.
    bool IsInPortUsed(int port, int) const override { return InStream(port) != nullptr; }
    bool IsOutPortUsed(int port, int) const override { return OutStream(port) != nullptr; }
    int IsAdequatelyConnectedForSimulation(CWnd* wnd) override;
    void InitSimModelParams() override;
    int Solve(CTalStateStream* before, CTalStateStream* after, int skipSizing) override;
};

class CTalContinuousStorage : public CTalThermalVesselOp {
    TAL_DECLARE_CLASS(CTalContinuousStorage)
public:
    CTalContinuousStorage() = default;
    TAL_OPERATION_IDENTITY(0xA70C)

    int IsCyclical() const override { return 0; }
    //! A flow-through tank takes every feed and sends its contents to its outlets.
    bool IsInPortUsed(int port, int) const override { return InStream(port) != nullptr; }
    bool IsOutPortUsed(int port, int) const override { return OutStream(port) != nullptr; }
    int IsAdequatelyConnectedForSimulation(CWnd* wnd) override;
    void InitSimModelParams() override;
    int Solve(CTalStateStream* before, CTalStateStream* after, int skipSizing) override;
    void GetCustomDescription(std::string& text) const override;
};

class CTalStoringInPlasticBag : public CTalBatchStorage {
    TAL_DECLARE_CLASS(CTalStoringInPlasticBag)
public:
    CTalStoringInPlasticBag() = default;
    TAL_OPERATION_IDENTITY(0xA714)

    void Serialize(CArchive& ar) override;
    void InitSimModelParams() override;
    int IsSimDataComplete(int group, CTalModelPP* page, bool flag, int askUser) override;
    int Solve(CTalStateStream* before, CTalStateStream* after, int skipSizing) override;
    void GetInfoOnConsumables(int type, double& area, double& quantity, double& frequency) const override;

    int m_IsReplacedByCycles = 1;
    double m_ReplacementCycles = 1.0;
    double m_ReplacementTime = 86400.0;  //!< s
    double m_BagUnitCost = 0.2;          //!< $ per bag
    int m_NumberOfBags = 0;

protected:
    bool ChecksFinalRatio() const override { return false; }
};

}  // namespace unitops
