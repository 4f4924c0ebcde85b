#pragma once
// Decanting: a feed splits into a light and a heavy liquid phase in a horizontal tank. Each
// component goes to the light phase by its share; the tank is sized so that a droplet of the
// dispersed phase settles through the continuous phase (Stokes' law) while the continuous phase
// crosses the interface.

#include <vector>

#include "unitops/models/vessel/vessel_op.hpp"
#include "unitops/roster/identity.hpp"

namespace unitops {

class CTalDecantingTank;

class CTalDecanting : public CTalVesselOp {
    TAL_DECLARE_CLASS(CTalDecanting)
public:
    static constexpr double kGravity = 9.81;      //!< m/s2
    static constexpr double kPi = 3.1415926;

    CTalDecanting() = default;
    TAL_OPERATION_IDENTITY(0xA700)

    void Serialize(CArchive& ar) override;
    int IsCyclical() const override { return 0; }
    //! The feed port and every port that holds a stream; the light and heavy outlets.
    bool IsInPortUsed(int port, int) const override { return port == 0 || InStream(port) != nullptr; }
    bool IsOutPortUsed(int port, int) const override { return port == 0 || port == 1; }
    void UpdateForNewCompDef(const ComponentList& oldComps) override;
    void UpdateCompInfoFromOldFlowsheet(const ComponentList& oldComps, const ComponentList& newComps) override;
    void InitSimModelParams() override;
    void InitCostParams() override;
    int IsSimDataComplete(int group, CTalModelPP* page, bool flag, int askUser) override;
    int Solve(CTalStateStream* before, CTalStateStream* after, int skipSizing) override;
    int WriteIDR_Description(std::FILE* f) override;
    void GetCustomDescription(std::string& text) const override;

    CTalDecantingTank* TankT() const;
    //! theta = (Ql / Qh) ((rhoL / rhoH) (muH / muL))^0.3; at 1 or above the light phase is continuous.
    double DispersionIndex(double Ql, double Qh, double rhoL, double rhoH) const;
    //! Stokes velocity of a droplet of the dispersed phase through a continuous phase of viscosity mu.
    double SettlingVelocity(double rhoL, double rhoH, double mu) const;

    std::vector<double> m_LightPhaseShare;  //!< fraction of each component in the light phase
    double m_DropletDiameter = 0.00015;     //!< m
    double m_InterfaceWidthToDiameter = 0.8;
    double m_LightPhaseViscosity = 0.002;   //!< Pa s
    double m_HeavyPhaseViscosity = 0.001;   //!< Pa s
    // Results of the last run (not kept in files).
    double m_DispersionIndex = 0.0;
    double m_SettlingVelocity = 0.0;        //!< m/s
    double m_RequiredVolume = 0.0;          //!< m3, all units together
    double m_DecanterDiameter = 0.0;        //!< m, from the settling
    double m_DecanterLength = 0.0;          //!< m

private:
    //! Sizes or checks the tank for the continuous phase flow Q (m3/s); false when it is too small.
    bool SizeForSettling(double Q, double mu, double rhoL, double rhoH, int skipSizing);
};

}  // namespace unitops
