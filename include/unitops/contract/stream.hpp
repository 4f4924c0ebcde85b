#pragma once
// Stream states: a flow per component with temperature, pressure and phase fractions, and
// the physical-property, mixing and splitting calculations on that state.
//
// Physics (see docs/physics.md): condensed phases mix ideally by volume with the pure
// densities; the gas phase is an ideal gas; heat capacities follow each component's
// correlation; enthalpy is sensible heat from 298.15 K; mixing is adiabatic.

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "unitops/contract/component.hpp"
#include "unitops/contract/object.hpp"
#include "unitops/contract/units.hpp"

namespace unitops {

class CTalProcedure;
class CTalOperation;
class CTalDocEss;
class CTalProcBlock;
class CTalStoichReactionScheme;

//! Time basis of a flow: per second, per hour, per batch.
enum FlowrateTimeRef { kPerSecond = 0, kPerHour = 1, kPerBatch = 2 };

class CTalSModel : public CObject {
    TAL_DECLARE_CLASS(CTalSModel)
public:
    static constexpr double kGasConstant = 8314.0;  //!< J/(kmol K)

    CTalSModel() = default;
    explicit CTalSModel(const ComponentList* comps);

    //! Binds the state to a component list; all flows become zero.
    void SetComponents(const ComponentList* comps);
    //! Binds the state, which holds `oldComps`, to `newComps`: each component keeps its flow and
    //! fractions by name; new components start empty, removed ones leave the state.
    virtual void ReMapComponents(const ComponentList& oldComps, const ComponentList* newComps);
    const ComponentList* Comps() const { return comps_; }
    int NumberOfComponents() const { return static_cast<int>(c_.size()); }
    int GetComponentIndex(std::string_view name) const;
    const CTalPureComponent* GetPureComponent(int i) const { return (*comps_)[static_cast<std::size_t>(i)]; }

    // Temperature and pressure
    double Temp() const { return T_; }
    void SetTemp(double T) { T_ = T; }
    double Press() const { return P_; }
    void SetPress(double P) { P_ = P; }

    // Component flows and phases
    double ComponentFlow(int i) const { return c_[Idx(i)].flow; }
    double ComponentFlow(std::string_view name) const;
    void SetComponentFlow(int i, double kgPerS);
    void SetComponentFlow(std::string_view name, double kgPerS);
    double ComponentMoleFlow(int i) const;
    void SetComponentMoleFlow(int i, double kmolPerS);
    double ComponentVaporFrac(int i) const { return c_[Idx(i)].vapor; }
    void SetComponentVaporFrac(int i, double f);
    //! Liquid share of the condensed (non-vapour) part of a component; the rest is solid.
    double ComponentLiquidFrac(int i) const { return c_[Idx(i)].liquid; }
    void SetComponentLiquidFrac(int i, double f);
    void SetComponentLiquidFrac(std::string_view name, double f);
    double ComponentExtraCellFrac(int i) const { return c_[Idx(i)].extra; }
    void SetComponentExtraCellFrac(int i, double f);
    double ComponentExtraMassFlow(int i) const { return c_[Idx(i)].flow * c_[Idx(i)].extra; }
    double ComponentIntraMassFlow(int i) const { return c_[Idx(i)].flow * (1.0 - c_[Idx(i)].extra); }
    //! Sets a component's flow from its intracellular and extracellular parts (kg/s); a component
    //! without flow counts as wholly extracellular.
    void SetComponentCellFlows(int i, double intra, double extra);

    // Totals
    double MassFlow(int timeRef = kPerSecond, bool = false) const;
    double MoleFlow(int timeRef = kPerSecond, const std::vector<int>* comps = nullptr, bool = false) const;
    double VolFlow(int timeRef = kPerSecond, bool = false) const;
    //! Scales all component flows to the new total; a state without flow takes its remembered composition.
    void SetMassFlow(double kgPerS);
    double NonGaseousVolFlow() const;
    double GaseousVolFlow() const;
    virtual double TimeRefFlowF(int timeRef) const;

    // Densities, kg/m3 (0 when the phase has no volume)
    double NonGaseousDensity() const;
    double GasDensity() const;
    virtual double Density() const;
    double Density(double T, double P) const;
    double ComponentDensity(int i) const;
    double ComponentLiqSolDensity(int i) const;
    //! Values over the "solvent": the components whose entry in `retained` is below `threshold`.
    double SolventDensity(const double* retained, double threshold) const;
    double SolventVolFlow(const double* retained, double threshold) const;
    double SolventExtraVolFlow(const double* retained, double threshold) const;

    // Composition
    double ComponentMassFrac(int i) const;
    double ComponentMassFrac(std::string_view name) const;
    double ComponentMoleFrac(int i, const std::vector<int>* comps = nullptr) const;
    double ComponentMoleFrac(std::string_view name, const std::vector<int>* comps = nullptr) const;
    //! Concentration in kg/m3 of the whole state's volume.
    double ComponentConc(int i) const;
    double ComponentConc(std::string_view name) const;
    void UpdateMassFracs();
    void GetComponentComposition(double* fractions, int n) const;
    //! Replaces the contents by one component at the given flow (kg/s) and vapour fraction.
    void ResetComposition(std::string_view name, double flow, double vaporFrac);
    //! The same for a mixture given by its mass fraction of each component.
    void ResetComposition(const std::vector<double>& massFractions, double flow, double vaporFrac);

