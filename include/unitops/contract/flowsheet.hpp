#pragma once
// The flowsheet document: components, agents, streams and procedures, and the plant's mode.

#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "unitops/contract/cleaning_skid.hpp"
#include "unitops/contract/component.hpp"
#include "unitops/contract/messages.hpp"
#include "unitops/contract/procedure.hpp"
#include "unitops/contract/recycle.hpp"
#include "unitops/contract/schedule_settings.hpp"
#include "unitops/contract/stream.hpp"

namespace unitops {

class CWnd;

class CTalDocEss {
public:
    CTalDocEss();
    ~CTalDocEss();
    CTalDocEss(const CTalDocEss&) = delete;
    CTalDocEss& operator=(const CTalDocEss&) = delete;

    std::string title;  //!< name of the flowsheet
    double costYear = 0.0;  //!< year to which purchase costs are escalated; 0 keeps each law's own year
    QuestionPolicy questionPolicy = QuestionPolicy::NoChange;
    //! How recycle loops are torn and converged (tolerance, iterations, preferred tear streams).
    RecycleOptions recycleOptions;
    //! Start relations of the batch recipe, plant cycle time and annual operating time.
    ScheduleSettings schedule;

    //! True when data changed since the last completed simulation (or none ran yet).
    bool IsSimModified() const { return simModified_; }
    void SetSimModified(bool modified) { simModified_ = modified; }

    // Plant mode
    bool IsBatchMode() const { return batchMode_; }
    void SetBatchMode(bool b) {
        batchMode_ = b;
        simModified_ = true;
    }
    double PlantBatchTime() const { return plantBatchTime_; }
    void SetPlantBatchTime(double s) {
        plantBatchTime_ = s;
        simModified_ = true;
    }
    //! Lets the user stop a long run; this host runs to the end.
    static bool AbortThreadExecution() { return false; }

    // Components (the order is that of every per-component array)
    CTalPureComponent& AddComponent(std::unique_ptr<CTalPureComponent> c);
    const ComponentList* Comps() const { return &compList_; }
    int NumberOfComponents() const { return static_cast<int>(compList_.size()); }
    int GetComponentIndex(std::string_view name) const;
    //! Name in this flowsheet of the component made from a database entry (or so named); "" if none.
    std::string GetComponentLocalName(std::string_view databaseName) const;
    const CTalPureComponent* ComponentDefPtr(std::string_view name) const;
    //! Replaces the component list by `definitions` (components added, removed, reordered or
    //! redefined). Every stream, feed definition, procedure state, default contents and operation
    //! keeps each component's data by name; components new to the list start empty.
    void UpdateComponentList(std::vector<std::unique_ptr<CTalPureComponent>> definitions);
    //! Gives the component `from` the name `to`: the mixtures that hold it and every operation
    //! that names it follow. False (nothing changes) if there is no `from` or `to` is taken.
    bool RenameComponent(std::string_view from, const std::string& to);

    // Stock mixtures: named mixtures of the flowsheet's components
    const CTalStockMixture& AddStockMixture(CTalStockMixture mixture);
    int NumberOfMixtures() const { return static_cast<int>(mixtures_.size()); }
    const CTalStockMixture& MixtureDef(int i) const { return mixtures_[static_cast<std::size_t>(i)]; }
    const CTalStockMixture* MixtureDefPtr(std::string_view name) const;
    //! Mass fractions of the mixture per component of the flowsheet; false if there is no such mixture.
    bool GetStockMixture(std::string_view name, std::vector<double>& massFractions) const;
    //! Density of the mixture, kg/m3; 0 if there is no such mixture.
    double GetStockMixtureDensity(std::string_view name) const;
    //! Gives the mixture `from` the name `to`, and every operation that names it follows. False
    //! (nothing changes) if there is no `from` or `to` is taken.
    bool RenameStockMixture(std::string_view from, const std::string& to);
    //! For operations that name an ingredient by text: `name`, naming a component when
    //! `isComponent` (else a stock mixture), becomes `to` when it is `from` and `to` is now an
    //! ingredient of that kind.
    void FollowRename(std::string& name, bool isComponent, const std::string& from, const std::string& to) const;

