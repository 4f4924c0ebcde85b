// The host's rate law and start and end criteria against values computed by hand.
#include <gtest/gtest.h>

#include <cmath>

#include "support/test_flowsheet.hpp"
#include "unitops/contract/kinetic_reaction.hpp"
#include "unitops/models/reaction/kinetic_rxn.hpp"

namespace unitops {
namespace {

// Components A (100 kg/kmol), B, C; c = {2, 0.5, 3} kmol/m3.
class RateLawTest : public ::testing::Test {
protected:
    void SetUp() override {
        doc = test::MakeDoc({});
        for (const char* n : {"A", "B", "C"}) test::AddSimpleComponent(*doc, n, 100.0, 1000.0, 4000.0);
        proc = &test::AddProcedure(*doc, "P-1", 0xA010, false);
        auto made = CTalOperation::Create<CTalBatchKinRxnOp>(proc);
        op = made.get();
        proc->AddOperation(std::move(made));
    }
    std::unique_ptr<CTalDocEss> doc;
    CTalProcedure* proc = nullptr;
    CTalBatchKinRxnOp* op = nullptr;
    const double c[3] = {2.0, 0.5, 3.0};
};

// k = 1e5 exp(-4e7 / (8314 x 350)) = 1e5 x exp(-13.7464) = 0.10698; product 2^2 x 0.5^0.5 = 2.8284;
// denominator 0.5 + C_B + C_C / 2 = 0.5 + 0.5 + 1.5 = 2.5.
TEST_F(RateLawTest, ArrheniusPowerLawAndInhibition) {
    CTalKineticReaction& r = op->m_RxnScheme[0];
    r.SetExponentAlpha(0, 2.0);
    r.SetExponentAlpha(1, 0.5);
    r.SetRateConstSetByUser(0);
    r.SetFrequencyFactor(1e5);
    r.SetActivationEnergy(4e7);
    r.SetK1(0.5);
    r.SetMSpecies("B");
    r.SetK2(2.0);
    r.SetNSpecies("C");
    const double k = 1e5 * std::exp(-4e7 / (8314.0 * 350.0));
    EXPECT_NEAR(r.RateConstant(350.0), k, 1e-15);
    EXPECT_NEAR(r.Rate(c, 350.0), k * 4.0 * std::sqrt(0.5) / 2.5, 1e-14);
    r.SetRateConstSetByUser(1);
    r.SetRateConst(0.2);
    EXPECT_NEAR(r.Rate(c, 350.0), 0.2 * 4.0 * std::sqrt(0.5) / 2.5, 1e-14);
    const double negative[3] = {2.0, -0.1, 3.0};  // a fractional power of a trial negative value
    EXPECT_EQ(r.Rate(negative, 350.0), 0.0);
}

// Concentrations in g/L: C_A = 2 kmol/m3 x 100 kg/kmol = 200 g/L.
TEST_F(RateLawTest, CriteriaByTimeAndByConcentrationHoldNoMemory) {
    CTalKineticReaction& r = op->m_RxnScheme[0];
    EXPECT_EQ(r.IsStartEndCriteriaSatisfied(0.0, 100.0, c), 1);
    CTalRxnOnOffCriteria start, end;
    start.time = 10.0;
    end.IsTimeBased = 0;
    end.component = "A";
    end.IsLessThan = 1;
    end.concentration = 150.0;
    r.SetStartCriteria(start);
    r.SetEndCriteria(end);
    r.SetStartCriteriaSetByUser(1);
    r.SetEndCriteriaSetByUser(1);
    EXPECT_EQ(r.IsStartEndCriteriaSatisfied(5.0, 100.0, c), 0);
    EXPECT_EQ(r.IsStartEndCriteriaSatisfied(10.0, 100.0, c), 1);
    const double lean[3] = {1.4, 0.5, 3.0};  // 140 g/L: below the end value
    EXPECT_EQ(r.IsStartEndCriteriaSatisfied(50.0, 100.0, lean), 0);
    EXPECT_EQ(r.IsStartEndCriteriaSatisfied(50.0, 100.0, c), 1);  // no memory of the call before
    end.IsTimeBased = 1;
    end.time = 20.0;
    r.SetEndCriteria(end);
    EXPECT_EQ(r.IsStartEndCriteriaSatisfied(80.0, 100.0, c), 1);
    EXPECT_EQ(r.IsStartEndCriteriaSatisfied(80.5, 100.0, c), 0);
}

TEST_F(RateLawTest, EquilibriumConstantAndMassActionProduct) {
    CTalEquilReaction r(op, 1, "E");
    r.SetExponentAlpha(0, -1.0);
    r.SetExponentAlpha(2, 2.0);
    EXPECT_DOUBLE_EQ(r.EquilConstant(c), 9.0 / 2.0);
    r.SetKeqSetByUser(0);
    r.SetKeqA(1.0);
    r.SetKeqB(-300.0);
    EXPECT_DOUBLE_EQ(r.EquilConstant(300.0), 1.0);
}

}  // namespace
}  // namespace unitops
