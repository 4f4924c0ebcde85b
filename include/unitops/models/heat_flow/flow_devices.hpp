#pragma once
// Pumps, compressors and fans: operations that raise a stream's pressure.
//
// A pump moves a liquid: the power per unit is P = Q dP / eta (Q the volume flow per unit), and
// the power lost to inefficiency warms the liquid by dT = (1 - eta) P / (m cp). A compressor or
// fan compresses a gas isentropically with k = 1.3:
//     W = k / (k - 1) Q P1 ((P2 / P1)^((k - 1) / k) - 1) / eta,  T2 = T1 (P2 / P1)^((k - 1) / k),
// and an after-cooler takes the gas back to its maximum exit temperature with a cooling agent.

#include <cstdio>
#include <string>

#include "unitops/contract/equipment.hpp"
#include "unitops/contract/operation.hpp"
#include "unitops/roster/identity.hpp"

namespace unitops {

class CTalThroughputPump;
class CTalCFCompressor;
class CTalCFFan;

// ---------------------------------------------------------------- operations

//! The virtual operations shared by the pressure-raising operations: one stream in, one out.
#define TAL_FLOW_DEVICE_SLOTS                                                             \
    void Serialize(CArchive& ar) override;                                                \
    bool IsInPortUsed(int, int) const override { return true; }                           \
    bool IsOutPortUsed(int, int) const override { return true; }                          \
    int IsEssential() const override { return 1; }                                        \
    int IsCyclical() const override { return 0; }                                         \
    void InitSimModelParams() override;                                                   \
    void InitCostParams() override;                                                       \
    int IsSimDataComplete(int group, CTalModelPP* page, bool flag, int askUser) override; \
    int Solve(CTalStateStream* before, CTalStateStream* after, int skipSizing) override;  \
    int WriteIDR_Description(std::FILE* f) override;                                      \
    void GetCustomDescription(std::string& text) const override;

//! A liquid pumped across a pressure rise; the base of the three pump kinds.
class CTalThroughputPumping : public CTalOperation {
    TAL_DECLARE_CLASS(CTalThroughputPumping)
public:
    CTalThroughputPumping() = default;
    TAL_FLOW_DEVICE_SLOTS
    bool DoesAfterStateAmtScaleWithInsAndOuts() const override { return false; }

    CTalThroughputPump* EquipmentT() const;

    double m_Throughput = 0.0;           //!< m3/s per unit
    double m_PressureChange = 100000.0;  //!< Pa
    double m_Efficiency = 0.7;
};

class CTalCFPumping : public CTalThroughputPumping {
    TAL_DECLARE_CLASS(CTalCFPumping)
public:
    CTalCFPumping() = default;
    TAL_OPERATION_IDENTITY(0xA800)
    //! Files before 4.5 kept the pressure rise, the efficiency and a word now unused, and no throughput.
    void Serialize(CArchive& ar) override;
};

class CTalPDDiaphragmPumping : public CTalThroughputPumping {
    TAL_DECLARE_CLASS(CTalPDDiaphragmPumping)
public:
    CTalPDDiaphragmPumping() = default;
    TAL_OPERATION_IDENTITY(0xA802)
};

class CTalPDGearPumping : public CTalThroughputPumping {
    TAL_DECLARE_CLASS(CTalPDGearPumping)
public:
    CTalPDGearPumping() = default;
    TAL_OPERATION_IDENTITY(0xA803)
};

//! A gas compressed in a centrifugal compressor, by a given pressure rise or, in rating, by the
//! full rated power.
class CTalCFCompressing : public CTalOperation {
    TAL_DECLARE_CLASS(CTalCFCompressing)
public:
    CTalCFCompressing() = default;
    TAL_OPERATION_IDENTITY(0xA804)
    TAL_FLOW_DEVICE_SLOTS
    void InitHxAgent() override;
    bool DoesAfterStateAmtScaleWithInsAndOuts() const override { return false; }

    CTalCFCompressor* EquipmentT() const;

    double m_PressureChange = 500000.0;  //!< Pa
    double m_MaxExitTemp = 313.15;       //!< K
    double m_Efficiency = 0.7;
    int m_IsPressureChangeGiven = 1;     //!< rating: 0 takes the rated power and finds the pressure rise
    double m_Throughput = 0.0;           //!< m3/s per unit
};

//! A gas moved by a centrifugal fan across a small pressure rise.
class CTalCFFanning : public CTalOperation {
    TAL_DECLARE_CLASS(CTalCFFanning)
public:
    CTalCFFanning() = default;
    TAL_OPERATION_IDENTITY(0xA814)
    TAL_FLOW_DEVICE_SLOTS
    void InitHxAgent() override;
    bool DoesAfterStateAmtScaleWithInsAndOuts() const override { return false; }

    CTalCFFan* EquipmentT() const;

