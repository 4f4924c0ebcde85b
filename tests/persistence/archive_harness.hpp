#pragma once
// Writing and reading single objects as the saved-flowsheet file does, at any file version, and
// comparing what came back. A model family tests its version rules in a few lines:
//
//     auto back = test::RoundTripAsVersion(op, 5.0008, proc);
//     EXPECT_EQ(static_cast<CTalPullOutOp&>(*back).m_AmountAvailable, 0.0);
//
// and the generic tests check every persisted row of every class at every version it names.

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "unitops/contract/flowsheet.hpp"
#include "unitops/contract/members.hpp"
#include "unitops/contract/object.hpp"

namespace unitops::test {

//! The bytes of `obj` as a program of `version` wrote them: members whose `since` is above it are
//! left out. Per-component arrays follow the components of `owner`'s flowsheet.
std::vector<std::uint8_t> WriteAsVersion(const CObject& obj, double version, const CTalProcedure& owner);

//! Reads one object from `bytes` with the file version `version`, placed in `owner` before it
//! reads, as the flowsheet file places operations and equipment. Fails the test (and returns
//! null) if the bytes do not hold exactly one new object.
std::unique_ptr<CObject> ReadAsVersion(const std::vector<std::uint8_t>& bytes, double version, CTalProcedure& owner,
                                       const ClassRegistry& classes);

//! Both steps.
std::unique_ptr<CObject> RoundTripAsVersion(const CObject& obj, double version, CTalProcedure& owner,
                                            const ClassRegistry& classes);
std::unique_ptr<CObject> RoundTripAsVersion(const CObject& obj, double version, CTalProcedure& owner);

//! Every persisted row of `back` equals that of `original` if `version` carries it, and holds the
//! row's absent value if the version predates it.
//! `upgraded` names members that the class's own upgrade of older files rewrites; they are skipped.
void ExpectRowsAsVersion(const CObject& original, const CObject& back, double version,
                         const std::function<bool(const std::string&)>& upgraded = nullptr);

//! A value for a row that no constructor gives: different for each row number `k`.
MemberValue DistinctValue(const MemberRow& row, std::size_t k, std::size_t components);
//! Sets every persisted row of `obj` to its distinct value.
void SetDistinctValues(CObject& obj, std::size_t components);

//! Readable text of a member value, for failure messages.
std::string Show(const MemberValue& v);

//! The file versions at which the rows of a class change, with the present version.
std::vector<double> VersionsNamedBy(const CRuntimeClass& cls);

//! A procedure that can hold an object of class `cls`: the roster's procedure whose equipment or
//! default operation it is, else a two-stream mixing procedure.
unsigned HostProcedureFor(const CRuntimeClass& cls);

//! Appends a value as the archive keeps it (little-endian), to write the part of an older file
//! by hand: a double, a 32-bit integer, a 16-bit word.
void PutDouble(std::vector<std::uint8_t>& bytes, double v);
void PutInt32(std::vector<std::uint8_t>& bytes, std::int32_t v);
void PutWord(std::vector<std::uint8_t>& bytes, std::uint16_t v);

}  // namespace unitops::test
