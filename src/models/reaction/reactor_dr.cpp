#include "unitops/models/reaction/reactor_dr.hpp"

#include <cassert>

#include "unitops/contract/archive.hpp"

namespace unitops {

CTalReactorDR::CTalReactorDR(unsigned axis)
    : m_X(axis == 0 ? CTalDataContainer(1, 3, "Time") : CTalDataContainer(2, 0x103, "Length")),
      m_Conc(4, 0x400, "Concentration"),
      m_Duty(6, axis == 0 ? 0x600 : 0x602, "Q"),
      m_Temp(5, 0x500, "T") {
    assert(axis <= 1);
}

void CTalReactorDR::Init(int comps, const int* storeFlags, int points, int isTemp, int isDuty) {
    SetSize(comps, storeFlags, points);
    SetIsTempStored(isTemp);
    SetIsDutyStored(isDuty);
}

void CTalReactorDR::SetSize(int comps, const int* storeFlags, int points) {
    m_X.SetSize(points);
    m_Conc.SetSize(comps, storeFlags, points);
    if (m_IsTempStored) m_Temp.SetSize(points);
    if (m_IsDutyStored) m_Duty.SetSize(points);
    SetNumberOfPoints(points);
    m_NumberOfComps = comps;
}

void CTalReactorDR::ReInit(int comps, const int* storeFlags, int points) {
    m_X.ReInit(points, 0.0);
    m_Conc.ReInit(comps, storeFlags, points);
    if (m_IsTempStored) m_Temp.ReInit(points, 25.0);
    if (m_IsDutyStored) m_Duty.ReInit(points, 0.0);
    SetNumberOfPoints(points);
    m_NumberOfComps = comps;
}

void CTalReactorDR::SetIsTempStored(int v) {
    if (!m_IsTempStored && v) m_Temp.ReInit(NumberOfPoints(), 25.0);
    if (!v) m_Temp.SetSize(0);
    m_IsTempStored = v;
}

void CTalReactorDR::SetIsDutyStored(int v) {
    if (!m_IsDutyStored && v) m_Duty.ReInit(NumberOfPoints(), 0.0);
    if (!v) m_Duty.SetSize(0);
    m_IsDutyStored = v;
}

void CTalReactorDR::RecordData(int i, double x, int n, const double* y, double duty, double T) {
    if (i < 0 || i >= NumberOfPoints() || n < m_NumberOfComps) return;
    m_X.Set(i, x);
    for (int k = 0; k < m_NumberOfComps; ++k) m_Conc.Set(k, i, y[k]);
    if (m_IsDutyStored) m_Duty.Set(i, duty);
    if (m_IsTempStored) m_Temp.Set(i, n == m_NumberOfComps + 1 ? y[m_NumberOfComps] : T);
}

void CTalReactorDR::RecordData(int i, double x, int n, const double* y, unsigned concUnits, double duty, double T) {
    m_Conc.SetUnits(concUnits);
    RecordData(i, x, n, y, duty, T);
}

void CTalReactorDR::SetUnits(unsigned x, unsigned temp, unsigned duty) {
    m_X.SetUnits(x);
    m_Temp.SetUnits(temp);
    m_Duty.SetUnits(duty);
}

void CTalReactorDR::Write(std::FILE* f, int form, const std::vector<std::string>& names) const {
    std::vector<const CTalDataContainer*> after;
    if (m_IsDutyStored) after.push_back(&m_Duty);
    if (m_IsTempStored) after.push_back(&m_Temp);
    WriteData(f, form, {&m_X}, &m_Conc, names, after);
}

void CTalReactorDR::SaveDataAscii(std::FILE* f, const std::vector<std::string>& names) const { Write(f, 1, names); }
void CTalReactorDR::SaveDataXLS(std::FILE* f, const std::vector<std::string>& names) const { Write(f, 2, names); }

void CTalReactorDR::CopyDataInto(CTalReactorDR* target) const {
    if (!target || target == this) return;
    CTalOperation* owner = target->Owner();
    *target = *this;
    target->SetOwner(owner);
}

std::unique_ptr<CTalReactorDR> CTalReactorDR::CreateCopy(CTalOperation* owner) const {
    auto copy = std::make_unique<CTalReactorDR>();
    CopyDataInto(copy.get());
    copy->SetOwner(owner);
    return copy;
}

void CTalReactorDR::SetOwner(CTalOperation* op) {
    CTalDataRecorder::SetOwner(op);
    for (CTalDataContainer* c : {&m_X, static_cast<CTalDataContainer*>(&m_Conc), &m_Duty, &m_Temp}) c->SetOwner(op);
}

void CTalReactorDR::UpdateCompInfoFromOldFlowsheet(const ComponentList& oldComps, const ComponentList& newComps) {
    m_Conc.UpdateCompInfoFromOldFlowsheet(oldComps, newComps);
    m_NumberOfComps = m_Conc.NumberOfComps();
}

void CTalReactorDR::Serialize(CArchive& ar) {
    CTalDataRecorder::Serialize(ar);
    for (int* v : {&m_NumberOfComps, &m_IsTempStored, &m_IsDutyStored}) {
        if (ar.IsStoring()) {
            ar.WriteWord(*v);
        } else {
            *v = ar.ReadWord();
        }
    }
    m_X.Serialize(ar);
    m_Conc.Serialize(ar);
    m_Duty.Serialize(ar);
    m_Temp.Serialize(ar);
}

}  // namespace unitops
