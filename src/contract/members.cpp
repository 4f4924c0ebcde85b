#include "unitops/contract/members.hpp"

#include <algorithm>
#include <cmath>

#include "unitops/contract/archive.hpp"

namespace unitops {

MemberTable::MemberTable(const MemberTable& base, std::vector<MemberRow> own)
    : rows_(base.rows_), ownBegin_(base.rows_.size()) {
    rows_.reserve(rows_.size() + own.size());
    for (MemberRow& r : own) rows_.push_back(std::move(r));
}

const MemberRow* MemberTable::Find(std::string_view name) const {
    for (const MemberRow& r : rows_) {
        if (r.name == name) return &r;
    }
    return nullptr;
}

namespace members {

MemberRow Computed(const char* name, MemberType type, Quantity q, DisplayUnit d,
                   std::function<MemberValue(const CObject&)> get,
                   std::function<void(CObject&, const MemberValue&)> set) {
    MemberRow r;
    r.name = name;
    r.type = type;
    r.quantity = q;
    r.display = d;
    r.persist = Persist::None;
    r.stored = static_cast<bool>(set);
    r.input = r.stored;
    r.get = std::move(get);
    r.set = set ? std::move(set) : [](CObject&, const MemberValue&) {};
    return r;
}

}  // namespace members

namespace {
// Entries of an array: the row's own length, else (per component) the flowsheet's component count
// when the archive knows the flowsheet, else the count that the object gives.
std::size_t ArrayLength(const CArchive& ar, const CObject& obj, const MemberRow& r, std::size_t components) {
    if (r.lengthOf) return r.lengthOf(obj);
    return ar.Components() ? ar.Components()->size() : components;
}

void StoreRow(CArchive& ar, const CObject& obj, const MemberRow& r, std::size_t components) {
    const MemberValue v = r.get(obj);
    switch (r.persist) {
        case Persist::Double: ar << std::get<double>(v); break;
        case Persist::Int32: ar << static_cast<std::int32_t>(std::get<int>(v)); break;
        case Persist::Word16: ar.WriteWord(std::get<int>(v)); break;
        case Persist::Text: ar << std::get<std::string>(v); break;
        case Persist::DoubleArray: {
            const auto& a = std::get<std::vector<double>>(v);
            if (a.size() != ArrayLength(ar, obj, r, components)) {
                ar.Fail(r.name + " of " + obj.GetRuntimeClass()->m_lpszClassName + " holds " + std::to_string(a.size()) +
                        " values for " + std::to_string(ArrayLength(ar, obj, r, components)) +
                        (r.lengthOf ? " entries" : " components"));
            }
            for (double x : a) ar << x;
            break;
        }
        case Persist::None: break;
    }
}

void LoadRow(CArchive& ar, CObject& obj, const MemberRow& r, std::size_t components) {
    switch (r.persist) {
        case Persist::Double: { double d = 0; ar >> d; r.set(obj, d); break; }
        case Persist::Int32: { std::int32_t i = 0; ar >> i; r.set(obj, static_cast<int>(i)); break; }
        case Persist::Word16: r.set(obj, ar.ReadWord()); break;
        case Persist::Text: { std::string t; ar >> t; r.set(obj, t); break; }
        case Persist::DoubleArray: {
            const std::size_t n = ArrayLength(ar, obj, r, components);
            if (n > ar.Remaining() / sizeof(double)) ar.Fail("unexpected end of file");
            std::vector<double> a(n);
            for (double& x : a) ar >> x;
            r.set(obj, a);
            break;
        }
        case Persist::None: break;
    }
}
}  // namespace

void SerializeRows(CArchive& ar, CObject& obj, std::span<const MemberRow> rows, double version, std::size_t components) {
    for (const MemberRow& r : rows) {
        if (r.persist == Persist::None) continue;
        if (ar.IsStoring()) {
            if (r.since <= ar.StoreVersionNo()) StoreRow(ar, obj, r, components);
        } else if (version < r.since) {
            r.set(obj, r.absent);
        } else {
            LoadRow(ar, obj, r, components);
        }
    }
}

void CopyMembers(const CObject& from, CObject& to) {
    for (const MemberRow& r : from.MemberRows().All()) {
        if (r.stored) r.set(to, r.get(from));
    }
}

void ConvertMembers(CObject& o, bool toDisplay) {
    for (const MemberRow& r : o.MemberRows().All()) {
        if (r.type != MemberType::Real || !r.stored) continue;
        const DisplayUnit u = r.DisplayFor(o);
        if (u.IsIdentity()) continue;
        const double v = std::get<double>(r.get(o));
        r.set(o, toDisplay ? u.ToDisplay(v) : u.ToInternal(v));
    }
}

bool ClearNonFiniteMembers(CObject& o) {
    bool found = false;
    for (const MemberRow& r : o.MemberRows().All()) {
        if (!r.stored) continue;
        if (r.type == MemberType::Real && !std::isfinite(std::get<double>(r.get(o)))) {
            r.set(o, 0.0);
            found = true;
        } else if (r.type == MemberType::RealArray) {
            std::vector<double> a = std::get<std::vector<double>>(r.get(o));
            const auto bad = [](double x) { return !std::isfinite(x); };
            if (std::any_of(a.begin(), a.end(), bad)) {
                std::replace_if(a.begin(), a.end(), bad, 0.0);
                r.set(o, a);
                found = true;
            }
        }
    }
    return found;
}

}  // namespace unitops
