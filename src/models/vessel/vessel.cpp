#include "unitops/models/vessel/vessel.hpp"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <vector>

#include "unitops/contract/archive.hpp"
#include "unitops/contract/flowsheet.hpp"
#include "unitops/contract/procedure.hpp"

namespace unitops {

namespace {
constexpr double kZero = 1e-15;

// Amount per batch of a procedure's contents comes over this time (s).
double ReferenceTime(const CTalProcedure& proc) {
    return proc.IsFlowsheetInBatchMode() && proc.Owner() ? proc.Owner()->PlantBatchTime() : proc.HoldupTime();
}

// Largest liquid and solid volume flow among the first `n` states of the procedure.
double LargestNonGaseousVolFlow(const CTalProcedure& proc, int n) {
    double largest = 0.0;
    for (int i = 0; i < std::min(n, proc.NumberOfStates()); ++i) {
        if (const CTalStateStream* s = proc.GetState(i)) largest = std::max(largest, s->NonGaseousVolFlow());
    }
    return largest;
}

// Total volume per cycle of the largest contents among the first `n` states.
double LargestVolumePerCycle(const CTalProcedure& proc, int n) {
    return LargestNonGaseousVolFlow(proc, n) * ReferenceTime(proc) / std::max(1, proc.NumberOfCycles());
}
}  // namespace

// ---------------------------------------------------------------- CTalVessel

const MemberTable& CTalVessel::Members() {
    using namespace members;
    using C = CTalVessel;
    static const MemberTable table(CTalEquipment::Members(), {
        Real("Volume", &C::m_Volume, Quantity::Volume, display::kLitre),
        Real("MaxVolume", &C::m_MaxVolume, Quantity::Volume, display::kLitre),
        Real("Diameter", &C::m_Diameter, Quantity::Length),
        Real("DesignPressure", &C::m_DesignPressure, Quantity::Pressure, display::kAtm),
        Word("IsASME", &C::m_IsASME),
        Real("MaxWorkingToVesselVol", &C::m_MaxWorkingToVesselVol, Quantity::Fraction, display::kPercent),
    });
    return table;
}

TAL_IMPLEMENT_CLASS(CTalVessel, CTalEquipment)

// UsesDefaultContents follows the vessel's own members; files before 5.1005 lack it and fill
// every vessel with air.
void CTalVessel::Serialize(CArchive& ar) {
    CTalEquipment::Serialize(ar);
    SerializeOwnMembers(ar, Members());
    if (ar.IsStoring()) {
        ar.WriteWord(m_UsesDefaultContents);
    } else if (m_VersionNo < 5.1005) {
        m_UsesDefaultContents = 1;
    } else {
        m_UsesDefaultContents = ar.ReadWord();
    }
}

void CTalVessel::InitSizeParams() {
    m_Volume = 1.0;
    m_MaxVolume = 100.0;
    m_Diameter = 0.0;
    m_DesignPressure = 151950.0;
    m_IsASME = 1;
    m_MaxWorkingToVesselVol = 0.9;
    m_UsesDefaultContents = 1;
}

void CTalVessel::InitCostParams() {
    CTalEquipment::InitCostParams();
    m_MaterialName = "SS304";
    m_CostFactor2 = 0.5;
    m_CostFactor3 = 0.1;
}

int CTalVessel::CalcSize(double totalVolume, double maxRatio, unsigned& message) {
    // Validation refuses these; should one reach here all the same, the vessel keeps its size and
    // the caller reports why rather than sizing on a substitute.
    if (maxRatio <= kZero || m_MaxVolume <= kZero) {
        message = kMsgCannotSize;
        return 0;
    }
    const double v = totalVolume / maxRatio;
    if (!m_IsSizedInThisRun) {
        m_Volume = v;
        m_IsSizedInThisRun = 1;
    } else {
        m_Volume = std::max(v, m_NumberOfUnits * m_Volume);
    }
    m_NumberOfUnits = 1;
    if (m_MaxVolume < m_Volume) {
        if (!UnitsNeeded(m_Volume, m_MaxVolume, m_NumberOfUnits)) {
            message = kMsgCannotSize;
            return 0;
        }
        m_Volume /= m_NumberOfUnits;
    }
    return 1;
}

bool CTalVessel::DoSizingBasedOnVolume(double volume, double ratio, unsigned& message, int) {
    return CalcSize(volume, ratio, message) != 0;
}

int CTalVessel::CalcDefaultSize(CTalProcedure* proc, CTalOperation* op, int) {
    if (!proc) return 0;
    // The states up to the one after `op`; all of them without an operation.
    const int n = op ? proc->GetOrderNo(op) + 2 : proc->NumberOfStates();
    unsigned message = 0;
    const int result = CalcSize(LargestVolumePerCycle(*proc, n), m_MaxWorkingToVesselVol, message);
    if (result) CalcDimensions();
    return result;
}

double CTalVessel::CalcDefaultEquipCapacityUtilF(const CTalProcedure* proc) {
    // A largest filling of zero, refused by validation, gives no utilisation rather than infinity.
    if (!proc || m_MaxWorkingToVesselVol <= kZero) return 0.0;
    const double perUnit = LargestVolumePerCycle(*proc, proc->NumberOfStates()) / std::max(1, m_NumberOfUnits);
    const double filled = m_Volume > kZero ? perUnit / m_Volume : 0.0;
    return std::min(1.0, filled / m_MaxWorkingToVesselVol);
}

void CTalVessel::ForEachSizingOperation(OperationKind kind, const std::function<bool(CTalOperation&)>& visit) const {
    std::vector<CTalProcedure*> procedures;
    GetContainedProcedures(procedures);
    for (CTalProcedure* proc : procedures) {
        for (int i = 0; i < proc->NumberOfOps(); ++i) {
            CTalOperation* op = proc->GetOp(i);
            if (op && kind(op) && op->CanSizeEquipment(this) && !visit(*op)) return;
        }
    }
}

CTalOperation* CTalVessel::FirstOperationAboveMaxRatio(OperationKind kind) const {
    CTalOperation* found = nullptr;
    ForEachSizingOperation(kind, [&](CTalOperation& op) {
        if (op.MaxWorkingToVesselVol() > m_MaxWorkingToVesselVol) found = &op;
        return found == nullptr;
    });
    return found;
}

void CTalVessel::RaiseMaxRatioToOperations(OperationKind kind, OperationKind pushedTo) {
    ForEachSizingOperation(kind, [&](CTalOperation& op) {
        m_MaxWorkingToVesselVol = std::max(m_MaxWorkingToVesselVol, op.MaxWorkingToVesselVol());
        return true;
    });
    ForEachSizingOperation(kind, [&](CTalOperation& op) {
        if (pushedTo(&op)) op.SetMaxWorkingToVesselVol(m_MaxWorkingToVesselVol);
        return true;
    });
}

void CTalVessel::PushMaxRatioTo(OperationKind kind) {
    ForEachSizingOperation(kind, [&](CTalOperation& op) {
        op.SetMaxWorkingToVesselVol(m_MaxWorkingToVesselVol);
        return true;
    });
}

void CTalVessel::OnNotifyAfterDocOpening() {
    if (m_VersionNo < 5.0013) RaiseMaxRatioToOperations(&IsVolumeKeepingOperation, &IsTransferOperation);
    if (m_VersionNo < 5.1002) PushMaxRatioTo(&IsVesselHeatOrCoolOperation);
}

std::string CTalVessel::HigherMaxRatioMessage(const std::string& operation, const std::string& procedure) {
    static const char* const kFormat =
        "Operation  %12s in procedure %12s has a higher\nMaximum to Working Vessel Volume specified,\n"
        "than the one specified in the Equipment Data.\nPlease check that the Maximum to Working Vessel Volume\n"
        "specified in the Equipment Data is <= to the one specified in any operation using this vessel.";
    const int size = std::snprintf(nullptr, 0, kFormat, operation.c_str(), procedure.c_str());
    std::string text(static_cast<std::size_t>(std::max(size, 0)) + 1, '\0');
    std::snprintf(text.data(), text.size(), kFormat, operation.c_str(), procedure.c_str());
    text.pop_back();
    return text;
}

int CTalVessel::IsSimDataComplete(int group, CTalEquipmentPP* page, int flag) {
    return WithInternalUnits(*this, [&] {
        if (InGroup(group, 1)) {
            const bool design = IsDesignMode();
            if (design && m_MaxVolume <= 0.0) return ReportRange(page, 0x600, "Maximum Vessel Volume", 0x640);
            if (design && (m_MaxWorkingToVesselVol < kZero || m_MaxWorkingToVesselVol > 1.0)) {
                return ReportRange(page, 0x600, "maximum working / vessel volume percentage", 0x649);
            }
            if (!design && m_Volume <= 0.0) return ReportRange(page, 0x600, "Vessel Volume", 0x640);
            if (m_DesignPressure <= 0.0) return ReportRange(page, 0x600, "Design Pressure", 0x640);
            if (design) {
                if (const CTalOperation* op = FirstOperationAboveMaxRatio(&IsVolumeKeepingOperation)) {
                    const std::string owner = op->Owner() ? op->Owner()->Name() : std::string();
                    return ReportMessage(page, 0x600, HigherMaxRatioMessage(op->Name(), owner), 0x3006, 0x4010);
                }
            }
        }
        return CTalEquipment::IsSimDataComplete(group, page, flag);
    });
}

void CTalVessel::WriteEER_Description(std::FILE* f, int) {
    std::fprintf(f, "%17s Volume   = %-.2lf L\n", "", m_Volume);
    std::fprintf(f, "%17s Diameter = %-.2lf m\n\n", "", m_Diameter);
}

void CTalVessel::WriteEER_Description_XLS(std::FILE* f, int) {
    std::fprintf(f, "\t\t Volume   = %-.2lf L\n", m_Volume);
    std::fprintf(f, "\t\t Diameter = %-.2lf m\n\n", m_Diameter);
}

void CTalVessel::WriteIDR_Description(std::FILE* f, int flag) {
    CTalEquipment::WriteIDR_Description(f, flag);
    std::fprintf(f, "Design Pressure  = %-15.2lf\n", m_DesignPressure);
    std::fprintf(f, m_IsASME ? "Vessel is constructed according to ASME standards.\n"
                             : "Vessel is not constructed according to ASME standards.\n");
    if (!IsDesignMode()) {
        std::fprintf(f, "Volume           = %-15.2lf\n", m_Volume);
    } else {
        std::fprintf(f, "Max Volume\t\t\t\t\t  = %-15.2lf\n", m_MaxVolume);
        std::fprintf(f, "Max Working/Vessel Volume (%c)= %-15.2lf\n", '%', m_MaxWorkingToVesselVol);
    }
}

void CTalVessel::InitDefaultContentsBeforeBatch() { FillDefaultContentsWithAir(m_Volume); }

void CTalVessel::AllocateDBEquipmentVariables() {
    CTalEquipment::AllocateDBEquipmentVariables();
    WithInternalUnits(*this, [&] {
        CalcDimensions();
        return 1;
    });
}

bool CTalVessel::SetNumericalValue(int id, double value, int flag) {
    switch (id) {
        case kVarVolume: m_Volume = value; return true;
        case kVarDesignPressure: m_DesignPressure = value; return true;
        default: return CTalEquipment::SetNumericalValue(id, value, flag);
    }
}

bool CTalVessel::SetBooleanValue(int id, bool value, int flag) {
    if (id == kVarASME) {
        m_IsASME = value ? 1 : 0;
        return true;
    }
    return CTalEquipment::SetBooleanValue(id, value, flag);
}

int CTalVessel::IsDBEquipPropsValid(CTalSpecsPP* page, int flag) {
    return WithInternalUnits(*this, [&] {
        if (!(m_Volume > 0.0)) return ReportRange(page, 0x628, "Vessel Volume", 0x640);
        if (!(m_DesignPressure > 0.0)) return ReportRange(page, 0x628, "Design Pressure", 0x640);
        return CTalEquipment::IsDBEquipPropsValid(page, flag);
    });
}

// One-sided on purpose for the diameter and the design pressure: an item with smaller values
// passes as identical.
int CTalVessel::HasIdenticalRatingData(const CTalEquipment* other, int flag) const {
    const auto* o = dynamic_cast<const CTalVessel*>(other);
    if (!o) return 0;
    if (std::abs(o->m_Volume - m_Volume) > kZero) return 0;
    if (o->m_Diameter - m_Diameter > kZero) return 0;
    if (o->m_DesignPressure - m_DesignPressure > 1.0) return 0;
    if ((o->m_IsASME != 0) != (m_IsASME != 0)) return 0;
    return CTalEquipment::HasIdenticalRatingData(other, flag);
}

void CTalVessel::ApplyCostFactor(double factor, const char* words) {
    m_PurchaseCost *= factor;
    TraceFactor(words);
}

void CTalVessel::ApplyCostDivisor(double divisor, const char* words) {
    m_PurchaseCost /= divisor;
    TraceFactor(words);
}

void CTalVessel::ApplyAsmeFactor() {
    if (m_IsASME) ApplyCostFactor(1.2, "x 1.2 ASME");
}

void CTalVessel::ApplyPressureFactor(double limit) {
    if (m_DesignPressure > limit) ApplyCostFactor(1.8, "x 1.8 design pressure");
}

double CTalVessel::FinishBuiltInCost() {
    ConsiderMaterialFactor();
    UpdatePurchaseCost();
    return m_PurchaseCost;
}

// ---------------------------------------------------------------- shapes

namespace {
// Diameter of a cylinder of volume `v` whose height (or length) is `ratio` diameters; 0 when
// either is zero.
double CylinderDiameter(double v, double ratio) {
    return v > kZero && ratio > kZero ? std::cbrt(4.0 * v / (ratio * kVesselPi)) : 0.0;
}
double CylinderSurface(double diameter, double height) { return (diameter / 2.0 + height) * kVesselPi * diameter; }
}  // namespace

const MemberTable& CTalVerticalVessel::Members() {
    using namespace members;
    using C = CTalVerticalVessel;
    static const MemberTable table(CTalVessel::Members(), {
        Real("Height", &C::m_Height, Quantity::Length),
        Real("HeightToDiameter", &C::m_HeightToDiameter, Quantity::Dimensionless),
    });
    return table;
}

const MemberTable& CTalHorizontalVessel::Members() {
    using namespace members;
    using C = CTalHorizontalVessel;
    static const MemberTable table(CTalVessel::Members(), {
        Real("Length", &C::m_Length, Quantity::Length),
        Real("LengthToDiameter", &C::m_LengthToDiameter, Quantity::Dimensionless),
    });
    return table;
}

TAL_IMPLEMENT_CLASS(CTalVerticalVessel, CTalVessel)
TAL_IMPLEMENT_CLASS(CTalHorizontalVessel, CTalVessel)

void CTalVerticalVessel::Serialize(CArchive& ar) {
    CTalVessel::Serialize(ar);
    SerializeOwnMembers(ar, Members());
}

void CTalHorizontalVessel::Serialize(CArchive& ar) {
    CTalVessel::Serialize(ar);
    SerializeOwnMembers(ar, Members());
}

double CTalVerticalVessel::InternalSurfaceArea() const { return CylinderSurface(m_Diameter, m_Height); }
double CTalHorizontalVessel::InternalSurfaceArea() const { return CylinderSurface(m_Diameter, m_Length); }

void CTalVerticalVessel::InitSizeParams() {
    CTalVessel::InitSizeParams();
    m_Height = 0.0;
    m_HeightToDiameter = 3.0;
}

void CTalHorizontalVessel::InitSizeParams() {
    CTalVessel::InitSizeParams();
    m_Length = 0.0;
    m_LengthToDiameter = 3.0;
}

void CTalVerticalVessel::CalcDimensions() {
    m_Diameter = CylinderDiameter(m_Volume, m_HeightToDiameter);
    m_Height = m_HeightToDiameter * m_Diameter;
}

void CTalHorizontalVessel::CalcDimensions() {
    m_Diameter = CylinderDiameter(m_Volume, m_LengthToDiameter);
    m_Length = m_LengthToDiameter * m_Diameter;
}

int CTalVerticalVessel::IsSimDataComplete(int group, CTalEquipmentPP* page, int flag) {
    return WithInternalUnits(*this, [&] {
        if (InGroup(group, 1) && !(m_HeightToDiameter > 0.0)) {
            return ReportRange(page, 0x600, "Height to Diameter ratio", 0x640);
        }
        return CTalVessel::IsSimDataComplete(group, page, flag);
    });
}

int CTalHorizontalVessel::IsSimDataComplete(int group, CTalEquipmentPP* page, int flag) {
    return WithInternalUnits(*this, [&] {
        if (InGroup(group, 1) && !(m_LengthToDiameter > 0.0)) {
            return ReportRange(page, 0x600, "Length to Diameter ratio", 0x640);
        }
        return CTalVessel::IsSimDataComplete(group, page, flag);
    });
}

void CTalVerticalVessel::WriteIDR_Description(std::FILE* f, int flag) {
    std::fprintf(f, "Height/Diameter  = %-15.2lf\n", m_HeightToDiameter);
    CTalVessel::WriteIDR_Description(f, flag);
}

void CTalHorizontalVessel::WriteIDR_Description(std::FILE* f, int flag) {
    std::fprintf(f, "Length/Diameter  = %-15.2lf\n", m_LengthToDiameter);
    CTalVessel::WriteIDR_Description(f, flag);
}

bool CTalVerticalVessel::SetNumericalValue(int id, double value, int flag) {
    if (id == kVarHeightToDiameter) {
        m_HeightToDiameter = value;
        return true;
    }
    return CTalVessel::SetNumericalValue(id, value, flag);
}

bool CTalHorizontalVessel::SetNumericalValue(int id, double value, int flag) {
    if (id == kVarLengthToDiameter) {
        m_LengthToDiameter = value;
        return true;
    }
    return CTalVessel::SetNumericalValue(id, value, flag);
}

int CTalVerticalVessel::IsDBEquipPropsValid(CTalSpecsPP* page, int flag) {
    return WithInternalUnits(*this, [&] {
        if (!(m_HeightToDiameter > 0.0)) return ReportRange(page, 0x628, "Height to Diameter ratio", 0x640);
        return CTalVessel::IsDBEquipPropsValid(page, flag);
    });
}

int CTalHorizontalVessel::IsDBEquipPropsValid(CTalSpecsPP* page, int flag) {
    return WithInternalUnits(*this, [&] {
        if (!(m_LengthToDiameter > 0.0)) return ReportRange(page, 0x628, "Length to Diameter ratio", 0x640);
        return CTalVessel::IsDBEquipPropsValid(page, flag);
    });
}

int CTalVerticalVessel::HasIdenticalRatingData(const CTalEquipment* other, int flag) const {
    const auto* o = dynamic_cast<const CTalVerticalVessel*>(other);
    if (!o || o->m_HeightToDiameter - m_HeightToDiameter > kZero) return 0;
    return CTalVessel::HasIdenticalRatingData(other, flag);
}

int CTalHorizontalVessel::HasIdenticalRatingData(const CTalEquipment* other, int flag) const {
    const auto* o = dynamic_cast<const CTalHorizontalVessel*>(other);
    if (!o || o->m_LengthToDiameter - m_LengthToDiameter > kZero) return 0;
    return CTalVessel::HasIdenticalRatingData(other, flag);
}

}  // namespace unitops
