#pragma once
// Packed columns that move a solute between a gas and a liquid: absorption takes it from the
// gas, stripping from the liquid. A generalised pressure-drop chart sizes the cross section,
// two-film coefficients of the wetted packing and the Colburn relation size the height. Design
// takes the removals as given and finds the diameter and height; rating takes the column as
// built and can compute the removals.
//
// Ports: input 0 the liquid, input 1 the gas; output 0 the gas leaving, output 1 the liquid.

#include <cstdio>
#include <string>
#include <vector>

#include "unitops/contract/equipment.hpp"
#include "unitops/contract/operation.hpp"
#include "unitops/roster/identity.hpp"

namespace unitops {

class CTalAbsorber;

//! The pressure-drop chart: seven straight lines Y = a - b log10(X), one per pressure drop.
namespace packing_chart {
//! Pressure drop per height (Pa/m) at flow parameter X and capacity parameter Y. The second
//! value is false when Y falls in no interval of the chart (possible only with the data as
//! they stand, where curves cross); the drop is 0 then.
struct Drop {
    double perHeight = 0.0;
    bool found = true;
};
Drop PressureDropFromChart(double X, double Y);
//! Capacity parameter for a pressure drop in [50, 2200) Pa/m, clamped to [0.0015, 0.34];
//! `found` is false outside that range.
struct Capacity {
    double Y = 0.0;
    bool found = true;
};
Capacity CapacityFromChart(double X, double P);
}  // namespace packing_chart

//! Colburn: number of transfer units from the entering and leaving fractions of the phase that
//! gives up the solute and the fraction in equilibrium with the other phase's inlet. `r` is the
//! ratio of the equilibrium line's slope to the operating line's: 1/A when absorbing, A when
//! stripping. 0 when the fractions give no finite positive number.
double ColburnNTU(double r, double in, double out, double equilibrium);
//! Its inverse: the leaving fraction of a column of `ntu` transfer units.
double ColburnOutlet(double r, double ntu, double in, double equilibrium);

class CTalAbsorption : public CTalOperation {
    TAL_DECLARE_CLASS(CTalAbsorption)
public:
    CTalAbsorption() = default;
    TAL_OPERATION_IDENTITY(0xA604)

    void Serialize(CArchive& ar) override;
    bool IsInPortUsed(int, int) const override { return true; }
    bool IsOutPortUsed(int, int) const override { return true; }
    int IsEssential() const override { return 1; }
    void InitSimModelParams() override;
    void InitCostParams() override;
    void UpdateForNewCompDef(const ComponentList& oldComps) override;
    void UpdateCompInfoFromOldFlowsheet(const ComponentList& oldComps, const ComponentList& newComps) override;
    int IsSimDataComplete(int group, CTalModelPP* page, bool flag, int askUser) override;
    int Solve(CTalStateStream* before, CTalStateStream* after, int skipSizing) override;
    int WriteIDR_Description(std::FILE* f) override;
    void GetCustomDescription(std::string& text) const override;

    CTalAbsorber* Column() const;
    virtual bool IsStripping() const { return false; }

    //! Overall coefficient (gas basis for absorption, liquid basis for stripping) of component
    //! `i`, given the liquid and gas mass fluxes; 0 without its Henry constant or diffusivities.
    double OverallCoefficient(int i, double L, double G, double rhoL, double rhoG, bool strippingBasis) const;

