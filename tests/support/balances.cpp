#include "balances.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

namespace unitops::test {

namespace {

void ExpectSoundFlows(const CTalSModel& s, const std::string& what) {
    EXPECT_TRUE(s.IsFinite()) << what;
    for (int i = 0; i < s.NumberOfComponents(); ++i) {
        EXPECT_GE(s.ComponentFlow(i), 0.0) << what << ", component " << i;
    }
}

// Gas that the operations of a procedure take from a supply that is not a stream (pressurizing,
// sweeping, purging), as a flow on the batch basis of the streams: their consumption is a rate
// over each operation's process time.
double GasSupplied(const CTalProcedure& p) {
    double supplied = 0.0;
    const ComponentList* comps = p.GetOp(0) && p.GetOp(0)->Flowsheet() ? p.GetOp(0)->Flowsheet()->Comps() : nullptr;
    if (!comps) return 0.0;
    for (int i = 0; i < p.NumberOfOps(); ++i) {
        const CTalOperation& op = *p.GetOp(i);
        const double T = op.BatchReferenceTime();
        // Only what enters the contents counts (a cleaning agent washes the empty vessel).
        if (!(T > 0.0) || !op.CarriesInBatchMaterialIn()) continue;
        for (const CTalPureComponent* c : *comps) {
            supplied += op.BlendedNSIngredientConsumption(c->name, 0) * op.ProcessTime() * op.NumberOfCycles() / T;
        }
    }
    return supplied;
}

}  // namespace

void ExpectMassClosesPerProcedure(const CTalDocEss& doc, double relative) {
    for (const auto& p : doc.Procedures()) {
        // The states of a batch recipe are the vessel's contents, which come in and go on; a
        // continuous operation holds no inventory that crosses the balance (the air of its vessel
        // stays where it is, and its state after is empty).
        bool recipe = p->IsBatchMode();
        for (int i = 0; i < p->NumberOfOps(); ++i) recipe = recipe && p->GetOp(i)->IsCyclical();
        const double first = recipe ? p->GetState(0)->MassFlow() : 0.0;
        const double last = recipe ? p->GetState(p->NumberOfStates() - 1)->MassFlow() : 0.0;
        double in = first + (p->NumberOfOps() > 0 ? GasSupplied(*p) : 0.0), out = last;
        for (int port = 0; port < p->NumberOfInPorts(); ++port) {
            if (const CTalStream* s = p->InStream(port)) in += s->MassFlow();
        }
        for (int port = 0; port < p->NumberOfOutPorts(); ++port) {
            if (const CTalStream* s = p->OutStream(port)) {
                out += s->MassFlow();
                ExpectSoundFlows(*s, p->Name() + " output " + std::to_string(port));
            }
        }
        EXPECT_NEAR(out, in, relative * std::max(in, 1e-300)) << p->Name();
        for (int i = 0; i < p->NumberOfStates(); ++i) ExpectSoundFlows(*p->GetState(i), p->Name() + " state " + std::to_string(i));
    }
}

void ExpectSameResults(const nlohmann::json& expected, const nlohmann::json& actual, const std::string& path,
                       double tolerance) {
    if (expected.is_number() && actual.is_number()) {
        const double e = expected.get<double>(), a = actual.get<double>();
        EXPECT_LE(std::abs(a - e), tolerance * std::max(std::abs(a), std::abs(e))) << path << ": " << e << " then " << a;
        return;
    }
    ASSERT_EQ(expected.type(), actual.type()) << path;
    if (expected.is_object()) {
        ASSERT_EQ(expected.size(), actual.size()) << path;
        for (const auto& [key, value] : expected.items()) {
            ASSERT_TRUE(actual.contains(key)) << path << "." << key;
            ExpectSameResults(value, actual[key], path + "." + key, tolerance);
        }
    } else if (expected.is_array()) {
        ASSERT_EQ(expected.size(), actual.size()) << path;
        for (std::size_t i = 0; i < expected.size(); ++i) {
            ExpectSameResults(expected[i], actual[i], path + "[" + std::to_string(i) + "]", tolerance);
        }
    } else {
        EXPECT_EQ(expected, actual) << path;
    }
}

}  // namespace unitops::test
