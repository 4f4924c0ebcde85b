#pragma once
// Centrifugation: a feed is split into a clarified main stream, an oil (top) stream and a solids
// (bottom) stream. The machine is sized and rated by the sigma factor: a limiting particle or oil
// globule settles at a velocity v, and the equivalent settling area needed is Σ = Q / v.
//
// Settling velocities (d diameter, ρ density of the particle, ρL and μ of the liquid, g = 9.81):
// - a light globule rises by Stokes' law, v = d² (ρL − ρ) g / (18 μ);
// - a heavy particle settles in one of three regimes chosen by K = d (Δρ ρL g / μ²)^(1/3):
//   Stokes (K ≤ 3.3; b = 24, n = 1), intermediate (K ≤ 43.6; b = 18.5, n = 0.6) and Newton
//   (b = 0.44, n = 0), with v = (4 g d^(1+n) Δρ / (3 b μ^n ρL^(1−n)))^(1/(2−n)).

#include <vector>

#include "unitops/contract/equipment.hpp"
#include "unitops/contract/operation.hpp"
#include "unitops/roster/identity.hpp"

namespace unitops {

//! Rise velocity of a globule lighter than the liquid, m/s.
double GlobuleRiseVelocity(double d, double rho, double liquidDensity, double liquidViscosity);
//! Settling velocity of a particle heavier than the liquid in its regime, m/s.
double ParticleSettlingVelocity(double d, double rho, double liquidDensity, double liquidViscosity);
//! The regime criterion K of a heavy particle.
double SettlingRegimeCriterion(double d, double rho, double liquidDensity, double liquidViscosity);

//! A centrifuge, sized by its sigma factor or by its rated throughput per unit.
class CTalCentrifuge : public CTalEquipment {
    TAL_DECLARE_CLASS(CTalCentrifuge)
public:
    static constexpr int kVarRatedThroughput = 8;
    static constexpr int kVarSigmaFactor = 9;
    static constexpr int kVarSizingBasedOnThroughput = 10;
    static constexpr int kVarIsAseptic = 11;

    CTalCentrifuge() = default;
    void Serialize(CArchive& ar) override;
    double Size() const override { return m_SizingBasedOnThroughput ? m_RatedThroughput : m_SigmaFactor; }
    std::string SizeUnits() const override { return m_SizingBasedOnThroughput ? "m3/s" : "m2"; }
    std::string SizeVarNameForUDCM() const override { return m_SizingBasedOnThroughput ? "Rated Throughput" : "Sigma Factor"; }
    std::string SizeVarUnitsForUDCM() const override { return m_SizingBasedOnThroughput ? "L/min" : "m2"; }
    double SizeVarValueForUDCM() const override { return m_SizingBasedOnThroughput ? m_RatedThroughput * 60000.0 : m_SigmaFactor; }
    Quantity SizeVarQuantityForUDCM() const override { return m_SizingBasedOnThroughput ? Quantity::VolumeFlow : Quantity::Area; }
    double SizeVarFactorForUDCM() const override { return m_SizingBasedOnThroughput ? 60000.0 : 1.0; }
    double MaxSizeVarValueForUDCM() const override {
        return m_SizingBasedOnThroughput ? m_MaxRatedThroughput * 60000.0 : m_MaxSigmaFactor;
    }
    int IsSimDataComplete(int group, CTalEquipmentPP* page, int flag) override;
    void WriteEER_Description(std::FILE* f, int = 0) override;
    void WriteEER_Description_XLS(std::FILE* f, int = 0) override;
    void WriteIDR_Description(std::FILE* f, int = 0) override;
    bool SetNumericalValue(int id, double value, int = 0) override;
    bool SetBooleanValue(int id, bool value, int = 0) override;
    int IsDBEquipPropsValid(CTalSpecsPP* page, int flag) override;
    int HasIdenticalRatingData(const CTalEquipment* other, int flag) const override;

