#pragma once
// The base of every item of equipment. A procedure holds one item, which stands for
// NumberOfUnits identical units in parallel; sizes are per unit.

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "unitops/contract/members.hpp"
#include "unitops/contract/messages.hpp"
#include "unitops/contract/object.hpp"
#include "unitops/contract/stream.hpp"

namespace unitops {

class CTalDocEss;
class CTalOperation;
class CTalProcedure;
class CWnd;

//! Properties that the equipment database writes into an item.
enum VariableID : int {
    kVarVolume = 1, kVarHeightToDiameter = 2, kVarDesignPressure = 3, kVarASME = 4, kVarColumnAttached = 5,
    kVarNumberOfTrays = 6, kVarLengthToDiameter = 7, kVarRatedThroughput = 23, kVarDiscreteRatedThroughput = 67,
};

//! How the purchase cost of an item was found, so that a report can show the computation.
struct CostTrace {
    std::string method;       //!< "set by user", "user cost model", "built-in law", "none"
    std::string law;          //!< the formula used, in words
    double sizeUsed = 0.0;    //!< size after clipping to the law's range
    std::string sizeUnits;
    double baseCost = 0.0;    //!< cost from the law or model before the factors, in base-year $
    double baseYear = 0.0;
    double indexRatio = 1.0;  //!< plant cost index of the cost year over that of the base year
    double materialFactor = 1.0;
    std::vector<std::string> factors;  //!< further factors of the law, in words
};

//! The user's own cost model: a power law on the class's size variable.
struct UserCostModel {
    double referenceCost = 0.0;  //!< $ at the reference size, in the base year
    double referenceSize = 1.0;
    double exponent = 0.6;
    double minSize = 0.0;
    double maxSize = 0.0;        //!< 0: no upper bound
    double baseYear = 0.0;       //!< 0: the flowsheet's cost year
};

//! The host's text for equipment that cannot be sized with the data it was given.
inline constexpr unsigned kMsgCannotSize = 42;

class CTalEquipment : public CObject {
    TAL_DECLARE_CLASS(CTalEquipment)
public:
    CTalEquipment() = default;
    ~CTalEquipment() override;
    CTalEquipment(const CTalEquipment&) = delete;
    CTalEquipment& operator=(const CTalEquipment&) = delete;

    //! Makes an item of class T for `owner` with its size and cost defaults, as the roster does.
    template <class T>
    static std::unique_ptr<T> Create(CTalProcedure* owner) {
        auto e = std::make_unique<T>();
        e->SetOwner(owner);
        e->InitSizeParams();
        e->InitCostParams();
        return e;
    }

    // ---- Virtual operations, in the host's order ----
    void Serialize(CArchive& ar) override;
    virtual bool AccumulatesMaterial() const { return false; }
    virtual void DoPostSimChores(int, int = 0) {}
    virtual double Volume() const { return 0.0; }
    virtual double Diameter() const { return 0.0; }
    virtual double InternalSurfaceArea() const { return 0.0; }
    virtual int CalcDefaultSize(CTalProcedure*, CTalOperation*, int = 0) { return 1; }
    virtual double CalcDefaultEquipCapacityUtilF(const CTalProcedure*) { return 0.0; }
    virtual int IsSizingBasedOnVolume() const { return 0; }
    virtual bool DoSizingBasedOnVolume(double /*volume*/, double /*ratio*/, unsigned& /*message*/, int = 0) { return false; }
    virtual void VesselCalcDimensions() {}
    virtual double MaxWorkingToVesselVol() const { return 1.0; }
    virtual int IsReadyForSimulation(CWnd*) { return 1; }
    virtual void OnNotifyAfterDocOpening() {}
    virtual void SetFlowsheet(CTalDocEss*) {}
    //! The component list changed from `oldComps`: the default contents follow their components by name.
    virtual void UpdateForNewCompDef(const ComponentList& oldComps);
    //! A new item of the same class with the same data, owned by `owner` or this item's owner.
    virtual std::unique_ptr<CTalEquipment> CreateCopy(CTalProcedure* owner, int flag) const;
    virtual void CopyDataInto(CTalEquipment* target, int flag) const;
    virtual std::string DefaultPrefix() const { return "EQ-"; }
    virtual std::string DefaultProcedurePrefix() const { return "P-"; }
    virtual std::string DefaultDescription() const { return ""; }
    virtual std::string IsA() const { return "Equipment"; }
    virtual int TypeID() const { return 0; }
    virtual std::string SizeVarNameForUDCM() const { return ""; }
    virtual std::string SizeVarUnitsForUDCM() const { return ""; }
    virtual double SizeVarValueForUDCM() const { return 0.0; }
    //! The kind of quantity of the size variable, and the factor from its SI unit to the unit of
    //! SizeVarUnitsForUDCM: sizes of the user's cost model given with a unit are converted by them.
    virtual Quantity SizeVarQuantityForUDCM() const { return Quantity::Dimensionless; }
    virtual double SizeVarFactorForUDCM() const { return 1.0; }
    virtual double MaxSizeVarValueForUDCM() const { return 0.0; }
    virtual double Size() const { return 0.0; }
    virtual std::string SizeUnits() const { return ""; }
    virtual std::string SizeVarNameForDB() const { return SizeVarNameForUDCM(); }
    virtual std::string SizeVarUnitsForDB() const { return SizeVarUnitsForUDCM(); }
    virtual double SizeVarValueForDB() const { return SizeVarValueForUDCM(); }
    virtual void InitSizeParams() {}
    virtual void InitCostParams();
    //! The purchase cost of one unit.
    virtual double CalcPurchaseCost(CWnd* wnd);
    //! Can `other` take this item's place: true if it is of this class or derived from it.
    virtual int IsCompatible(const CTalEquipment* other) const;
    virtual void ConvertToDisplayUnits();
    virtual void ConvertToInternalUnits();
    virtual int IsSimDataComplete(int group, CTalEquipmentPP* page, int flag);
    virtual void WriteEER_Description(std::FILE* f, int = 0);
    virtual void WriteEER_Description_XLS(std::FILE* f, int = 0);
    virtual void WriteIDR_Description(std::FILE* f, int = 0);
    virtual void InitDefaultContentsBeforeBatch() {}
    virtual void AllocateDBEquipmentVariables() {}
    virtual bool SetNumericalValue(int id, double value, int = 0);
    virtual bool SetBooleanValue(int id, bool value, int = 0);
    virtual bool SetRangeValue(int id, double low, double high, int = 0);
    virtual bool SetSelectionValue(int id, int value, int = 0);
    virtual bool SetTextValue(int id, const std::string& value, int = 0);
    virtual int IsDBEquipPropsValid(CTalSpecsPP* page, int flag);
    virtual int HasIdenticalRatingData(const CTalEquipment* other, int flag) const;

