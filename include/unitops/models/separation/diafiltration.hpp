#pragma once
// Diafiltration: a batch is washed through a membrane with a diluant (buffer) at constant volume,
// with an optional concentration before and after the wash. A component of rejection R keeps
//     1 / c1^((1 − R) n1)  ×  exp(−(1 − R) N)  ×  1 / c2^((1 − R) n2)
// of its mass, for the factors c1, c2 and stage numbers n1, n2 of the two concentrations and N
// volumes of diluant per volume of the (pre-concentrated) batch. The operation works out the
// diluant it needs and bids for it on its diluant stream, which back-propagation then delivers.

#include "unitops/models/separation/membrane_filtration.hpp"

namespace unitops {

class CTalDiafiltration : public CTalMembraneFiltration {
    TAL_DECLARE_CLASS(CTalDiafiltration)
public:
    CTalDiafiltration() = default;
    TAL_OPERATION_IDENTITY(0xA338)

    void Serialize(CArchive& ar) override;
    int IsEssential() const override { return 1; }
    bool IsInPortUsed(int port, int) const override { return port == 0; }
    bool IsOutPortUsed(int port, int flag) const override { return port == 1 && flag == 0; }
    bool InitiatesBPG() const override { return true; }
    void GetStreamsInitiatingBPG(std::vector<CTalStream*>& streams) const override;
    void InitSimModelParams() override;
    int IsSimDataComplete(int group, CTalModelPP* page, bool flag, int askUser) override;
    int Solve(CTalStateStream* before, CTalStateStream* after, int skipSizing) override;
    int WriteIDR_Description(std::FILE* f) override;
    void GetCustomDescription(std::string& text) const override;

    //! The share of a component of rejection R kept at the pre- and post-concentration factors c1, c2.
    double RetainedShare(double c1, double c2, double R) const;
    //! Volume of diluant (m3/s on the batch's flow basis) that the wash and the stages need for
    //! a batch of volume flow V0.
    double DiluantDemand(double V0) const;
    //! Whether the pre-concentration factor takes part: its stage is on, or the post-concentration
    //! stages add a dilution that is divided by it.
    bool UsesPreConcFactor() const;

    int m_HasPreConcentration = 0;
    int m_HasPostConcentration = 0;
    double m_PreConcFactor = 2.0;
    double m_PreStages = 1.0;
    double m_PostConcFactor = 2.0;
    double m_PostStages = 1.0;
    double m_VolumePermeated = 1.0;  //!< volumes of diluant per volume of batch

private:
    double SolventVolume(const CTalSModel& s) const { return FindSolvent(s).volume; }
    double ConcentrationStage(const CTalSModel& s, double factor, double CFmax, double V0, double& Vr, double& W,
                              bool before, int& ok);
};

}  // namespace unitops
