#pragma once
// Particles removed from a gas in a reverse-flow cyclone of fixed proportions. The inlet
// velocity sets the size; the collection of each particle size range follows the Leith and
// Licht model with the natural vortex length of the geometry, or the removals are given.
//
// Ports: input 0 the gas; output 0 the cleaned gas, output 1 the dust.

#include <cstdio>
#include <string>
#include <vector>

#include "unitops/contract/equipment.hpp"
#include "unitops/contract/operation.hpp"
#include "unitops/roster/identity.hpp"

namespace unitops {

class CTalGasCyclone;

//! The dimensions of a cyclone of body diameter D, all in m.
struct CycloneProportions {
    double bodyDiameter = 0.0;
    double inletHeight = 0.0;         //!< D / 2
    double inletWidth = 0.0;          //!< D / 4
    double gasOutletDiameter = 0.0;   //!< D / 2
    double upperBodyHeight = 0.0;     //!< 2 D
    double outerLength = 0.0;         //!< 5 D / 8
    double overallHeight = 0.0;       //!< 4 D
    double dustOutletDiameter = 0.0;  //!< D / 4

    static CycloneProportions OfDiameter(double D);
    //! Pressure drop in inlet velocity heads: 16 a b / De^2.
    double VelocityHeads() const;
};

//! The Leith and Licht geometry factors for an inlet area `area`.
struct CycloneGeometryFactors {
    double Ka = 0.0;
    double Kb = 0.0;
    double Kc = 0.0;
};
CycloneGeometryFactors GeometryFactors(const CycloneProportions& p, double area);

//! Fraction of particles of diameter `dp` (m) collected: C is 8 Kc / (Ka Kb), `n` the vortex
//! exponent, `v` the inlet velocity (m/s), `mu` the gas viscosity (Pa s), `rhoP` the particle
//! density (kg/m3), `D` the body diameter (m).
double LeithLichtEfficiency(double C, double n, double dp, double rhoP, double v, double mu, double D);
//! The vortex exponent of a body diameter D (m) at gas temperature T (K).
double VortexExponent(double D, double T);

//! The data of particle removal from a gas and their checks.
class CTalCycloning : public CTalOperation {
    TAL_DECLARE_CLASS(CTalCycloning)
public:
    CTalCycloning() = default;

    void Serialize(CArchive& ar) override;
    bool IsInPortUsed(int, int) const override { return true; }
    bool IsOutPortUsed(int, int) const override { return true; }
    int IsEssential() const override { return 1; }
    void InitSimModelParams() override;
    void UpdateForNewCompDef(const ComponentList& oldComps) override;
    void UpdateCompInfoFromOldFlowsheet(const ComponentList& oldComps, const ComponentList& newComps) override;
    int IsSimDataComplete(int group, CTalModelPP* page, bool flag, int askUser) override;

    int m_IsRemovalSetByUser = 1;
    double m_OperatingThroughput = 0.0;  //!< m3/s per unit
    double m_InletVelocity = 20.0;       //!< m/s
    double m_GasViscosity = 0.00002;     //!< Pa s
    double m_MeanParticleDensity = 2500.0;
    double m_PressureDrop = 0.0;         //!< Pa
    double m_OverallEfficiency = 0.0;
    double m_ResidualMassFrac = 0.0;     //!< mass above the largest range
    double m_HighestParticleSize = 0.0;  //!< m, the size of that residue
    int m_NumberOfRanges = 0;
    std::vector<double> m_IsComponentRemoved;  //!< 1 for a component the cyclone collects, else 0
    std::vector<double> m_Removal;             //!< fraction per component, when set by the user
    std::vector<double> m_RangeLow;            //!< m
    std::vector<double> m_RangeHigh;           //!< m
    std::vector<double> m_RangeMassFrac;

protected:
    //! The size table: the first range starts at 0, each ends where the next starts, and each
    //! ends above its start. 1 when it is sound, else the refusal reported.
    int CheckRanges(CTalModelPP* page) const;
};

class CTalGasCycloning : public CTalCycloning {
    TAL_DECLARE_CLASS(CTalGasCycloning)
public:
    CTalGasCycloning() = default;
    TAL_OPERATION_IDENTITY(0xA600)