    // Heat capacities J/(kg K), mass-weighted over all components at the state's composition
    double LiqSolCp() const { return LiqSolCp(T_, P_); }
    double LiqSolCp(double T, double P) const;
    double GaseousCp() const { return GaseousCp(T_, P_); }
    double GaseousCp(double T, double P) const;
    double Cp() const;
    //! Sensible heat flow of all components as liquid or solid, W, from 298.15 K.
    double LiqSolEnthalpy() const { return LiqSolEnthalpy(T_, P_); }
    double LiqSolEnthalpy(double T, double P) const;
    //! Sensible heat flow with each component's own phase split, W; what mixing conserves.
    double Enthalpy() const { return EnthalpyAt(T_); }
    double TotalVaporMassFrac() const;
    double TotalVaporMassFrac(CTalSModel& vapor) const;
    bool IsAllGaseous() const;

    // Arithmetic on states; every operation accepts the target itself as an argument.
    void ExtractVaporPhase(CTalSModel& gas, int flag = 1);
    //! Clears the flows; `forget` also drops the remembered composition, `keepTP` keeps T and P.
    void Zero(bool forget = false, bool keepTP = true);
    //! Whether temperature, pressure and every component's flow and fractions are finite numbers.
    bool IsFinite() const;
    //! An empty state at 25 degC and 1 atm with the components' normal phases, as a new one.
    void Reset();
    void Multiply(double f);
    void Mix(const CTalSModel& a, const CTalSModel& b);
    void MixN(const CTalSModel* const* states, int n);
    void MixFracInto(double f, CTalSModel& target) const;
    void Split(CTalSModel& out1, CTalSModel& out2, double f) const;
    void SplitN(CTalSModel* const* outs, int n, const double* fractions) const;
    void CompSplit(CTalSModel& out1, CTalSModel& out2, const double* fractions) const;
    void CompSplitN(CTalSModel* const* outs, int n, const double* const* fractions) const;
    //! Divides this state in two by difference per component. The argument that is this state
    //! itself receives the remainder: `s.DivideInto(s, b)` leaves s minus `b` in s and keeps `b`.
    //! Otherwise `a` is kept and `b` becomes this minus `a`. Differences are clipped at zero; the
    //! result is 0 when the part kept exceeds this state for some component.
    int DivideInto(CTalSModel& a, CTalSModel& b) const;
    //! This minus `s` per component, clipped at zero.
    void Subtract(const CTalSModel& s);
    //! Copies flows, phases, T, P and the remembered composition; not the identity of the target.
    void CopyDataInto(CTalSModel& target, int flag = 1) const;

    //! Isothermal flash of this state at (T, P): vapour into `gas`, condensate into `liquid`.
    //! Raoult's law with the components' vapour-pressure correlations; 0 with a message on failure.
    int Condense(CTalSModel& gas, CTalSModel& liquid, double T, double P, std::string& message) const;

    //! Runs the reactions of `scheme` in sequence at T, each on the state the one before left, and
    //! leaves the new composition here. `heat` is the rate of heat the reactions take up, W (positive
    //! when they take it up), on the state's flow basis. 0 on failure, reported to `op`.
    int MultipleStoichRxnCalculations(CTalOperation* op, CTalStoichReactionScheme& scheme, double T, double& heat,
                                      int isLiquid = 1);

    void Serialize(CArchive& ar) override;

    // Bookkeeping. States hold SI values at all times, so the unit conversions have nothing to do.
    void ConvertToInternalUnits() {}
    void ConvertToDisplayUnits() {}
    //! 0 a state, 1 a stream between procedures or at an edge, 2 a feed, 3 an emission.
    virtual int StreamTypeID() const { return 0; }
    //! The flowsheet block that draws the stream; null for states.
    CTalProcBlock* FBBlock() const { return block_; }
    void SetFBBlock(CTalProcBlock* b) { block_ = b; }
    //! The display unit the user picked for a kind of quantity, and its factor from SI.
    DisplayUnit GetUserSelUnits(Quantity q) const;
    double GetConvFForUserSelUnits(Quantity q) const { return GetUserSelUnits(q).factor; }
    void SetUserSelUnits(Quantity q, DisplayUnit u);

protected:
    struct ComponentState {
        double flow = 0.0;    // kg/s
        double vapor = 0.0;   // vapour share of the component
        double liquid = 1.0;  // liquid share of the condensed part
        double extra = 1.0;   // extracellular share
        double memory = 0.0;  // mass fraction when the state last had flow
    };
    std::size_t Idx(int i) const { return static_cast<std::size_t>(i); }
    double EnthalpyAt(double T) const;
    double HeatCapacityFlow(double T) const;  // sum of m Cp with each component's phase split, W/K
    void EnthalpyAndSlope(double T, double& h, double& slope) const;
    void RememberComposition();
    //! Binds this state to the other's component list if they differ in length.
    void MatchComponents(const CTalSModel& other);
    void SetAllFrom(const CTalSModel& src, double factor);
    void SolveTemperature(double H, double guess, double fallback);

