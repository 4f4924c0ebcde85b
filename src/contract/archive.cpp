#include "unitops/contract/archive.hpp"

#include <cmath>
#include <cstring>

#include "unitops/contract/utf8.hpp"

namespace unitops {
namespace {
// Tags of the framework's object encoding.
constexpr std::uint16_t kNullTag = 0x0000;
constexpr std::uint16_t kNewClassTag = 0xFFFF;
constexpr std::uint16_t kClassTag = 0x8000;
constexpr std::uint16_t kBigObjectTag = 0x7FFF;
constexpr std::uint32_t kBigClassTag = 0x80000000u;
constexpr std::uint32_t kMaxMapCount = 0x3FFFFFFEu;
}  // namespace

CArchive::CArchive() : mode_(store) {}

CArchive::CArchive(const std::vector<std::uint8_t>& bytes, const ClassRegistry* classes)
    : mode_(load), buffer_(bytes), classes_(classes) {
    // Index 0 is the null reference.
    loadedClasses_.push_back(nullptr);
    loadedObjects_.push_back(nullptr);
    isClassSlot_.push_back(false);
}

void CArchive::Need(std::size_t n) const {
    if (mode_ != load) throw ArchiveError("read from an archive that stores", pos_);
    if (n > buffer_.size() - pos_) throw ArchiveError("unexpected end of file", pos_);
}

void CArchive::WriteRaw(const void* data, std::size_t n) {
    const auto* p = static_cast<const std::uint8_t*>(data);
    buffer_.insert(buffer_.end(), p, p + n);
}

void CArchive::ReadRaw(void* data, std::size_t n) {
    Need(n);
    std::memcpy(data, buffer_.data() + pos_, n);
    pos_ += n;
}

void CArchive::Skip(std::size_t n) {
    Need(n);
    pos_ += n;
}

void CArchive::CheckFinite(double v) const {
    if (finiteOnly_ && !std::isfinite(v)) Fail("a value is not a finite number");
}

CArchive& CArchive::operator<<(double v) {
    CheckFinite(v);
    WriteRaw(&v, sizeof v);
    return *this;
}
CArchive& CArchive::operator<<(std::int32_t v) { WriteRaw(&v, sizeof v); return *this; }
CArchive& CArchive::operator<<(std::uint32_t v) { WriteRaw(&v, sizeof v); return *this; }
CArchive& CArchive::operator<<(std::uint16_t v) { WriteRaw(&v, sizeof v); return *this; }
CArchive& CArchive::operator<<(std::uint8_t v) { WriteRaw(&v, sizeof v); return *this; }
CArchive& CArchive::operator>>(double& v) {
    double read = 0.0;
    ReadRaw(&read, sizeof read);
    if (finiteOnly_ && !std::isfinite(read)) {
        pos_ -= sizeof read;  // report the offset of the value itself
        Fail("a value is not a finite number");
    }
    v = read;
    return *this;
}
CArchive& CArchive::operator>>(std::int32_t& v) { ReadRaw(&v, sizeof v); return *this; }
CArchive& CArchive::operator>>(std::uint32_t& v) { ReadRaw(&v, sizeof v); return *this; }
CArchive& CArchive::operator>>(std::uint16_t& v) { ReadRaw(&v, sizeof v); return *this; }
CArchive& CArchive::operator>>(std::uint8_t& v) { ReadRaw(&v, sizeof v); return *this; }

// Counted string: a length byte below 255; else 0xFF and a 16-bit length below 0xFFFE;
// else 0xFF, 0xFFFF and a 32-bit length.
CArchive& CArchive::operator<<(const std::string& s) {
    const std::size_t n = s.size();
    if (n < 0xFF) {
        *this << static_cast<std::uint8_t>(n);
    } else if (n < 0xFFFE) {
        *this << static_cast<std::uint8_t>(0xFF) << static_cast<std::uint16_t>(n);
    } else {
        *this << static_cast<std::uint8_t>(0xFF) << static_cast<std::uint16_t>(0xFFFF)
              << static_cast<std::uint32_t>(n);
    }
    WriteRaw(s.data(), n);
    return *this;
}

CArchive& CArchive::operator>>(std::string& s) {
    std::uint8_t b = 0;
    *this >> b;
    std::size_t n = b;
    if (b == 0xFF) {
        std::uint16_t w = 0;
        *this >> w;
        n = w;
        if (w == 0xFFFE) Fail("wide-character strings are not supported");
        if (w == 0xFFFF) {
            std::uint32_t d = 0;
            *this >> d;
            n = d;
        }
    }
    Need(n);
    s.assign(reinterpret_cast<const char*>(buffer_.data() + pos_), n);
    // Texts are written as UTF-8: other bytes mean a damaged file, refused where they stand.
    if (!IsValidUtf8(s)) Fail("a text is not valid UTF-8");
    pos_ += n;
    return *this;
}

void CArchive::MapObject(const CObject* obj) {
    if (mode_ == store) {
        storedIndex_.emplace(obj, nextIndex_++);
    } else {
        loadedObjects_.push_back(const_cast<CObject*>(obj));
        loadedClasses_.push_back(nullptr);
        isClassSlot_.push_back(false);
    }
}

void CArchive::WriteObject(const CObject* obj) {
    if (!obj) {
        *this << kNullTag;
        return;
    }
    if (const auto it = storedIndex_.find(obj); it != storedIndex_.end()) {
        if (it->second < kBigObjectTag) {
            *this << static_cast<std::uint16_t>(it->second);
        } else {
            *this << kBigObjectTag << it->second;
        }
        return;
    }
    const CRuntimeClass* rc = obj->GetRuntimeClass();
    if (const auto it = storedIndex_.find(rc); it != storedIndex_.end()) {
        if (it->second < kBigObjectTag) {
            *this << static_cast<std::uint16_t>(kClassTag | it->second);
        } else {
            *this << kBigObjectTag << (kBigClassTag | it->second);
        }
    } else {
        const std::string name = rc->m_lpszClassName;
        *this << kNewClassTag << static_cast<std::uint16_t>(rc->m_wSchema)
              << static_cast<std::uint16_t>(name.size());
        WriteRaw(name.data(), name.size());
        storedIndex_.emplace(rc, nextIndex_++);
    }
    storedIndex_.emplace(obj, nextIndex_++);
    const_cast<CObject*>(obj)->Serialize(*this);
}

CObject* CArchive::ReadObject(bool& isNew) { return ReadObjectOf(nullptr, isNew); }

CObject* CArchive::ReadObjectOf(const CRuntimeClass* base, bool& isNew) {
    isNew = false;
    std::uint16_t tag = 0;
    *this >> tag;
    std::uint32_t big = 0;
    if (tag == kBigObjectTag) *this >> big;
    const bool isClass = tag == kBigObjectTag ? (big & kBigClassTag) != 0 : (tag & kClassTag) != 0;

    if (tag == kNullTag) return nullptr;
    if (!isClass) {
        const std::uint32_t index = tag == kBigObjectTag ? big : tag;
        if (index >= loadedObjects_.size() || isClassSlot_[index]) Fail("bad object reference " + std::to_string(index));
        CObject* earlier = loadedObjects_[index];
        if (base && earlier && !earlier->IsKindOf(base)) {
            Fail(std::string("expected an object of class ") + base->m_lpszClassName + ", found a reference to " +
                 earlier->GetRuntimeClass()->m_lpszClassName);
        }
        return earlier;
    }
    const CRuntimeClass* rc = ReadClass(tag, big);
    if (base && !rc->IsDerivedFrom(base)) {
        Fail(std::string("expected an object of class ") + base->m_lpszClassName + ", found " + rc->m_lpszClassName);
    }
    std::unique_ptr<CObject> obj = rc->CreateObject();
    if (!obj) Fail(std::string("class '") + rc->m_lpszClassName + "' cannot be created");
    MapObject(obj.get());
    if (prepare_) prepare_(*obj);
    obj->Serialize(*this);
    isNew = true;
    return obj.release();
}

// The class of a class tag: a new class (schema and name follow) or one read before.
const CRuntimeClass* CArchive::ReadClass(std::uint16_t tag, std::uint32_t big) {
    if (tag != kNewClassTag) {
        const std::uint32_t index = tag == kBigObjectTag ? (big & ~kBigClassTag) : (tag & ~kClassTag);
        if (index >= loadedClasses_.size() || !isClassSlot_[index]) Fail("bad class reference " + std::to_string(index));
        return loadedClasses_[index];
    }
    std::uint16_t schema = 0, length = 0;
    *this >> schema >> length;
    std::string name(length, '\0');
    ReadRaw(name.data(), length);
    const CRuntimeClass* rc = classes_ ? classes_->Find(name) : nullptr;
    if (!rc) Fail("unknown class '" + name + "'");
    if (schema != rc->m_wSchema) Fail("class '" + name + "' has schema " + std::to_string(schema));
    if (loadedClasses_.size() >= kMaxMapCount) Fail("too many objects");
    loadedClasses_.push_back(rc);
    loadedObjects_.push_back(nullptr);
    isClassSlot_.push_back(true);
    return rc;
}

namespace {
template <class T>
std::int32_t IndexIn(const std::vector<T*>* list, const T* p) {
    if (!p || !list) return -1;
    for (std::size_t i = 0; i < list->size(); ++i) {
        if ((*list)[i] == p) return static_cast<std::int32_t>(i);
    }
    return -1;
}
}  // namespace

void CArchive::WriteProcedureRef(const CTalProcedure* p) {
    *this << IndexIn(refs_ ? &refs_->procedures : nullptr, p);
}

void CArchive::ReadProcedureRef(CTalProcedure*& slot) {
    std::int32_t i = 0;
    *this >> i;
    slot = nullptr;
    if (i < -1) Fail("bad procedure reference " + std::to_string(i));
    if (i >= 0) procedureFixups_.emplace_back(&slot, i);
}

void CArchive::WriteOperationRef(const CTalOperation* op) {
    *this << IndexIn(refs_ ? &refs_->operations : nullptr, op);
}

void CArchive::ReadOperationRef(CTalOperation*& slot) {
    std::int32_t i = 0;
    *this >> i;
    slot = nullptr;
    if (i < -1) Fail("bad operation reference " + std::to_string(i));
    if (i >= 0) operationFixups_.emplace_back(&slot, i);
}

void CArchive::ResolveReferences() {
    for (auto& [slot, i] : procedureFixups_) {
        if (!refs_ || static_cast<std::size_t>(i) >= refs_->procedures.size()) Fail("procedure reference out of range");
        *slot = refs_->procedures[static_cast<std::size_t>(i)];
    }
    for (auto& [slot, i] : operationFixups_) {
        if (!refs_ || static_cast<std::size_t>(i) >= refs_->operations.size()) Fail("operation reference out of range");
        *slot = refs_->operations[static_cast<std::size_t>(i)];
    }
    procedureFixups_.clear();
    operationFixups_.clear();
}

}  // namespace unitops
