#pragma once
// Run-time classes: the name, base and constructor of every persisted class, so that
// objects can be created by class name on load and tested for their kind at run time.

#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <type_traits>

namespace unitops {

class CArchive;
class CObject;
class MemberTable;

//! Description of a class as the archive and the factories see it.
struct CRuntimeClass {
    const char* m_lpszClassName;
    unsigned m_wSchema;
    const CRuntimeClass* m_pBaseClass;
    CObject* (*m_pfnCreateObject)();         //!< constructor without arguments; null when abstract
    const MemberTable& (*m_pfnMembers)();    //!< the class's member table, base rows first

    std::unique_ptr<CObject> CreateObject() const;
    bool IsDerivedFrom(const CRuntimeClass* base) const;
    const MemberTable& Members() const { return m_pfnMembers(); }
};

//! Root of every persisted class.
class CObject {
public:
    CObject() = default;
    CObject(const CObject&) = default;
    CObject& operator=(const CObject&) = default;
    virtual ~CObject() = default;

    static const CRuntimeClass classCObject;
    static const MemberTable& Members();
    virtual const CRuntimeClass* GetRuntimeClass() const;
    virtual void Serialize(CArchive& ar);

    bool IsKindOf(const CRuntimeClass* c) const { return GetRuntimeClass()->IsDerivedFrom(c); }
    //! The member table of the object's own class.
    const MemberTable& MemberRows() const { return GetRuntimeClass()->Members(); }
};

//! Classes known by name: the roster registers every class it can create.
class ClassRegistry {
public:
    void Register(const CRuntimeClass* c);
    const CRuntimeClass* Find(std::string_view name) const;
    const std::map<std::string, const CRuntimeClass*, std::less<>>& All() const { return classes_; }

private:
    std::map<std::string, const CRuntimeClass*, std::less<>> classes_;
};

namespace detail {
template <class T>
CObject* CreateInstance() {
    if constexpr (std::is_abstract_v<T>) {
        return nullptr;
    } else {
        return new T();
    }
}
}  // namespace detail

#define RUNTIME_CLASS(name) (&name::class##name)

//! In the class body: declares the run-time class and the member table of the class.
#define TAL_DECLARE_CLASS(name)                                            \
public:                                                                    \
    static const ::unitops::CRuntimeClass class##name;                     \
    static const ::unitops::MemberTable& Members();                        \
    const ::unitops::CRuntimeClass* GetRuntimeClass() const override { return &class##name; }

//! In the source file: defines the run-time class; the class defines Members() itself.
#define TAL_IMPLEMENT_CLASS(name, base)                                                            \
    const ::unitops::CRuntimeClass name::class##name = {#name, 1, RUNTIME_CLASS(base),             \
                                                        &::unitops::detail::CreateInstance<name>, \
                                                        &name::Members};

//! The same for a class that adds no member of its own to its base's table.
#define TAL_IMPLEMENT_CLASS_NO_MEMBERS(name, base)                     \
    const ::unitops::MemberTable& name::Members() { return base::Members(); } \
    TAL_IMPLEMENT_CLASS(name, base)

}  // namespace unitops
