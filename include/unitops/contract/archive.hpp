#pragma once
// Binary archive in the framework's encoding: little-endian; double 8 bytes, int 4,
// 16-bit words, counted strings, and polymorphic objects tagged by class name.

#include <bit>
#include <cstdint>
#include <functional>
#include <limits>
#include <map>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "unitops/contract/component.hpp"
#include "unitops/contract/object.hpp"

namespace unitops {

class CTalProcedure;
class CTalOperation;

//! The procedures and operations of a flowsheet in file order: references between objects are
//! stored as indices into these lists and resolved once everything is loaded.
struct ReferenceTable {
    std::vector<CTalProcedure*> procedures;
    std::vector<CTalOperation*> operations;
};

static_assert(std::endian::native == std::endian::little, "the archive encoding assumes a little-endian machine");

//! A load that cannot go on: a read past the end, an unknown class, an inconsistent tag.
class ArchiveError : public std::runtime_error {
public:
    ArchiveError(const std::string& what, std::size_t offset)
        : std::runtime_error(what + " at byte " + std::to_string(offset)), offset_(offset) {}
    std::size_t Offset() const { return offset_; }

private:
    std::size_t offset_;
};

class CArchive {
public:
    enum Mode { store, load };

    //! An archive that stores into its own buffer.
    CArchive();
    //! An archive that loads from `bytes`; classes are created through `classes`.
    CArchive(const std::vector<std::uint8_t>& bytes, const ClassRegistry* classes);

    bool IsStoring() const { return mode_ == store; }
    bool IsLoading() const { return mode_ == load; }
    const std::vector<std::uint8_t>& Bytes() const { return buffer_; }
    std::size_t Position() const { return pos_; }
    bool AtEnd() const { return pos_ >= buffer_.size(); }
    //! Bytes not read yet: what a count read from the file is checked against before allocating.
    std::size_t Remaining() const { return pos_ < buffer_.size() ? buffer_.size() - pos_ : 0; }

    //! The flowsheet's components: streams read from the archive take this list.
    const ComponentList* Components() const { return components_; }
    void SetComponents(const ComponentList* c) { components_ = c; }

    //! Version of the file being read; the objects read it before their members.
    double VersionNo() const { return version_; }
    void SetVersionNo(double v) { version_ = v; }
    //! Storing as an older program did: members whose `since` is above `v` are left out. The
    //! default writes the present format; tests use it to make files of earlier versions.
    void StoreAsVersion(double v) { storeVersion_ = v; }
    double StoreVersionNo() const { return storeVersion_; }
    //! When set, a double that is not finite is an error of the store or the load.
    void RequireFiniteValues(bool on) { finiteOnly_ = on; }

    // Primitive values
    CArchive& operator<<(double v);
    CArchive& operator<<(std::int32_t v);
    CArchive& operator<<(std::uint32_t v);
    CArchive& operator<<(std::uint16_t v);
    CArchive& operator<<(std::uint8_t v);
    CArchive& operator<<(const std::string& s);
    CArchive& operator>>(double& v);
    CArchive& operator>>(std::int32_t& v);
    CArchive& operator>>(std::uint32_t& v);
    CArchive& operator>>(std::uint16_t& v);
    CArchive& operator>>(std::uint8_t& v);
    CArchive& operator>>(std::string& s);

    //! A flag or small enumeration: stored as a 16-bit word by truncation, read back masked.
    void WriteWord(int v) { *this << static_cast<std::uint16_t>(static_cast<unsigned>(v) & 0xFFFFu); }
    int ReadWord() {
        std::uint16_t w = 0;
        *this >> w;
        return static_cast<int>(w & 0xFFFFu);
    }
    void Skip(std::size_t n);
    void WriteRaw(const void* data, std::size_t n);
    void ReadRaw(void* data, std::size_t n);

    //! Writes an object as the framework does: a new-class tag with schema and class name the
    //! first time its class appears, a class index after; a back reference for an object seen before.
    void WriteObject(const CObject* obj);
    //! Reads what WriteObject wrote, creating new objects through the class registry. The caller
    //! owns objects returned for the first time (`isNew`); back references point to earlier ones.
    CObject* ReadObject(bool& isNew);
    //! The same for an object that must be of class `base` or derived from it: any other class is
    //! an error, reported before the object is made.
    CObject* ReadObjectOf(const CRuntimeClass* base, bool& isNew);
    //! Called on every object that ReadObject makes, before its Serialize, so that the host can
    //! give it its place (an owner) and it reads in the context of its flowsheet.
    void SetPrepareObject(std::function<void(CObject&)> prepare) { prepare_ = std::move(prepare); }

    //! Registers an object made outside the archive so that later references resolve to it.
    void MapObject(const CObject* obj);

    //! References to procedures and operations of the flowsheet: an index (-1 for none) on disk.
    void SetReferences(ReferenceTable* refs) { refs_ = refs; }
    void WriteProcedureRef(const CTalProcedure* p);
    void ReadProcedureRef(CTalProcedure*& slot);
    void WriteOperationRef(const CTalOperation* op);
    void ReadOperationRef(CTalOperation*& slot);
    //! Points every reference read so far at its object; call when the whole file is loaded.
    void ResolveReferences();

    [[noreturn]] void Fail(const std::string& what) const { throw ArchiveError(what, pos_); }

private:
    void Need(std::size_t n) const;
    void CheckFinite(double v) const;
    const CRuntimeClass* ReadClass(std::uint16_t tag, std::uint32_t big);

    Mode mode_;
    std::vector<std::uint8_t> buffer_;
    std::size_t pos_ = 0;
    const ClassRegistry* classes_ = nullptr;
    double version_ = 0.0;
    double storeVersion_ = std::numeric_limits<double>::infinity();
    bool finiteOnly_ = false;
    std::function<void(CObject&)> prepare_;
    // Store side: indices of classes and objects already written (shared numbering, from 1).
    std::map<const void*, std::uint32_t> storedIndex_;
    // Load side: the same numbering, read back.
    std::vector<const CRuntimeClass*> loadedClasses_;
    std::vector<CObject*> loadedObjects_;
    std::vector<bool> isClassSlot_;
    std::uint32_t nextIndex_ = 1;
    ReferenceTable* refs_ = nullptr;
    const ComponentList* components_ = nullptr;
    std::vector<std::pair<CTalProcedure**, std::int32_t>> procedureFixups_;
    std::vector<std::pair<CTalOperation**, std::int32_t>> operationFixups_;
};

}  // namespace unitops
