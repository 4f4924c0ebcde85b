#pragma once
// Operations on material that flows through a device: inputs arrive, outputs leave and
// nothing stays. Rated by a mass throughput (or by entities of a discrete product).

#include "unitops/contract/operation.hpp"

namespace unitops {

class CTalThroughputEquipment;
class CTalDiscreteThroughputEquipment;

class CTalThroughputOp : public CTalOperation {
    TAL_DECLARE_CLASS(CTalThroughputOp)
public:
    CTalThroughputOp() = default;

    void Serialize(CArchive& ar) override;
    void UpdateThroughput() override;
    int IsEssential() const override { return 1; }
    int IsCyclical() const override { return 0; }
    void InitSimModelParams() override;
    int IsSimDataComplete(int group, CTalModelPP* page, bool flag, int askUser) override;
    int WriteIDR_Description(std::FILE* f) override;
    //! The stream that measures the throughput: output 0 unless a model says otherwise.
    virtual CTalStream* ThroughputStream() const { return OutStream(0); }
    //! Display unit of the throughput: kg/h, or entities per minute in discrete operations.
    virtual DisplayUnit ThroughputUnit() const { return display::kKgPerHour; }

    CTalThroughputEquipment* EquipmentT() const;
    double Throughput() const { return m_Throughput; }
    void SetThroughput(double v) { m_Throughput = v; }

    double m_Throughput = 0.0;  //!< operating throughput of one unit, kg/s
};

//! The same base counted in entities of a discrete product instead of kilograms.
class CTalDiscreteThroughputOp : public CTalThroughputOp {
    TAL_DECLARE_CLASS(CTalDiscreteThroughputOp)
public:
    CTalDiscreteThroughputOp() = default;

    CTalDiscreteEntity* Entity() const override;
    void UpdateThroughput() override;
    void InitSimModelParams() override;
    void GetCustomDescription(std::string& text) const override;
    DisplayUnit ThroughputUnit() const override { return display::kEntitiesPerMin; }

    CTalDiscreteThroughputEquipment* EquipmentT() const;
};

//! Appends the tail of a throughput operation's description: the duration, or the throughput.
void AppendThroughputTail(const CTalThroughputOp& op, std::string& text, const char* throughputUnits);

}  // namespace unitops
