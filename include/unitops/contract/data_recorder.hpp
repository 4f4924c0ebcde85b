#pragma once
// Recording of profiles: a recorder owns containers of values per point (one value, or one per
// stored component) and writes them as a text table or a tab-separated table.

#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

#include "unitops/contract/component.hpp"

namespace unitops {

class CArchive;
class CTalOperation;

//! A unit in which a recorded quantity is shown: its code, name, and the factor and offset from
//! the SI value (shown = SI x factor + offset).
struct RecorderUnit {
    int kind;
    unsigned code;
    const char* name;
    double factor;
    double offset;
};
//! The units offered for a kind of quantity (1 time, 2 length, 4 concentration, 5 temperature,
//! 6 duty), the first of each the SI one.
std::vector<RecorderUnit> RecorderUnits(int kind);
//! The unit of the code, or the kind's SI unit for a code it does not know.
RecorderUnit FindRecorderUnit(int kind, unsigned code);

//! One recorded variable: a value per point, its name, kind of quantity and unit code.
class CTalDataContainer {
public:
    CTalDataContainer() = default;
    CTalDataContainer(int kind, unsigned unitCode, std::string name) : kind_(kind), units_(unitCode), name_(std::move(name)) {}

    void SetSize(int points) { values_.assign(static_cast<std::size_t>(std::max(points, 0)), 0.0); }
    void ReInit(int points, double fill) { values_.assign(static_cast<std::size_t>(std::max(points, 0)), fill); }
    int Size() const { return static_cast<int>(values_.size()); }
    double At(int i) const { return values_[static_cast<std::size_t>(i)]; }
    void Set(int i, double v);
    const std::string& Name() const { return name_; }
    void SetName(std::string n) { name_ = std::move(n); }
    int Kind() const { return kind_; }
    unsigned Units() const { return units_; }
    void SetUnits(unsigned u) { units_ = u; }
    //! The unit's name in the tables (values are recorded in the SI unit of their kind and shown
    //! in the container's unit).
    std::string UnitName() const;
    //! Value i in the container's unit.
    double Shown(int i) const;
    void SetOwner(CTalOperation* op) { owner_ = op; }
    virtual ~CTalDataContainer() = default;
    virtual void Serialize(CArchive& ar);

protected:
    CTalOperation* owner_ = nullptr;
    int kind_ = 0;
    unsigned units_ = 0;
    std::string name_;
    std::vector<double> values_;
};

//! A value per point for each component whose store flag is set.
class CTalCompDataContainer : public CTalDataContainer {
public:
    using CTalDataContainer::CTalDataContainer;

    void SetSize(int comps, const int* storeFlags, int points);
    void ReInit(int comps, const int* storeFlags, int points) { SetSize(comps, storeFlags, points); }
    int NumberOfComps() const { return static_cast<int>(flags_.size()); }
    bool IsStored(int comp) const;
    int Points() const { return points_; }
    double At(int comp, int i) const;
    double Shown(int comp, int i) const;
    void Set(int comp, int i, double v);
    //! The components follow by name; the new ones are not stored.
    void UpdateCompInfoFromOldFlowsheet(const ComponentList& oldComps, const ComponentList& newComps);
    void Serialize(CArchive& ar) override;

private:
    std::vector<int> flags_;
    std::vector<std::vector<double>> perComp_;
    int points_ = 0;
};

//! Base of recorders: the number of points and the layout of the text table.
class CTalDataRecorder {
public:
    virtual ~CTalDataRecorder() = default;
    int NumberOfPoints() const { return points_; }
    void SetNumberOfPoints(int n) { points_ = n; }
    int ColumnWidth() const { return width_; }
    int Decimals() const { return decimals_; }
    int Spaces() const { return spaces_; }
    void SetLayout(int width, int decimals, int spaces);
    void SetOwner(CTalOperation* op) { owner_ = op; }
    CTalOperation* Owner() const { return owner_; }
    virtual void Serialize(CArchive& ar);

    //! Writes the columns: form 1 a text table in fixed columns, form 2 tab-separated. `names`
    //! heads the columns of the component container.
    void WriteData(std::FILE* f, int form, const std::vector<const CTalDataContainer*>& before,
                   const CTalCompDataContainer* comps, const std::vector<std::string>& names,
                   const std::vector<const CTalDataContainer*>& after) const;

protected:
    CTalOperation* owner_ = nullptr;
    int points_ = 0;
    int width_ = 14;
    int decimals_ = 5;
    int spaces_ = 2;
};

}  // namespace unitops
