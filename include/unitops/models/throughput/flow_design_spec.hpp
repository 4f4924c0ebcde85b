#pragma once
// A stream's mass flow held at a set point by the flow of a feed: the flow kind of the host's
// design specifications.

#include "unitops/contract/design_spec.hpp"
#include "unitops/roster/identity.hpp"

namespace unitops {

class CTalFlowDesignSpec : public CTalDesignSpec {
    TAL_DECLARE_CLASS(CTalFlowDesignSpec)
public:
    CTalFlowDesignSpec() = default;
    TAL_OPERATION_IDENTITY(0xAC00)

    //! The controlled variable is the flow of the controlled stream, the manipulated one the flow
    //! of the manipulated feed.
    void InitSimModelParams() override;
    int IsSimDataComplete(int group, CTalModelPP* page, bool flag, int askUser) override;
    void GetCustomDescription(std::string& text) const override;
};

}  // namespace unitops
