#pragma once
// Equipment of in-line heat transfer: the heat exchanger, sized by its area, and the electric
// heater and cooler, sized by their power. All three are sized to the largest requirement of the
// operations that share them in a pass, and split into parallel units above their maximum.

#include <cstdio>

#include "unitops/contract/equipment.hpp"
#include "unitops/roster/identity.hpp"

namespace unitops {

//! Log-mean of two end temperature differences; dT1 itself when they differ by at most 1e-15.
//! Differences of opposite sign (or a zero one) have no log mean: the answer is 0 then, which
//! the models treat as "no driving force", never a NaN.
double LogMeanTempDifference(double dT1, double dT2);

//! The size of one unit for a requirement of `required` in all units: the first operation of a
//! pass sets it, later ones can only raise the total; above `maximum` units are added. False
//! (with `message`) only when the number of units cannot be represented.
bool SizeToRequirement(CTalEquipment& e, double required, double maximum, double& size, unsigned& message);

//! Labels of the equipment page's checks of the maximum (design) and the size (rating).
struct SizeLabels {
    const char* maximum;
    const char* size;
};
//! The checks of the equipment page in groups 0 and 1: the maximum in design mode, the size and
//! the number of units in rating mode.
int CheckSizes(const CTalEquipment& e, int group, CTalEquipmentPP* page, double maximum, double size, SizeLabels labels);

//! Report lines of equipment rated by its power per unit, in display units (kW): the rated power
//! and units in rating, the maximum in design; and the equipment report's line.
void WritePowerRating(const CTalEquipment& e, std::FILE* f, double power, double maxPower);
void WritePowerSize(std::FILE* f, double power);

class CTalHeatExchanger : public CTalEquipment {
    TAL_DECLARE_CLASS(CTalHeatExchanger)
public:
    enum { kPlateAndFrame = 0, kSpiral = 1, kShellAndTube = 2 };
    static constexpr int kVarArea = 0x13;
    static constexpr int kVarHxType = 0x14;

    CTalHeatExchanger() = default;
    int TypeID() const override { return 0x600; }
    std::string IsA() const override { return roster::FindEquipment(0x600)->isA; }
    std::string DefaultPrefix() const override { return roster::FindEquipment(0x600)->defaultPrefix; }
    //! "Heating" or "Cooling" in the procedures of those names, otherwise "Heat Exchanging".
    std::string DefaultDescription() const override;

    void Serialize(CArchive& ar) override;
    std::string SizeVarNameForUDCM() const override { return "Area"; }
    std::string SizeVarUnitsForUDCM() const override { return "m2"; }
    double SizeVarValueForUDCM() const override { return m_Area; }
    Quantity SizeVarQuantityForUDCM() const override { return Quantity::Area; }
    double MaxSizeVarValueForUDCM() const override { return m_MaxArea; }
    double Size() const override { return m_Area; }
    std::string SizeUnits() const override { return "m2"; }
    void InitSizeParams() override;
    void InitCostParams() override;
    double CalcPurchaseCost(CWnd* wnd) override;
    int IsSimDataComplete(int group, CTalEquipmentPP* page, int flag) override;
    void WriteEER_Description(std::FILE* f, int = 0) override;
    void WriteIDR_Description(std::FILE* f, int = 0) override;
    bool SetNumericalValue(int id, double value, int = 0) override;
    //! "Plate&Frame" gives type 0, "Shell&Tube" type 2, any other text a spiral.
    bool SetTextValue(int id, const std::string& value, int = 0) override;
    int IsDBEquipPropsValid(CTalSpecsPP* page, int flag) override;
    int HasIdenticalRatingData(const CTalEquipment* other, int flag) const override;

    //! Takes `required` m2 (all units) as the area: the largest need of the pass wins, and units are
    //! added above the maximum. False only when the number of units cannot be represented.
    bool SizeForRequirement(double required, unsigned& message);

    double m_MaxArea = 100.0;  //!< m2 per unit
    double m_Area = 0.0;       //!< m2 per unit
    int m_HxType = kPlateAndFrame;
};

//! The electric heater and cooler: rated by their power per unit.
class CTalElectricHeater : public CTalEquipment {
    TAL_DECLARE_CLASS(CTalElectricHeater)
public:
    static constexpr int kVarPower = 0x15;

    CTalElectricHeater() = default;
    TAL_EQUIPMENT_IDENTITY(0x601)

    void Serialize(CArchive& ar) override;
    std::string SizeVarNameForUDCM() const override { return "Power"; }
    std::string SizeVarUnitsForUDCM() const override { return "kW"; }
    double SizeVarValueForUDCM() const override { return m_Power * 1e-3; }
    Quantity SizeVarQuantityForUDCM() const override { return Quantity::Power; }
    double SizeVarFactorForUDCM() const override { return 1e-3; }
    double MaxSizeVarValueForUDCM() const override { return m_MaxPower * 1e-3; }
    double Size() const override { return m_Power; }
    std::string SizeUnits() const override { return "W"; }
    void InitSizeParams() override;
    void InitCostParams() override;
    int IsSimDataComplete(int group, CTalEquipmentPP* page, int flag) override;
    void WriteEER_Description(std::FILE* f, int = 0) override;
    void WriteIDR_Description(std::FILE* f, int = 0) override;
    bool SetNumericalValue(int id, double value, int = 0) override;
    int IsDBEquipPropsValid(CTalSpecsPP* page, int flag) override;
    int HasIdenticalRatingData(const CTalEquipment* other, int flag) const override;
    //! Only an item of the very same class: a cooler does not stand in for a heater.
    int IsCompatible(const CTalEquipment* other) const override {
        return other && other->GetRuntimeClass() == GetRuntimeClass() ? 1 : 0;
    }

    //! As the exchanger's, on the power (W, all units).
    bool SizeForRequirement(double required, unsigned& message);

    double m_MaxPower = 200000.0;  //!< W per unit
    double m_Power = 0.0;          //!< W per unit
};

class CTalElectricCooler : public CTalElectricHeater {
    TAL_DECLARE_CLASS(CTalElectricCooler)
public:
    CTalElectricCooler() = default;
    TAL_EQUIPMENT_IDENTITY(0x603)
};

}  // namespace unitops
