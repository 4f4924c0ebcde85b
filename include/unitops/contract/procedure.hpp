#pragma once
// A unit procedure: one item of equipment, an ordered list of operations, the chain of
// states between them, and the ports of its icon that hold the streams.

#include <memory>
#include <string>
#include <vector>

#include "unitops/contract/equipment.hpp"
#include "unitops/contract/operation.hpp"
#include "unitops/contract/stream.hpp"

namespace unitops {

class CTalDocEss;

//! Ports of a procedure's icon: inputs, outputs, and the output that is the vent (-1 for none).
struct IconPorts {
    int inputs = 0;
    int outputs = 0;
    int vent = -1;
};

//! The drawing of a procedure; what the host needs of it is its ports.
class CTalUIcon {
public:
    CTalUIcon(std::string className, unsigned id, IconPorts ports)
        : className_(std::move(className)), id_(id), ports_(ports) {}
    const std::string& ClassName() const { return className_; }
    unsigned ID() const { return id_; }
    const IconPorts& Ports() const { return ports_; }

private:
    std::string className_;
    unsigned id_;
    IconPorts ports_;
};

//! The flowsheet block of a procedure, which owns its icon.
class CTalProcBlock {
public:
    virtual ~CTalProcBlock() = default;
    virtual CTalUIcon* UIcon() const { return icon_.get(); }
    virtual void SetUIcon(std::unique_ptr<CTalUIcon> icon) { icon_ = std::move(icon); }

private:
    std::unique_ptr<CTalUIcon> icon_;
};

//! Count of discrete entities per unit of bulk, for operations that count parts.
class CTalDiscreteEntity {
public:
    double bulkConvF = 0.0;          //!< kg (or m3) per entity
    bool isBulkConvFMass = true;
    double BulkConvF() const { return bulkConvF; }
    bool IsBulkConvFMass() const { return isBulkConvFMass; }
};

class CTalProcedure {
public:
    CTalProcedure(CTalDocEss* doc, std::string name, unsigned unitProcId);
    ~CTalProcedure();
    CTalProcedure(const CTalProcedure&) = delete;
    CTalProcedure& operator=(const CTalProcedure&) = delete;

    // Identity and place
    CTalDocEss* Owner() const { return doc_; }
    std::string Name(bool = false) const { return name_; }
    void SetName(std::string n);
    unsigned UnitProcID() const { return unitProcId_; }
    CTalProcBlock& Block() { return block_; }
    CTalUIcon* UIcon() const { return block_.UIcon(); }
    //! Sizes the ports from the icon; call once after the icon is set.
    void SetUpPorts();

    // Modes and times
    bool IsBatchMode() const { return batchMode_; }
    void SetBatchMode(bool b) { batchMode_ = b; }
    bool IsDesignMode() const { return designMode_; }
    void SetDesignMode(bool d) { designMode_ = d; }
    bool IsFlowsheetInBatchMode() const;
    double HoldupTime() const { return holdupTime_; }
    void SetHoldupTime(double s) { holdupTime_ = s; }
    double CycleTime() const { return cycleTime_ > 0.0 ? cycleTime_ : holdupTime_; }
    void SetCycleTime(double s) { cycleTime_ = s; }
    int NumberOfCycles() const { return numberOfCycles_; }
    void SetNumberOfCycles(int n) { numberOfCycles_ = n; }
    double UtilFactor() const { return utilFactor_; }
    void SetUtilFactor(double f) { utilFactor_ = f; }
    //! Plant batch time in a batch flowsheet, otherwise the holdup time.
    double BatchReferenceTime() const;

    // Equipment
    CTalEquipment* Equipment() const { return equipment_.get(); }
    void SetEquipment(std::unique_ptr<CTalEquipment> e);
    CTalDiscreteEntity* Entity() const { return entity_.get(); }
    void SetEntity(std::unique_ptr<CTalDiscreteEntity> e) { entity_ = std::move(e); }

    // Operations and states: state i is before operation i, state i + 1 after it
    void AddOperation(std::unique_ptr<CTalOperation> op);
    CTalOperation* GetOp(int i) const { return ops_[static_cast<std::size_t>(i)].get(); }
    int NumberOfOps() const { return static_cast<int>(ops_.size()); }
    int GetOrderNo(const CTalOperation* op) const;
    CTalOperation* GetNextOp(const CTalOperation* op) const;
    CTalOperation* GetEssentialOp() const;
    int NumberOfStates() const { return static_cast<int>(states_.size()); }
    CTalStateStream* GetState(int i) const { return states_[static_cast<std::size_t>(i)].get(); }
    CTalStateStream* GetStateBefore(const CTalOperation* op) const;

    // Ports
    int NumberOfInPorts() const { return static_cast<int>(in_.size()); }
    int NumberOfOutPorts() const { return static_cast<int>(out_.size()); }
    CTalStream* InStream(int port) const;
    CTalStream* OutStream(int port) const;
    void ConnectIn(int port, CTalStream* s);
    void ConnectOut(int port, CTalStream* s);
    bool HasVentPort() const { return ports_.vent >= 0; }
    int VentPortID() const { return ports_.vent; }
    CTalStream* VentStream() const { return HasVentPort() ? OutStream(ports_.vent) : nullptr; }
    bool IsFullyConnected() const;

    //! Runs the operations in order on the chain of states; the result is 0 if any failed.
    int Solve(bool skipSizing, bool = false);
    //! Fills state 0 for a pass: the equipment's default contents when it uses them and its size
    //! is known, else empty.
    void PrepareInitialState(bool sizeKnown = true);

    // Back-propagation started by a state: the operation needs `kgPerS` more of the contents
    // than `state` holds, of the given composition.
    struct StateBid {
        CTalStateStream* state = nullptr;
        CTalOperation* op = nullptr;
        double kgPerS = 0.0;
        std::vector<double> composition;
    };
    void SetStateInitiatingBPG(CTalStateStream* state, CTalOperation* op, double kgPerS, const double* composition, bool);
    const std::vector<StateBid>& StateBids() const { return stateBids_; }
    void ClearStateBids() { stateBids_.clear(); }

    //! Called when the component list of the flowsheet is set: sizes every state.
    void BindComponents(const ComponentList* comps);
    //! The flowsheet's component list changed from `oldComps`: the states, the equipment and every
    //! operation follow their components by name.
    void UpdateForNewCompDef(const ComponentList& oldComps);
    //! Takes the operation out of the procedure with the state after it; the caller gets it.
    std::unique_ptr<CTalOperation> RemoveOperation(const CTalOperation* op);
    //! Disconnects the stream from every port of this procedure.
    void Disconnect(const CTalStream* s);

private:
    bool KeepsFiniteResults(int opIndex);

    CTalDocEss* doc_;
    std::string name_;
    unsigned unitProcId_;
    CTalProcBlock block_;
    IconPorts ports_;
    bool batchMode_ = false;
    bool designMode_ = true;
    double holdupTime_ = 3600.0;
    double cycleTime_ = 0.0;
    int numberOfCycles_ = 1;
    double utilFactor_ = 1.0;
    std::unique_ptr<CTalEquipment> equipment_;
    std::unique_ptr<CTalDiscreteEntity> entity_;
    std::vector<std::unique_ptr<CTalOperation>> ops_;
    std::vector<std::unique_ptr<CTalStateStream>> states_;
    std::vector<CTalStream*> in_;
    std::vector<CTalStream*> out_;
    std::vector<StateBid> stateBids_;
};

}  // namespace unitops
