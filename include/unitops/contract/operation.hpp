#pragma once
// The base of every operation model: its members, the virtual operations that the host
// calls, and the helpers that models use (times, ports, components, messages).

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "unitops/contract/members.hpp"
#include "unitops/contract/messages.hpp"
#include "unitops/contract/object.hpp"
#include "unitops/contract/quantities.hpp"
#include "unitops/contract/stream.hpp"

namespace unitops {

class CTalDocEss;
class CTalEquipment;
class CTalEmissions;
class CTalDiscreteEntity;
class CTalHeatTransferAgent;
class CTalIPCleaningSkid;
class CTalPureComponent;
class CWnd;  // a window; null means "silent"

//! Files from this version on hold the labour needs of every operation.
inline constexpr double kLaborNeedsSinceVersion = 4.0;

class CTalOperation : public CObject {
    TAL_DECLARE_CLASS(CTalOperation)
public:
    CTalOperation();
    //! `emits` is 1 for operations that can emit to a vent: they get an emission stream.
    explicit CTalOperation(int emits);
    ~CTalOperation() override;
    CTalOperation(const CTalOperation&) = delete;
    CTalOperation& operator=(const CTalOperation&) = delete;

    //! Makes an operation of class T for `owner` with its defaults, as the roster does.
    template <class T>
    static std::unique_ptr<T> Create(CTalProcedure* owner) {
        auto op = std::make_unique<T>();
        op->SetOwner(owner);
        op->InitSimModelParams();
        op->InitCostParams();
        return op;
    }