    double RatedThroughput() const { return m_RatedThroughput; }
    double SigmaFactor() const { return m_SigmaFactor; }
    int SizingBasedOnThroughput() const { return m_SizingBasedOnThroughput; }
    //! Sizes for one operation: a throughput (m3/s) and a sigma factor (m2) of the whole stream.
    //! The first operation of a pass sets the size, later ones can only raise it; above the
    //! maximum, units are added. 0 with `msg` when the number of units cannot be represented.
    int CalcSize(double throughput, double sigma, unsigned& msg);

    double m_RatedThroughput = 0.0;     //!< m3/s per unit
    double m_MaxRatedThroughput = 2.5;  //!< m3/s per unit
    double m_MaxSigmaFactor = 20000.0;  //!< m2 per unit
    double m_SigmaFactor = 0.0;         //!< m2 per unit
    int m_SizingBasedOnThroughput = 1;
    int m_IsAseptic = 1;
};

class CTalDecanterCentrifuge : public CTalCentrifuge {
    TAL_DECLARE_CLASS(CTalDecanterCentrifuge)
public:
    CTalDecanterCentrifuge() = default;
    int TypeID() const override { return 0x100; }
    std::string IsA() const override { return roster::FindEquipment(0x100)->isA; }
    std::string DefaultPrefix() const override { return roster::FindEquipment(0x100)->defaultPrefix; }
    std::string DefaultDescription() const override { return "Centrifugation"; }
    void InitSizeParams() override;
    void InitCostParams() override;
    //! 100000 + 5000 x with x the rated throughput / 100 × 3.6, at least 5; aseptic × 1.2.
    double CalcPurchaseCost(CWnd* wnd) override;
    int IsCompatible(const CTalEquipment* other) const override;
};

class CTalCentrifugation : public CTalOperation {
    TAL_DECLARE_CLASS(CTalCentrifugation)
public:
    enum { kOilRemoval = 0, kSolidsRemoval = 1, kSolidsAndOilRemoval = 2 };

    CTalCentrifugation() = default;
    TAL_OPERATION_IDENTITY(0xA200)

    void Serialize(CArchive& ar) override;
    int IsEssential() const override { return 1; }
    int IsCyclical() const override { return 0; }
    bool IsInPortUsed(int, int) const override { return true; }
    bool IsOutPortUsed(int port, int flag) const override;
    void InitSimModelParams() override;
    void InitCostParams() override;
    void InitHxAgent() override;
    void UpdateForNewCompDef(const ComponentList& oldComps) override;
    void UpdateCompInfoFromOldFlowsheet(const ComponentList& oldComps, const ComponentList& newComps) override;
    int IsSimDataComplete(int group, CTalModelPP* page, bool flag, int askUser) override;
    int Solve(CTalStateStream* before, CTalStateStream* after, int skipSizing) override;
    int WriteIDR_Description(std::FILE* f) override;
    void GetCustomDescription(std::string& text) const override;

    CTalCentrifuge* EquipmentT() const;

    std::vector<double> m_SolidsRemoval;  //!< share of each component sent to the solids stream
    std::vector<double> m_OilRemoval;     //!< share of each component sent to the oil stream
    int m_IsRemovalSetByUser = 1;
    int m_DesignBasis = kSolidsRemoval;
    double m_OilConcInOilStream = 200.0;        //!< kg/m3
    double m_GlobuleDiameter = 2e-5;            //!< m
    double m_GlobuleDensity = 900.0;            //!< kg/m3
    double m_SolidsConcInSolidsStream = 150.0;  //!< kg/m3
    double m_ParticleDensity = 1030.0;          //!< kg/m3
    double m_ParticleDiameter = 1e-6;           //!< m
    double m_LiquidDensity = 1000.0;            //!< kg/m3
    double m_LiquidViscosity = 0.0015;          //!< Pa s
    double m_SedimentationEfficiency = 0.3;
    double m_VolThroughput = 0.0;               //!< m3/s per unit
    double m_ExitTemp = 298.15;                 //!< K
    int m_IsExitTempSetByUser = 0;

private:
    struct Loads;
    double LimitingVelocity(unsigned& failure) const;
    double RateOrSize(double v, double& sigma, int skipSizing, int& ok);
    void CalculateRemovals(double v);
    int SolveSplit(const CTalStream& feed, CTalStream& main, CTalSModel& solids, CTalSModel& oil, int ok);
};

}  // namespace unitops
