#pragma once
// The flowsheet document: components, agents, streams and procedures, and the plant's mode.

#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "unitops/contract/component.hpp"
#include "unitops/contract/messages.hpp"
#include "unitops/contract/procedure.hpp"
#include "unitops/contract/stream.hpp"

namespace unitops {

class CTalDocEss {
public:
    CTalDocEss();
    ~CTalDocEss();
    CTalDocEss(const CTalDocEss&) = delete;
    CTalDocEss& operator=(const CTalDocEss&) = delete;

    std::string title;  //!< name of the flowsheet
    double costYear = 0.0;  //!< year to which purchase costs are escalated; 0 keeps each law's own year
    QuestionPolicy questionPolicy = QuestionPolicy::NoChange;

    // Plant mode
    bool IsBatchMode() const { return batchMode_; }
    void SetBatchMode(bool b) { batchMode_ = b; }
    double PlantBatchTime() const { return plantBatchTime_; }
    void SetPlantBatchTime(double s) { plantBatchTime_ = s; }
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

    // Agents
    CTalHeatTransferAgent& AddAgent(std::unique_ptr<CTalHeatTransferAgent> a);
    CTalHeatTransferAgent* FindAgent(std::string_view name) const;
    CTalHeatTransferAgent* GetDefaultHeatingAgent(std::string_view name) const;
    CTalHeatTransferAgent* GetDefaultCoolingAgent(std::string_view name) const;
    CTalHeatTransferAgent* GetDefaultAgent(std::string_view name) const { return FindAgent(name); }
    const std::vector<std::unique_ptr<CTalHeatTransferAgent>>& Agents() const { return agents_; }

    // Streams and procedures
    CTalStream& AddStream(std::unique_ptr<CTalStream> s);
    CTalProcedure& AddProcedure(std::unique_ptr<CTalProcedure> p);
    CTalStream* FindStream(std::string_view name) const;
    CTalProcedure* FindProcedure(std::string_view name) const;
    const std::vector<std::unique_ptr<CTalStream>>& Streams() const { return streams_; }
    const std::vector<std::unique_ptr<CTalProcedure>>& Procedures() const { return procedures_; }
    int GetProcedureIndex(const CTalProcedure* p) const;
    //! A stream or procedure of this flowsheet was renamed: the look-up by name is rebuilt.
    void NamesChanged() { namesChanged_ = true; }

private:
    //! Hashes texts and views alike, so that a look-up by view makes no string.
    struct NameHash {
        using is_transparent = void;
        std::size_t operator()(std::string_view s) const { return std::hash<std::string_view>{}(s); }
    };
    template <class T>
    using NameIndex = std::unordered_map<std::string, T*, NameHash, std::equal_to<>>;
    void RebuildNameIndexes() const;

    bool batchMode_ = false;
    double plantBatchTime_ = 86400.0;
    std::vector<std::unique_ptr<CTalPureComponent>> components_;
    ComponentList compList_;
    std::vector<std::unique_ptr<CTalHeatTransferAgent>> agents_;
    std::vector<std::unique_ptr<CTalStream>> streams_;
    std::vector<std::unique_ptr<CTalProcedure>> procedures_;
    // Look-ups by name (the first of a name wins, as in the lists) and by address.
    mutable NameIndex<CTalStream> streamsByName_;
    mutable NameIndex<CTalProcedure> proceduresByName_;
    mutable bool namesChanged_ = false;
    std::unordered_map<const CTalProcedure*, int> procedureIndex_;
};

}  // namespace unitops
