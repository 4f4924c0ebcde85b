#pragma once
// Member tables: each class lists its members once (name, quantity, display unit, how the
// archive stores it). The flowsheet loader sets parameters through the table, results print
// every row, units are converted by it and the archive reads and writes the persisted rows.

#include <climits>
#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "unitops/contract/object.hpp"
#include "unitops/contract/units.hpp"

namespace unitops {

using MemberValue = std::variant<double, int, std::string, std::vector<double>>;

//! Form of a member in the archive; None for a member that is not persisted.
enum class Persist : unsigned char { None, Double, Int32, Word16, Text, DoubleArray };

//! Kind of value a member holds.
enum class MemberType : unsigned char { Real, Integer, Text, RealArray };

struct MemberRow {
    std::string name;
    MemberType type = MemberType::Real;
    Quantity quantity = Quantity::None;
    DisplayUnit display;
    DisplayUnit (*displayOf)(const CObject&) = nullptr;  //!< display unit chosen at run time
    Persist persist = Persist::None;
    double since = 0.0;     //!< first file version that carries the member
    MemberValue absent;     //!< value given when the file predates `since`
    bool input = true;      //!< may a flowsheet file set it (false for results)
    bool stored = true;     //!< backed by storage that copying and unit conversion act on
    int lowest = INT_MIN;   //!< whole-number choices: the values a flowsheet file may give
    int highest = INT_MAX;
    //! Entries of an array that is not one per component (a value per outlet, say); null for
    //! an array per component.
    std::size_t (*lengthOf)(const CObject&) = nullptr;
    std::function<MemberValue(const CObject&)> get;
    std::function<void(CObject&, const MemberValue&)> set;

    DisplayUnit DisplayFor(const CObject& o) const { return displayOf ? displayOf(o) : display; }

    //! Chainable adjustments of a row.
    MemberRow&& Transient() && { persist = Persist::None; return std::move(*this); }
    MemberRow&& Since(double version, MemberValue value) && {
        since = version;
        absent = std::move(value);
        return std::move(*this);
    }
    MemberRow&& Shown(DisplayUnit (*f)(const CObject&)) && { displayOf = f; return std::move(*this); }
    MemberRow&& Result() && { input = false; return std::move(*this); }
    MemberRow&& Length(std::size_t (*f)(const CObject&)) && { lengthOf = f; return std::move(*this); }
    MemberRow&& Choices(int first, int last) && {
        lowest = first;
        highest = last;
        return std::move(*this);
    }
};

//! The rows of a class: those of its bases first, then its own.
class MemberTable {
public:
    MemberTable() = default;
    MemberTable(const MemberTable& base, std::vector<MemberRow> own);

    std::span<const MemberRow> All() const { return rows_; }
    std::span<const MemberRow> Own() const { return std::span<const MemberRow>(rows_).subspan(ownBegin_); }
    const MemberRow* Find(std::string_view name) const;

private:
    std::vector<MemberRow> rows_;
    std::size_t ownBegin_ = 0;
};

namespace members {

template <class C>
MemberRow Real(const char* name, double C::*m, Quantity q, DisplayUnit d = display::kNone,
               Persist p = Persist::Double) {
    MemberRow r;
    r.name = name;
    r.type = MemberType::Real;
    r.quantity = q;
    r.display = d;
    r.persist = p;
    r.absent = 0.0;
    r.get = [m](const CObject& o) -> MemberValue { return static_cast<const C&>(o).*m; };
    r.set = [m](CObject& o, const MemberValue& v) { static_cast<C&>(o).*m = std::get<double>(v); };
    return r;
}

//! An integer member; `p` tells whether the archive keeps 4 bytes or a 16-bit word.
template <class C>
MemberRow Int(const char* name, int C::*m, Persist p = Persist::Int32) {
    MemberRow r;
    r.name = name;
    r.type = MemberType::Integer;
    r.persist = p;
    r.absent = 0;
    r.get = [m](const CObject& o) -> MemberValue { return static_cast<const C&>(o).*m; };
    r.set = [m](CObject& o, const MemberValue& v) { static_cast<C&>(o).*m = std::get<int>(v); };
    return r;
}

//! A 16-bit flag or small enumeration.
template <class C>
MemberRow Word(const char* name, int C::*m) {
    return Int(name, m, Persist::Word16);
}

template <class C>
MemberRow Text(const char* name, std::string C::*m, Persist p = Persist::Text) {
    MemberRow r;
    r.name = name;
    r.type = MemberType::Text;
    r.persist = p;
    r.absent = std::string();
    r.get = [m](const CObject& o) -> MemberValue { return static_cast<const C&>(o).*m; };
    r.set = [m](CObject& o, const MemberValue& v) { static_cast<C&>(o).*m = std::get<std::string>(v); };
    return r;
}

//! An array of reals kept whole in the archive: one per component, or as many as `Length` gives.
template <class C>
MemberRow RealArray(const char* name, std::vector<double> C::*m, Quantity q, DisplayUnit d = display::kNone) {
    MemberRow r;
    r.name = name;
    r.type = MemberType::RealArray;
    r.quantity = q;
    r.display = d;
    r.persist = Persist::DoubleArray;
    r.absent = std::vector<double>();
    r.get = [m](const CObject& o) -> MemberValue { return static_cast<const C&>(o).*m; };
    r.set = [m](CObject& o, const MemberValue& v) { static_cast<C&>(o).*m = std::get<std::vector<double>>(v); };
    return r;
}

//! A member reached through accessors rather than a data member.
MemberRow Computed(const char* name, MemberType type, Quantity q, DisplayUnit d,
                   std::function<MemberValue(const CObject&)> get,
                   std::function<void(CObject&, const MemberValue&)> set = nullptr);

}  // namespace members

class CArchive;

//! Writes or reads the persisted rows in table order; a row newer than `version` is not read
//! but takes its absent value. Per-component arrays have `components` entries; other arrays
//! the length that their row gives.
void SerializeRows(CArchive& ar, CObject& obj, std::span<const MemberRow> rows, double version, std::size_t components);

//! Runs `checks` with the object in internal units and restores its units state afterwards:
//! the frame of every validation.
template <class T, class Checks>
int WithInternalUnits(T& obj, Checks&& checks) {
    const bool wasDisplay = obj.IsInInternalUnits() == 0;
    if (wasDisplay) obj.ConvertToInternalUnits();
    const int result = checks();
    if (wasDisplay) obj.ConvertToDisplayUnits();
    return result;
}

//! Copies every row of `from`'s table into `to` (same class or a base of it).
void CopyMembers(const CObject& from, CObject& to);
//! Converts the real rows of the object between internal and display units.
void ConvertMembers(CObject& o, bool toDisplay);
//! Sets every stored real value of the object that is not a finite number to 0; true if any was.
bool ClearNonFiniteMembers(CObject& o);

}  // namespace unitops
