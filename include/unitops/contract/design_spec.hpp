#pragma once
// Design specifications: a quantity of the flowsheet (the controlled variable) held at a set point
// by adjusting another (the manipulated variable). The host converges them by a secant method
// around the recycle loops: each trial value of the manipulated variables is run to converged
// recycles before the next step.

#include <functional>
#include <string>
#include <vector>

#include "unitops/contract/operation.hpp"

namespace unitops {

class CTalStream;

class CTalDesignSpec : public CTalOperation {
    TAL_DECLARE_CLASS(CTalDesignSpec)
public:
    CTalDesignSpec() = default;

    void Serialize(CArchive& ar) override;
    bool IsDesignSpec() const override { return true; }
    bool IsInPortUsed(int, int) const override { return false; }
    bool IsOutPortUsed(int, int) const override { return false; }
    bool AffectsTPorCompOfContents() const override { return false; }
    bool DoesAfterStateAmtScaleWithInsAndOuts() const override { return false; }
    void InitSimModelParams() override;
    void PrepareForSimulation() override;
    int IsSimDataComplete(int group, CTalModelPP* page, bool flag, int askUser) override;
    //! Nothing to compute in a pass: the host's convergence moves the manipulated variable.
    int Solve(CTalStateStream* before, CTalStateStream* after, int skipSizing) override;
    int WriteIDR_Description(std::FILE* f) override;
    void StreamHasBeenRemoved(const CTalStream* s) override;

    // ---- The contract the host's convergence calls ----
    //! True when both manipulate the same variable (they would fight over it).
    virtual bool SameInputAs(const CTalDesignSpec& other) const;
    //! True when both control the same variable.
    virtual bool SameOutputAs(const CTalDesignSpec& other) const;
    //! Before the iterations: the streams are found; false (with `error`) when they cannot be.
    virtual bool PrepareForConvergence(std::string& error);
    //! After the iterations: the results of the last trial are kept for the reports.
    virtual void Cleanup();
    virtual void SetManipulatedVariableValue(double value);
    virtual double GetManipulatedVariableValue() const;
    virtual double GetControlledVariableValue() const;
    virtual double GetSetPoint() const { return m_SetPoint; }

    //! True when the design specification names a stream to control; the host converges only those.
    bool IsActive() const { return !m_ControlledStream.empty(); }
    CTalStream* ControlledStream() const;
    CTalStream* ManipulatedStream() const;
    //! True when `name` may be the manipulated stream: a feed of the flowsheet.
    bool IsFeed(const std::string& name) const;

    std::string m_ControlledStream;            //!< name of the stream whose variable is held
    std::string m_ManipulatedStream;           //!< name of the feed that is adjusted
    double m_SetPoint = 0.0;                   //!< kg/s for a flow
    int m_IsControlledVarStreamFlow = 0;       //!< 1: the controlled variable is the stream's mass flow
    int m_IsManipulatedVarStreamFlow = 0;      //!< 1: the manipulated variable is the feed's mass flow
    double m_MinManipulatedValue = 0.0;        //!< lower bound of the manipulated variable
    double m_MaxManipulatedValue = 0.0;        //!< upper bound; 0: none
    double m_Tolerance = 1e-6;                 //!< relative to the set point
    int m_MaxIterations = 30;                  //!< secant steps allowed
    // Results of the last run
    int m_Iterations = 0;                      //!< steps of the manipulated variable taken
    int m_IsConverged = 0;
    double m_ControlledValue = 0.0;            //!< the controlled variable at the end

private:
    void KeepFeedComposition();
    std::vector<double> m_FeedFractions;       //!< mass fractions of the manipulated feed, kept apart from its flow
};

//! The secant iteration of the design specifications. `evaluate` runs the flowsheet once (the
//! recycle loops converged) and answers false when that run failed. Every design specification takes a
//! step per run: the first in proportion (the controlled flow taken as proportional to the
//! manipulated one), the next along the secant of its last two runs, each kept within its bounds.
//! Errors name each design specification that cannot meet its set point.
class DesignSpecConvergence {
public:
    explicit DesignSpecConvergence(std::vector<CTalDesignSpec*> specs) : specs_(std::move(specs)) {}
    //! False (with `errors`) when a design specification could not be prepared, the run failed, or a set
    //! point was not met; the flowsheet then holds the last run.
    bool Run(const std::function<bool()>& evaluate, std::vector<std::string>& errors);

private:
    struct Trial {
        double x = 0.0, r = 0.0;  //!< manipulated value and the residual (controlled - set point)
    };
    struct State {
        CTalDesignSpec* spec = nullptr;
        std::vector<Trial> trials;
        bool done = false;
        bool stuck = false;  //!< at a bound with the step pointing beyond it
        int steps = 0;       //!< steps taken in this sweep (the run's count is the design specification's)
    };
    //! The next value of the manipulated variable, within its bounds.
    static double NextValue(State& s);
    static std::string Failure(const State& s, const char* why);

    std::vector<CTalDesignSpec*> specs_;
};

}  // namespace unitops
