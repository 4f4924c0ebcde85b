#pragma once
// Vessels: the equipment in which a batch or a continuous holdup stays. Operations size a
// vessel by its volume; the vessel derives its dimensions from a shape ratio, its cost from
// the law of its class, and the air that fills it before a batch.

#include <functional>
#include <string>

#include "unitops/contract/equipment.hpp"

namespace unitops {

class CTalOperation;

// Kinds of operations that the vessel's checks and file upgrades look for among the
// operations that use it.
//! A vessel operation or a transfer operation: both keep a working volume of the vessel.
bool IsVolumeKeepingOperation(const CTalOperation* op);
bool IsTransferOperation(const CTalOperation* op);
//! Heating or cooling in a vessel.
bool IsVesselHeatOrCoolOperation(const CTalOperation* op);

using OperationKind = bool (*)(const CTalOperation*);

//! Pi as this library uses it everywhere.
inline constexpr double kVesselPi = 3.1415926;

class CTalVessel : public CTalEquipment {
    TAL_DECLARE_CLASS(CTalVessel)
public:
    CTalVessel() = default;

    void Serialize(CArchive& ar) override;
    bool AccumulatesMaterial() const override { return true; }
    double Volume() const override { return m_Volume; }
    double Diameter() const override { return m_Diameter; }
    //! Sizes the vessel for the largest liquid contents of the procedure's states up to `op`.
    int CalcDefaultSize(CTalProcedure* proc, CTalOperation* op, int = 0) override;
    //! Share of the usable volume that the largest liquid contents of the procedure fill, at most 1.
    double CalcDefaultEquipCapacityUtilF(const CTalProcedure* proc) override;
    int IsSizingBasedOnVolume() const override { return 1; }
    bool DoSizingBasedOnVolume(double volume, double ratio, unsigned& message, int = 0) override;
    void VesselCalcDimensions() override { CalcDimensions(); }
    double MaxWorkingToVesselVol() const override { return m_MaxWorkingToVesselVol; }
    //! Upgrades of the largest filling in files that predate it in the operations.
    void OnNotifyAfterDocOpening() override;
    std::string DefaultPrefix() const override { return "V-"; }
    std::string SizeVarNameForUDCM() const override { return "Volume"; }
    std::string SizeVarUnitsForUDCM() const override { return "m3"; }
    double SizeVarValueForUDCM() const override { return m_Volume; }
    Quantity SizeVarQuantityForUDCM() const override { return Quantity::Volume; }
    double MaxSizeVarValueForUDCM() const override { return m_MaxVolume / 1000.0; }
    double Size() const override { return m_Volume; }
    std::string SizeUnits() const override { return "m3"; }
    void InitSizeParams() override;
    void InitCostParams() override;
    int IsSimDataComplete(int group, CTalEquipmentPP* page, int flag) override;
    void WriteEER_Description(std::FILE* f, int = 0) override;
    void WriteEER_Description_XLS(std::FILE* f, int = 0) override;
    void WriteIDR_Description(std::FILE* f, int = 0) override;
    //! Fills the default contents with the air of the vessel's volume, spread over the plant batch time.
    void InitDefaultContentsBeforeBatch() override;
    void AllocateDBEquipmentVariables() override;
    bool SetNumericalValue(int id, double value, int = 0) override;
    bool SetBooleanValue(int id, bool value, int = 0) override;
    int IsDBEquipPropsValid(CTalSpecsPP* page, int flag) override;
    int HasIdenticalRatingData(const CTalEquipment* other, int flag) const override;
    //! Derives the dimensions from the volume; the shapes do it.
    virtual void CalcDimensions() {}
    virtual void CalcDowncomerHeatTransferArea() {}

    //! Sizes for a total volume filled to `maxRatio`: the first call of a pass replaces the size,
    //! later ones can only raise it; units are added when one would exceed `MaxVolume`.
    int CalcSize(double totalVolume, double maxRatio, unsigned& message);

