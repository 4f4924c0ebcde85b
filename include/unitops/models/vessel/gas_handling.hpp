#pragma once
// Operations on the gas space of a vessel: pressurizing with a supply gas, evacuating, sweeping
// a gas through the head space, purging by pressure cycles and venting. They size nothing and
// read the vessel's volume as it stands; gas that leaves goes through the emission models of the
// host to the procedure's vent.
//
// Head space over the batch: H = vessel volume x units x cycles - liquid-solid volume per batch.
// Gas added fills H as an ideal gas: (P_to - P_from) H / (R T_supply) kmol, 22.414 std m3 each.

#include <string>

#include "unitops/contract/emissions.hpp"
#include "unitops/contract/flowsheet.hpp"
#include "unitops/contract/operation.hpp"
#include "unitops/roster/identity.hpp"

namespace unitops {

// The overrides every gas operation declares; those that vent hold an emissions spec, those
// that take gas from a supply tell its consumption.
#define TAL_GAS_OPERATION_OVERRIDES                                                               \
    void Serialize(CArchive& ar) override;                                                        \
    int IsCyclical() const override { return 1; }                                                 \
    void InitSimModelParams() override;                                                           \
    int IsSimDataComplete(int group, CTalModelPP* page, bool flag, int askUser) override;         \
    int Solve(CTalStateStream* before, CTalStateStream* after, int skipSizing) override;          \
    int WriteIDR_Description(std::FILE* f) override;                                              \
    void GetCustomDescription(std::string& text) const override;
#define TAL_GAS_EMISSIONS_OVERRIDES                                                               \
    CTalEmissions* EmissionsData() override { return &m_EmissionsSpec; }                          \
    void SetOwner(CTalProcedure* owner) override;                                                 \
    void CopyDataInto(CTalOperation* target, int flag) const override;                            \
    bool IsOutPortUsed(int port, int flag) const override;
#define TAL_GAS_SUPPLY_OVERRIDES                                                                  \
    bool IsBlendedNSIngredientBeingUsed(std::string_view name) const override { return name == m_GasName; } \
    void IngredientRenamed(const std::string& from, const std::string& to) override {                       \
        if (const CTalDocEss* doc = Flowsheet()) doc->FollowRename(m_GasName, m_GasIsPureComponent != 0, from, to); \
    }                                                                                             \
    double BlendedNSIngredientConsumption(std::string_view name, int flag) const override;

class CTalPressurizeOp : public CTalOperation {
    TAL_DECLARE_CLASS(CTalPressurizeOp)
public:
    CTalPressurizeOp() = default;
    TAL_OPERATION_IDENTITY(0xA21C)

    TAL_GAS_OPERATION_OVERRIDES
    bool CarriesInBatchMaterialIn() const override { return true; }
    TAL_GAS_SUPPLY_OVERRIDES

    double m_GasVolumePerCycle = 0.0;  //!< std m3
    double m_GasMassPerCycle = 0.0;    //!< kg
    double m_GasFlow = 0.0;            //!< kg/s over the process time
    std::string m_GasName = "(none)";
    int m_GasIsPureComponent = 1;
    double m_InitialPressure = 101325.0;
    double m_FinalPressure = 110300.0;
    double m_SupplyTemp = 298.15;
};

class CTalEvacuateOp : public CTalOperation {
    TAL_DECLARE_CLASS(CTalEvacuateOp)
public:
    CTalEvacuateOp() : CTalOperation(1) {}
    TAL_OPERATION_IDENTITY(0xA228)

    TAL_GAS_OPERATION_OVERRIDES
    TAL_GAS_EMISSIONS_OVERRIDES
    bool CarriesInBatchMaterialOut() const override { return true; }

    CTalEmissionsSpec m_EmissionsSpec;
    double m_FinalPressure = 2500.0;
    double m_InitialPressure = 101299.99999999999;
};

class CTalGasSweepOp : public CTalOperation {
    TAL_DECLARE_CLASS(CTalGasSweepOp)
public:
    CTalGasSweepOp() : CTalOperation(1) {}
    TAL_OPERATION_IDENTITY(0xA22C)

    TAL_GAS_OPERATION_OVERRIDES
    TAL_GAS_EMISSIONS_OVERRIDES
    bool CarriesInBatchMaterialIn() const override { return true; }
    bool CarriesInBatchMaterialOut() const override { return true; }
    TAL_GAS_SUPPLY_OVERRIDES

    CTalEmissionsSpec m_EmissionsSpec;
    int m_GasIsPureComponent = 1;
    double m_InitialPressure = 101299.99999999999;
    double m_SupplyTemp = 298.15;
    double m_GasRate = 4.9999999999999996e-05;  //!< std m3/s
    double m_GasVolumePerCycle = 0.0;
    double m_GasMassPerCycle = 0.0;
    std::string m_GasName = "(none)";
    double m_GasFlow = 0.0;  //!< kg/s, not kept in files
};

class CTalPurgeOp : public CTalOperation {
    TAL_DECLARE_CLASS(CTalPurgeOp)
public:
    enum { kVentThenFill = 0, kFillThenVent = 1, kFillVentFill = 2 };

    CTalPurgeOp() : CTalOperation(1) {}
    TAL_OPERATION_IDENTITY(0xA230)

    TAL_GAS_OPERATION_OVERRIDES
    TAL_GAS_EMISSIONS_OVERRIDES
    bool CarriesInBatchMaterialIn() const override { return true; }
    bool CarriesInBatchMaterialOut() const override { return true; }
    TAL_GAS_SUPPLY_OVERRIDES

    CTalEmissionsSpec m_EmissionsSpec;
    int m_PurgeType = kFillVentFill;
    double m_FinalPressure = 101299.99999999999;
    std::string m_GasName = "(none)";
    int m_GasIsPureComponent = 1;
    double m_HighPressure = 150000.0;
    double m_StepTime = 900.0;
    double m_GasVolumePerCycle = 0.0;
    double m_GasMassPerCycle = 0.0;
    double m_GasFlow = 0.0;
    double m_SupplyTemp = 298.15;
    double m_LowPressure = 2500.0;
    int m_NumberOfSteps = 1;
    double m_InitialPressure = 101299.99999999999;
};

class CTalVentOp : public CTalOperation {
    TAL_DECLARE_CLASS(CTalVentOp)
public:
    CTalVentOp() : CTalOperation(1) {}
    TAL_OPERATION_IDENTITY(0xA234)

    TAL_GAS_OPERATION_OVERRIDES
    TAL_GAS_EMISSIONS_OVERRIDES
    bool CarriesInBatchMaterialOut() const override { return true; }

    CTalEmissionsSpec m_EmissionsSpec;
    double m_FinalPressure = 101325.0;
    double m_InitialPressure = 101325.0;
    double m_AirLeak = 0.0;  //!< kg/s of air let in when venting up
};

}  // namespace unitops