    // ---- Virtual operations, in the host's order ----
    void Serialize(CArchive& ar) override;
    virtual CTalIPCleaningSkid* Skid() const { return nullptr; }
    virtual void SetSkid(CTalIPCleaningSkid*) {}
    //! The skid the operation works with: its skid unless it is told to ignore it.
    virtual const CTalIPCleaningSkid* SkidInUse() const { return nullptr; }
    //! Adds the satellite equipment that the operation uses (a cleaning skid) to `list`.
    virtual void GetSateliteEquipmentUsed(std::vector<CObject*>& /*list*/, int /*flag*/) const {}
    virtual CTalEmissions* EmissionsData() { return nullptr; }
    virtual CTalDiscreteEntity* Entity() const { return nullptr; }
    virtual void SetOwner(CTalProcedure* owner);
    virtual double AnnualTransporationCost() const { return 0.0; }
    virtual void UpdateThroughput() {}
    virtual int IsInitializedByUser() const { return m_IsInitializedByUser; }
    virtual int IsAdequatelyConnectedForSimulation(CWnd* wnd);
    virtual int IsReadyForSimulation(CWnd* wnd);
    virtual void PrepareForSimulation();
    //! Area, quantity and replacement frequency of a consumable (filter cloth, bag) per run; none here.
    virtual void GetInfoOnConsumables(int type, double& area, double& quantity, double& frequency) const;
    virtual bool IsInPortUsed(int port, int flag) const;
    virtual bool IsOutPortUsed(int port, int flag) const;
    virtual bool CarriesInBatchMaterialIn() const { return false; }
    virtual bool CarriesInBatchMaterialOut() const { return false; }
    //! Whether the operation consumes the ingredient (a pure component or stock mixture) `name`
    //! from a supply that is not a stream, and at what rate (kg/s over its process time).
    virtual bool IsBlendedNSIngredientBeingUsed(std::string_view) const { return false; }
    virtual double BlendedNSIngredientConsumption(std::string_view, int) const { return 0.0; }
    //! The same for an ingredient used as it is rather than blended into a stream (a cleaning
    //! agent): with `blendedAlso` 0 a component counts also through the mixtures that hold it.
    virtual bool IsNonBlendedNSIngredientBeingUsed(std::string_view, int /*blendedAlso*/) const { return false; }
    virtual double NonBlendedNSIngredientConsumption(std::string_view, int /*blendedAlso*/) const { return 0.0; }
    virtual bool IsDesignSpec() const { return false; }
    virtual double TotalPower() const { return m_Power; }
    //! Seconds of one batch over which `HeatingDuty`, `CoolingDuty` and `AgentRate` are given: by
    //! default the operation's duration times its cycles; an operation whose duties are averaged
    //! over the batch answers the batch time.
    virtual double DutyTimePerBatch() const;
    virtual int IsEssential() const { return 0; }
    virtual int IsCyclical() const { return 0; }
    virtual int CanSizeEquipment(const CTalEquipment* equipment) const;
    virtual double MaxWorkingToVesselVol() const { return 0.0; }
    virtual void SetMaxWorkingToVesselVol(double) {}
    //! The default agents of auxiliary heating ("Steam") and cooling ("Cooling Water").
    virtual void InitAuxHeatingAgent();
    virtual void InitAuxCoolingAgent();
    virtual void InitHxAgent() {}
    //! Finds the agents again by the names stored with the operation (after a load or a change of agents).
    virtual void CreateAgentPointersFromOldVersionNames();
    //! An operation read from a file older than kLaborNeedsSinceVersion, which kept no labour
    //! needs, takes its class's defaults.
    virtual void CreateLaborNeedsForOldVersions();
    virtual void DoPostSimChores(int flag, int = 0);
    // Removal of an object of the flowsheet: the first three may veto it by answering 0; the
    // others let the operation drop its references to the removed object.
    virtual int StreamWillBeRemoved(const CTalStream*, CWnd*) { return 1; }
    virtual int OperationWillBeRemoved(const CTalOperation*, CWnd*) { return 1; }
    virtual int ProcedureWillBeRemoved(const CTalProcedure*, CWnd*) { return 1; }
    virtual void StreamHasBeenRemoved(const CTalStream*) {}
    virtual void OperationHasBeenRemoved(const CTalOperation* op);
    virtual void ProcedureHasBeenRemoved(const CTalProcedure*) {}
    //! The flowsheet's component list changed from `oldComps` to the present one: every array per
    //! component follows its component by name (new components take the array's default).
    virtual void UpdateForNewCompDef(const ComponentList& oldComps);
    //! The same for an operation brought from a flowsheet with `oldComps` into one with `newComps`.
    virtual void UpdateCompInfoFromOldFlowsheet(const ComponentList& oldComps, const ComponentList& newComps);
    //! A component or stock mixture of the flowsheet was renamed from `from` to `to`: an
    //! operation that names it by text follows.
    virtual void IngredientRenamed(const std::string& /*from*/, const std::string& /*to*/) {}
    virtual void SetFlowsheet(CTalDocEss* doc) { m_Flowsheet = doc; }
    virtual void UpdateForNewPlantBatchTime(double oldTime, double newTime);
    virtual void OnNotifyAfterDocOpening() {}
    virtual std::string IsA() const { return "Operation"; }
    virtual std::string DefaultPrefix() const { return "OP-"; }
    virtual unsigned ModelID() const { return 0; }
    //! A new instance of the same class holding the same data, owned by `owner` or this one's owner.
    virtual std::unique_ptr<CTalOperation> CreateCopy(CTalProcedure* owner, int flag) const;
    //! Copies the data into `target`, which must be of this class.
    virtual void CopyDataInto(CTalOperation* target, int flag) const;
    virtual void ConvertToDisplayUnits();
    virtual void ConvertToInternalUnits();
    virtual void InitSimModelParams();
    virtual void InitCostParams() {}
    //! Checks of the user's data in the class's order; stops at the first failure.
    virtual int IsSimDataComplete(int group, CTalModelPP* page, bool flag, int askUser);
    virtual int Solve(CTalStateStream* before, CTalStateStream* after, int skipSizing);
    //! Lines of the input data report.
    virtual int WriteIDR_Description(std::FILE* f);
    virtual void GetCustomDescription(std::string& text) const;
    virtual void GetSampleDescription(std::string& text) const { text.clear(); }
    // Back-propagation of batch amounts
    virtual bool InitiatesBPG() const { return false; }
    virtual void GetStreamsInitiatingBPG(std::vector<CTalStream*>&) const {}
    virtual bool AffectsTPorCompOfContents() const { return true; }
    virtual bool DoesAfterStateAmtScaleWithInsAndOuts() const { return true; }
    virtual bool IsBPGTerminal() const { return false; }
    virtual bool IsScaleable() const { return true; }
    virtual void AbsorbBPG(double /*factor*/, double /*amount*/, const CTalSModel* /*stream*/) {}
    virtual bool IsAmountSentOutFixed(int /*port*/) const { return false; }
    virtual double FixedAmountSentOut(int /*port*/) const { return 0.0; }
    virtual bool CanInitiateStateBPG(std::string& /*reason*/) const { return false; }
    virtual void UpdatePortID() {}

    // ---- Where am I ----
    CTalProcedure* Owner() const { return m_Owner; }
    CTalProcedure* Procedure() const { return m_Owner; }
    CTalDocEss* Flowsheet() const;
    CTalEquipment* Equipment() const;
    const std::string& Name() const { return m_Name; }
    void SetName(std::string n) { m_Name = std::move(n); }
    std::string NameAndType() const;
    double VersionNo() const { return m_VersionNo; }
    void SetVersionNo(double v) { m_VersionNo = v; }

