#pragma once
// Equipment rated by a mass throughput (or by parts of a discrete product), and the mixers,
// splitters and generic boxes built on it.

#include "unitops/contract/equipment.hpp"
#include "unitops/roster/identity.hpp"

namespace unitops {

class CTalThroughputEquipment : public CTalEquipment {
    TAL_DECLARE_CLASS(CTalThroughputEquipment)
public:
    CTalThroughputEquipment() = default;

    void Serialize(CArchive& ar) override;
    std::string SizeVarNameForUDCM() const override { return "Rated Throughput"; }
    std::string SizeVarUnitsForUDCM() const override { return " kg/h"; }
    double SizeVarValueForUDCM() const override { return m_RatedThroughput * 3600.0; }
    Quantity SizeVarQuantityForUDCM() const override { return Quantity::MassFlow; }
    double SizeVarFactorForUDCM() const override { return 3600.0; }
    double MaxSizeVarValueForUDCM() const override { return m_MaxThroughput; }
    double Size() const override { return m_RatedThroughput; }
    std::string SizeUnits() const override { return " kg/s"; }
    void InitSizeParams() override;
    void InitCostParams() override;
    double CalcPurchaseCost(CWnd* wnd) override;
    int IsSimDataComplete(int group, CTalEquipmentPP* page, int flag) override;
    void WriteEER_Description(std::FILE* f, int = 0) override;
    void WriteEER_Description_XLS(std::FILE* f, int = 0) override;
    void WriteIDR_Description(std::FILE* f, int = 0) override;
    bool SetNumericalValue(int id, double value, int = 0) override;
    int IsDBEquipPropsValid(CTalSpecsPP* page, int flag) override;
    int HasIdenticalRatingData(const CTalEquipment* other, int flag) const override;
    //! Display unit of the throughputs: kg/h here, parts per minute for discrete products.
    virtual DisplayUnit ThroughputUnit() const { return display::kKgPerHour; }

    //! Sizes for a total throughput: the first call of a pass replaces the size, later ones
    //! can only raise it; units are added when one would exceed the maximum.
    int CalcSize(double throughput, unsigned& message);

    double RatedThroughput() const { return m_RatedThroughput; }
    void SetRatedThroughput(double v) { m_RatedThroughput = v; }
    double MaxThroughput() const { return m_MaxThroughput; }

    double m_MaxThroughput = 0.0;    //!< largest throughput of a unit, kg/s
    double m_RatedThroughput = 0.0;  //!< throughput of a unit, kg/s

protected:
    const char* ThroughputUnitsText() const;
};

class CTalDiscreteThroughputEquipment : public CTalThroughputEquipment {
    TAL_DECLARE_CLASS(CTalDiscreteThroughputEquipment)
public:
    CTalDiscreteThroughputEquipment() = default;

    std::string SizeVarUnitsForUDCM() const override { return " parts/min"; }
    double SizeVarValueForUDCM() const override { return m_RatedThroughput * 60.0; }
    Quantity SizeVarQuantityForUDCM() const override { return Quantity::Dimensionless; }  // parts have no unit
    double SizeVarFactorForUDCM() const override { return 1.0; }
    std::string SizeUnits() const override { return " parts/sec"; }
    bool SetNumericalValue(int id, double value, int = 0) override;
    DisplayUnit ThroughputUnit() const override { return display::kPartsPerMin; }
};

#define TAL_THROUGHPUT_EQUIPMENT_CLASS(name, id)     \
    class name : public CTalThroughputEquipment {    \
        TAL_DECLARE_CLASS(name)                      \
    public:                                          \
        name() = default;                            \
        TAL_EQUIPMENT_IDENTITY(id)                   \
    };

TAL_THROUGHPUT_EQUIPMENT_CLASS(CTalMixer, 0x0703)
TAL_THROUGHPUT_EQUIPMENT_CLASS(CTalFlowSplitter, 0x0704)
TAL_THROUGHPUT_EQUIPMENT_CLASS(CTalCompSplitter, 0x0705)
TAL_THROUGHPUT_EQUIPMENT_CLASS(CTalGenericBox, 0x0708)

#undef TAL_THROUGHPUT_EQUIPMENT_CLASS

}  // namespace unitops
