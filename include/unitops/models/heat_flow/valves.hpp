#pragma once
// The pressure drop of a liquid or a gas through a gate, globe or butterfly valve. The flow
// coefficient Cv (US gal/min of water at 1 psi) links the volume flow Q (m3/s) and the drop:
//     liquid:  Cv = 1316099 Q (sg / dP)^0.5
//     gas:     Cv = 1222450 Q (sg T / (P1^2 - P2^2))^0.5, and above the valve's choked ratio
//              dP / P1 (0.15 gate, 0.8 globe and butterfly) Cv = 1441172.7 Q (sg T)^0.5 / P1,
// sg relative to water for a liquid and to air (1.1948168 kg/m3) for a gas. Design takes the drop
// and sizes the valve by its Cv; rating takes the valve's diameter and finds the drop. A globe or
// butterfly valve partly open passes the fraction open of its full Cv.

#include <cstdio>
#include <string>

#include "unitops/contract/equipment.hpp"
#include "unitops/contract/operation.hpp"
#include "unitops/roster/identity.hpp"

namespace unitops {

class CTalValve;

//! What sets one valve operation apart: its phase, its vapour limit and its choked ratio.
struct ValveKind {
    bool gas;
    double vaporLimit;    //!< liquid: largest vapour mass fraction; gas: smallest
    double chokedRatio;   //!< gas: dP / P1 above which the flow is choked
    bool partlyOpen;      //!< whether `FractionOpen` applies
};

class CTalValveOp : public CTalOperation {
    TAL_DECLARE_CLASS(CTalValveOp)
public:
    CTalValveOp() = default;

    void Serialize(CArchive& ar) override;
    bool IsInPortUsed(int port, int) const override { return port == 0; }
    bool IsOutPortUsed(int port, int) const override { return port == 0; }
    int IsEssential() const override { return 1; }
    int IsCyclical() const override { return 0; }
    bool DoesAfterStateAmtScaleWithInsAndOuts() const override { return false; }
    void InitSimModelParams() override;
    void InitCostParams() override;
    int IsSimDataComplete(int group, CTalModelPP* page, bool flag, int askUser) override;
    int Solve(CTalStateStream* before, CTalStateStream* after, int skipSizing) override;
    int WriteIDR_Description(std::FILE* f) override;
    void GetCustomDescription(std::string& text) const override;

    //! The kind of the concrete class; the base behaves as a liquid gate valve.
    virtual ValveKind Kind() const { return {false, 0.05, 0.15, false}; }
    CTalValve* EquipmentT() const;

    double m_Throughput = 0.0;      //!< m3/s per unit (a result)
    double m_PressureDrop = 100.0;  //!< Pa
    double m_FractionOpen = 1.0;

private:
    //! The flow coefficient in design, or the drop in rating; an empty text on success.
    std::string SolveLiquid(const CTalStream& in, int skipSizing, int& ok);
    std::string SolveGas(const CTalStream& in, int skipSizing, int& ok);
    double OpenShare() const { return Kind().partlyOpen ? m_FractionOpen : 1.0; }
    bool SizeValve(double cv, int skipSizing);
};

class CTalLGateValveOp : public CTalValveOp {
    TAL_DECLARE_CLASS(CTalLGateValveOp)
public:
    CTalLGateValveOp() = default;
    TAL_OPERATION_IDENTITY(0xA850)
    ValveKind Kind() const override { return {false, 0.05, 0.15, false}; }
};

class CTalGGateValveOp : public CTalLGateValveOp {
    TAL_DECLARE_CLASS(CTalGGateValveOp)
public:
    CTalGGateValveOp() = default;
    TAL_OPERATION_IDENTITY(0xA856)
    ValveKind Kind() const override { return {true, 0.97, 0.15, false}; }
};

class CTalLGlobeValveOp : public CTalValveOp {
    TAL_DECLARE_CLASS(CTalLGlobeValveOp)
public:
    CTalLGlobeValveOp() = default;
    TAL_OPERATION_IDENTITY(0xA852)
    ValveKind Kind() const override { return {false, 0.03, 0.8, true}; }
    int IsSimDataComplete(int group, CTalModelPP* page, bool flag, int askUser) override;
};

class CTalGGlobeValveOp : public CTalLGlobeValveOp {
    TAL_DECLARE_CLASS(CTalGGlobeValveOp)
public:
    CTalGGlobeValveOp() = default;
    TAL_OPERATION_IDENTITY(0xA858)
    ValveKind Kind() const override { return {true, 0.97, 0.8, true}; }
};

//! Derived from the globe valve, it keeps the globe's vapour limit for a liquid.
class CTalLButterflyValveOp : public CTalLGlobeValveOp {
    TAL_DECLARE_CLASS(CTalLButterflyValveOp)
public:
    CTalLButterflyValveOp() = default;
    TAL_OPERATION_IDENTITY(0xA854)
};

class CTalGButterflyValveOp : public CTalLButterflyValveOp {
    TAL_DECLARE_CLASS(CTalGButterflyValveOp)
public:
    CTalGButterflyValveOp() = default;
    TAL_OPERATION_IDENTITY(0xA85A)
    ValveKind Kind() const override { return {true, 0.97, 0.8, true}; }
};

//! The liquid flow coefficient for `Q` m3/s of specific gravity `sg` across `dP` Pa.
double LiquidFlowCoefficient(double Q, double sg, double dP);

//! Cv = a d^b with d in inches: the law of one valve kind.
struct CvLaw {
    double a;
    double b;
    double Cv(double diameterM) const;
    double Diameter(double cv) const;  //!< m
};

//! A valve sized by its flow coefficient; the kinds differ by their law of Cv on the diameter.
class CTalValve : public CTalEquipment {
    TAL_DECLARE_CLASS(CTalValve)
public:
    static constexpr int kVarDiameter = 0xe;

