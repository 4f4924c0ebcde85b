#pragma once
// Membrane concentration: a batch (or a feed) is concentrated by a factor CF = V0 / Vr through a
// membrane that holds back each component by its rejection coefficient R. The retentate stays in
// the procedure; the permeate leaves by an outlet. A component keeps the share f(CF, R) of its
// mass in the retentate:
// - batch concentration (Rayleigh): f = CF^(R − 1);
// - feed and bleed (well mixed):    f = 1 / ((1 − CF) R + CF).
// The components with R = 0 are the solvent: they fill the retentate volume that the retained
// components leave. A solids limit in the retentate can lower the factor, found by a fixed-point
// iteration. The area follows from the permeate volume, the flux and the time: A = V / (J t).

#include <cmath>
#include <functional>
#include <string>
#include <vector>

#include "unitops/contract/equipment.hpp"
#include "unitops/contract/operation.hpp"
#include "unitops/roster/identity.hpp"

namespace unitops {

//! The equipment of membrane separations, sized by its membrane area per unit.
class CTalMembraneFilter : public CTalEquipment {
    TAL_DECLARE_CLASS(CTalMembraneFilter)
public:
    static constexpr int kVarMembraneArea = 31;
    static constexpr int kVarMembraneThroughput = 1;

    CTalMembraneFilter() = default;
    void Serialize(CArchive& ar) override;
    bool AccumulatesMaterial() const override { return true; }
    double Size() const override { return m_MembraneArea; }
    std::string SizeUnits() const override { return "m2"; }
    std::string SizeVarNameForUDCM() const override { return "Membrane Area"; }
    std::string SizeVarUnitsForUDCM() const override { return "m2"; }
    double SizeVarValueForUDCM() const override { return m_MembraneArea; }
    Quantity SizeVarQuantityForUDCM() const override { return Quantity::Area; }
    double MaxSizeVarValueForUDCM() const override { return m_MaxMembraneArea; }
    void InitSizeParams() override;
    void InitCostParams() override;
    int IsSimDataComplete(int group, CTalEquipmentPP* page, int flag) override;
    void WriteEER_Description(std::FILE* f, int = 0) override;
    void WriteEER_Description_XLS(std::FILE* f, int = 0) override;
    void WriteIDR_Description(std::FILE* f, int = 0) override;
    bool SetNumericalValue(int id, double value, int = 0) override;
    int IsDBEquipPropsValid(CTalSpecsPP* page, int flag) override;
    int HasIdenticalRatingData(const CTalEquipment* other, int flag) const override;
    //! Only the membrane operations run on a membrane filter.
    int IsCompatible(const CTalEquipment* other) const override;

    //! Takes `area` (m2, all units) for one operation: the first of a pass sets it, later ones can
    //! only raise the total; units are added above the maximum. 0 with `msg` when the number of
    //! units cannot be represented.
    int CalcSize(double area, unsigned& msg);

    double m_MembraneArea = 0.0;        //!< m2 per unit
    double m_MaxMembraneArea = 80.0;    //!< m2 per unit
    double m_MembraneThroughput = 0.0;  //!< kept with the rating data only

protected:
    //! The cost protocol with the law of the ultrafilter, which the diafilter shares.
    double CostByUltraFilterLaw(CWnd* wnd);
};

//! 26670 (A / 15)^0.6, A at least 5 m2.
class CTalMicroFilter : public CTalMembraneFilter {
    TAL_DECLARE_CLASS(CTalMicroFilter)
public:
    CTalMicroFilter() = default;
    TAL_EQUIPMENT_IDENTITY(0x1300)
    double CalcPurchaseCost(CWnd* wnd) override;
};

//! 60800 (A / 50)^e, e = 0.6 up to 50 m2 and 0.4 above, A at least 5 m2.
class CTalUltraFilter : public CTalMembraneFilter {
    TAL_DECLARE_CLASS(CTalUltraFilter)
public:
    CTalUltraFilter() = default;
    TAL_EQUIPMENT_IDENTITY(0x1301)
    double CalcPurchaseCost(CWnd* wnd) override;
};

//! 5000 + 75 A, A at least 1 m2.
class CTalReverseOsmosisFilter : public CTalMembraneFilter {
    TAL_DECLARE_CLASS(CTalReverseOsmosisFilter)
public:
    CTalReverseOsmosisFilter() = default;
    TAL_EQUIPMENT_IDENTITY(0x1302)
    void InitCostParams() override;
    double CalcPurchaseCost(CWnd* wnd) override;
};

//! The diafilter costs as the ultrafilter.
class CTalDiafilter : public CTalMembraneFilter {
    TAL_DECLARE_CLASS(CTalDiafilter)
public:
    CTalDiafilter() = default;
    TAL_EQUIPMENT_IDENTITY(0x1303)
    double CalcPurchaseCost(CWnd* wnd) override;
};

//! The cost law of the ultrafilter and the diafilter, before the material factor.
double UltraFilterBaseCost(double area);

//! The data, checks and solution shared by the membrane concentrations; the two forms differ in
//! their retained share only.
class CTalMembraneFiltration : public CTalOperation {
    TAL_DECLARE_CLASS(CTalMembraneFiltration)
public:
    CTalMembraneFiltration() = default;