    // ---- Modes and times ----
    bool IsBatchMode() const;
    bool IsDesignMode() const;
    bool IsFlowsheetInBatchMode() const;
    bool IsOpDescriptionShort() const { return m_IsOpDescriptionShort != 0; }
    void SetOpDescriptionShort(bool s) { m_IsOpDescriptionShort = s ? 1 : 0; }
    double PlantBatchTime() const;
    double HoldupTime() const;
    double CycleTime() const;
    int NumberOfCycles() const;
    double UtilFactor() const;
    //! The batch reference time T: plant batch time in a batch flowsheet, else the holdup time.
    double BatchReferenceTime() const;
    //! The duration; a duration set by a master operation is the master's.
    double ProcessTime() const;
    void SetProcessTime(double s) { m_ProcessTime = s; }
    double SetupTime() const { return m_SetupTime; }
    void SetSetupTime(double s) { m_SetupTime = s; }
    const CTalTimePQ& ProcessTimeUnits() const { return m_ProcessTimePQ; }
    const CTalTimePQ& SetupTimeUnits() const { return m_SetupTimePQ; }
    bool IsProcessTimeCalculated() const { return m_ProcessTimeMode == 2; }
    bool IsProcessTimeSetByUser() const { return m_ProcessTimeMode == 1; }
    bool IsDurationSetByMaster() const { return m_ProcessTimeMode == 3; }
    int ProcessTimeMode() const { return m_ProcessTimeMode; }
    void SetProcessTimeMode(int m) { m_ProcessTimeMode = m; }
    CTalOperation* MasterOperation() const { return m_MasterOperation; }
    void SetMasterOperation(CTalOperation* op) { m_MasterOperation = op; }
    //! The host's flag that this operation may calculate its own duration.
    int CanCalculateDuration() const { return m_CanCalculateDuration; }
    void SetCanCalculateDuration(int v) { m_CanCalculateDuration = v; }

    // ---- Ports ----
    CTalStream* InStream(int port) const;
    CTalStream* OutStream(int port) const;
    //! Port by the transfer numbering: n > 0 input n - 1, n < 0 output -n - 1.
    CTalStream* GetStream(int portId) const;
    CTalStream* VentStream() const;
    int NumberOfInStreams() const;
    int NumberOfOutStreams() const;
    int NumberOfInPortsUsed() const;
    //! The first port that this operation uses (`IsInPortUsed`, `IsOutPortUsed`) but that holds
    //! no stream, as "input port 2"; empty when all hold one. The vent port is not asked.
    std::string MissingPortStream() const;
    //! The input ports the operation needs whatever procedure holds it (0: only those the
    //! procedure has are asked); a procedure with fewer ports then fails the connection check.
    virtual int InPortsNeeded() const { return 0; }
    //! The connection check's message for the first port without its stream; empty when none.
    std::string MissingPortMessage() const;
    int InPortsAvailable() const { return NumberOfInStreams(); }
    int OutPortsAvailable() const { return NumberOfOutStreams(); }
    CTalStateStream* GetStateBefore() const;

    // ---- Components ----
    int NumberOfComponents() const { return m_NumberOfComponents; }
    const ComponentList* Comps() const;
    int GetComponentIndex(std::string_view name) const;
    const CTalPureComponent* GetPureComponent(int i) const;
    const CTalPureComponent* GetPureComponent(std::string_view name) const;
    int GetPrimaryBiomassIndex() const;
    void InitCompVar(std::vector<double>& var, double value) const { var.assign(Count(), value); }
    void InitCompVar(std::vector<int>& var, int value) const { var.assign(Count(), value); }
    void InitCompVar(std::vector<std::string>& var, const std::string& value) const { var.assign(Count(), value); }
    template <class V>
    static void InitArrayVar(std::vector<V>& var, int n, const V& value) { var.assign(static_cast<std::size_t>(n), value); }
    //! Rebuilds a per-component array after the component list changed, matching by name.
    void ReInitCompVar(const ComponentList& oldComps, std::vector<double>& var, double value) const;
    //! The same from the list `oldComps` to `newComps`; entries of components not in `oldComps` take `value`.
    static void ReInitCompVarFromOldFlowsheet(const ComponentList& oldComps, const ComponentList& newComps,
                                              std::vector<double>& var, double value);
    bool IsCompDataInRange(const std::vector<double>& a, double low, double high) const;
    static bool IsArrayDataInRange(const double* a, int n, double low, double high);

