#pragma once
// How reaction data are entered and checked: the stoichiometry as reactant and product lists,
// default names, the plug-flow forms' duty choice, the settings of the recorded profiles, and the
// commands that export the profiles.

#include <optional>
#include <string>
#include <vector>

#include "unitops/contract/messages.hpp"

namespace unitops {

class CTalRxnOp;

//! The stoichiometry as people enter it: per component a positive number on each side, 0 when
//! the component is not on that side.
struct StoichSides {
    std::vector<double> reactants;
    std::vector<double> products;
};

//! Negative coefficients go to the reactants (as positive numbers), positive ones to the
//! products; a component with a zero coefficient is on neither side.
StoichSides SplitStoichiometry(const std::vector<double>& signedCoeffs);
//! The signed coefficients of the two lists (reactants negative).
std::vector<double> JoinStoichiometry(const StoichSides& sides);
//! Why the lists are refused, or empty: a negative product is told before a negative reactant.
std::string StoichiometrySignProblem(const StoichSides& sides);

//! The name of a new reaction in a list that holds `count` of them; its sequence number is
//! count + 1 as well.
std::string DefaultReactionName(int count);

//! A plug-flow form in duty mode: the chosen cooling becomes the net duty -CoolingDuty with both
//! duties cleared, the chosen heating the net duty HeatingDuty. Nothing in the other modes.
void FoldPlugFlowDuty(CTalRxnOp& op, bool cooling);

//! What a flowsheet sets of an operation's recorded profiles; what it leaves out stays.
struct ProfileSettings {
    std::optional<int> points;
    std::optional<int> columnWidth;
    std::optional<int> decimals;
    std::optional<int> spaces;
    std::optional<std::vector<int>> storeFlags;  //!< per component
    std::optional<bool> temperature;
    std::optional<bool> duty;
    std::optional<unsigned> xUnits, temperatureUnits, dutyUnits;  //!< recorder unit codes
};

//! The field of ProfileSettings that a check refused.
enum class ProfileField { None, Points, ColumnWidth, Decimals, Spaces, XUnits, DutyUnits };

//! The checks of the settings in order (points, column width, decimals, spaces, units), each
//! reported through `page`; at the first failure nothing is changed and its field is returned.
//! Otherwise the recorder takes the layout, the store flags, the temperature and duty stores and
//! the units, and None is returned.
ProfileField ApplyProfileSettings(CTalRxnOp& op, const ProfileSettings& s, CTalModelPP* page);

// The commands of an operation that records profiles.
inline constexpr unsigned kViewRecordedDataCommand = 0x8c12;
inline constexpr unsigned kSaveAsciiCommand = 0x8c10;
inline constexpr unsigned kSaveTabSeparatedCommand = 0x8c11;

}  // namespace unitops
