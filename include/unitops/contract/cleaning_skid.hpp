#pragma once
// A cleaning skid: a piece of satellite equipment (pumps, tanks of agent) that supplies the
// cleaning and steaming of vessels. The flowsheet owns its skids; operations that clean or steam
// in place may be tied to one, and several operations share it. A skid knows the operations
// hooked up with it, and tells how long it is busy in a batch: the sum of the times of the
// operations that use it, which must fit in the plant's batch time when they share it.

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "unitops/contract/object.hpp"

namespace unitops {

class CTalDocEss;
class CTalOperation;

class CTalIPCleaningSkid : public CObject {
    TAL_DECLARE_CLASS(CTalIPCleaningSkid)
public:
    CTalIPCleaningSkid() = default;
    explicit CTalIPCleaningSkid(std::string name) : m_Name(std::move(name)) {}
    //! Unties every operation still hooked up with the skid, so none keeps a pointer to it.
    ~CTalIPCleaningSkid() override;
    CTalIPCleaningSkid(const CTalIPCleaningSkid&) = delete;
    CTalIPCleaningSkid& operator=(const CTalIPCleaningSkid&) = delete;

    void Serialize(CArchive& ar) override;

    const std::string& Name() const { return m_Name; }
    void SetName(std::string name) { m_Name = std::move(name); }
    CTalDocEss* Flowsheet() const { return m_Flowsheet; }
    void SetFlowsheet(CTalDocEss* doc) { m_Flowsheet = doc; }

    //! Ties `op` to the skid (once); `UnHookupOp` unties it.
    void HookupWithOp(CTalOperation* op);
    void UnHookupOp(const CTalOperation* op);
    const std::vector<CTalOperation*>& Operations() const { return m_Operations; }
    //! The hooked operations that do not ignore the skid.
    std::vector<const CTalOperation*> OperationsUsing() const;
    //! Seconds the skid works in one batch: setup and process time of each operation using it,
    //! times its cycles.
    double BusyTimePerBatch() const;
    //! Whether the operations sharing the skid fit in the plant's batch time (always, in
    //! continuous mode or without a flowsheet).
    bool FitsInBatchTime() const;
    //! Lines of the report: the skid, the operations it serves and its busy time.
    void WriteIDR_Description(std::FILE* f) const;

    std::string m_Name = "SKID-1";

private:
    CTalDocEss* m_Flowsheet = nullptr;
    std::vector<CTalOperation*> m_Operations;
};

//! What an operation keeps of its skid: the pointer, its hook-up, and the reference in files.
//! A skid read from a file before its flowsheet is known is held here until the flowsheet adopts it.
class SkidLink {
public:
    explicit SkidLink(CTalOperation& op) : op_(op) {}
    ~SkidLink();
    SkidLink(const SkidLink&) = delete;
    SkidLink& operator=(const SkidLink&) = delete;

    CTalIPCleaningSkid* Get() const { return skid_; }
    //! Unhooks from the present skid and hooks up with `skid` (null: none).
    void Set(CTalIPCleaningSkid* skid);
    //! Writes or reads the reference to the skid.
    void Serialize(CArchive& ar);
    //! Hands a skid held since loading to the flowsheet of the operation, if it has one.
    void AdoptIntoFlowsheet();
    //! The operation moved to a flowsheet: a skid held since loading goes to it, a skid without a
    //! flowsheet joins it, and a skid of another flowsheet is no longer the operation's.
    void FlowsheetChanged();
    //! The skid when one is set and `ignoreSkid` is 0.
    CTalIPCleaningSkid* InUse(int ignoreSkid) const { return ignoreSkid ? nullptr : skid_; }
    void WriteIDR_Description(std::FILE* f, int ignoreSkid) const;
    //! A copy shares the skid unless it already belongs to another flowsheet.
    void CopyInto(SkidLink& target) const;

private:
    CTalOperation& op_;
    CTalIPCleaningSkid* skid_ = nullptr;
    std::unique_ptr<CTalIPCleaningSkid> held_;
};

}  // namespace unitops
