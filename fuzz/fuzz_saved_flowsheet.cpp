// libFuzzer target: whatever bytes the saved-flowsheet reader gets, it returns a flowsheet or
// throws InputError. A crash, a leak, a hang, a sanitizer report or any other exception is a
// finding.
#include <cstddef>
#include <cstdint>
#include <vector>

#include "unitops/io/flowsheet_file.hpp"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::vector<std::uint8_t> bytes(data, data + size);
    try {
        unitops::LoadSavedFlowsheet(bytes, "fuzz.uof");
    } catch (const unitops::InputError&) {
        // a refused file: the expected outcome for most inputs
    }
    return 0;
}