    // ---- Non-virtual operations ----
    CTalProcedure* Owner() const { return m_Owner; }
    void SetOwner(CTalProcedure* p);
    bool IsDesignMode() const;
    CTalDocEss* Flowsheet() const;
    double PlantBatchTime() const;
    //! The procedures that use this item (one, unless the host shares it).
    void GetContainedProcedures(std::vector<CTalProcedure*>& list, int section = 0) const;
    const std::string& Name() const { return m_Name; }
    void SetName(std::string n) { m_Name = std::move(n); }
    int NumberOfUnits() const { return m_NumberOfUnits; }
    void SetNumberOfUnits(int n) { m_NumberOfUnits = n; }
    double PurchaseCost() const { return m_PurchaseCost; }
    int IsInInternalUnits() const { return m_IsInInternalUnits; }
    const CostTrace& CostComputation() const { return m_CostTrace; }

    // The host's cost steps
    //! After CalcPurchaseCost: a cost (or a value of its trace) that is not a finite number becomes
    //! 0 with a trace that says so; false then.
    bool KeepsFiniteCost();
    void CalcCostWhenSetByUser();
    void CalcCostWithUserDefinedModel();
    void ConsiderMaterialFactor();
    void UpdatePurchaseCost();

    //! The number of units of at most `perUnit` each that together hold `total`, into `units`;
    //! false, leaving `units` as it was, when that number is not finite or beyond what an int holds.
    static bool UnitsNeeded(double total, double perUnit, int& units);
    //! Takes the size `need` (all units) that one operation asks of an equipment sized by one
    //! value: the first of a pass sets it, later ones can only raise the total; above `maxPerUnit`
    //! the size is shared among units. 0 with `msg` when the number of units cannot be represented.
    int TakeSizeOfPass(double need, double& perUnit, double maxPerUnit, unsigned& msg);

protected:
    static bool InGroup(int group, int g) { return group == 0 || group == g; }
    //! Fills the default contents with the air at 25 degC and 1 atm of all units of `volumePerUnit`
    //! m3, coming over the batch time: 79 % nitrogen and 21 % oxygen by moles, all vapour. Without
    //! either gas in the flowsheet the equipment starts empty.
    void FillDefaultContentsWithAir(double volumePerUnit);
    void SerializeOwnMembers(CArchive& ar, const MemberTable& table);
    //! Starts the trace of a built-in law: size used, units, formula and base year.
    void TraceLaw(std::string law, double size, std::string units, double baseYear);
    void TraceFactor(std::string factor);

public:
    // ---- Members, as the models read and write them ----
    double m_VersionNo = 0.0;
    int m_NumberOfUnits = 1;
    double m_PurchaseCost = 0.0;
    int m_IsCostSetByUser = 0;
    int m_UseBuiltInCostModel = 1;
    double m_CostBaseYear = 0.0;
    std::string m_MaterialName;
    double m_MaterialFactor = 1.0;
    double m_CostFactor2 = 0.5;
    double m_CostFactor3 = 0.1;
    int m_UsesDefaultContents = 0;
    std::unique_ptr<CTalStateStream> m_DefaultContents;
    int m_IsInInternalUnits = 1;
    int m_IsSizedInThisRun = 0;
    double m_UserCost = 0.0;  //!< cost of one unit given by the user, $
    UserCostModel m_UserCostModel;

protected:
    CTalProcedure* m_Owner = nullptr;
    std::string m_Name;
    CostTrace m_CostTrace;
};

}  // namespace unitops
