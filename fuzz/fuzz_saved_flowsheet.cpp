// libFuzzer target: whatever bytes the saved-flowsheet reader gets, it returns a flowsheet or
// throws InputError; a flowsheet it returns prints every report and its JSON results. A crash, a
// leak, a hang, a sanitizer report or any other exception is a finding.
#include <cstddef>
#include <cstdint>
#include <vector>

#include "fuzz_support.hpp"
#include "unitops/io/flowsheet_file.hpp"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::vector<std::uint8_t> bytes(data, data + size);
    unitops::SavedFlowsheet saved;
    try {
        saved = unitops::ReadSavedFlowsheet(bytes, "fuzz.uof");
    } catch (const unitops::InputError&) {
        return 0;  // a refused file: the expected outcome for most inputs
    }
    unitops::fuzz::WriteEveryReport(*saved.doc, saved.run ? &*saved.run : nullptr);
    return 0;
}