    // ---- Messages ----
    void SetSimMsg(const MsgText& text, unsigned help = 0);
    void ShowSimMsg(const MsgText& text, unsigned help = 0);
    int NormalSimEnding(int result);
    int AbnormalSimEnding(const MsgText& text, unsigned help = 0, int flag = 1);
    const std::vector<SimMessage>& Messages() const { return m_Messages; }
    void ClearMessages() { m_Messages.clear(); }
    //! Result of the last Solve: 1 normal, 0 normal with warnings, -1 abnormal, -2 never run.
    int LastResult() const { return m_LastResult; }
    //! Puts back the messages and result of a run read from a file.
    void RestoreRunRecord(std::vector<SimMessage> messages, int lastResult) {
        m_Messages = std::move(messages);
        m_LastResult = lastResult;
    }

    // ---- Power, heat, labour ----
    double Power() const { return m_Power; }
    void SetPower(double w) { m_Power = w; }
    double SpecPower() const { return m_SpecPower; }
    void SetSpecPower(double v) { m_SpecPower = v; }
    int PowerMode() const { return m_PowerMode; }
    void SetPowerMode(int m) { m_PowerMode = m; }
    bool IsPowerFromSpecPower() const { return m_PowerMode == 2; }
    bool IsPowerSetByUser() const { return m_PowerMode == 1; }
    double HeatingDuty() const { return m_HeatingDuty; }
    double CoolingDuty() const { return m_CoolingDuty; }
    double AgentRate() const { return m_AgentRate; }
    double CapacityUtilF() const { return m_CapacityUtilF; }
    CTalHeatTransferAgent* HxAgent() const { return m_HxAgent; }
    void SetHxAgent(CTalHeatTransferAgent* a);
    CTalHeatTransferAgent* AuxHeatingAgent() const { return m_AuxHeatingAgent; }
    CTalHeatTransferAgent* AuxCoolingAgent() const { return m_AuxCoolingAgent; }
    void InitLabor(double a, double b, int unitsA, int unitsB);
    //! Default durations in s, both shown in minutes.
    void InitTimes(double process, double setup);
    double LaborNeed(int which) const { return which == 0 ? m_LaborA : m_LaborB; }
    CTalEmissionStream* EmissionStream() const { return m_EmissionStream.get(); }
    bool Emits() const { return m_Emits != 0; }

    // ---- State of data ----
    void SetIsInitializedByUser(int v) { m_IsInitializedByUser = v; }
    void ForceReinitialization() { m_IsInitializedByUser = 0; }
    void LocateIconOnView() {}
    int IsInInternalUnits() const { return m_IsInInternalUnits; }

protected:
    std::size_t Count() const { return static_cast<std::size_t>(m_NumberOfComponents); }
    //! The validation frame: converts to internal units around `checks` and restores the state.
    static bool InGroup(int group, int g) { return group == 0 || group == g; }
    //! Writes this class's own persisted rows in table order (reading absent ones as their defaults).
    void SerializeOwnMembers(CArchive& ar, const MemberTable& table);

private:
    //! The base's own data per component: the count, the emission stream and the emission fractions.
    void ReMapOwnComponentData(const ComponentList& oldComps, const ComponentList& newComps);

public:
    // ---- Members, as the models read and write them ----
    double m_VersionNo = 0.0;
    int m_NumberOfComponents = 0;
    int m_IsInInternalUnits = 1;
    double m_SetupTime = 0.0;
    CTalTimePQ m_SetupTimePQ;
    double m_ProcessTime = 0.0;
    CTalTimePQ m_ProcessTimePQ;
    int m_ProcessTimeMode = 1;
    CTalOperation* m_MasterOperation = nullptr;
    double m_Power = 0.0;
    double m_SpecPower = 0.0;
    CTalSpecPowerPQ m_SpecPowerPQ;
    int m_PowerMode = 2;
    double m_HeatingDuty = 0.0;
    double m_CoolingDuty = 0.0;
    std::string m_HxAgentName;
    int m_HxAgentUse = 4;
    CTalHeatTransferAgent* m_HxAgent = nullptr;
    CTalHeatTransferAgent* m_AuxHeatingAgent = nullptr;
    CTalHeatTransferAgent* m_AuxCoolingAgent = nullptr;
    double m_AgentRate = 0.0;
    double m_CapacityUtilF = 0.0;
    int m_IsContinuousModel = 0;
    std::unique_ptr<CTalEmissionStream> m_EmissionStream;

protected:
    CTalProcedure* m_Owner = nullptr;
    CTalDocEss* m_Flowsheet = nullptr;  // the document of an operation outside a procedure
    std::string m_Name;
    int m_Emits = 0;
    int m_IsInitializedByUser = 0;
    int m_IsOpDescriptionShort = 0;
    int m_CanCalculateDuration = 0;
    double m_LaborA = 0.0;
    double m_LaborB = 0.0;
    std::vector<SimMessage> m_Messages;
    int m_LastResult = -2;
};

}  // namespace unitops
