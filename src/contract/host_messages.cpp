// The host's own numbered texts (numbers below 12288 and 17667 to 17706), with the captions
// of the validation pages and the texts of the range kinds.
#include <algorithm>
#include <iterator>
#include <string>
#include <vector>

#include "unitops/contract/message_table.hpp"

namespace unitops {
namespace {

constexpr MessageEntry kHostMessages[] = {
    {42, "The equipment could not be sized with the given data.\nSizing calculations were skipped."},
    {44, "The file %1 could not be opened."},
    {0x33, "The outlet temperature of the heating agent '%1' is too low to reach the requested temperature."},
    {0x34, "The outlet temperature of the cooling agent '%1' is too high to reach the requested temperature."},
    {0x35, "The agent '%1' is not a heating agent, but the operation needs heating.\nPlease select another agent."},
    {0x36, "The agent '%1' is a heating agent, but the operation needs cooling.\nPlease select another agent."},
    {0x39, "The number of decimals must not be negative or exceed the column width."},
    {82, "The upper limit of a range must be above its lower limit."},
    {85, "The feed stream has no flow.\nCalculations were skipped."},
    {86, "No heat-transfer agent has been selected."},
    {0x57, "No heating agent has been selected."},
    {88, "The temperature of the heat-transfer agent is not suitable for this operation."},
    {90, "The iterative calculation did not converge."},
    {91, "The column could not be sized with the given flows."},
    {92, "The calculated operating throughput is greater than the specified (rated) throughput."},
    {93, "The data could not be written to %1."},
    {94, "A temporary file could not be created."},
    {95, "The folder for temporary files could not be found."},
    {98, "The simulation results are out of date.\nRun the simulation first?"},
    {99, "The viewer could not be started. Try the text editor?"},
    {100, "The text editor could not be started."},
    {101, "The cake is thicker than the maximum cake thickness."},
    {102, "No component of the feed is retained by the filter.\nThe feed and the wash leave as filtrate."},
    {0x6D, "No cooling agent has been selected."},
    {0x70, "%1 must be a feed of the flowsheet (an input stream)."},
    {0x72, "%1 must not be a feed of the flowsheet: a transfer in takes material from another procedure."},
    {1024, "The reaction balance could not be solved.\nThe outlet was not changed."},
    {1025, "The integration of the reaction kinetics failed.\nThe outlet was not changed."},
    {0x7F0, "The design component is not a component of the flowsheet."},
    {2044, "The liquid feed has no volume flow.\nCalculations were skipped."},
    {2045, "The gas feed has no volume flow.\nCalculations were skipped."},
    {2046, "The gas feed has no flow."},
    {0x1098, "An ingredient has no density; 1000 kg/m3 is used."},
    {0x216C, "The feed could not be scaled up."},
    {0x4503, "The product component has not been selected."},
    {0x4506, "The component selection is not valid."},
    {0x4507, "The component selection is not valid."},
    {0x4508, "The component selection is not valid."},
    {0x4509, "The component selection is not valid."},
    {0x451F, "There is no product component in the vessel.\nCalculations were skipped."},
    {0x4520, "A component needed by the calculation is missing from the flowsheet.\nCalculations were skipped."},
    {0x4523, "The contents are already below the requested final volume.\nNothing was evaporated."},
    {0x4524, "The requested amount cannot be evaporated.\nNothing was evaporated."},
    {0x4525, "The requested concentration factor cannot be reached.\nNothing was evaporated."},
    {0x4526, "The requested final concentration cannot be reached.\nNothing was evaporated."},
    {0x4527, "The requested final mass fraction cannot be reached.\nNothing was evaporated."},
    {0x452A, "The same component has been selected for both solvents."},
    {22865, "A globule is not lighter than the liquid; it cannot be removed by flotation."},
    {22866, "A particle is not heavier than the liquid; it cannot be removed by settling."},
};

struct ByKey {
    bool operator()(const MessageEntry& a, const MessageEntry& b) const { return a.key < b.key; }
};

const MessageEntry* Find(std::span<const MessageEntry> table, unsigned key) {
    const auto it = std::lower_bound(table.begin(), table.end(), MessageEntry{key, ""}, ByKey{});
    return (it == table.end() || it->key != key) ? nullptr : &*it;
}

}  // namespace

std::span<const MessageEntry> HostMessages() {
    static const std::vector<MessageEntry> sorted = [] {
        std::vector<MessageEntry> v(std::begin(kHostMessages), std::end(kHostMessages));
        std::sort(v.begin(), v.end(), ByKey{});
        return v;
    }();
    return sorted;
}

std::string_view HostMessage(unsigned key) {
    const MessageEntry* e = Find(HostMessages(), key);
    return e ? e->text : std::string_view();
}

bool IsHostMessageNumber(unsigned key) { return key < 12288 || (key >= 17667 && key <= 17706) || key == 22865 || key == 22866; }

std::string MessageText(unsigned key) {
    if (IsHostMessageNumber(key)) {
        const std::string_view t = HostMessage(key);
        return t.empty() ? "Message " + std::to_string(key) + "." : std::string(t);
    }
    return std::string(LibraryMessage(key));
}

std::string FormatMessage(std::string_view text, std::string_view arg1) {
    std::string out;
    out.reserve(text.size() + arg1.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '%' && i + 1 < text.size() && text[i + 1] == '1') {
            out += arg1;
            ++i;
        } else {
            out += text[i];
        }
    }
    return out;
}

std::string CaptionText(unsigned caption) {
    switch (caption) {
        case 0x600: return "Equipment Data";
        case 0x601: return "Operating Conditions";
        case 0x604: return "Profiles";
        case 0x607: return "Crystallization";
        case 0x60D: return "Cost";
        case 0x60E: return "Material Balance";
        case 0x60F: return "Reactions";
        case 0x613: return "Utilities";
        case 0x615: return "Volumes";
        case 0x61A: return "Removal";
        case 0x61B: return "Packing";
        case 0x628: return "Equipment Database";
        default: return "Page " + std::to_string(caption);
    }
}

std::string RangeKindText(unsigned kind) {
    switch (kind) {
        case 0x640: return "must be positive";
        case 0x641: return "must not be negative";
        case 0x642: return "must be at least 1";
        case 0x643: return "must be 2 or more";
        case 0x644: return "must lie between 0 and 100 %";
        case 0x645: return "must be below 100 %";
        case 0x647: return "must lie between 0 and 1";
        case 0x648: return "is outside the permitted range";
        case 0x649: return "must lie above 0 and at most 100 %";
        case 0x64A: return "is a percentage outside its range";
        case 0x64B: return "is too large";
        case 0x64E: return "is not valid";
        default: {
            const std::string t = MessageText(kind);
            return t.empty() ? "is out of range (" + std::to_string(kind) + ")" : t;
        }
    }
}

}  // namespace unitops
