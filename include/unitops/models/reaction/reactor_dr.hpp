#pragma once
// The recorder of a reaction that integrates along time or along length: x, the concentrations
// of the components chosen, the duty and the temperature at each point.

#include <memory>

#include "unitops/contract/data_recorder.hpp"

namespace unitops {

class CTalReactorDR : public CTalDataRecorder {
public:
    //! An empty recorder, for loading.
    CTalReactorDR() = default;
    //! `axis` 0: x is time; 1: x is length.
    explicit CTalReactorDR(unsigned axis);

    void Init(int comps, const int* storeFlags, int points, int isTemp, int isDuty);
    void SetSize(int comps, const int* storeFlags, int points);
    void ReInit(int comps, const int* storeFlags, int points);
    void SetIsTempStored(int v);
    void SetIsDutyStored(int v);
    //! Point i: x, the concentrations y[0..NumberOfComps), the duty, and the temperature from
    //! y[NumberOfComps] when n is NumberOfComps + 1, else T.
    void RecordData(int i, double x, int n, const double* y, double duty, double T);
    void RecordData(int i, double x, int n, const double* y, unsigned concUnits, double duty, double T);
    void SaveDataAscii(std::FILE* f, const std::vector<std::string>& names) const;
    void SaveDataXLS(std::FILE* f, const std::vector<std::string>& names) const;

    int NumberOfComps() const { return m_NumberOfComps; }
    int IsTempStored() const { return m_IsTempStored; }
    int IsDutyStored() const { return m_IsDutyStored; }
    bool IsConcStoredForComp(int i) const { return m_Conc.IsStored(i); }
    bool IsXTime() const { return m_X.Kind() == 1; }
    bool IsXLength() const { return m_X.Kind() == 2; }
    const std::string& XVarName() const { return m_X.Name(); }
    unsigned XVarUnits() const { return m_X.Units(); }
    unsigned YConcUnits() const { return m_Conc.Units(); }
    unsigned YTempUnits() const { return m_Temp.Units(); }
    unsigned YDutyUnits() const { return m_Duty.Units(); }
    //! The units chosen for x, the temperature and the duty (codes of RecorderUnits).
    void SetUnits(unsigned x, unsigned temp, unsigned duty);
    const CTalDataContainer& X() const { return m_X; }
    const CTalCompDataContainer& Conc() const { return m_Conc; }
    const CTalDataContainer& Duty() const { return m_Duty; }
    const CTalDataContainer& Temp() const { return m_Temp; }

    void CopyDataInto(CTalReactorDR* target) const;
    std::unique_ptr<CTalReactorDR> CreateCopy(CTalOperation* owner) const;
    void SetOwner(CTalOperation* op);
    void UpdateCompInfoFromOldFlowsheet(const ComponentList& oldComps, const ComponentList& newComps);
    void Serialize(CArchive& ar) override;

private:
    void Write(std::FILE* f, int form, const std::vector<std::string>& names) const;

    int m_NumberOfComps = 0;
    int m_IsTempStored = 1;
    int m_IsDutyStored = 1;
    CTalDataContainer m_X;
    CTalCompDataContainer m_Conc;
    CTalDataContainer m_Duty;
    CTalDataContainer m_Temp;
};

}  // namespace unitops
