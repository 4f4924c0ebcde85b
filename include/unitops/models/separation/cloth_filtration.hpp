#pragma once
// Batch cloth filtration: the retained solids stay in the filter as a cake holding some liquid, the
// rest leaves as filtrate. The cake liquid follows from the cake porosity ε (cake volume
// Vs / (1 − ε)) or from its loss on drying (cake mass Ms / (1 − LOD/100)). The filter area follows
// from the filtrate of a cycle, the flux and the time: A = V / (J t).

#include <string>
#include <vector>

#include "unitops/contract/equipment.hpp"
#include "unitops/contract/operation.hpp"
#include "unitops/models/separation/filter_cake.hpp"
#include "unitops/roster/identity.hpp"

namespace unitops {

//! A filter on a cloth, sized by its area per unit; it holds the cake between operations.
class CTalClothFilter : public CTalEquipment {
    TAL_DECLARE_CLASS(CTalClothFilter)
public:
    static constexpr int kVarVolume = 1;
    static constexpr int kVarFilterArea = 13;
    static constexpr int kVarFilterThroughput = 32;

    CTalClothFilter() = default;
    void Serialize(CArchive& ar) override;
    bool AccumulatesMaterial() const override { return true; }
    double Size() const override { return m_FilterArea; }
    std::string SizeUnits() const override { return "m2"; }
    std::string SizeVarNameForUDCM() const override { return "Filter Area"; }
    std::string SizeVarUnitsForUDCM() const override { return "m2"; }
    double SizeVarValueForUDCM() const override { return m_FilterArea; }
    Quantity SizeVarQuantityForUDCM() const override { return Quantity::Area; }
    double MaxSizeVarValueForUDCM() const override { return m_MaxFilterArea; }
    void InitSizeParams() override;
    void InitCostParams() override;
    int IsSimDataComplete(int group, CTalEquipmentPP* page, int flag) override;
    void WriteIDR_Description(std::FILE* f, int = 0) override;
    bool SetNumericalValue(int id, double value, int = 0) override;
    int HasIdenticalRatingData(const CTalEquipment* other, int flag) const override;

    //! Takes `area` (m2, all units) for one operation: the first of a pass sets it, later ones can
    //! only raise the total; units are added above the maximum. 0 with `msg` when the number of
    //! units cannot be represented.
    virtual int CalcSize(double area, unsigned& msg);
    //! A cloth filter holds no volume of its own.
    virtual void CalcDimensions() { m_Volume = 0.0; }
    //! An empty filter holds air in its volume.
    void InitDefaultContentsBeforeBatch() override { FillDefaultContentsWithAir(m_Volume); }

    double m_FilterArea = 0.0;        //!< m2 per unit
    double m_MaxFilterArea = 80.0;    //!< m2 per unit
    double m_FilterThroughput = 0.0;  //!< kept with the rating data only
    double m_Volume = 0.0;            //!< m3 per unit
};

//! 5000 + 1700 A, A at least 5 m2.
class CTalPlateAndFrameFilter : public CTalClothFilter {
    TAL_DECLARE_CLASS(CTalPlateAndFrameFilter)
public:
    CTalPlateAndFrameFilter() = default;
    TAL_EQUIPMENT_IDENTITY(0x201)
    double CalcPurchaseCost(CWnd* wnd) override;
};

//! The cost law of the plate-and-frame filter, before the material factor.
double PlateAndFrameBaseCost(double area);

class CTalClothFiltration : public CTalOperation {
    TAL_DECLARE_CLASS(CTalClothFiltration)
public:
    CTalClothFiltration() = default;
    TAL_OPERATION_IDENTITY(0xA320)

    void Serialize(CArchive& ar) override;
    int IsEssential() const override { return 1; }
    int IsCyclical() const override { return 1; }
    bool IsInPortUsed(int, int) const override { return false; }
    bool IsOutPortUsed(int port, int flag) const override { return flag == 0 && port == m_FiltrateOutPort; }
    void InitSimModelParams() override;
    void InitCostParams() override;
    void UpdateForNewCompDef(const ComponentList& oldComps) override;
    void UpdateCompInfoFromOldFlowsheet(const ComponentList& oldComps, const ComponentList& newComps) override;
    int IsSimDataComplete(int group, CTalModelPP* page, bool flag, int askUser) override;
    int Solve(CTalStateStream* before, CTalStateStream* after, int skipSizing) override;
    int WriteIDR_Description(std::FILE* f) override;
    void GetCustomDescription(std::string& text) const override;

