#include "unitops/contract/design_spec.hpp"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "unitops/contract/flowsheet.hpp"
#include "unitops/contract/procedure.hpp"

namespace unitops {

namespace {
constexpr double kDesignSpecSince = 6.6;  // design specifications first appear in files of this version

std::string KgPerHour(double kgPerSecond) {
    char buffer[64];
    std::snprintf(buffer, sizeof buffer, "%.6g kg/h", kgPerSecond * 3600.0);
    return buffer;
}
}  // namespace

const MemberTable& CTalDesignSpec::Members() {
    using namespace members;
    using C = CTalDesignSpec;
    // A stream named in a flowsheet file must exist when the name is read; a saved file's
    // design specification is read before the flowsheet is known, and takes the name as it stands.
    const auto streamName = [](std::string C::*m, bool feedOnly) {
        return Computed(feedOnly ? "ManipulatedStream" : "ControlledStream", MemberType::Text, Quantity::None, display::kNone,
                        [m](const CObject& o) -> MemberValue { return static_cast<const C&>(o).*m; },
                        [m, feedOnly](CObject& o, const MemberValue& v) {
                            auto& spec = static_cast<C&>(o);
                            const std::string& name = std::get<std::string>(v);
                            const CTalDocEss* doc = spec.Flowsheet();
                            const bool known = !doc || name.empty() || (feedOnly ? spec.IsFeed(name) : doc->FindStream(name) != nullptr);
                            if (known) spec.*m = name;
                        });
    };
    static const MemberTable table(CTalOperation::Members(), {
        [&] {
            MemberRow r = streamName(&C::m_ControlledStream, false);
            r.persist = Persist::Text;
            r.absent = std::string();
            return std::move(r).Since(kDesignSpecSince, std::string());
        }(),
        [&] {
            MemberRow r = streamName(&C::m_ManipulatedStream, true);
            r.persist = Persist::Text;
            r.absent = std::string();
            return std::move(r).Since(kDesignSpecSince, std::string());
        }(),
        Real("SetPoint", &C::m_SetPoint, Quantity::MassFlow, display::kKgPerHour).Since(kDesignSpecSince, 0.0),
        Word("IsControlledVarStreamFlow", &C::m_IsControlledVarStreamFlow).Since(kDesignSpecSince, 0).Choices(0, 1),
        Word("IsManipulatedVarStreamFlow", &C::m_IsManipulatedVarStreamFlow).Since(kDesignSpecSince, 0).Choices(0, 1),
        Real("MinManipulatedValue", &C::m_MinManipulatedValue, Quantity::MassFlow, display::kKgPerHour).Since(kDesignSpecSince, 0.0),
        Real("MaxManipulatedValue", &C::m_MaxManipulatedValue, Quantity::MassFlow, display::kKgPerHour).Since(kDesignSpecSince, 0.0),
        Real("Tolerance", &C::m_Tolerance, Quantity::Dimensionless).Since(kDesignSpecSince, 1e-6),
        Int("MaxIterations", &C::m_MaxIterations).Since(kDesignSpecSince, 30),
        Int("Iterations", &C::m_Iterations).Since(kDesignSpecSince, 0).Result(),
        Int("IsConverged", &C::m_IsConverged).Since(kDesignSpecSince, 0).Result(),
        Real("ControlledValue", &C::m_ControlledValue, Quantity::MassFlow, display::kKgPerHour).Since(kDesignSpecSince, 0.0).Result(),
    });
    return table;
}

TAL_IMPLEMENT_CLASS(CTalDesignSpec, CTalOperation)

void CTalDesignSpec::Serialize(CArchive& ar) {
    CTalOperation::Serialize(ar);
    SerializeOwnMembers(ar, Members());
}

void CTalDesignSpec::InitSimModelParams() {
    CTalOperation::InitSimModelParams();
    m_SetPoint = 0.0;
    m_MinManipulatedValue = 0.0;
    m_MaxManipulatedValue = 0.0;
    m_Tolerance = 1e-6;
    m_MaxIterations = 30;
    m_Iterations = 0;
    m_IsConverged = 0;
}

CTalStream* CTalDesignSpec::ControlledStream() const {
    const CTalDocEss* doc = Flowsheet();
    return doc && !m_ControlledStream.empty() ? doc->FindStream(m_ControlledStream) : nullptr;
}

CTalStream* CTalDesignSpec::ManipulatedStream() const {
    const CTalDocEss* doc = Flowsheet();
    return doc && IsFeed(m_ManipulatedStream) ? doc->FindStream(m_ManipulatedStream) : nullptr;
}

bool CTalDesignSpec::IsFeed(const std::string& name) const {
    const CTalDocEss* doc = Flowsheet();
    const CTalStream* s = doc ? doc->FindStream(name) : nullptr;
    return s && dynamic_cast<const CTalInputStream*>(s) && s->Destination();
}

void CTalDesignSpec::StreamHasBeenRemoved(const CTalStream* s) {
    if (!s) return;
    if (s->Name() == m_ControlledStream) m_ControlledStream.clear();
    if (s->Name() == m_ManipulatedStream) m_ManipulatedStream.clear();
}

int CTalDesignSpec::IsSimDataComplete(int group, CTalModelPP* page, bool flag, int askUser) {
    return WithInternalUnits(*this, [&] {
        // A design specification without a stream to control is idle: the host leaves it out.
        if (InGroup(group, 2) && IsActive()) {
            if (m_ManipulatedStream.empty()) return ReportMessage(page, 0x601, "No manipulated stream has been specified.", 0, kStopBox);
            if (!ManipulatedStream()) {
                return ReportMessage(page, 0x601, "The manipulated stream '" + m_ManipulatedStream + "' is not a feed of the flowsheet.", 0,
                                     kStopBox);
            }
            if (!ControlledStream()) {
                return ReportMessage(page, 0x601, "The controlled stream '" + m_ControlledStream + "' is not a stream of the flowsheet.", 0,
                                     kStopBox);
            }
            if (ManipulatedStream()->MassFlow() <= 1e-15) {
                return ReportMessage(page, 0x601,
                                     "The manipulated stream '" + m_ManipulatedStream +
                                         "' carries no flow: its flow is adjusted in proportion, keeping its composition.",
                                     0, kStopBox);
            }
            if (m_MinManipulatedValue < 0.0) return ReportRange(page, 0x601, "Lower bound of the manipulated flow", 0x641);
            if (m_MaxManipulatedValue != 0.0 && m_MaxManipulatedValue <= m_MinManipulatedValue) {
                return ReportMessage(page, 0x601, "The upper bound of the manipulated flow must lie above its lower bound.", 0, kStopBox);
            }
            if (!(m_Tolerance > 0.0 && m_Tolerance < 1.0)) return ReportRange(page, 0x601, "Tolerance", 0x640);
            if (m_MaxIterations < 1) return ReportRange(page, 0x601, "Maximum number of iterations", 0x640);
        }
        return CTalOperation::IsSimDataComplete(group, page, flag, askUser);
    });
}

int CTalDesignSpec::Solve(CTalStateStream* before, CTalStateStream* after, int) {
    if (before && after) before->CopyDataInto(*after, 1);
    return NormalSimEnding(1);
}

int CTalDesignSpec::WriteIDR_Description(std::FILE* f) {
    CTalOperation::WriteIDR_Description(f);
    const double scale = IsInInternalUnits() ? 3600.0 : 1.0;
    std::fprintf(f, "Controlled stream              = %s\n", m_ControlledStream.c_str());
    std::fprintf(f, "Manipulated stream             = %s\n", m_ManipulatedStream.c_str());
    std::fprintf(f, "Set point (kg/h)               = %-15.4lf\n", m_SetPoint * scale);
    std::fprintf(f, "Controlled flow (kg/h)         = %-15.4lf\n", m_ControlledValue * scale);
    std::fprintf(f, "Secant steps                   = %d%s\n", m_Iterations, m_IsConverged ? "" : " (NOT CONVERGED)");
    return 1;
}

// ---------------------------------------------------------------- the contract

bool CTalDesignSpec::SameInputAs(const CTalDesignSpec& other) const {
    return m_IsManipulatedVarStreamFlow == other.m_IsManipulatedVarStreamFlow && m_ManipulatedStream == other.m_ManipulatedStream;
}

bool CTalDesignSpec::SameOutputAs(const CTalDesignSpec& other) const {
    return m_IsControlledVarStreamFlow == other.m_IsControlledVarStreamFlow && m_ControlledStream == other.m_ControlledStream;
}

bool CTalDesignSpec::PrepareForConvergence(std::string& error) {
    m_IsConverged = 0;
    m_FeedFractions.clear();
    if (!m_IsControlledVarStreamFlow || !m_IsManipulatedVarStreamFlow) {
        error = "controls no variable that the host can adjust";
    } else if (!ManipulatedStream()) {
        error = "has no feed to manipulate";
    } else if (!ControlledStream()) {
        error = "has no stream to control";
    }
    if (error.empty()) KeepFeedComposition();
    return error.empty();
}

// The composition is kept apart from the flow so that a feed a step has brought to zero can be
// raised again with the same composition.
void CTalDesignSpec::KeepFeedComposition() {
    const CTalStream* s = ManipulatedStream();
    const double total = s->MassFlow();
    if (total <= 1e-300) return;
    m_FeedFractions.resize(static_cast<std::size_t>(s->NumberOfComponents()));
    for (int i = 0; i < s->NumberOfComponents(); ++i) m_FeedFractions[static_cast<std::size_t>(i)] = s->ComponentFlow(i) / total;
}

// The report counts the steps of the whole run, over every sweep of the flowsheet.
void CTalDesignSpec::PrepareForSimulation() {
    CTalOperation::PrepareForSimulation();
    m_Iterations = 0;
}

void CTalDesignSpec::Cleanup() { m_ControlledValue = GetControlledVariableValue(); }

// The feed keeps its composition: every component flow scales with the total.
void CTalDesignSpec::SetManipulatedVariableValue(double value) {
    CTalStream* s = ManipulatedStream();
    if (!s) return;
    if (m_FeedFractions.size() != static_cast<std::size_t>(s->NumberOfComponents())) KeepFeedComposition();
    if (m_FeedFractions.size() != static_cast<std::size_t>(s->NumberOfComponents())) return;  // no flow ever seen: no composition
    const double flow = std::max(value, 0.0);
    for (int i = 0; i < s->NumberOfComponents(); ++i) s->SetComponentFlow(i, m_FeedFractions[static_cast<std::size_t>(i)] * flow);
}

double CTalDesignSpec::GetManipulatedVariableValue() const {
    const CTalStream* s = ManipulatedStream();
    return s ? s->MassFlow() : 0.0;
}

double CTalDesignSpec::GetControlledVariableValue() const {
    const CTalStream* s = ControlledStream();
    return s ? s->MassFlow() : 0.0;
}

// ---------------------------------------------------------------- convergence

double DesignSpecConvergence::NextValue(State& s) {
    const CTalDesignSpec& spec = *s.spec;
    const Trial& last = s.trials.back();
    const double target = spec.GetSetPoint();
    double next = 0.0;
    const double controlled = last.r + target;
    if (s.trials.size() >= 2 && std::abs(last.x - s.trials[s.trials.size() - 2].x) > 0.0 &&
        std::abs(last.r - s.trials[s.trials.size() - 2].r) > 0.0) {
        const Trial& prev = s.trials[s.trials.size() - 2];
        const double slope = (last.r - prev.r) / (last.x - prev.x);
        next = last.x - last.r / slope;
    } else if (controlled > 1e-300) {
        next = last.x * target / controlled;  // the controlled flow taken as proportional to the feed
    } else {
        next = std::max(2.0 * last.x, 1e-6);  // nothing arrives yet: more feed
    }
    const double lo = spec.m_MinManipulatedValue;
    const double hi = spec.m_MaxManipulatedValue > 0.0 ? spec.m_MaxManipulatedValue : HUGE_VAL;
    if (!std::isfinite(next)) next = last.x;
    const double bounded = std::clamp(next, lo, hi);
    s.stuck = bounded != next && bounded == last.x;
    return bounded;
}

std::string DesignSpecConvergence::Failure(const State& s, const char* why) {
    const CTalDesignSpec& spec = *s.spec;
    std::string where = spec.Name();
    if (spec.Owner()) where += " in " + spec.Owner()->Name();
    return "the design specification " + where + " cannot bring the flow of stream " + spec.m_ControlledStream +
           " to its set point of " + KgPerHour(spec.GetSetPoint()) + " by the flow of " + spec.m_ManipulatedStream + ": " + why +
           "; the flow is " + KgPerHour(spec.GetControlledVariableValue()) + " with " + spec.m_ManipulatedStream + " at " +
           KgPerHour(spec.GetManipulatedVariableValue()) + ", the results of that run";
}

bool DesignSpecConvergence::Run(const std::function<bool()>& evaluate, std::vector<std::string>& errors) {
    std::vector<State> states;
    for (CTalDesignSpec* spec : specs_) {
        std::string error;
        if (!spec->PrepareForConvergence(error)) {
            errors.push_back("the design specification " + spec->Name() + " " + error);
            continue;
        }
        for (const State& other : states) {
            if (other.spec->SameInputAs(*spec)) {
                errors.push_back("the design specifications " + other.spec->Name() + " and " + spec->Name() + " adjust the same feed " +
                                 spec->m_ManipulatedStream);
            }
        }
        states.push_back(State{spec, {}, false, false});
    }
    if (!errors.empty()) return false;
    // Each run is followed by a step of every design specification that has not met its set point and
    // can still move; the iteration ends when all are met or none can move.
    for (;;) {
        if (!evaluate()) return false;
        bool all = true;
        for (State& s : states) {
            const CTalDesignSpec& spec = *s.spec;
            const double r = spec.GetControlledVariableValue() - spec.GetSetPoint();
            s.trials.push_back(Trial{spec.GetManipulatedVariableValue(), r});
            s.done = std::abs(r) <= spec.m_Tolerance * spec.GetSetPoint();
            all = all && s.done;
        }
        bool stepped = false;
        for (State& s : states) {
            if (all || s.done || s.steps >= s.spec->m_MaxIterations) continue;
            const double next = NextValue(s);
            if (s.stuck) continue;
            s.spec->SetManipulatedVariableValue(next);
            ++s.steps;
            ++s.spec->m_Iterations;
            stepped = true;
        }
        if (all || !stepped) break;
    }
    bool met = true;
    for (State& s : states) {
        s.spec->m_IsConverged = s.done ? 1 : 0;
        s.spec->Cleanup();
        if (s.done) continue;
        met = false;
        errors.push_back(Failure(s, s.stuck ? "the manipulated flow is at its bound" : "the secant steps allowed did not meet it"));
    }
    return met;
}

}  // namespace unitops
