#pragma once
// Water cooled against air in a counter-current wet cooling tower, by the enthalpy potential of
// the air: the transfer units the duty needs are the Merkel integral of cp dT / (h_sat(T) - h_air)
// over the water's range (four-point rule, with a correction), and a tower of N decks of fill
// offers 0.07 + 0.06 N (L/G)^-0.62 of them. Design takes the ratio of water to air (L/G) and the
// water loading and finds the decks, height, floor area and units; rating takes the tower and
// raises L/G until the tower can no longer do the duty. The air flow is bid back to the air feed.
//
// Ports: in 0 the hot water, in 1 the air; out 0 the moist exit air, out 1 the cooled water.
// Beyond the evaporation, a share of the circulating water leaves as drift with the air, and the
// loop is bled (blowdown) to hold its cycles of concentration: the make-up is their sum.

#include <cstdio>
#include <string>
#include <vector>

#include "unitops/contract/emissions.hpp"
#include "unitops/contract/equipment.hpp"
#include "unitops/contract/operation.hpp"
#include "unitops/roster/identity.hpp"

namespace unitops {

class CTalCoolingTower;

//! The functions of the tower's calculation; temperatures in K, enthalpies in J per kg of dry
//! air, cp in J/(kg K) of the water, LGcp = cp L/G.
namespace tower {
//! Four-point Merkel integral over the range Th - Tc, air entering with enthalpy hIn.
double MerkelIntegral(double LGcp, double Tc, double hIn, double Th, double cp);
//! Correction of the integral (divide by it), from the saturation and air enthalpies at both ends.
double MerkelCorrection(double hsCold, double hsHot, double hIn, double hOut, double Th);
double DecksForNTU(double NTU, double LG);
double NTUForDecks(double N, double LG);
double TowerHeight(double N);    //!< m; a deck is 0.229 m
double DecksOfHeight(double H);
//! Largest L/G: the operating line through (Tc, hIn) tangent to the saturation curve, found by
//! Newton's method, less 1 %; the chord to the hot end (less 15 %) when no tangent is found.
double MaxWaterToAir(double hIn, double Tc, double cp, double hsHot, double Th);
//! Air temperature at the top, traced along the tower in steps of 0.25 K of air temperature.
double ExitAirTemp(double hIn, double hOut, double Tair, double Th, double Tc, double LGcp);
}  // namespace tower

//! The host's emissions of a cooling tower: what the air strips from the water. The emission
//! fraction of a component is the share of its feed flow that leaves with the air; while unset it
//! is the share the feed carries as gas (gas carried in the water leaves with the air). Water
//! itself leaves by evaporation, not here.
class CTalCoolingTowerEmissionsSpec : public CTalEmissions {
public:
    //! Fills `emission` with what leaves the water `feed`; `airIn` and `airOut` are the air.
    void CalcCoolingTowerEmissions(const CTalSModel& feed, CTalSModel& emission, const CTalSModel& airIn,
                                   const CTalSModel& airOut) const;
    void WriteIDR_Description(std::FILE* f) const;
};

class CTalCoolingInTower : public CTalOperation {
    TAL_DECLARE_CLASS(CTalCoolingInTower)
public:
    CTalCoolingInTower() : CTalOperation(1) {}
    TAL_OPERATION_IDENTITY(0xA81C)

    //! The base's members, the emissions, then the own members. A file is read in the order of
    //! the member table but written with `FanPower` before `PumpPower`: both are results, so a
    //! reloaded file shows them exchanged until the next simulation. The layout stays so.
    void Serialize(CArchive& ar) override;
    CTalEmissions* EmissionsData() override { return &m_EmissionsSpec; }
    void SetOwner(CTalProcedure* owner) override;
    bool IsInPortUsed(int, int) const override { return true; }
    bool IsOutPortUsed(int, int) const override { return true; }
    int IsEssential() const override { return 1; }
    bool DoesAfterStateAmtScaleWithInsAndOuts() const override { return false; }
    void CopyDataInto(CTalOperation* target, int flag) const override;
    void InitSimModelParams() override;
    void InitCostParams() override;
    int IsSimDataComplete(int group, CTalModelPP* page, bool flag, int askUser) override;
    int Solve(CTalStateStream* before, CTalStateStream* after, int skipSizing) override;
    int WriteIDR_Description(std::FILE* f) override;
    void GetCustomDescription(std::string& text) const override;
    bool InitiatesBPG() const override { return true; }
    void GetStreamsInitiatingBPG(std::vector<CTalStream*>& streams) const override;