    CTalClothFilter* EquipmentT() const;
    const std::vector<double>& Retention() const { return m_Retention; }

    std::vector<double> m_Retention;       //!< fraction of each component kept in the cake
    double m_CakeThickness = 0.0;          //!< m, output
    double m_MaxCakeThickness = 0.15;      //!< m
    double m_CakePorosity = 0.4;           //!< v/v
    int m_IsDrynessByLOD = 1;
    double m_LOD = 30.0;                   //!< loss on drying, kept in percent
    double m_FiltrateFlux = 200.0 / 3.6e6; //!< m3/(m2 s) (200 L/(m2 h))
    int m_FiltrateOutPort = 2;

private:
    CakeDryness Dryness() const;
    //! Time, flux or area from the filtrate of a cycle; clears `ok` on a sizing failure.
    double SizeFilter(double filtrateVolFlow, int skipSizing, int& ok);
    void SetCakeThickness(double cakeVolFlow, double area, int& ok);
};

//! Wash of the cake that a cloth filtration left: the wash displaces mother liquor, the liquor
//! leaves by an outlet with the spent wash, and the wash that replaces it stays in the cake. Part of
//! the retained solids may dissolve, by a solubility or by a loss fraction.
class CTalCakeWashOp : public CTalOperation {
    TAL_DECLARE_CLASS(CTalCakeWashOp)
public:
    CTalCakeWashOp() = default;
    TAL_OPERATION_IDENTITY(0xA324)

    void Serialize(CArchive& ar) override;
    int IsCyclical() const override { return 1; }
    bool IsInPortUsed(int port, int flag) const override {
        return port == m_WashInPort && (!m_IsRelativeVolumeSet || flag == 0);
    }
    bool IsOutPortUsed(int port, int flag) const override { return flag == 0 && port == m_WashOutPort; }
    bool InitiatesBPG() const override { return m_IsRelativeVolumeSet != 0; }
    void GetStreamsInitiatingBPG(std::vector<CTalStream*>& streams) const override;
    void InitSimModelParams() override;
    void InitCostParams() override;
    void UpdateForNewCompDef(const ComponentList& oldComps) override;
    void UpdateCompInfoFromOldFlowsheet(const ComponentList& oldComps, const ComponentList& newComps) override;
    int IsSimDataComplete(int group, CTalModelPP* page, bool flag, int askUser) override;
    int Solve(CTalStateStream* before, CTalStateStream* after, int skipSizing) override;
    int WriteIDR_Description(std::FILE* f) override;
    void GetCustomDescription(std::string& text) const override;

    int m_IsRelativeVolumeSet = 0;
    double m_WashVolume = 0.0;          //!< m3 per cycle
    double m_RelativeWashVolume = 1.0;  //!< m3 of wash per m3 of cake
    double m_WashRate = 0.0;            //!< kg/s, output
    int m_WashType = 1;                 //!< 1 displacement, 0 reslurry
    int m_WashInPort = 0;
    int m_WashOutPort = 3;
    double m_WashFlux = 200.0 / 3.6e6;  //!< m3/(m2 s)
    std::vector<double> m_IsSoluble;        //!< 1 for a component that may dissolve
    std::vector<double> m_Solubility;       //!< kg/m3
    std::vector<double> m_ApproachToEquil;  //!< fraction
    std::vector<double> m_SolubleLoss;      //!< fraction
    int m_IsSolubilitySet = 1;

private:
    //! The retention of the filtration that made the cake; all zero without one.
    std::vector<double> CakeRetention() const;
    //! Moves into the wash outlet what dissolves of each soluble retained component.
    void Dissolve(const std::vector<double>& r, CTalSModel& cake, double washVolFlow);
    void SizeWash(double washVolFlow, int skipSizing, int& ok);
};

}  // namespace unitops
