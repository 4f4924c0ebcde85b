#pragma once
// Recycle loops of a flowsheet: the strongly connected parts of the procedure graph, the tear
// streams that open them, and the convergence of those streams by direct substitution
// accelerated by Wegstein's method.

#include <string>
#include <vector>

namespace unitops {

class CTalDocEss;
class CTalProcedure;
class CTalStream;

struct RecycleOptions {
    double relativeTolerance = 1e-6;    //!< every component flow and the temperature of each tear stream
    int maxIterations = 100;            //!< passes allowed for the loops to converge
    std::vector<std::string> tears;     //!< streams to tear first, by name
    bool accelerate = true;             //!< Wegstein's method; false: direct substitution only
};

//! One loop: its procedures (in file order), the streams that open it, and how it converged.
struct RecycleLoop {
    std::vector<CTalProcedure*> procedures;
    std::vector<CTalStream*> tears;
    int iterations = 0;      //!< passes until the loop met the tolerance (or all that ran)
    double error = 0.0;      //!< largest relative change of a tear stream in the last pass
    bool converged = false;
    std::string Describe() const;  //!< "P-1, P-2 (tear streams S-3)"
};

//! The loops of the flowsheet with their tear streams: the fewest streams that open every cycle
//! of a loop, those named in `preferred` first.
std::vector<RecycleLoop> FindRecycleLoops(const CTalDocEss& doc, const std::vector<std::string>& preferred);

//! Iterates the tear streams of the loops: before a pass they hold a guess; the pass computes
//! what their sources make of it; `Update` compares, accelerates and writes the next guess.
class TearConvergence {
public:
    TearConvergence(std::vector<RecycleLoop>& loops, const RecycleOptions& options);
    //! Empties every tear stream (the first guess) and forgets the history.
    void Start();
    //! After a pass: true when every loop meets the tolerance (the streams then keep what the
    //! pass computed); otherwise writes the next guess into the tear streams, unless `keep`
    //! (the last pass allowed, whose results stand).
    bool Update(int iteration, bool keep = false);
    bool IsTear(const CTalStream* s) const;

private:
    struct Tear {
        CTalStream* stream = nullptr;
        std::size_t loop = 0;
        std::vector<double> x, g, xPrev, gPrev;  //!< component flows, then the temperature
        bool hasHistory = false;
    };
    static std::vector<double> Values(const CTalStream& s);
    static double RelativeError(const std::vector<double>& x, const std::vector<double>& g);
    //! Wegstein's step per value, with the acceleration factor bounded; direct substitution
    //! where the history cannot give a slope.
    std::vector<double> NextGuess(const Tear& t) const;
    static void Write(CTalStream& s, const std::vector<double>& values);

    std::vector<RecycleLoop>& loops_;
    RecycleOptions options_;
    std::vector<Tear> tears_;
};

}  // namespace unitops