    //! Calls `visit` for each operation of the procedures using this vessel that is of `kind` and
    //! can size it, until `visit` answers false.
    void ForEachSizingOperation(OperationKind kind, const std::function<bool(CTalOperation&)>& visit) const;
    //! The first such operation that allows a higher filling than the vessel, or null.
    CTalOperation* FirstOperationAboveMaxRatio(OperationKind kind) const;
    //! Files below 5.0013: the vessel takes the highest filling of its operations of `kind`, then
    //! passes it on to those of them that are `pushedTo`.
    void RaiseMaxRatioToOperations(OperationKind kind, OperationKind pushedTo);
    //! Files below 5.1002: operations of `kind` take the vessel's largest filling.
    void PushMaxRatioTo(OperationKind kind);
    //! The message shown when an operation allows a higher filling than the vessel.
    static std::string HigherMaxRatioMessage(const std::string& operation, const std::string& procedure);

    double DesignPressure() const { return m_DesignPressure; }
    double CrossArea() const { return kVesselPi * m_Diameter * m_Diameter / 4.0; }
    double MaxVolume() const { return m_MaxVolume; }
    void SetMaxVolume(double v) { m_MaxVolume = v; }
    void SetVolume(double v) { m_Volume = v; }
    void SetMaxWorkingToVesselVol(double v) { m_MaxWorkingToVesselVol = v; }
    int IsASME() const { return m_IsASME; }

    double m_Volume = 0.0;                 //!< volume of one unit, m3
    double m_MaxVolume = 0.0;              //!< largest volume of one unit, m3
    double m_Diameter = 0.0;               //!< m, derived
    double m_DesignPressure = 0.0;         //!< Pa
    int m_IsASME = 0;                      //!< constructed to ASME standards
    double m_MaxWorkingToVesselVol = 0.0;  //!< largest share of the volume that may be filled

protected:
    // Steps shared by the built-in cost laws of the family.
    //! Volume per unit in m3, raised to the law's floor.
    double CostVolume(double floor) const { return m_Volume > floor ? m_Volume : floor; }
    void ApplyCostFactor(double factor, const char* words);
    void ApplyCostDivisor(double divisor, const char* words);
    void ApplyAsmeFactor();
    //! x 1.8 when the design pressure is strictly above `limit` (Pa).
    void ApplyPressureFactor(double limit);
    //! Material factor and escalation to the cost year; the purchase cost.
    double FinishBuiltInCost();
};

//! A vertical cylinder: diameter and height from the volume and the height to diameter ratio.
class CTalVerticalVessel : public CTalVessel {
    TAL_DECLARE_CLASS(CTalVerticalVessel)
public:
    CTalVerticalVessel() = default;

    void Serialize(CArchive& ar) override;
    double InternalSurfaceArea() const override;
    void InitSizeParams() override;
    int IsSimDataComplete(int group, CTalEquipmentPP* page, int flag) override;
    void WriteIDR_Description(std::FILE* f, int = 0) override;
    bool SetNumericalValue(int id, double value, int = 0) override;
    int IsDBEquipPropsValid(CTalSpecsPP* page, int flag) override;
    int HasIdenticalRatingData(const CTalEquipment* other, int flag) const override;
    void CalcDimensions() override;

    double Height() const { return m_Height; }
    double HeightToDiameter() const { return m_HeightToDiameter; }

    double m_Height = 0.0;            //!< m, derived
    double m_HeightToDiameter = 0.0;
};

//! A horizontal cylinder: diameter and length from the volume and the length to diameter ratio.
class CTalHorizontalVessel : public CTalVessel {
    TAL_DECLARE_CLASS(CTalHorizontalVessel)
public:
    CTalHorizontalVessel() = default;

    void Serialize(CArchive& ar) override;
    double InternalSurfaceArea() const override;
    void InitSizeParams() override;
    int IsSimDataComplete(int group, CTalEquipmentPP* page, int flag) override;
    void WriteIDR_Description(std::FILE* f, int = 0) override;
    bool SetNumericalValue(int id, double value, int = 0) override;
    int IsDBEquipPropsValid(CTalSpecsPP* page, int flag) override;
    int HasIdenticalRatingData(const CTalEquipment* other, int flag) const override;
    void CalcDimensions() override;

    double Length() const { return m_Length; }
    double LengthToDiameter() const { return m_LengthToDiameter; }

    double m_Length = 0.0;            //!< m, derived
    double m_LengthToDiameter = 0.0;
};

}  // namespace unitops
