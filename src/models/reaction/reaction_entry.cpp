#include "unitops/models/reaction/reaction_entry.hpp"

#include <cstdio>

#include "unitops/contract/flowsheet.hpp"
#include "unitops/contract/message_table.hpp"
#include "unitops/models/reaction/reaction_op.hpp"

namespace unitops {

namespace {
constexpr unsigned kProfilesCaption = 0x604;
constexpr unsigned kHostDecimalsOutOfRange = 0x39;
constexpr unsigned kHostCannotWrite = 93;
constexpr int kMostProfilePoints = 10000;  // each point is a recorded row and a stop of the integration
constexpr unsigned kHostResultsOutOfDate = 98;
}  // namespace

// ---------------------------------------------------------------- stoichiometry

StoichSides SplitStoichiometry(const std::vector<double>& signedCoeffs) {
    StoichSides sides;
    sides.reactants.assign(signedCoeffs.size(), 0.0);
    sides.products.assign(signedCoeffs.size(), 0.0);
    for (std::size_t i = 0; i < signedCoeffs.size(); ++i) {
        if (signedCoeffs[i] < 0.0) sides.reactants[i] = -signedCoeffs[i];
        if (signedCoeffs[i] > 0.0) sides.products[i] = signedCoeffs[i];
    }
    return sides;
}

std::vector<double> JoinStoichiometry(const StoichSides& sides) {
    std::vector<double> coeffs(std::max(sides.reactants.size(), sides.products.size()), 0.0);
    for (std::size_t i = 0; i < sides.products.size(); ++i) coeffs[i] += sides.products[i];
    for (std::size_t i = 0; i < sides.reactants.size(); ++i) coeffs[i] -= sides.reactants[i];
    return coeffs;
}

std::string StoichiometrySignProblem(const StoichSides& sides) {
    for (double v : sides.products) {
        if (v < 0.0) {
            return "A negative sign cannot be used in the stoichiometric coefficients\nof the products. Please give all "
                   "coefficients a positive value.";
        }
    }
    for (double v : sides.reactants) {
        if (v < 0.0) {
            return "The negative sign is implied in the stoichiometric coefficients\nof the reactants. Please give all "
                   "coefficients a positive value.";
        }
    }
    return {};
}

std::string DefaultReactionName(int count) { return "Reaction #" + std::to_string(count + 1); }

// ---------------------------------------------------------------- the plug-flow thermal choice

void FoldPlugFlowDuty(CTalRxnOp& op, bool cooling) {
    if (!op.IsDutySetMode()) return;
    if (cooling) {
        op.m_ExternalDuty = -op.m_CoolingDuty;
        op.m_HeatingDuty = op.m_CoolingDuty = 0.0;
    } else {
        op.m_ExternalDuty = op.m_HeatingDuty;
    }
}

// ---------------------------------------------------------------- profile settings

namespace {

bool Offered(int kind, std::optional<unsigned> code, bool perLength) {
    if (!code) return true;
    for (const RecorderUnit& u : RecorderUnits(kind)) {
        // A duty along a length is per metre, one over time is not.
        if (u.code == *code) return kind != 6 || perLength == (u.code == 0x602 || u.code == 0x603);
    }
    return false;
}

std::string UnitNames(int kind, bool perLength) {
    std::string names;
    for (const RecorderUnit& u : RecorderUnits(kind)) {
        if (u.code == 0x406 || !Offered(kind, u.code, perLength)) continue;
        names += (names.empty() ? "" : ", ") + std::string(u.name);
    }
    return names;
}

}  // namespace

ProfileField ApplyProfileSettings(CTalRxnOp& op, const ProfileSettings& s, CTalModelPP* page) {
    CTalReactorDR* recorder = op.GetDataRecorder();
    if (!recorder) return ProfileField::None;
    const int points = s.points.value_or(recorder->NumberOfPoints());
    if (points < 2) {
        ReportRange(page, kProfilesCaption, "number of points", 0x643);
        return ProfileField::Points;
    }
    if (points > kMostProfilePoints) {
        ReportRange(page, kProfilesCaption, "number of points", 0x64B);
        return ProfileField::Points;
    }
    const int width = s.columnWidth.value_or(recorder->ColumnWidth());
    if (width < 1 || width >= 100) {
        ReportRange(page, kProfilesCaption, "column width", width < 1 ? 0x640 : 0x64B);
        return ProfileField::ColumnWidth;
    }
    const int decimals = s.decimals.value_or(recorder->Decimals());
    if (decimals < 0 || decimals > width) {
        ReportMessage(page, kProfilesCaption, kHostDecimalsOutOfRange, 0, kStopBox);
        return ProfileField::Decimals;
    }
    const int spaces = s.spaces.value_or(recorder->Spaces());
    if (spaces < 0) {
        ReportRange(page, kProfilesCaption, "number of spaces between columns", 0x641);
        return ProfileField::Spaces;
    }
    // The units offered fit the axis: time units over time, length units along a length.
    const bool alongLength = recorder->IsXLength();
    if (!Offered(alongLength ? 2 : 1, s.xUnits, alongLength)) {
        ReportMessage(page, kProfilesCaption, std::string("The x axis is a ") + (alongLength ? "length" : "time") +
                                                  ": its unit is one of " + UnitNames(alongLength ? 2 : 1, alongLength) + ".",
                      0, kStopBox);
        return ProfileField::XUnits;
    }
    if (!Offered(6, s.dutyUnits, alongLength)) {
        ReportMessage(page, kProfilesCaption, "The duty " + std::string(alongLength ? "along a length" : "over time") +
                                                  " is shown in one of " + UnitNames(6, alongLength) + ".",
                      0, kStopBox);
        return ProfileField::DutyUnits;
    }
    recorder->SetLayout(width, decimals, spaces);
    const int N = op.NumberOfComponents();
    std::vector<int> flags(static_cast<std::size_t>(N), 0);
    for (int i = 0; i < N; ++i) {
        const bool given = s.storeFlags && static_cast<std::size_t>(i) < s.storeFlags->size();
        flags[static_cast<std::size_t>(i)] = given ? (*s.storeFlags)[static_cast<std::size_t>(i)] : recorder->IsConcStoredForComp(i);
    }
    recorder->ReInit(N, flags.data(), points);
    recorder->SetIsTempStored(s.temperature.value_or(recorder->IsTempStored() != 0) ? 1 : 0);
    recorder->SetIsDutyStored(s.duty.value_or(recorder->IsDutyStored() != 0) ? 1 : 0);
    recorder->SetUnits(s.xUnits.value_or(recorder->XVarUnits()), s.temperatureUnits.value_or(recorder->YTempUnits()),
                       s.dutyUnits.value_or(recorder->YDutyUnits()));
    return ProfileField::None;
}

// ---------------------------------------------------------------- profile commands

std::vector<std::string> CTalRxnOp::ComponentNames() const {
    std::vector<std::string> names;
    if (const ComponentList* comps = Comps()) {
        for (const CTalPureComponent* c : *comps) names.push_back(c->name);
    }
    return names;
}

bool CTalRxnOp::AppendToCommandMenu(std::vector<CommandMenuItem>& menu, int category) {
    if (category != 2 || !GetDataRecorder()) return false;
    menu.push_back({kViewRecordedDataCommand, "&View Recorded Data as a Table..."});
    menu.push_back({kSaveAsciiCommand, "&Ascii Format..."});
    menu.push_back({kSaveTabSeparatedCommand, "&Excel Format..."});
    return true;
}

bool CTalRxnOp::ExecuteCommand(unsigned id, const ProfileCommand& how) {
    switch (id) {
        case kSaveAsciiCommand: return SaveRecordedDataInAsciiFile(how);
        case kSaveTabSeparatedCommand: return SaveRecordedDataInXlsFile(how);
        case kViewRecordedDataCommand: return ViewRecordedDataAsTable(how);
        default: return false;
    }
}

bool CTalRxnOp::ProfileCommandOpening(const ProfileCommand& how) {
    if (!GetDataRecorder()) return false;
    const CTalDocEss* doc = Flowsheet();
    if (!doc || !doc->IsSimModified()) return true;
    const int answer = how.page ? how.page->ModelDlgQuestion(kProfilesCaption, kHostResultsOutOfDate, 0, kYesNoCancel) : IDNO;
    if (answer == IDCANCEL) return false;
    if (answer == IDNO) return true;
    return how.simulate && how.simulate();
}

bool CTalRxnOp::SaveRecordedData(const ProfileCommand& how, int form) {
    if (!ProfileCommandOpening(how) || how.path.empty()) return false;
    std::FILE* f = std::fopen(how.path.c_str(), "w");
    if (!f) {
        ReportMessage(how.page, kProfilesCaption, FormatMessage(MessageText(kHostCannotWrite), how.path), 0, kStopBox);
        return false;
    }
    const CTalReactorDR& recorder = *GetDataRecorder();
    if (form == 1) {
        recorder.SaveDataAscii(f, ComponentNames());
    } else {
        recorder.SaveDataXLS(f, ComponentNames());
    }
    const bool written = !std::ferror(f);
    const bool closed = std::fclose(f) == 0;
    if (written && closed) return true;
    ReportMessage(how.page, kProfilesCaption, FormatMessage(MessageText(kHostCannotWrite), how.path), 0, kStopBox);
    return false;
}

bool CTalRxnOp::SaveRecordedDataInAsciiFile(const ProfileCommand& how) { return SaveRecordedData(how, 1); }
bool CTalRxnOp::SaveRecordedDataInXlsFile(const ProfileCommand& how) { return SaveRecordedData(how, 2); }

// The table goes to the stream given, where the host shows it.
bool CTalRxnOp::ViewRecordedDataAsTable(const ProfileCommand& how) {
    if (!ProfileCommandOpening(how) || !how.view) return false;
    GetDataRecorder()->SaveDataAscii(how.view, ComponentNames());
    return true;
}

}  // namespace unitops
