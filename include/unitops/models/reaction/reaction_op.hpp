#pragma once
// The base of every operation that transforms material inside a vessel: vent and emissions, the
// phase of the reaction, and the steps that every reaction balance repeats (batch and continuous
// frames, prologue, duties, vent emissions).

#include <functional>
#include <vector>

#include "unitops/contract/emissions.hpp"
#include "unitops/models/reaction/reactor_dr.hpp"
#include "unitops/models/vessel/vessel_op.hpp"

namespace unitops {

class CTalPFR;
struct CommandMenuItem {
    unsigned id;
    std::string text;
};
//! How a profile command runs without dialogs.
struct ProfileCommand {
    CTalModelPP* page = nullptr;         //!< answers the question on results out of date, shows failures
    std::function<bool()> simulate;      //!< runs the flowsheet again; true when the run worked
    std::string path;                    //!< the file chosen to save into; empty: cancelled
    std::FILE* view = nullptr;           //!< where the table is shown
};
class CTalReaction;
class CTalReactionScheme;

class CTalRxnOp : public CTalThermalVesselOp {
    TAL_DECLARE_CLASS(CTalRxnOp)
public:
    //! What a balance returns when it has already ended the run abnormally: the frame stops.
    static constexpr int kBalanceEndedAbnormally = -1;
    //! A balance: from `in` to `out`, with the head space of the vessel (m3, all units, one cycle).
    using Balance = std::function<int(const CTalStateStream* in, CTalStateStream* out, double headspace)>;

    CTalRxnOp() : CTalThermalVesselOp(1) {}

    void Serialize(CArchive& ar) override;
    CTalEmissions* EmissionsData() override { return &m_EmissionsSpec; }
    void SetOwner(CTalProcedure* owner) override;
    void OnNotifyAfterDocOpening() override;
    void UpdateForNewCompDef(const ComponentList& oldComps) override;
    void UpdateCompInfoFromOldFlowsheet(const ComponentList& oldComps, const ComponentList& newComps) override;
    void ConvertToDisplayUnits() override;
    void ConvertToInternalUnits() override;
    int IsSimDataComplete(int group, CTalModelPP* page, bool flag, int askUser) override;
    int IsAdequatelyConnectedForSimulation(CWnd* wnd) override;
    bool IsInPortUsed(int port, int flag) const override;
    bool IsOutPortUsed(int port, int flag) const override;
    //! The balance works on flows averaged over the batch: so are its duties and agent rate.
    double DutyTimePerBatch() const override { return BatchReferenceTime(); }
    void CopyDataInto(CTalOperation* target, int flag) const override;
    void InitSimModelParams() override;
    void InitCostParams() override;
    int WriteIDR_Description(std::FILE* f) override;
    void GetCustomDescription(std::string& text) const override;
    bool DoesAfterStateAmtScaleWithInsAndOuts() const override { return !m_EmissionsSpec.PerformEmissionCalcs(); }
    //! The recorder of profiles; none at this level.
    virtual CTalReactorDR* GetDataRecorder() { return nullptr; }
    //! Stores one point of the profiles: x, the concentrations y[0..n), the duty and the temperature.
    virtual void RecordData(int i, double x, int n, double* y);
    //! For category 2 and an operation with a recorder: the three profile commands; true then.
    bool AppendToCommandMenu(std::vector<CommandMenuItem>& menu, int category);
    //! Runs a profile command; false for another id, or when the command did not run to its end.
    bool ExecuteCommand(unsigned id, const ProfileCommand& how);
    bool SaveRecordedDataInAsciiFile(const ProfileCommand& how);
    bool SaveRecordedDataInXlsFile(const ProfileCommand& how);
    bool ViewRecordedDataAsTable(const ProfileCommand& how);
    //! The names of the components, heading the recorded concentrations.
    std::vector<std::string> ComponentNames() const;

    int IsRxnPhaseLiquid() const { return m_IsRxnPhaseLiquid; }
    void SetIsRxnPhaseLiquid(int v) { m_IsRxnPhaseLiquid = v; }
    CTalEmissionsSpec& EmissionsSpec() { return m_EmissionsSpec; }
    //! The first output stream, in port order, that exists and is not the vent stream.
    CTalStream* ProductStream() const;
    //! The stream on the vent port of the emissions spec (the procedure's vent by default).
    CTalStream* SpecVentStream() const;