    // Agents
    CTalHeatTransferAgent& AddAgent(std::unique_ptr<CTalHeatTransferAgent> a);
    CTalHeatTransferAgent* FindAgent(std::string_view name) const;
    CTalHeatTransferAgent* GetDefaultHeatingAgent(std::string_view name) const;
    CTalHeatTransferAgent* GetDefaultCoolingAgent(std::string_view name) const;
    CTalHeatTransferAgent* GetDefaultAgent(std::string_view name) const { return FindAgent(name); }
    const std::vector<std::unique_ptr<CTalHeatTransferAgent>>& Agents() const { return agents_; }

    // Cleaning skids, shared by the operations that clean or steam vessels in place
    CTalIPCleaningSkid& AddSkid(std::unique_ptr<CTalIPCleaningSkid> skid);
    CTalIPCleaningSkid* GetSkid(std::string_view name) const;
    const std::vector<std::unique_ptr<CTalIPCleaningSkid>>& Skids() const { return skids_; }
    //! Unties every operation from the skid, then deletes it.
    void RemoveSkid(const CTalIPCleaningSkid* skid);

    // Streams and procedures
    CTalStream& AddStream(std::unique_ptr<CTalStream> s);
    CTalProcedure& AddProcedure(std::unique_ptr<CTalProcedure> p);
    CTalStream* FindStream(std::string_view name) const;
    CTalProcedure* FindProcedure(std::string_view name) const;
    const std::vector<std::unique_ptr<CTalStream>>& Streams() const { return streams_; }
    const std::vector<std::unique_ptr<CTalProcedure>>& Procedures() const { return procedures_; }
    int GetProcedureIndex(const CTalProcedure* p) const;
    //! A stream or procedure of this flowsheet was renamed: the look-ups are rebuilt.
    void NamesChanged() { indexesStale_ = true; }

    // Removal: every operation may veto (…WillBeRemoved answers 0, and nothing changes); once the
    // object is gone, every operation is told so that it drops its references. `wnd` null is silent.
    bool RemoveStream(CTalStream* s, CWnd* wnd = nullptr);
    bool RemoveOperation(CTalOperation* op, CWnd* wnd = nullptr);
    bool RemoveProcedure(CTalProcedure* p, CWnd* wnd = nullptr);

private:
    //! Hashes texts and views alike, so that a look-up by view makes no string.
    struct NameHash {
        using is_transparent = void;
        std::size_t operator()(std::string_view s) const { return std::hash<std::string_view>{}(s); }
    };
    template <class T>
    using NameIndex = std::unordered_map<std::string, T*, NameHash, std::equal_to<>>;
    void RebuildIndexes() const;

    //! Calls `f` on every operation of every procedure.
    template <class F>
    void ForEachOperation(F&& f) const {
        for (const auto& p : procedures_) {
            for (int i = 0; i < p->NumberOfOps(); ++i) f(*p->GetOp(i));
        }
    }

    bool simModified_ = true;
    bool batchMode_ = false;
    double plantBatchTime_ = 86400.0;
    std::vector<std::unique_ptr<CTalPureComponent>> components_;
    ComponentList compList_;
    std::vector<std::unique_ptr<CTalHeatTransferAgent>> agents_;
    std::vector<CTalStockMixture> mixtures_;
    // Before the procedures, so that their operations, destroyed first, may still untie from them.
    std::vector<std::unique_ptr<CTalIPCleaningSkid>> skids_;
    std::vector<std::unique_ptr<CTalStream>> streams_;
    std::vector<std::unique_ptr<CTalProcedure>> procedures_;
    // Look-ups by name (the first of a name wins, as in the lists) and by address; rebuilt after a
    // rename or a removal.
    mutable NameIndex<CTalStream> streamsByName_;
    mutable NameIndex<CTalProcedure> proceduresByName_;
    mutable std::unordered_map<const CTalProcedure*, int> procedureIndex_;
    mutable bool indexesStale_ = false;
};

}  // namespace unitops
