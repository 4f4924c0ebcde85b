#pragma once
// Pure components and heat-transfer agents: the property database that the streams and
// the models read.

#include <array>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace unitops {

//! Heat capacity correlation in J/(kg K): c0 + c1 T + c2 T^2 + c3 T^3 + c4 / T^2, T in K.
struct CpCorrelation {
    std::array<double, 5> c{};

    double At(double T) const { return c[0] + T * (c[1] + T * (c[2] + T * c[3])) + c[4] / (T * T); }
    //! Integral of Cp from T1 to T2, J/kg.
    double Integral(double T1, double T2) const { return Antiderivative(T2) - Antiderivative(T1); }
    double Antiderivative(double T) const {
        return T * (c[0] + T * (c[1] / 2 + T * (c[2] / 3 + T * c[3] / 4))) - c[4] / T;
    }
};

enum class NormalPhase { Gas, Liquid, Solid };

//! One component of the flowsheet with its physical data, all in SI per unit mass.
class CTalPureComponent {
public:
    static constexpr double kReferenceTemp = 298.15;  //!< K, zero of sensible enthalpy

    // Identity
    std::string name;          //!< name in the flowsheet (its local name)
    std::string databaseName;  //!< entry of the database it was made from ("" if defined in the file)
    std::string formula;
    std::string cas;
    NormalPhase phase = NormalPhase::Liquid;

    // Data (absent values are 0 and the flags below tell which correlations exist)
    double molecularWeight = 0.0;      //!< kg/kmol
    double liqSolDensity = 0.0;        //!< kg/m3, pure liquid or solid
    CpCorrelation cpLiquid;            //!< liquid or solid
    CpCorrelation cpIdealGas;
    double normalBoilingPoint = 0.0;   //!< K
    double criticalTemperature = 0.0;  //!< K
    double criticalPressure = 0.0;     //!< Pa
    double heatOfVaporization = 0.0;   //!< J/kg at the normal boiling point
    std::array<double, 5> antoine{};   //!< ln(P/Pa) = A - B / (T + C), valid from [3] to [4] K
    bool hasVaporPressure = false;
    double henryConstant = 0.0;        //!< y/x at 25 degC and 1 atm
    double diffusivityInAir = 0.0;     //!< m2/s
    double diffusivityInWater = 0.0;   //!< m2/s
    double particleSize = 0.0;         //!< m
    bool isBiomass = false;
    //! A liquid that carries the others (water, an organic solvent): the default solvent of the
    //! separations that ask which components pass with the liquid.
    bool isSolvent = false;

    const std::string& Name() const { return name; }
    double MolecularWeight() const { return molecularWeight; }
    //! Density of the pure liquid or solid; the condensed phases are taken as incompressible.
    double Density(double /*T*/ = kReferenceTemp, double /*P*/ = 101325.0) const { return liqSolDensity; }
    double LiqSolDensity() const { return liqSolDensity; }
    double LiquidCp(double T) const { return cpLiquid.At(T); }
    double GasCp(double T) const { return cpIdealGas.At(T); }
    //! Sensible heat from the reference temperature, J/kg, of the liquid and of the ideal gas.
    double LiquidEnthalpy(double T) const { return liquid_.Enthalpy(T, 1.0 / T); }
    double GasEnthalpy(double T) const { return gas_.Enthalpy(T, 1.0 / T); }
    //! Enthalpy (J/kg) and heat capacity (J/(kg K)) at T in one go, given 1/T: the inner loop of mixing.
    void LiquidHeat(double T, double invT, double& h, double& cp) const { liquid_.Heat(T, invT, h, cp); }
    void GasHeat(double T, double invT, double& h, double& cp) const { gas_.Heat(T, invT, h, cp); }
    //! Vapour pressure in Pa; 0 for a component without vapour-pressure data.
    double VaporPressure(double T) const;
    double HenryConstant() const { return henryConstant; }
    double DiffusivityInAir() const { return diffusivityInAir; }
    double DiffusivityInWater() const { return diffusivityInWater; }
    double ParticleSize() const { return particleSize; }
    bool IsBiomass() const { return isBiomass; }
    bool IsSolvent() const { return isSolvent; }
    bool IsVolatileAt(double T, double P) const;

    //! Must be called after the data are set: caches the enthalpy offsets.
    void Finish();

private:
    // A correlation prepared for fast evaluation: the antiderivative's coefficients and its
    // value at the reference temperature.
    struct PreparedCp {
        CpCorrelation cp;
        std::array<double, 4> integral{};  // c0, c1/2, c2/3, c3/4
        double atReference = 0.0;
        void Prepare(const CpCorrelation& c);
        double Enthalpy(double T, double invT) const {
            return T * (integral[0] + T * (integral[1] + T * (integral[2] + T * integral[3]))) - cp.c[4] * invT -
                   atReference;
        }
        void Heat(double T, double invT, double& h, double& c) const {
            h = Enthalpy(T, invT);
            c = cp.c[0] + T * (cp.c[1] + T * (cp.c[2] + T * cp.c[3])) + cp.c[4] * invT * invT;
        }
    };
    PreparedCp liquid_;
    PreparedCp gas_;
};

//! The component list of a flowsheet, in order; streams hold one flow per entry.
using ComponentList = std::vector<const CTalPureComponent*>;

//! Position of the component named `name` in `comps`; -1 if absent.
int FindComponentByName(const ComponentList& comps, std::string_view name);

//! An array per component of `from` re-ordered for `to`, entry by component name; components
//! of `to` that `from` lacks take `fill`. Entries past the end of `values` count as absent.
template <class V>
std::vector<V> MapByComponentName(const ComponentList& from, const ComponentList& to, const std::vector<V>& values,
                                  const V& fill) {
    std::vector<V> mapped(to.size(), fill);
    for (std::size_t i = 0; i < to.size(); ++i) {
        const int j = FindComponentByName(from, to[i]->name);
        if (j >= 0 && static_cast<std::size_t>(j) < values.size()) mapped[i] = values[static_cast<std::size_t>(j)];
    }
    return mapped;
}

//! A named mixture of components that feeds and operations refer to as one ingredient.
class CTalStockMixture {
public:
    std::string name;
    std::vector<std::pair<std::string, double>> ingredients;  //!< component name and mass fraction
    double density = 0.0;                                      //!< kg/m3

    const std::string& Name() const { return name; }
    //! Mass fraction of the component `component`; 0 if the mixture does not hold it.
    double MassFrac(std::string_view component) const;
    //! Whether the component `component` is one of the mixture's ingredients (at any fraction).
    bool IsPureCompIn(std::string_view component) const;
};

//! A utility that heats or cools: steam, cooling water and the like.
class CTalHeatTransferAgent {
public:
    std::string name;
    bool isHeating = false;
    double inTemp = 298.15;        //!< K
    double outTemp = 298.15;       //!< K
    double energyToMassF = 0.0;    //!< kg of agent per J of duty

    const std::string& Name() const { return name; }
    bool IsHeating() const { return isHeating; }
    double InTemp() const { return inTemp; }
    double OutTemp() const { return outTemp; }
    double EnergyToMassF() const { return energyToMassF; }
};

}  // namespace unitops
