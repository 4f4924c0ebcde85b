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

std::string CTalDataContainer::UnitName() const {
    switch (kind_) {
        case 1: return "s";
        case 2: return "m";
        case 4: return "kmol/m3";
        case 5: return "K";
        case 6: return units_ == 0x602 ? "W/m" : "W";
        default: return "";
    }
}

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
        columns.push_back({c->Name() + " (" + c->UnitName() + ")", [c](int i) { return i < c->Size() ? c->At(i) : 0.0; }});
    };
    for (const CTalDataContainer* c : before) add(c);
    for (int k = 0; comps && k < comps->NumberOfComps(); ++k) {
        if (!comps->IsStored(k)) continue;
        const std::string name = static_cast<std::size_t>(k) < names.size() ? names[static_cast<std::size_t>(k)] : "C" + std::to_string(k);
        columns.push_back({name + " (" + comps->UnitName() + ")", [comps, k](int i) { return comps->At(k, i); }});
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