    CTalValve() = default;
    void Serialize(CArchive& ar) override;
    std::string SizeVarNameForUDCM() const override { return "Diameter"; }
    std::string SizeVarUnitsForUDCM() const override { return "cm"; }
    double SizeVarValueForUDCM() const override { return m_Diameter * 100.0; }
    Quantity SizeVarQuantityForUDCM() const override { return Quantity::Length; }
    double SizeVarFactorForUDCM() const override { return 100.0; }
    double MaxSizeVarValueForUDCM() const override { return m_MaxDiameter * 100.0; }
    double Size() const override { return m_Diameter; }
    double Diameter() const override { return m_Diameter; }
    std::string SizeUnits() const override { return "Meters"; }
    void InitSizeParams() override;
    void InitCostParams() override;
    double CalcPurchaseCost(CWnd* wnd) override;
    int IsSimDataComplete(int group, CTalEquipmentPP* page, int flag) override;
    void WriteEER_Description(std::FILE* f, int = 0) override;
    void WriteIDR_Description(std::FILE* f, int = 0) override;
    bool SetNumericalValue(int id, double value, int = 0) override;
    int HasIdenticalRatingData(const CTalEquipment* other, int flag) const override;

    virtual CvLaw Law() const { return {102.27, 1.9446}; }
    virtual double DefaultMaxDiameter() const { return 0.1016; }
    //! Cost of one unit of diameter `D` m by the kind's law; the base has none.
    virtual double CostOfDiameter(double /*D*/) { return 0.0; }

    //! Takes `required` as the flow coefficient of all units; units are added above the largest
    //! valve, and the diameter follows from the coefficient per unit.
    bool SizeForCv(double required, unsigned& message);

    double m_Diameter = 0.05;          //!< m per unit
    double m_MaxDiameter = 0.2;        //!< m
    double m_FlowCoefficient = 250.0;  //!< Cv per unit
};

class CTalGateValve : public CTalValve {
    TAL_DECLARE_CLASS(CTalGateValve)
public:
    CTalGateValve() { m_MaxDiameter = 0.1016; }
    TAL_EQUIPMENT_IDENTITY(0x800)
    CvLaw Law() const override { return {102.27, 1.9446}; }
    double DefaultMaxDiameter() const override { return 0.1016; }
    double CostOfDiameter(double D) override;
};

class CTalGlobeValve : public CTalValve {
    TAL_DECLARE_CLASS(CTalGlobeValve)
public:
    CTalGlobeValve() { m_MaxDiameter = 0.381; }
    TAL_EQUIPMENT_IDENTITY(0x801)
    CvLaw Law() const override { return {20.593, 1.7606}; }
    double DefaultMaxDiameter() const override { return 0.381; }
    double CostOfDiameter(double D) override;
};

class CTalButterflyValve : public CTalValve {
    TAL_DECLARE_CLASS(CTalButterflyValve)
public:
    CTalButterflyValve() { m_MaxDiameter = 0.1016; }
    TAL_EQUIPMENT_IDENTITY(0x802)
    CvLaw Law() const override { return {18.387, 2.2816}; }
    double DefaultMaxDiameter() const override { return 0.1016; }
    double CostOfDiameter(double D) override;
};

}  // namespace unitops
