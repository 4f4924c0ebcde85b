#pragma once
// Operations on material that flows through a device: inputs arrive, outputs leave and
// nothing stays. Rated by a mass throughput (or by entities of a discrete product).

#include "unitops/contract/operation.hpp"

namespace unitops {

class CTalThroughputEquipment;
class CTalDiscreteThroughputEquipment;

//! The throughput steps of an operation on material that flows through throughput equipment,
//! whatever the operation's own base: the rating against the equipment (or the duration in a
//! batch procedure), the sizing, the power and the utilisation, and the checks of their data.
//! `throughput` is the operation's throughput of one unit, kg/s.
class InlineThroughput {
public:
    InlineThroughput(CTalOperation& op, double& throughput, bool ratedForAllUnits)
        : op_(op), throughput_(throughput), ratedForAllUnits_(ratedForAllUnits) {}

    //! Rating: the throughput per unit of `massFlow` (kg/s), checked against the rated one; in a
    //! batch procedure the process time follows from it when it is calculated. False (with a
    //! message) when the unit is too small.
    int Rate(double massFlow, const CTalThroughputEquipment* e);
    //! Design: sizes the equipment for `massFlow` (unless `skipSizing`), then the throughput per unit.
    int Design(double massFlow, CTalThroughputEquipment* e, int skipSizing);
    //! Power from the specific power (or the reverse when the power is given), and the capacity
    //! utilisation of a unit.
    void PowerAndUtilization(const CTalThroughputEquipment* e);
    //! Rating in a batch procedure also honours a duration set by a master: the throughput then
    //! follows from the master's duration and is checked as with a given duration.
    InlineThroughput& WithMasterDuration() {
        masterDuration_ = true;
        return *this;
    }
    //! The three steps above for `massFlow`, by the design mode; false if one failed.
    int Solve(double massFlow, CTalThroughputEquipment* e, int skipSizing);
    //! The rated throughput that a unit's throughput is held against, and that the utilisation
    //! divides by: one unit's, or (in the models that say so) that of all units together.
    double RatedLimit(const CTalThroughputEquipment* e) const;
    //! The checks of the power (group 20) and, in a batch procedure, of the duration or the
    //! throughput (group 2); 0 after the first failure.
    int CheckData(int group, CTalModelPP* page, const CTalThroughputEquipment* e) const;

private:
    CTalOperation& op_;
    double& throughput_;
    bool ratedForAllUnits_;
    bool masterDuration_ = false;
};

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

protected:
    //! The shared throughput steps on this operation's throughput.
    InlineThroughput Steps() { return InlineThroughput(*this, m_Throughput, m_IsRatedForAllUnits); }
    bool m_IsRatedForAllUnits = false;
    int SolveThroughput(double massFlow, CTalThroughputEquipment* e, int skipSizing) { return Steps().Solve(massFlow, e, skipSizing); }
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
