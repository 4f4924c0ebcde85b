#include "unitops/contract/object.hpp"

#include "unitops/contract/members.hpp"

namespace unitops {

const CRuntimeClass CObject::classCObject = {"CObject", 1, nullptr, nullptr, &CObject::Members};

const MemberTable& CObject::Members() {
    static const MemberTable kNone;
    return kNone;
}

const CRuntimeClass* CObject::GetRuntimeClass() const { return &classCObject; }

void CObject::Serialize(CArchive&) {}

std::unique_ptr<CObject> CRuntimeClass::CreateObject() const {
    return std::unique_ptr<CObject>(m_pfnCreateObject ? m_pfnCreateObject() : nullptr);
}

bool CRuntimeClass::IsDerivedFrom(const CRuntimeClass* base) const {
    for (const CRuntimeClass* c = this; c; c = c->m_pBaseClass) {
        if (c == base) return true;
    }
    return false;
}

void ClassRegistry::Register(const CRuntimeClass* c) {
    for (; c; c = c->m_pBaseClass) classes_.emplace(c->m_lpszClassName, c);
}

const CRuntimeClass* ClassRegistry::Find(std::string_view name) const {
    const auto it = classes_.find(name);
    return it == classes_.end() ? nullptr : it->second;
}

}  // namespace unitops