    CTalCoolingTower* EquipmentT() const;

    CTalCoolingTowerEmissionsSpec m_EmissionsSpec;
    double m_WetBulbTemp = 288.15;        //!< K, of the entering air
    double m_ApproachTemp = 15.0;         //!< K, cold water less wet bulb (a result)
    double m_EvaporationRate = 0.0;       //!< kg/s (a result)
    double m_WaterToAirRatio = 0.75;      //!< L/G by mass; input in design, result in rating
    double m_WaterLoading = 0.004;        //!< m3/(m2 s); input in design, result in rating
    double m_MaxWaterToAirRatio = 0.0;    //!< (a result)
    double m_InletHumidity = 0.0;         //!< kg water / kg dry air (a result)
    double m_ExitHumidity = 0.0;          //!< (a result)
    double m_CoolingHeatLoad = 0.0;       //!< W (a result)
    double m_PumpPower = 0.0;             //!< W (a result)
    double m_FanPower = 0.0;              //!< W (a result)
    double m_PumpEfficiency = 0.8;
    double m_CoolingRange = 0.0;          //!< K (a result)
    double m_ColdWaterTemp = 298.15;      //!< K, the target outlet water temperature
    double m_DriftLossFrac = 0.0;         //!< share of the circulating water carried off as drift
    double m_CyclesOfConcentration = 4.0; //!< of the loop's dissolved solids, held by the blowdown
    double m_DriftRate = 0.0;             //!< kg/s (a result)
    double m_BlowdownRate = 0.0;          //!< kg/s (a result)
    double m_MakeupRate = 0.0;            //!< kg/s (a result)

private:
    struct Streams;
    int PassThrough(const Streams& s, const MsgText& text);
    //! Steps after the air flow is known: exit air, humidity, water balance, emissions, powers.
    int FinishBalance(const Streams& s, double G, double hIn, double hOut, double LGcp, double H, int ok);
    void MoveEmissions(const Streams& s, const CTalSModel& airCopy);
};

class CTalCoolingTower : public CTalEquipment {
    TAL_DECLARE_CLASS(CTalCoolingTower)
public:
    static constexpr int kVarHeight = 0x6e;
    static constexpr int kVarArea = 0x6f;

    CTalCoolingTower() = default;
    TAL_EQUIPMENT_IDENTITY(0x602)
    void Serialize(CArchive& ar) override;
    std::string SizeVarNameForUDCM() const override { return "Volume"; }
    std::string SizeVarUnitsForUDCM() const override { return "m3"; }
    double SizeVarValueForUDCM() const override { return m_Height * m_Area; }
    Quantity SizeVarQuantityForUDCM() const override { return Quantity::Volume; }
    double MaxSizeVarValueForUDCM() const override { return 1e+99; }
    double Size() const override { return m_Height * m_Area; }
    std::string SizeUnits() const override { return "m3"; }
    void InitSizeParams() override;
    void InitCostParams() override;
    double CalcPurchaseCost(CWnd* wnd) override;
    int IsSimDataComplete(int group, CTalEquipmentPP* page, int flag) override;
    void WriteEER_Description(std::FILE* f, int = 0) override;
    void WriteIDR_Description(std::FILE* f, int = 0) override;
    bool SetNumericalValue(int id, double value, int = 0) override;
    int IsDBEquipPropsValid(CTalSpecsPP* page, int flag) override;
    int HasIdenticalRatingData(const CTalEquipment* other, int flag) const override;
    int IsCompatible(const CTalEquipment* other) const override {
        return other && other->GetRuntimeClass() == GetRuntimeClass() ? 1 : 0;
    }

    //! The first use in a pass sets height and area (units above the largest area); later uses
    //! keep the taller height and add units when the larger total area needs them. Always true.
    bool CalcSize(double height, double area, unsigned& message);

    double m_Height = 0.0;    //!< m
    double m_Area = 0.0;      //!< m2 of floor per unit
    double m_MaxArea = 30.0;  //!< m2
};

}  // namespace unitops
