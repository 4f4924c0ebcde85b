#pragma once
// The concrete vessels: the stirred jacketed reactor, the storage and blending tanks, the
// decanter tank, the plug-flow reactor, the plastic bag and the batch generic box. Each has
// its own defaults and purchase cost law on the volume of one unit. The tanks keep the vessel's
// cost parameters ("SS304", material factor 1) unless they say otherwise.

#include "unitops/models/vessel/vessel.hpp"
#include "unitops/roster/identity.hpp"

namespace unitops {

//! Stirred, jacketed reactor vessel, optionally with a tray column on top; its cost adds the
//! agitator and the column to the vessel.
class CTalStirJacketVessel : public CTalVerticalVessel {
    TAL_DECLARE_CLASS(CTalStirJacketVessel)
public:
    CTalStirJacketVessel() = default;

    int TypeID() const override { return 0x0001; }
    std::string IsA() const override { return roster::FindEquipment(0x0001)->isA; }
    std::string DefaultPrefix() const override { return roster::FindEquipment(0x0001)->defaultPrefix; }
    //! Named after the reaction of the owning procedure.
    std::string DefaultDescription() const override;
    void Serialize(CArchive& ar) override;
    void InitSizeParams() override;
    void InitCostParams() override;
    double CalcPurchaseCost(CWnd* wnd) override;
    int IsSimDataComplete(int group, CTalEquipmentPP* page, int flag) override;
    bool SetNumericalValue(int id, double value, int = 0) override;
    bool SetBooleanValue(int id, bool value, int = 0) override;
    int IsDBEquipPropsValid(CTalSpecsPP* page, int flag) override;
    int HasIdenticalRatingData(const CTalEquipment* other, int flag) const override;

    //! Cost of the agitator of one unit; the power has a floor of 1000 W.
    double AgitatorCost() const;
    //! Cost of the tray column on one unit, 0 without a column.
    double ColumnCost() const;

    double m_AgitatorPower = 0.0;  //!< W, total for all units
    int m_IsColumnAttached = 0;
    int m_NumberOfTrays = 0;
};

class CTalBlendingTank : public CTalVerticalVessel {
    TAL_DECLARE_CLASS(CTalBlendingTank)
public:
    CTalBlendingTank() = default;
    TAL_EQUIPMENT_IDENTITY(0x0504)
    void InitSizeParams() override;
    double CalcPurchaseCost(CWnd* wnd) override;
};

class CTalFBTank : public CTalVerticalVessel {
    TAL_DECLARE_CLASS(CTalFBTank)
public:
    CTalFBTank() = default;
    TAL_EQUIPMENT_IDENTITY(0x0502)
    void InitSizeParams() override;
    double CalcPurchaseCost(CWnd* wnd) override;
};

class CTalReceiverTank : public CTalVerticalVessel {
    TAL_DECLARE_CLASS(CTalReceiverTank)
public:
    CTalReceiverTank() = default;
    TAL_EQUIPMENT_IDENTITY(0x0503)
    void InitSizeParams() override;
    double CalcPurchaseCost(CWnd* wnd) override;
};

class CTalVOLTank : public CTalVerticalVessel {
    TAL_DECLARE_CLASS(CTalVOLTank)
public:
    CTalVOLTank() = default;
    TAL_EQUIPMENT_IDENTITY(0x0501)
    void InitSizeParams() override;
    double CalcPurchaseCost(CWnd* wnd) override;
};

//! A disposable bag: a consumable of the storage operation, with no purchase cost of its own
//! (the base's zero, unless the user gives a cost or a cost model).
class CTalPlasticBag : public CTalVerticalVessel {
    TAL_DECLARE_CLASS(CTalPlasticBag)
public:
    CTalPlasticBag() = default;
    TAL_EQUIPMENT_IDENTITY(0x0506)
    void InitSizeParams() override;
    void InitCostParams() override;
    bool SetNumericalValue(int id, double value, int = 0) override;
    int IsDBEquipPropsValid(CTalSpecsPP* page, int flag) override;
    int HasIdenticalRatingData(const CTalEquipment* other, int flag) const override;
};

//! The vessel of a batch generic procedure; no built-in purchase cost, as the plastic bag.
class CTalBatchGenericBox : public CTalVerticalVessel {
    TAL_DECLARE_CLASS(CTalBatchGenericBox)
public:
    CTalBatchGenericBox() = default;
    TAL_EQUIPMENT_IDENTITY(0x070D)
    bool AccumulatesMaterial() const override { return true; }
    void InitSizeParams() override;
    bool SetNumericalValue(int id, double value, int = 0) override;
    int IsDBEquipPropsValid(CTalSpecsPP* page, int flag) override;
    int HasIdenticalRatingData(const CTalEquipment* other, int flag) const override;
};

class CTalHorizontalTank : public CTalHorizontalVessel {
    TAL_DECLARE_CLASS(CTalHorizontalTank)
public:
    CTalHorizontalTank() = default;
    TAL_EQUIPMENT_IDENTITY(0x0500)
    void InitSizeParams() override;
    double CalcPurchaseCost(CWnd* wnd) override;
};

//! Settling tank of a decanting procedure; material passes through it.
class CTalDecantingTank : public CTalHorizontalVessel {
    TAL_DECLARE_CLASS(CTalDecantingTank)
public:
    CTalDecantingTank() = default;
    TAL_EQUIPMENT_IDENTITY(0x0505)
    bool AccumulatesMaterial() const override { return false; }
    void InitSizeParams() override;
    double CalcPurchaseCost(CWnd* wnd) override;
};

//! Tubular reactor; material flows through it.
class CTalPFR : public CTalHorizontalVessel {
    TAL_DECLARE_CLASS(CTalPFR)
public:
    CTalPFR() = default;

    int TypeID() const override { return 0x0002; }
    std::string IsA() const override { return roster::FindEquipment(0x0002)->isA; }
    std::string DefaultPrefix() const override { return roster::FindEquipment(0x0002)->defaultPrefix; }
    //! Named after the reaction of the owning procedure.
    std::string DefaultDescription() const override;
    bool AccumulatesMaterial() const override { return false; }
    void InitSizeParams() override;
    void InitCostParams() override;
    double CalcPurchaseCost(CWnd* wnd) override;
};

}  // namespace unitops
