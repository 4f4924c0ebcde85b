#pragma once
// Air filtration: a gas passes through a filter unchanged; the filter is sized on the gas volume
// flow and costed for its use, air inlet or exhaust gas.

#include <string>

#include "unitops/contract/equipment.hpp"
#include "unitops/contract/operation.hpp"
#include "unitops/roster/identity.hpp"

namespace unitops {

//! Sized by its rated throughput per unit; units are added above the maximum throughput.
class CTalAirFilter : public CTalEquipment {
    TAL_DECLARE_CLASS(CTalAirFilter)
public:
    static constexpr int kVarRatedThroughput = 8;
    static constexpr int kVarIsAirInlet = 12;

    CTalAirFilter() = default;
    TAL_EQUIPMENT_IDENTITY(0x200)
    void Serialize(CArchive& ar) override;
    double Size() const override { return m_RatedThroughput; }
    std::string SizeUnits() const override { return "m3/s"; }
    std::string SizeVarNameForUDCM() const override { return "Rated Throughput"; }
    std::string SizeVarUnitsForUDCM() const override { return "m3/s"; }
    double SizeVarValueForUDCM() const override { return m_RatedThroughput; }
    Quantity SizeVarQuantityForUDCM() const override { return Quantity::VolumeFlow; }
    double MaxSizeVarValueForUDCM() const override { return m_MaxThroughput; }
    void InitSizeParams() override;
    void InitCostParams() override;
    int IsCompatible(const CTalEquipment* other) const override;
    int IsSimDataComplete(int group, CTalEquipmentPP* page, int flag) override;
    int IsDBEquipPropsValid(CTalSpecsPP* page, int flag) override;
    double CalcPurchaseCost(CWnd* wnd) override;
    void WriteIDR_Description(std::FILE* f, int = 0) override;
    void WriteEER_Description(std::FILE* f, int = 0) override;
    bool SetNumericalValue(int id, double value, int = 0) override;
    bool SetBooleanValue(int id, bool value, int = 0) override;

    //! Takes the throughput (m3/s, all units) of one operation; the first of a pass sets it, later
    //! ones can only raise it. 0 with `msg` when the number of units cannot be represented.
    int CalcSize(double throughput, unsigned& msg);

    int m_IsAirInlet = 1;
    double m_RatedThroughput = 0.0;  //!< m3/s per unit
    double m_MaxThroughput = 4.0;    //!< m3/s per unit
};

//! The cost law of the air filter, before the material factor.
double AirFilterBaseCost(double throughput, bool airInlet);

class CTalAirFiltration : public CTalOperation {
    TAL_DECLARE_CLASS(CTalAirFiltration)
public:
    CTalAirFiltration() = default;
    TAL_OPERATION_IDENTITY(0xA318)

    void Serialize(CArchive& ar) override;
    int IsEssential() const override { return 1; }
    int IsCyclical() const override { return 0; }
    bool IsInPortUsed(int, int) const override { return true; }
    bool IsOutPortUsed(int, int) const override { return true; }
    void InitSimModelParams() override;
    int Solve(CTalStateStream* before, CTalStateStream* after, int skipSizing) override;
    void GetCustomDescription(std::string& text) const override;

    double m_OperatingThroughput = 0.0;  //!< m3/s per unit, output
};

}  // namespace unitops
