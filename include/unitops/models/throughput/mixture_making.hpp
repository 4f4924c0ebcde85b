#pragma once
// Mixing that adjusts the flows of its inputs so that the mixture meets a mixing specification.
//
// Custom mixing takes a process stream as it comes and adjusts the flow of one add-in stream so
// that the mixture meets a flow ratio, a total flow, or a concentration or mass fraction of one
// component. Mixture making adjusts the flows of all of its 2 to 5 inputs so that the mixture has
// a wanted total flow and wanted concentrations (or mass fractions) of one component fewer than
// there are inputs. Both ask for the found flows through back-propagation: the inputs arrive at
// them in the next pass of the flowsheet.

#include <array>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "unitops/contract/quantities.hpp"
#include "unitops/models/throughput/throughput_op.hpp"
#include "unitops/roster/identity.hpp"

namespace unitops {

//! What both mixings share: the ports of a mixer, the plain mixture of the inputs that a failure
//! leaves, the throughput steps and the scaling of the wanted flows with the batch time.
class CTalAdjustedMixingBase : public CTalThroughputOp {
public:
    static constexpr const char* kNoComponent = "(none)";  //!< an empty design row
    //! Whether a design name leaves its row empty: "(none)" or a blank name.
    static bool IsEmptyDesign(const std::string& name) { return name.empty() || name == kNoComponent; }
    bool IsOutPortUsed(int, int) const override { return true; }
    bool InitiatesBPG() const override { return true; }
    void UpdateForNewPlantBatchTime(double oldTime, double newTime) override;

    //! Display unit of a wanted mass flow: kg/h in a continuous procedure, kg/batch in a batch one.
    DisplayUnit MassFlowDisplay() const;
    //! The same for a volume flow: L/h or L/batch.
    DisplayUnit VolFlowDisplay() const;

    double m_OutputMassFlow = 0.0;  //!< kg/s
    double m_OutputVolFlow = 0.0;   //!< m3/s

protected:
    CTalAdjustedMixingBase() { m_IsRatedForAllUnits = true; }
    //! The input streams in port order.
    std::vector<CTalStream*> Inputs() const;
    //! Writes the mixture of `states` into `out` (a copy of the one state when alone).
    static void MixInto(CTalSModel& out, const std::vector<const CTalSModel*>& states);
    //! Density of the composition of `s`, also when it carries no flow.
    static double CompositionDensity(const CTalSModel& s);
    //! The outlet stream, or a stream aside when no outlet is connected.
    CTalStream& Outlet();
    //! Throughput, sizing, power and utilisation for the outlet's flow; false if one failed.
    int FinishThroughput(const CTalStream& out, int skipSizing);
    //! The design component's index, or -1 when the name is not a component of the flowsheet.
    int DesignIndex(const std::string& name) const;
    //! A design component that left the flowsheet becomes "(none)", and the data must be seen again.
    void ForgetIfMissing(std::string& name, const ComponentList& comps);
    //! Molecular weight of `name`, or `unknown` when the flowsheet does not know it.
    double MolecularWeight(const std::string& name, double unknown) const;

private:
    std::unique_ptr<CTalStream> m_Aside;
};

class CTalCustomMixing : public CTalAdjustedMixingBase {
    TAL_DECLARE_CLASS(CTalCustomMixing)
public:
    enum { kMassRatio = 1, kVolumeRatio = 2, kOutputMass = 3, kOutputVolume = 4, kOutputConc = 5, kOutputMassFraction = 6 };
    static constexpr int kProcessPort = 1;
    static constexpr int kAddInPort = 0;

    CTalCustomMixing() = default;
    TAL_OPERATION_IDENTITY(0xA820)

    void Serialize(CArchive& ar) override;
    bool IsInPortUsed(int port, int) const override { return port == kProcessPort || port == kAddInPort; }
    int InPortsNeeded() const override { return 2; }
    void UpdateForNewCompDef(const ComponentList& oldComps) override;
    void UpdateCompInfoFromOldFlowsheet(const ComponentList& oldComps, const ComponentList& newComps) override;
    void IngredientRenamed(const std::string& from, const std::string& to) override;
    void InitSimModelParams() override;
    int IsSimDataComplete(int group, CTalModelPP* page, bool flag, int askUser) override;
    int Solve(CTalStateStream* before, CTalStateStream* after, int skipSizing) override;
    int WriteIDR_Description(std::FILE* f) override;
    void GetCustomDescription(std::string& text) const override;
    void GetStreamsInitiatingBPG(std::vector<CTalStream*>& streams) const override;
    DisplayUnit ConcentrationDisplay() const;

