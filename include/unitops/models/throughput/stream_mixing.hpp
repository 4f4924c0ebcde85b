#pragma once
// Mixing of 2 to 9 streams into one. The number of inputs is that of the procedure's icon;
// the classes differ only in their identity.

#include "unitops/models/throughput/throughput_equipment.hpp"
#include "unitops/models/throughput/throughput_op.hpp"
#include "unitops/roster/identity.hpp"

namespace unitops {

class CTalTwoStreamMixing : public CTalThroughputOp {
    TAL_DECLARE_CLASS(CTalTwoStreamMixing)
public:
    CTalTwoStreamMixing() = default;
    TAL_OPERATION_IDENTITY(0xA822)

    int IsAdequatelyConnectedForSimulation(CWnd* wnd) override;
    bool IsInPortUsed(int port, int) const override { return InStream(port) != nullptr; }
    bool IsOutPortUsed(int, int) const override { return true; }
    void InitSimModelParams() override;
    int Solve(CTalStateStream* before, CTalStateStream* after, int skipSizing) override;
    void GetCustomDescription(std::string& text) const override;
};

#define TAL_MIXER_CLASS(name, id)                \
    class name : public CTalTwoStreamMixing {    \
        TAL_DECLARE_CLASS(name)                  \
    public:                                      \
        name() = default;                        \
        TAL_OPERATION_IDENTITY(id)               \
    };

TAL_MIXER_CLASS(CTalThreeStreamMixing, 0xA823)
TAL_MIXER_CLASS(CTalFourStreamMixing, 0xA824)
TAL_MIXER_CLASS(CTalFiveStreamMixing, 0xA825)
TAL_MIXER_CLASS(CTalSixStreamMixing, 0xA826)
TAL_MIXER_CLASS(CTalSevenStreamMixing, 0xA827)
TAL_MIXER_CLASS(CTalEightStreamMixing, 0xA828)
TAL_MIXER_CLASS(CTalNineStreamMixing, 0xA829)

#undef TAL_MIXER_CLASS

}  // namespace unitops