    const ComponentList* comps_ = nullptr;
    std::vector<ComponentState> c_;
    double T_ = 298.15;
    double P_ = 101325.0;
    CTalProcBlock* block_ = nullptr;
    std::vector<std::pair<Quantity, DisplayUnit>> userUnits_;
};

//! Contents of a vessel before or after an operation; owned by its procedure.
class CTalStateStream : public CTalSModel {
    TAL_DECLARE_CLASS(CTalStateStream)
public:
    CTalStateStream() = default;
    CTalStateStream(const ComponentList* comps, CTalProcedure* owner) : CTalSModel(comps), owner_(owner) {}

    CTalProcedure* Owner() const { return owner_; }
    void SetOwner(CTalProcedure* p) { owner_ = p; }
    //! A new state with the same contents, owned by the caller.
    std::unique_ptr<CTalStateStream> CreateCopy(CTalProcedure* owner, int flag = 1) const;
    //! May the contents of this state be scaled up by back-propagation; `reason` says why not.
    bool CanBPG(std::string& reason) const;
    double TimeRefFlowF(int timeRef) const override;

private:
    CTalProcedure* owner_ = nullptr;
};

//! A stream on the flowsheet, between procedures or at the flowsheet's edge.
class CTalStream : public CTalSModel {
    TAL_DECLARE_CLASS(CTalStream)
public:
    CTalStream() = default;
    CTalStream(const ComponentList* comps, std::string name) : CTalSModel(comps), name_(std::move(name)) {}
    int StreamTypeID() const override { return 1; }

    const std::string& Name() const { return name_; }
    void SetName(std::string n);
    CTalProcedure* Source() const { return source_; }
    CTalProcedure* Destination() const { return destination_; }
    int SourcePort() const { return sourcePort_; }
    int DestinationPort() const { return destinationPort_; }
    void SetSource(CTalProcedure* p, int port) { source_ = p; sourcePort_ = port; }
    void SetDestination(CTalProcedure* p, int port) { destination_ = p; destinationPort_ = port; }
    //! A feed of the flowsheet (no source) or a product of it (no destination).
    bool IsInput() const { return source_ == nullptr; }
    bool IsOutput() const { return destination_ == nullptr; }
    void SetDocument(CTalDocEss* doc) { doc_ = doc; }
    CTalDocEss* Document() const { return doc_; }
    double TimeRefFlowF(int timeRef) const override;

    // Back-propagation: the flow an operation wants on this stream, applied by the host between passes.
    void SetBPGFlowBid(const CTalOperation* op, double kgPerS, int flag);
    bool HasBPGFlowBid() const { return hasBid_; }
    double BPGFlowBid() const { return bid_; }
    const CTalOperation* BPGBidder() const { return bidder_; }
    void ResetBPGParameters();
    //! Can back-propagation bring this stream to its bid by scaling what makes it upstream. With
    //! `collect`, `procedures` gets the procedures that must run again afterwards, upstream first;
    //! `reason` says why it cannot.
    bool CanBPG(bool collect, std::vector<CTalProcedure*>& procedures, std::string& reason);
    //! Scales what makes this stream upstream so that it carries its bid once `procedures` (filled
    //! as by CanBPG) run again; false without a bid.
    bool StartBPG(std::vector<CTalProcedure*>& procedures);

private:
    std::string name_;
    CTalProcedure* source_ = nullptr;
    CTalProcedure* destination_ = nullptr;
    int sourcePort_ = -1;
    int destinationPort_ = -1;
    CTalDocEss* doc_ = nullptr;
    bool hasBid_ = false;
    double bid_ = 0.0;
    const CTalOperation* bidder_ = nullptr;
};

//! A feed defined by the user: its flows stay as given unless back-propagation changes them.
class CTalInputStream : public CTalStream {
    TAL_DECLARE_CLASS(CTalInputStream)
public:
    using CTalStream::CTalStream;
    int StreamTypeID() const override { return 2; }

    int NumberOfIngredients() const;
    bool IsIngredientPresent(std::string_view name, int = 0) const;
    double IngredientDensity(std::string_view name) const;
    bool IsVolFlowSetByUser() const { return volFlowSetByUser_; }
    void SetVolFlowSetByUser(bool v) { volFlowSetByUser_ = v; }

    void ReMapComponents(const ComponentList& oldComps, const ComponentList* newComps) override;
    //! The user's definition, restored before each simulation.
    void KeepAsDefinition();
    void RestoreDefinition();
    //! The flows the user gave (kg/s per component); empty if none were kept.
    const std::vector<double>& DefinedFlows() const { return definedFlows_; }

private:
    bool volFlowSetByUser_ = false;
    std::vector<double> definedFlows_;
};

//! Vent contribution of an operation: a state without a port.
class CTalEmissionStream : public CTalSModel {
    TAL_DECLARE_CLASS(CTalEmissionStream)
public:
    using CTalSModel::CTalSModel;
    int StreamTypeID() const override { return 3; }
};

}  // namespace unitops