    int m_IsRemovalCalculated = 0;
    std::vector<double> m_Removal;          //!< fraction per component
    double m_LiquidSurfaceTension = 0.03;   //!< N/m
    double m_LiquidViscosity = 0.001;       //!< Pa s
    double m_GasViscosity = 0.000018;       //!< Pa s
    std::string m_DesignComponent = "(none)";
    double m_LiquidDiffusivity = 1.5e-9;    //!< m2/s, of the design component
    double m_GasDiffusivity = 1.5e-5;       //!< m2/s
    double m_PressureDrop = 0.0;            //!< Pa over the column
    double m_PressureDropPerLength = 400.0; //!< Pa/m
    double m_PackingSpecificArea = 190.0;   //!< m2/m3
    double m_PackingNominalDiameter = 0.025;//!< m
    double m_CriticalSurfaceTension = 0.04; //!< N/m
    double m_PackingConstant = 155.0;
    double m_HTU = 0.0;                     //!< m
    double m_NTU = 0.0;

protected:
    //! What a solve works with: the feeds, their densities and the index of the design component.
    struct Feeds {
        const CTalStream* liquid = nullptr;
        const CTalStream* gas = nullptr;
        double rhoL = 1000.0;
        double rhoG = 0.0;
        double X = 0.0;  //!< flow parameter
        int design = -1;
    };
    int SolveColumn(CTalStateStream* after, int skipSizing);
    //! Column height at diameter D by absorption or by stripping; `ok` is cleared by an
    //! unfavourable flow ratio. Uses the gas outlet as it stands.
    double ColumnHeight(const Feeds& f, double D, bool stripping, int& ok);
    //! Mass flux of a stream through the cross section of diameter D, in `units` parallel columns.
    double Flux(double flow, double D, int units) const;
    void RateColumn(const Feeds& f, const CTalAbsorber& column, int& ok);
    void CalculateRemovals(const Feeds& f, const CTalAbsorber& column, int& ok);
    void TransferStreams(const Feeds& f);
    int SizeColumn(const Feeds& f, int skipSizing, int& ok);
    //! Pressure drop at D times the absorption height at D, less the drop wanted: the function
    //! whose root is the diameter of sizing modes 0 and 1.
    double DiameterResidual(const Feeds& f, double D, int& ok);
    void SetOutletTemperature(const Feeds& f);
};

class CTalStripping : public CTalAbsorption {
    TAL_DECLARE_CLASS(CTalStripping)
public:
    CTalStripping() = default;
    TAL_OPERATION_IDENTITY(0xA608)
    bool IsStripping() const override { return true; }
    int Solve(CTalStateStream* before, CTalStateStream* after, int skipSizing) override;
    void GetCustomDescription(std::string& text) const override;
};

//! The packed column of absorption and stripping.
class CTalAbsorber : public CTalEquipment {
    TAL_DECLARE_CLASS(CTalAbsorber)
public:
    enum { kDiameterGiven = 0, kPressureDropGiven = 1, kPressureDropPerHeightGiven = 2 };
    static constexpr int kVarDiameter = 17;
    static constexpr int kVarHeight = 18;

    CTalAbsorber() = default;
    TAL_EQUIPMENT_IDENTITY(0x401)

    void Serialize(CArchive& ar) override;
    double Volume() const override;
    double Diameter() const override { return m_Diameter; }
    double Size() const override { return Volume(); }
    std::string SizeUnits() const override { return "m3"; }
    std::string SizeVarNameForUDCM() const override { return "Volume"; }
    std::string SizeVarUnitsForUDCM() const override { return "m3"; }
    double SizeVarValueForUDCM() const override { return Volume(); }
    Quantity SizeVarQuantityForUDCM() const override { return Quantity::Volume; }
    double MaxSizeVarValueForUDCM() const override { return 1e+99; }
    void InitSizeParams() override;
    void InitCostParams() override;
    double CalcPurchaseCost(CWnd* wnd) override;
    int IsCompatible(const CTalEquipment* other) const override;
    int IsSimDataComplete(int group, CTalEquipmentPP* page, int flag) override;
    int IsDBEquipPropsValid(CTalSpecsPP* page, int flag) override;
    void WriteEER_Description(std::FILE* f, int = 0) override;
    void WriteIDR_Description(std::FILE* f, int = 0) override;
    bool SetNumericalValue(int id, double value, int = 0) override;

    //! Takes a diameter and height needed by an operation of the pass; splits the cross section
    //! into parallel columns above the largest diameter. Always 1.
    int CalcSize(double diameter, double height, unsigned& message);

    int m_SizingMode = kPressureDropPerHeightGiven;
    double m_Height = 0.0;       //!< m
    double m_Diameter = 0.0;     //!< m
    double m_MaxDiameter = 4.0;  //!< m
};

class CTalStripper : public CTalAbsorber {
    TAL_DECLARE_CLASS(CTalStripper)
public:
    CTalStripper() = default;
    TAL_EQUIPMENT_IDENTITY(0x402)
};

}  // namespace unitops
