#pragma once
// Reactions at their rates along a tubular reactor: the molar flows integrated over the length,
// with the temperature when it is not fixed, and the profiles recorded along the length.

#include <vector>

#include "unitops/models/reaction/kinetic_rxn.hpp"

namespace unitops {

class CTalPFKinRxnOp : public CTalKinRxnOp {
    TAL_DECLARE_CLASS(CTalPFKinRxnOp)
public:
    CTalPFKinRxnOp() : m_Recorder(1) {}
    TAL_OPERATION_IDENTITY(0xA120)

    int IsEssential() const override { return 1; }
    int IsCyclical() const override { return 0; }
    //! Every port that holds a stream is used (the reactor's spare inlets may stay empty).
    bool IsInPortUsed(int port, int) const override { return InStream(port) != nullptr; }
    bool IsOutPortUsed(int port, int) const override { return OutStream(port) != nullptr; }
    void Serialize(CArchive& ar) override;
    void CopyDataInto(CTalOperation* target, int flag) const override;
    void InitSimModelParams() override;
    int IsSimDataComplete(int group, CTalModelPP* page, bool flag, int askUser) override;
    int Solve(CTalStateStream* before, CTalStateStream* after, int skipSizing) override;
    int WriteIDR_Description(std::FILE* f) override;
    CTalReactorDR* GetDataRecorder() override { return &m_Recorder; }
    //! The concentrations of the point made again from the molar flows y, the temperature, and
    //! the duty per metre.
    void RecordData(int i, double x, int n, double* y) override;

    //! Molar flows (and temperature) from the inlet to the outlet of the reactor.
    int PFKinBalance(const CTalStateStream* in, CTalStateStream* out);

    double m_MinResidenceTime = 900.0;  //!< s
    //! Working values of a balance: the inlet's total concentration (kmol/m3) and the
    //! concentrations (and temperature) of the point in hand.
    double m_InletTotalConc = 0.0;
    std::vector<double> m_ConcBuffer;
    CTalReactorDR m_Recorder;

private:
    //! dF/dz of the molar flows (kmol/(s m)) and, when not isothermal, dT/dz (K/m).
    void Rhs(const KineticCoefficients& k, double* y, double* f);
    //! Fills m_ConcBuffer from the molar flows y (negative ones cleared) and returns the
    //! temperature of the point, floored at 1e-15 K.
    double PointConcentrations(int comps, double* y);
    double ReactorLength() const;

    //! The scheme's coefficients while a balance integrates, for RecordData.
    const KineticCoefficients* m_Kinetics = nullptr;
};

}  // namespace unitops