    void Serialize(CArchive& ar) override;
    int IsEssential() const override;
    int IsCyclical() const override { return 1; }
    bool IsInPortUsed(int, int) const override { return false; }
    bool IsOutPortUsed(int port, int flag) const override { return port == 0 && flag == 0; }
    void InitSimModelParams() override;
    void InitCostParams() override;
    void InitHxAgent() override;
    void UpdateForNewCompDef(const ComponentList& oldComps) override;
    void UpdateCompInfoFromOldFlowsheet(const ComponentList& oldComps, const ComponentList& newComps) override;
    //! Index 0: the membrane area, its life (s) and its cost per m2, in the places of the
    //! arguments `area`, `quantity` and `frequency`; nothing for other indices.
    void GetInfoOnConsumables(int index, double& area, double& quantity, double& frequency) const override;
    int IsSimDataComplete(int group, CTalModelPP* page, bool flag, int askUser) override;
    int Solve(CTalStateStream* before, CTalStateStream* after, int skipSizing) override;
    int WriteIDR_Description(std::FILE* f) override;
    void GetCustomDescription(std::string& text) const override;

    CTalMembraneFilter* EquipmentT() const;
    //! The share of a component of rejection R that stays in the retentate at the factor x.
    virtual double RetainedFraction(double x, double R) const { return std::pow(x, R - 1.0); }
    //! Whether the volume closure adds or removes solvent at any difference (true) or only beyond 1e-15.
    virtual bool ClosesVolumeExactly() const { return false; }

    std::vector<double> m_Rejection;
    int m_IsConcFactorSet = 1;
    double m_ConcFactor = 5.0;
    double m_Recovery = 0.8;
    double m_MaxSolidsInRetentate = 600.0;  //!< kg/m3
    double m_ExitTemp = 298.15;             //!< K
    int m_IsExitTempSetByUser = 0;
    double m_FiltrateFlux = 20.0 / 3.6e6;   //!< m3/(m2 s) (20 L/(m2 h))
    double m_Denaturation = 0.05;
    std::string m_ActiveProduct = "(none)";
    std::string m_DenaturedProduct = "(none)";
    double m_MembraneUnitCost = 200.0;      //!< $/m2
    int m_IsReplacementByHours = 1;
    double m_ReplacementHours = 7200000.0;  //!< s
    double m_ReplacementCycles = 600.0;

protected:
    //! A retained share as a function of the rejection at a fixed factor.
    using Share = std::function<double(double R)>;
    //! The shares of the solvent: the main solvent component (-1 without one) and the extracellular
    //! volume of all solvent components, m3/s.
    struct Solvent {
        int main = -1;
        double volume = 0.0;
    };
    void InitMembraneDefaults();
    void Denature(CTalSModel& s) const;
    Solvent FindSolvent(const CTalSModel& s) const;
    double BiomassRejection() const;
    //! Retained mass of the retained components (the solvent's extracellular part left out).
    double RetainedMass(const CTalSModel& s, const Share& f) const;
    //! Volume of what the retained mass occupies.
    double RetainedVolume(const CTalSModel& s, const Share& f) const;
    //! The fixed-point search of the factor that the solids limit allows, from `x`; leaves the
    //! solvent volume of the retentate in `W` and answers the factor.
    double LimitConcFactor(const CTalSModel& s, double x, double V0, double& Vr, double& W,
                           const std::function<Share(double)>& sharesAt, int passes, double tolerance) const;
    //! Sets the retentate's flows from the feed `s`: retained shares, and the share w of the solvent.
    void SetRetentate(const CTalSModel& feed, CTalSModel& retentate, const Share& f, double w, int solventIndex,
                      double solventShareOfOthers) const;
    //! Area, flux or time, and power, from the permeate volume; clears `ok` on a sizing failure.
    double SizeAndPower(double permeateVolFlow, int skipSizing, int& ok);
    void WriteMembraneData(std::FILE* f, bool exitTempSentence) const;
    int CheckMembraneData(int group, CTalModelPP* page);
    int CheckCostAndUtilities(int group, CTalModelPP* page);
    virtual int PermeatePort() const { return 0; }
};

class CTalBatchMembraneFiltration : public CTalMembraneFiltration {
    TAL_DECLARE_CLASS(CTalBatchMembraneFiltration)
public:
    CTalBatchMembraneFiltration() = default;
    TAL_OPERATION_IDENTITY(0xA330)
    //! In a diafiltration procedure the concentration sends its permeate to output 1.
    bool IsOutPortUsed(int port, int flag) const override { return port == PermeatePort() && flag == 0; }
    void InitSimModelParams() override;

protected:
    int PermeatePort() const override;
};

class CTalContMembraneFiltration : public CTalMembraneFiltration {
    TAL_DECLARE_CLASS(CTalContMembraneFiltration)
public:
    CTalContMembraneFiltration() = default;
    TAL_OPERATION_IDENTITY(0xA334)
    void InitSimModelParams() override;
    double RetainedFraction(double x, double R) const override { return 1.0 / ((1.0 - x) * R + x); }
    bool ClosesVolumeExactly() const override { return true; }
};

}  // namespace unitops