    CTalEmissionsSpec m_EmissionsSpec;
    int m_IsRxnPhaseLiquid = 1;
    //! Set by a balance before a numerical solver starts, read by its callbacks.
    const CTalStateStream* m_ReactionInState = nullptr;
    CTalStateStream* m_ReactionOutState = nullptr;
    //! Always present and never filled here; the recording forms own their own recorder.
    CTalReactorDR m_DefaultRecorder;

protected:
    //! The scheme that a form holding reactions forwards to (saving after the operation's own
    //! data, ownership, components, units, checks before the operation's, reports); none here.
    virtual CTalReactionScheme* Scheme() { return nullptr; }
    const CTalReactionScheme* Scheme() const { return const_cast<CTalRxnOp*>(this)->Scheme(); }
    //! The body of Solve of the batch vessel forms; `copyFirst` copies `in` to `out` before all.
    //! `emptyText` is the message of a vessel without liquid or solid (the reaction's by default);
    //! the vessel is empty when its liquid and solid volume flow times `emptyScale` is below 1e-15
    //! (the reactions scale it by 1e10, crystallization compares the flow itself).
    int BatchReactionFrame(CTalStateStream* in, CTalStateStream* out, int skipSizing, const Balance& balance,
                           bool copyFirst = true, const char* emptyText = nullptr, double emptyScale = 1e10);
    //! The body of Solve of the continuous vessel forms.
    int ContinuousReactionFrame(CTalStateStream* in, CTalStateStream* out, int skipSizing, const Balance& balance);
    //! Copies the result `out` to the product stream and gives `out` back the contents `in`.
    void SendToProduct(CTalStateStream* out);
    //! Pressure from the feed unless set; false (with a message) when emissions need a vent stream
    //! that is not there; the message names the port as the operation calls it.
    void ProloguePressure(const CTalStateStream* in, CTalStateStream* out);
    bool PrologueVentCheck(const char* portName = "Vent");
    //! Power from the specific power or the other way round; `guard` protects an empty vessel.
    void ProloguePower(bool guard);
    //! The opening of the balances that run a solver: `out` a copy of `in`, pressure, vent check,
    //! power, the user's duty, and the two states recorded for the solver's callbacks. Returns
    //! the vent check (true when `checkVent` is false: a balance without a vent step).
    bool SolverPrologue(const CTalStateStream* in, CTalStateStream* out, bool checkVent = true);
    //! The settings of a continuous vessel form: adiabatic, continuous.
    void InitContinuousForm();
    //! In duty-set mode, a non-zero ExternalDuty is the user's net duty: it sets the heating or
    //! the cooling duty that the balance reads.
    void TakeUserDuty();
    //! Duties of an isothermal run from the reference components' changes; `sumH` returns the heat.
    void IsothermalDutyBalance(const CTalStateStream* in, const CTalStateStream* out, double& sumH,
                               const std::vector<const CTalReaction*>& reactions);
    void FinishDuties();
    //! The agent's rate for the larger duty.
    void SetAgentRate();
    //! Vapour of `out` to the vent by the emission model; the emission state at `emissionPress`.
    void VentEmissionStep(CTalStateStream* out, double headspace, double emissionPress = 101325.0);
    //! Vessel volume, its units and the head space left by the working volume (all units).
    double Headspace() const;
    //! The opening of the profile commands: a recorder, and results that are up to date (or the
    //! user's choice to go on with them, or a new run).
    bool ProfileCommandOpening(const ProfileCommand& how);
    //! Writes the recorder's table in form 1 (ASCII) or 2 (tab-separated) into the chosen file.
    bool SaveRecordedData(const ProfileCommand& how, int form);

    // The plug-flow forms: a tubular reactor, rated against a shortest residence time or sized
    // for the residence time given.
    CTalPFR* PlugFlowReactor() const;
    //! Working volume, residence time and utilisation for the volume flow `Vdot` (m3/s), then the
    //! reactor's dimensions; false when the residence time falls short or the sizing fails (each
    //! with its message).
    bool PlugFlowRateOrSize(double Vdot, double minResidenceTime, int skipSizing);
    //! In rating mode, a shortest residence time that is not positive is refused.
    int CheckMinResidenceTime(int group, CTalModelPP* page, double minResidenceTime) const;
    void WriteMinResidenceTime(std::FILE* f, double minResidenceTime) const;
};

}  // namespace unitops
