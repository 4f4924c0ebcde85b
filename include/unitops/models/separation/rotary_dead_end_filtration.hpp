#pragma once
// Continuous rotary vacuum filtration, where the cake forms on a drum, is washed and leaves by a
// port, and dead-end filtration on a cartridge, where the retained material leaves as a retentate of
// a given particle concentration. Both form their cake as the cloth filter does.

#include <string>
#include <vector>

#include "unitops/models/separation/cloth_filtration.hpp"

namespace unitops {

//! Cost 108800 (A/50)^0.6 from 50 m2 on, 76150 (A/20)^0.4 below, divided by 1.2; A at least 1 m2.
class CTalRotaryVacuumFilter : public CTalClothFilter {
    TAL_DECLARE_CLASS(CTalRotaryVacuumFilter)
public:
    CTalRotaryVacuumFilter() = default;
    TAL_EQUIPMENT_IDENTITY(0x202)
    bool AccumulatesMaterial() const override { return false; }
    void InitCostParams() override;
    double CalcPurchaseCost(CWnd* wnd) override;
};

//! The cost law of the rotary vacuum filter, before the material factor.
double RotaryVacuumBaseCost(double area);

//! Cost 5000 + 1700 A, A at least 5 m2, as the plate-and-frame filter.
class CTalDeadEndFilter : public CTalClothFilter {
    TAL_DECLARE_CLASS(CTalDeadEndFilter)
public:
    CTalDeadEndFilter() = default;
    TAL_EQUIPMENT_IDENTITY(0x1304)
    bool AccumulatesMaterial() const override { return false; }
    void InitSizeParams() override;
    double CalcPurchaseCost(CWnd* wnd) override;
};

//! In 0 wash, in 1 feed; out 0 the washed cake, out 1 the filtrate with the spent wash.
class CTalRotaryVacuumFiltration : public CTalOperation {
    TAL_DECLARE_CLASS(CTalRotaryVacuumFiltration)
public:
    CTalRotaryVacuumFiltration() = default;
    TAL_OPERATION_IDENTITY(0xA314)

    void Serialize(CArchive& ar) override;
    int IsEssential() const override { return 1; }
    int IsCyclical() const override { return 0; }
    bool IsInPortUsed(int port, int) const override { return port < 2; }
    bool IsOutPortUsed(int port, int) const override { return port < 2; }
    void InitSimModelParams() override;
    void InitCostParams() override;
    void UpdateForNewCompDef(const ComponentList& oldComps) override;
    void UpdateCompInfoFromOldFlowsheet(const ComponentList& oldComps, const ComponentList& newComps) override;
    int IsSimDataComplete(int group, CTalModelPP* page, bool flag, int askUser) override;
    int Solve(CTalStateStream* before, CTalStateStream* after, int skipSizing) override;
    int WriteIDR_Description(std::FILE* f) override;
    void GetCustomDescription(std::string& text) const override;

    CTalClothFilter* EquipmentT() const;
    CakeDryness Dryness() const { return {m_IsDrynessByLOD != 0, m_CakePorosity, m_LOD}; }

    std::vector<double> m_Retention;        //!< fraction of each component kept in the cake
    double m_FiltrateFlux = 250.0 / 3.6e6;  //!< m3/(m2 s) (250 L/(m2 h))
    double m_CakePorosity = 0.4;            //!< v/v
    int m_IsDrynessByLOD = 0;
    double m_LOD = 40.0;                    //!< loss on drying, kept in percent

private:
    //! Displaces the share of the cake's liquor that the wash volume reaches; as much wash by mass
    //! takes its place. Then the filtrate is what remains of feed and wash.
    void Wash(const CTalStream& feed, const CTalStream& wash, double cakeLiquid, CTalStream& cake, CTalStream& filtrate) const;
    //! Checks the filter area in rating and sizes it in design; then utilisation and power.
    void SizeFilter(double filtrateVolFlow, int skipSizing, int& ok);
};

//! In 0 feed; out 0 the permeate, out 1 the retentate at its particle concentration.
class CTalDeadEndFiltration : public CTalOperation {
    TAL_DECLARE_CLASS(CTalDeadEndFiltration)
public:
    CTalDeadEndFiltration() = default;
    TAL_OPERATION_IDENTITY(0xA33C)

    void Serialize(CArchive& ar) override;
    int IsEssential() const override { return 1; }
    int IsCyclical() const override { return 1; }
    bool IsInPortUsed(int, int) const override { return true; }
    bool IsOutPortUsed(int, int) const override { return true; }
    void InitSimModelParams() override;
    void InitCostParams() override;
    void UpdateForNewCompDef(const ComponentList& oldComps) override;
    void UpdateCompInfoFromOldFlowsheet(const ComponentList& oldComps, const ComponentList& newComps) override;
    int IsSimDataComplete(int group, CTalModelPP* page, bool flag, int askUser) override;
    int Solve(CTalStateStream* before, CTalStateStream* after, int skipSizing) override;
    int WriteIDR_Description(std::FILE* f) override;
    void GetCustomDescription(std::string& text) const override;
    //! The filter element: its area, its life and its cost per m2.
    void GetInfoOnConsumables(int index, double& amount, double& life, double& unitCost) const override;

    CTalClothFilter* EquipmentT() const;

    std::vector<double> m_Retention;            //!< fraction of each component kept in the retentate
    double m_FiltrateFlux = 250.0 / 3.6e6;      //!< m3/(m2 s)
    double m_FilterPoreSize = 4.5e-7;           //!< m
    double m_ParticleConcInRetentate = 0.5;     //!< v/v
    int m_IsReplacementByCycles = 0;
    double m_ReplacementCycles = 1.0;
    double m_ReplacementHours = 86400.0;        //!< s
    int m_IsCostPerArea = 1;
    double m_CostPerArea = 180.0;               //!< $/m2
    double m_CostPerCartridge = 1000.0;         //!< $
    int m_IsRetentionCalculated = 0;

private:
    //! Retains what is coarser than the pores: a particle exactly at the pore size passes.
    void RetainByPoreSize();
    int CheckFilterData(int group, CTalModelPP* page);
    int CheckReplacementData(int group, CTalModelPP* page);
};

}  // namespace unitops
