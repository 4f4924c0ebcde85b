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
    if (!SolveThroughput(out->MassFlow(kPerSecond, false), EquipmentT(), skipSizing)) result = 0;
    return NormalSimEnding(result);
}

void CTalTwoStreamMixing::GetCustomDescription(std::string& text) const {
    text = "Mix flow of streams";
    AppendThroughputTail(*this, text, "kg/h");
}

}  // namespace unitops