    double m_PressureChange = 2000.0;  //!< Pa
    double m_MaxExitTemp = 313.15;     //!< K
    double m_Throughput = 0.0;         //!< m3/s per unit
    double m_Efficiency = 0.7;
};

//! The batch clause of a description: ", at a throughput of … m3/h" when the process time is
//! calculated (`throughput` in m3/s), else ", for … <time unit>"; nothing outside a batch.
void AppendBatchDuration(const CTalOperation& op, double throughput, std::string& text);

//! Adiabatic power (W) to take `volumeFlow` (m3/s) from P1 to P2 at `efficiency`, with k = 1.3.
double AdiabaticPower(double volumeFlow, double P1, double P2, double efficiency);
//! The pressure reached (Pa) when `power` (W) is spent on `volumeFlow` from P1; P1 itself when
//! the power cannot raise the pressure.
double PressureForPower(double power, double volumeFlow, double P1, double efficiency);
//! Isentropic exit temperature (K) for k = 1.3.
double IsentropicExitTemp(double T1, double P1, double P2);

// ---------------------------------------------------------------- equipment

//! Equipment rated by its power per unit (pumps and compressors).
class CTalPoweredFlowDevice : public CTalEquipment {
    TAL_DECLARE_CLASS(CTalPoweredFlowDevice)
public:
    static constexpr int kVarPower = 0x15;

    CTalPoweredFlowDevice() = default;
    void Serialize(CArchive& ar) override;
    std::string SizeVarNameForUDCM() const override { return "Power"; }
    std::string SizeVarUnitsForUDCM() const override { return "kW"; }
    double SizeVarValueForUDCM() const override { return m_Power * 1e-3; }
    Quantity SizeVarQuantityForUDCM() const override { return Quantity::Power; }
    double SizeVarFactorForUDCM() const override { return 1e-3; }
    double MaxSizeVarValueForUDCM() const override { return m_MaxPower * 1e-3; }
    double Size() const override { return m_Power; }
    std::string SizeUnits() const override { return "W"; }
    void InitCostParams() override;
    double CalcPurchaseCost(CWnd* wnd) override;
    int IsSimDataComplete(int group, CTalEquipmentPP* page, int flag) override;
    void WriteEER_Description(std::FILE* f, int = 0) override;
    void WriteIDR_Description(std::FILE* f, int = 0) override;
    bool SetNumericalValue(int id, double value, int = 0) override;
    int IsDBEquipPropsValid(CTalSpecsPP* page, int flag) override;
    int HasIdenticalRatingData(const CTalEquipment* other, int flag) const override;

    //! The power (W, all units) as the size: the largest need of the pass, units above the maximum.
    bool SizeForRequirement(double required, unsigned& message);
    //! Cost of one unit of `power` W by the class's law, in dollars of its base year; no law: 0.
    virtual double CostOfPower(double /*power*/) { return 0.0; }

    double m_MaxPower = 300000.0;  //!< W per unit
    double m_Power = 0.0;          //!< W per unit
};

class CTalThroughputPump : public CTalPoweredFlowDevice {
    TAL_DECLARE_CLASS(CTalThroughputPump)
public:
    CTalThroughputPump() = default;
};

class CTalCFPump : public CTalThroughputPump {
    TAL_DECLARE_CLASS(CTalCFPump)
public:
    CTalCFPump() = default;
    TAL_EQUIPMENT_IDENTITY(0x700)
    double CostOfPower(double power) override;
};

class CTalPDDiaphragmPump : public CTalThroughputPump {
    TAL_DECLARE_CLASS(CTalPDDiaphragmPump)
public:
    CTalPDDiaphragmPump() = default;
    TAL_EQUIPMENT_IDENTITY(0x706)
    double CostOfPower(double power) override;
};

class CTalPDGearPump : public CTalThroughputPump {
    TAL_DECLARE_CLASS(CTalPDGearPump)
public:
    CTalPDGearPump() = default;
    TAL_EQUIPMENT_IDENTITY(0x707)
    double CostOfPower(double power) override;
};

class CTalCFCompressor : public CTalPoweredFlowDevice {
    TAL_DECLARE_CLASS(CTalCFCompressor)
public:
    CTalCFCompressor() { m_MaxPower = 3000000.0; }
    TAL_EQUIPMENT_IDENTITY(0x701)
    void InitSizeParams() override;
    double CostOfPower(double power) override;
};

//! The fan, rated by its volume throughput per unit.
class CTalCFFan : public CTalEquipment {
    TAL_DECLARE_CLASS(CTalCFFan)
public:
    static constexpr int kVarRatedThroughput = 0x16;

    CTalCFFan() = default;
    TAL_EQUIPMENT_IDENTITY(0x702)
    void Serialize(CArchive& ar) override;
    std::string SizeVarNameForUDCM() const override { return "Rated Throughput"; }
    std::string SizeVarUnitsForUDCM() const override { return "m3/s"; }
    double SizeVarValueForUDCM() const override { return m_RatedThroughput; }
    Quantity SizeVarQuantityForUDCM() const override { return Quantity::VolumeFlow; }
    double MaxSizeVarValueForUDCM() const override { return m_MaxRatedThroughput; }
    double Size() const override { return m_RatedThroughput; }
    std::string SizeUnits() const override { return "m3/s"; }
    void InitSizeParams() override;
    void InitCostParams() override;
    double CalcPurchaseCost(CWnd* wnd) override;
    int IsSimDataComplete(int group, CTalEquipmentPP* page, int flag) override;
    void WriteEER_Description(std::FILE* f, int = 0) override;
    void WriteIDR_Description(std::FILE* f, int = 0) override;
    bool SetNumericalValue(int id, double value, int = 0) override;
    int HasIdenticalRatingData(const CTalEquipment* other, int flag) const override;

    bool SizeForRequirement(double required, unsigned& message);

    double m_MaxRatedThroughput = 200.0;  //!< m3/s per unit
    double m_RatedThroughput = 100.0;     //!< m3/s per unit
};

}  // namespace unitops