    int m_MixingSpec = kMassRatio;
    double m_MassFlowRatio = 0.0;  //!< add-in over process
    double m_VolFlowRatio = 0.0;   //!< add-in over process
    std::string m_DesignComponent = kNoComponent;
    double m_OutputConc = 0.0;          //!< kg/m3
    double m_OutputMassFraction = 0.0;  //!< fraction
    double m_RelativeError = 1e-5;
    int m_MaxIterations = 1000;
    int m_ConcUnits = 0x400;  //!< display unit of the concentration

private:
    struct Run;
    //! The add-in copy at `ratio` times the process flow, mixed with the process stream into out.
    void Trial(Run& run, double ratio) const;
    //! The plain mixture of the two inputs as they stand, then the abnormal ending with `message`.
    int GiveUp(Run& run, unsigned message);
    int SolveOutputVolume(Run& run);
    int SolveOutputConc(Run& run);
    int SolveOutputMassFraction(Run& run);
    //! After a mixing specification on a ratio or a flow: the outlet's flows, concentration and fraction.
    void ReadOutlet(const CTalStream& out);
};

class CTalMixtureMaking : public CTalAdjustedMixingBase {
    TAL_DECLARE_CLASS(CTalMixtureMaking)
public:
    static constexpr int kRows = 4;  //!< at most 5 inputs can be specified
    enum { kMassBasis = 1, kVolumeBasis = 2 };

    CTalMixtureMaking() = default;
    TAL_OPERATION_IDENTITY(0xA821)

    void Serialize(CArchive& ar) override;
    int IsAdequatelyConnectedForSimulation(CWnd* wnd) override;
    int IsReadyForSimulation(CWnd* wnd) override;
    bool IsInPortUsed(int port, int) const override { return InStream(port) != nullptr; }
    void OnNotifyAfterDocOpening() override;
    void UpdateForNewCompDef(const ComponentList& oldComps) override;
    void UpdateCompInfoFromOldFlowsheet(const ComponentList& oldComps, const ComponentList& newComps) override;
    void IngredientRenamed(const std::string& from, const std::string& to) override;
    void InitSimModelParams() override;
    int IsSimDataComplete(int group, CTalModelPP* page, bool flag, int askUser) override;
    int Solve(CTalStateStream* before, CTalStateStream* after, int skipSizing) override;
    int WriteIDR_Description(std::FILE* f) override;
    void GetCustomDescription(std::string& text) const override;
    void GetStreamsInitiatingBPG(std::vector<CTalStream*>& streams) const override;
    bool IsBPGTerminal() const override { return m_IsOutputFlowSetByUser == 0; }
    void AbsorbBPG(double factor, double flow, const CTalSModel* stream) override;
    bool IsAmountSentOutFixed(int) const override { return m_IsOutputFlowSetByUser != 0; }

    //! Display unit of row i's concentration (a molar unit takes the component's weight).
    DisplayUnit ConcDisplay(std::size_t row) const;
    //! Display unit of row i's mass fraction: a fraction, or a percentage.
    DisplayUnit FractionDisplay(std::size_t row) const;
    //! Rows whose component is named.
    int CountSpecs() const;

    int m_OutputFlowBasis = kMassBasis;
    std::array<std::string, kRows> m_DesignComponentName;
    std::array<double, kRows> m_DesignConc{};          //!< kg/m3
    std::array<int, kRows> m_ConcUnits{};              //!< display unit of each concentration
    double m_RelativeError = 1e-5;
    int m_MaxIterations = 1000;
    int m_NumberOfSpecs = 0;
    int m_IsOutputFlowSetByUser = 1;  //!< 0: the total flow is what a downstream bid asks
    double m_MinOutputFlow = 1e-6;    //!< kg/s, the least flow taken from a bid
    int m_SpecifyByConc = 1;          //!< 1 concentrations, 0 mass fractions
    std::array<double, kRows> m_DesignMassFraction{};
    std::array<int, kRows> m_FractionUnits{};  //!< display unit of each mass fraction
    double m_BPGFlowDemand = 0.0;              //!< kg/s, the last downstream bid

private:
    struct Run;
    //! Gives up: the plain mixture of the inputs at their flows, each bid at its own flow.
    int GiveUp(Run& run, const MsgText& message);
    //! The fixed point on the mixture's density around the linear balance; true when it met
    //! the mixing specification.
    bool Iterate(Run& run);
    //! Why the mixing specification could not be met, for the message of a failure.
    std::string Explain(Run& run) const;
    //! The component balance of row i at density r: the wanted flow of its component (kg/s).
    double WantedComponentFlow(std::size_t row, double r) const;
    //! Relative error of the outlet against the mixing specification.
    double SpecError(const CTalStream& out) const;
    void ForgetMissingComponents(const ComponentList& comps);
};

}  // namespace unitops