    void InitSimModelParams() override;
    int Solve(CTalStateStream* before, CTalStateStream* after, int skipSizing) override;
    int WriteIDR_Description(std::FILE* f) override;
    void GetCustomDescription(std::string& text) const override;

    CTalGasCyclone* Cyclone() const;
    //! Collected fraction of each size range at inlet velocity v, for body diameter D, inlet area
    //! `area`, gas temperature T and gas viscosity mu (all in internal units).
    std::vector<double> RangeEfficiencies(double D, double area, double T, double v, double mu) const;

private:
    //! The collection by range of the last run, from the members as they stand (for the reports,
    //! which see the members in display units).
    std::vector<double> ReportedRangeEfficiencies() const;
    void SplitGas(const CTalStream& gas, CTalStream& cleaned, CTalStream& dust) const;
};

//! The cyclone equipment: its rating is a throughput, its size a body diameter.
class CTalCyclone : public CTalEquipment {
    TAL_DECLARE_CLASS(CTalCyclone)
public:
    static constexpr int kVarBodyDiameter = 16;

    CTalCyclone() = default;
    void Serialize(CArchive& ar) override;
    double Diameter() const override { return m_BodyDiameter; }
    double Size() const override { return m_RatedThroughput; }
    std::string SizeUnits() const override { return "m3/s"; }
    std::string SizeVarNameForUDCM() const override { return "Rated Throughput"; }
    std::string SizeVarUnitsForUDCM() const override { return "m3/h"; }
    double SizeVarValueForUDCM() const override { return m_RatedThroughput * 3600.0; }
    double SizeVarFactorForUDCM() const override { return 3600.0; }
    Quantity SizeVarQuantityForUDCM() const override { return Quantity::VolumeFlow; }
    std::string SizeVarNameForDB() const override { return "Body Diameter"; }
    void InitSizeParams() override;
    void InitCostParams() override;
    double CalcPurchaseCost(CWnd* wnd) override;
    int IsCompatible(const CTalEquipment* other) const override;
    int IsDBEquipPropsValid(CTalSpecsPP* page, int flag) override;

    double BodyDiameter() const { return m_BodyDiameter; }
    double MaxDeltaP() const { return m_MaxDeltaP; }
    void SetRatedThroughput(double q) { m_RatedThroughput = q; }

    double m_MaxDeltaP = 1500.0;      //!< Pa
    double m_BodyDiameter = 0.0;      //!< m
    double m_MaxBodyDiameter = 2.0;   //!< m
    double m_RatedThroughput = 0.0;   //!< m3/s per unit
};

class CTalGasCyclone : public CTalCyclone {
    TAL_DECLARE_CLASS(CTalGasCyclone)
public:
    CTalGasCyclone() = default;
    TAL_EQUIPMENT_IDENTITY(0x400)

    void Serialize(CArchive& ar) override;
    void InitSizeParams() override;
    int IsSimDataComplete(int group, CTalEquipmentPP* page, int flag) override;
    void WriteEER_Description(std::FILE* f, int = 0) override;
    void WriteIDR_Description(std::FILE* f, int = 0) override;
    bool SetNumericalValue(int id, double value, int = 0) override;
    void AllocateDBEquipmentVariables() override { CalcDimensions(); }

    //! Sizes the body for a total inlet cross section (m2), in parallel units above the largest
    //! body diameter. 0 (with the message) only when the count of units cannot be represented.
    int CalcSizeFromInletArea(double area, unsigned& message);
    //! The seven dimensions from the body diameter.
    void CalcDimensions();
    CycloneProportions Proportions() const;

    double m_InletHeight = 0.0;
    double m_InletWidth = 0.0;
    double m_GasOutletDiameter = 0.0;
    double m_UpperBodyHeight = 0.0;
    double m_OuterLength = 0.0;
    double m_OverallHeight = 0.0;
    double m_DustOutletDiameter = 0.0;
};

}  // namespace unitops
