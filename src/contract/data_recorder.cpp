#include "unitops/contract/data_recorder.hpp"

#include <algorithm>
#include <cstdint>
#include <functional>

#include "unitops/contract/archive.hpp"

namespace unitops {

namespace {

void SerializeInt(CArchive& ar, int& v) {
    std::int32_t x = v;
    if (ar.IsStoring()) {
        ar << x;
    } else {
        ar >> x;
        v = x;
    }
}

void SerializeValues(CArchive& ar, std::vector<double>& a) {
    std::int32_t n = static_cast<std::int32_t>(a.size());
    if (ar.IsStoring()) {
        ar << n;
        for (double x : a) ar << x;
        return;
    }
    ar >> n;
    if (n < 0 || static_cast<std::size_t>(n) > ar.Remaining() / sizeof(double)) ar.Fail("bad count of recorded values");
    a.assign(static_cast<std::size_t>(n), 0.0);
    for (double& x : a) ar >> x;
}

}  // namespace

// ---------------------------------------------------------------- containers

void CTalDataContainer::Set(int i, double v) {
    if (i >= 0 && i < Size()) values_[static_cast<std::size_t>(i)] = v;
}

std::vector<RecorderUnit> RecorderUnits(int kind) {
    static const RecorderUnit kUnits[] = {
        {1, 3, "s", 1.0, 0.0}, {1, 4, "min", 1.0 / 60.0, 0.0}, {1, 5, "h", 1.0 / 3600.0, 0.0},
        {2, 0x103, "m", 1.0, 0.0}, {2, 0x104, "cm", 100.0, 0.0}, {2, 0x105, "mm", 1000.0, 0.0},
        // Concentrations come in kmol/m3 (code 0x406 from the balances, 0x400 before a run).
        {4, 0x400, "kmol/m3", 1.0, 0.0}, {4, 0x406, "kmol/m3", 1.0, 0.0},
        {5, 0x500, "K", 1.0, 0.0}, {5, 0x501, "degC", 1.0, -273.15},
        // A duty over time is a power; along a length it is a power per metre.
        {6, 0x600, "W", 1.0, 0.0}, {6, 0x601, "kW", 1e-3, 0.0}, {6, 0x602, "W/m", 1.0, 0.0}, {6, 0x603, "kW/m", 1e-3, 0.0},
    };
    std::vector<RecorderUnit> units;
    for (const RecorderUnit& u : kUnits) {
        if (u.kind == kind) units.push_back(u);
    }
    return units;
}

RecorderUnit FindRecorderUnit(int kind, unsigned code) {
    const std::vector<RecorderUnit> units = RecorderUnits(kind);
    for (const RecorderUnit& u : units) {
        if (u.code == code) return u;
    }
    return units.empty() ? RecorderUnit{kind, code, "", 1.0, 0.0} : units.front();
}

std::string CTalDataContainer::UnitName() const { return FindRecorderUnit(kind_, units_).name; }

namespace {
// The SI value stays as it is (a -0 duty reads -0).
double InUnit(const RecorderUnit& u, double v) { return u.factor == 1.0 && u.offset == 0.0 ? v : v * u.factor + u.offset; }
}  // namespace

double CTalDataContainer::Shown(int i) const { return InUnit(FindRecorderUnit(kind_, units_), At(i)); }

void CTalDataContainer::Serialize(CArchive& ar) {
    ar.IsStoring() ? void(ar << name_) : void(ar >> name_);
    SerializeInt(ar, kind_);
    int units = static_cast<int>(units_);
    SerializeInt(ar, units);
    units_ = static_cast<unsigned>(units);
    SerializeValues(ar, values_);
}

void CTalCompDataContainer::SetSize(int comps, const int* storeFlags, int points) {
    points_ = std::max(points, 0);
    flags_.assign(static_cast<std::size_t>(std::max(comps, 0)), 0);
    for (int i = 0; storeFlags && i < comps; ++i) flags_[static_cast<std::size_t>(i)] = storeFlags[i] ? 1 : 0;
    perComp_.assign(flags_.size(), {});
    for (std::size_t i = 0; i < flags_.size(); ++i) {
        if (flags_[i]) perComp_[i].assign(static_cast<std::size_t>(points_), 0.0);
    }
}

bool CTalCompDataContainer::IsStored(int comp) const {
    return comp >= 0 && comp < NumberOfComps() && flags_[static_cast<std::size_t>(comp)] != 0;
}

double CTalCompDataContainer::At(int comp, int i) const {
    return IsStored(comp) && i >= 0 && i < points_ ? perComp_[static_cast<std::size_t>(comp)][static_cast<std::size_t>(i)] : 0.0;
}

double CTalCompDataContainer::Shown(int comp, int i) const { return InUnit(FindRecorderUnit(kind_, units_), At(comp, i)); }

void CTalCompDataContainer::Set(int comp, int i, double v) {
    if (IsStored(comp) && i >= 0 && i < points_) perComp_[static_cast<std::size_t>(comp)][static_cast<std::size_t>(i)] = v;
}

void CTalCompDataContainer::UpdateCompInfoFromOldFlowsheet(const ComponentList& oldComps, const ComponentList& newComps) {
    flags_ = MapByComponentName(oldComps, newComps, flags_, 0);
    perComp_ = MapByComponentName(oldComps, newComps, perComp_, std::vector<double>{});
    for (std::size_t i = 0; i < flags_.size(); ++i) {
        if (flags_[i]) perComp_[i].resize(static_cast<std::size_t>(points_), 0.0);
    }
}

void CTalCompDataContainer::Serialize(CArchive& ar) {
    CTalDataContainer::Serialize(ar);
    SerializeInt(ar, points_);
    int n = NumberOfComps();
    SerializeInt(ar, n);
    if (ar.IsLoading()) {
        if (n < 0 || points_ < 0 || static_cast<std::size_t>(n) > ar.Remaining() / 2) ar.Fail("bad count of recorded components");
        flags_.assign(static_cast<std::size_t>(n), 0);
        perComp_.assign(static_cast<std::size_t>(n), {});
    }
    for (std::size_t i = 0; i < flags_.size(); ++i) {
        if (ar.IsStoring()) {
            ar.WriteWord(flags_[i]);
        } else {
            flags_[i] = ar.ReadWord();
        }
        if (flags_[i]) SerializeValues(ar, perComp_[i]);
    }
}

// ---------------------------------------------------------------- recorder

void CTalDataRecorder::SetLayout(int width, int decimals, int spaces) {
    width_ = std::clamp(width, 1, 99);
    decimals_ = std::clamp(decimals, 0, width_);
    spaces_ = std::max(spaces, 0);
}

void CTalDataRecorder::Serialize(CArchive& ar) {
    SerializeInt(ar, points_);
    SerializeInt(ar, width_);
    SerializeInt(ar, decimals_);
    SerializeInt(ar, spaces_);
    if (ar.IsLoading()) SetLayout(width_, decimals_, spaces_);
}

void CTalDataRecorder::WriteData(std::FILE* f, int form, const std::vector<const CTalDataContainer*>& before,
                                 const CTalCompDataContainer* comps, const std::vector<std::string>& names,
                                 const std::vector<const CTalDataContainer*>& after) const {
    struct Column {
        std::string head;
        std::function<double(int)> value;
    };
    std::vector<Column> columns;
    auto add = [&](const CTalDataContainer* c) {
        columns.push_back({c->Name() + " (" + c->UnitName() + ")", [c](int i) { return i < c->Size() ? c->Shown(i) : 0.0; }});
    };
    for (const CTalDataContainer* c : before) add(c);
    for (int k = 0; comps && k < comps->NumberOfComps(); ++k) {
        if (!comps->IsStored(k)) continue;
        const std::string name = static_cast<std::size_t>(k) < names.size() ? names[static_cast<std::size_t>(k)] : "C" + std::to_string(k);
        columns.push_back({name + " (" + comps->UnitName() + ")", [comps, k](int i) { return comps->Shown(k, i); }});
    }
    for (const CTalDataContainer* c : after) add(c);
    // A heading wider than the column widens its column.
    const std::string gap(static_cast<std::size_t>(spaces_), ' ');
    std::vector<int> widths;
    for (const Column& c : columns) widths.push_back(std::max(width_, static_cast<int>(c.head.size())));
    for (std::size_t j = 0; j < columns.size(); ++j) {
        if (form == 2) {
            std::fprintf(f, "%s%s", j ? "\t" : "", columns[j].head.c_str());
        } else {
            std::fprintf(f, "%s%*s", j ? gap.c_str() : "", widths[j], columns[j].head.c_str());
        }
    }
    std::fprintf(f, "\n");
    for (int i = 0; i < points_; ++i) {
        for (std::size_t j = 0; j < columns.size(); ++j) {
            if (form == 2) {
                std::fprintf(f, "%s%.*g", j ? "\t" : "", 10, columns[j].value(i));
            } else {
                std::fprintf(f, "%s%*.*f", j ? gap.c_str() : "", widths[j], decimals_, columns[j].value(i));
            }
        }
        std::fprintf(f, "\n");
    }
}

}  // namespace unitops
