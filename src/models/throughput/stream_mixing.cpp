#include "unitops/models/throughput/stream_mixing.hpp"

#include <algorithm>
#include <array>
#include <memory>

#include "unitops/models/throughput/throughput_equipment.hpp"

namespace unitops {

TAL_IMPLEMENT_CLASS_NO_MEMBERS(CTalTwoStreamMixing, CTalThroughputOp)
TAL_IMPLEMENT_CLASS_NO_MEMBERS(CTalThreeStreamMixing, CTalTwoStreamMixing)
TAL_IMPLEMENT_CLASS_NO_MEMBERS(CTalFourStreamMixing, CTalTwoStreamMixing)
TAL_IMPLEMENT_CLASS_NO_MEMBERS(CTalFiveStreamMixing, CTalTwoStreamMixing)
TAL_IMPLEMENT_CLASS_NO_MEMBERS(CTalSixStreamMixing, CTalTwoStreamMixing)
TAL_IMPLEMENT_CLASS_NO_MEMBERS(CTalSevenStreamMixing, CTalTwoStreamMixing)
TAL_IMPLEMENT_CLASS_NO_MEMBERS(CTalEightStreamMixing, CTalTwoStreamMixing)
TAL_IMPLEMENT_CLASS_NO_MEMBERS(CTalNineStreamMixing, CTalTwoStreamMixing)

namespace {
constexpr int kMaxMixerInputs = 16;
constexpr unsigned kMsgTwoInputsNeeded = 14340;   // Error 100-08000
constexpr unsigned kMsgNoOutputStream = 14341;    // Error 100-08001
constexpr unsigned kHostThroughputAboveRated = 0x5C;
}  // namespace

void CTalTwoStreamMixing::InitSimModelParams() {
    CTalThroughputOp::InitSimModelParams();
    m_CanCalculateDuration = 1;
}

int CTalTwoStreamMixing::IsAdequatelyConnectedForSimulation(CWnd* wnd) {
    if (NumberOfInPortsUsed() < 2) {
        if (wnd) ShowSimMsg(kMsgTwoInputsNeeded, 0);
        return 0;
    }
    return CTalThroughputOp::IsAdequatelyConnectedForSimulation(wnd);
}

int CTalTwoStreamMixing::Solve(CTalStateStream*, CTalStateStream* after, int skipSizing) {
    after->Zero(false, true);
    int result = 1;
    // Without an outlet the mix is formed aside: throughput, power and utilisation are still those
    // of what arrives, and the message says that it goes nowhere.
    std::unique_ptr<CTalStream> aside;
    CTalStream* out = OutStream(0);
    if (!out) {
        SetSimMsg(kMsgNoOutputStream, 0);
        result = 0;
        aside = std::make_unique<CTalStream>(after->Comps(), std::string());
        out = aside.get();
    }

    std::array<const CTalSModel*, kMaxMixerInputs> inputs{};
    int n = 0;
    for (int port = 0; port < NumberOfInStreams() && n < kMaxMixerInputs; ++port) {
        if (const CTalStream* s = InStream(port)) inputs[static_cast<std::size_t>(n++)] = s;
    }
    if (n == 1) {
        inputs[0]->CopyDataInto(*out, 1);
    } else if (n > 1) {
        out->MixN(inputs.data(), n);
    }
    CTalThroughputEquipment* e = EquipmentT();
    if (!(IsDesignMode() ? SolveDesign(*out, e, skipSizing) : SolveRating(*out, e))) result = 0;
    CalcPowerAndUtilization(e);
    return NormalSimEnding(result);
}

int CTalTwoStreamMixing::SolveRating(const CTalStream& out, const CTalThroughputEquipment* e) {
    const int units = e ? std::max(e->NumberOfUnits(), 1) : 1;
    const double rated = e ? e->RatedThroughput() : 0.0;
    if (!IsBatchMode()) {
        m_Throughput = out.MassFlow(kPerSecond, false) / UtilFactor() / units;
        if (rated < m_Throughput) {
            SetSimMsg(kHostThroughputAboveRated, 0);
            return 0;
        }
        return 1;
    }
    const double T = IsFlowsheetInBatchMode() ? PlantBatchTime() : CycleTime();
    const double amount = out.MassFlow(kPerSecond, false) * T / NumberOfCycles() / units;
    if (m_ProcessTimeMode == 1) {
        m_Throughput = m_ProcessTime > 1e-15 ? amount / m_ProcessTime : 0.0;
        if (rated < m_Throughput) {
            SetSimMsg(
                "The calculated operating throughput is greater than the specified (rated) throughput.\n"
                "Please do one or more of the following: 1) Increase the process time; 2) Increase the\n"
                "number of units that operate in parallel; 3) Use a larger unit that has a higher throughput.",
                kHostThroughputAboveRated);
            return 0;
        }
        return 1;
    }
    m_ProcessTime = m_Throughput > 0.0 ? std::max(amount / m_Throughput, 1e-15) : 1e-15;
    return 1;
}

int CTalTwoStreamMixing::SolveDesign(const CTalStream& out, CTalThroughputEquipment* e, int skipSizing) {
    int result = 1;
    m_Throughput = out.MassFlow(kPerSecond, false) / UtilFactor();
    if (!e) return result;
    if (!skipSizing) {
        unsigned message = 0;
        if (!e->CalcSize(m_Throughput, message)) {
            SetSimMsg(message, 0);
            result = 0;
        }
    }
    m_Throughput /= std::max(e->NumberOfUnits(), 1);
    return result;
}

void CTalTwoStreamMixing::CalcPowerAndUtilization(const CTalThroughputEquipment* e) {
    const int units = e ? std::max(e->NumberOfUnits(), 1) : 1;
    if (m_PowerMode != 1 || m_Throughput <= 1e-15) {
        m_Power = m_SpecPower * m_Throughput * units;
    } else {
        m_SpecPower = m_Power / (units * m_Throughput);
    }
    const double rated = e ? e->RatedThroughput() : 0.0;
    m_CapacityUtilF = rated <= 1e-15 ? 1.0 : std::min(m_Throughput / rated, 1.0);
}

void CTalTwoStreamMixing::GetCustomDescription(std::string& text) const {
    text = "Mix flow of streams";
    AppendThroughputTail(*this, text, "kg/h");
}

}  // namespace unitops
