#include "test_flowsheet.hpp"

#include <cstdio>
#include <stdexcept>

#include "unitops/io/database.hpp"
#include "unitops/io/errors.hpp"
#include "unitops/io/flowsheet_loader.hpp"
#include "unitops/roster/roster.hpp"

namespace unitops::test {

std::unique_ptr<CTalDocEss> MakeDoc(const std::vector<std::string>& components, bool batch) {
    auto doc = std::make_unique<CTalDocEss>();
    doc->SetBatchMode(batch);
    const PropertyDatabase& db = PropertyDatabase::BuiltIn();
    for (const std::string& name : components) {
        const CTalPureComponent* c = db.FindComponent(name);
        if (!c) throw std::runtime_error("no component " + name);
        doc->AddComponent(std::make_unique<CTalPureComponent>(*c));
    }
    for (const auto& a : db.Agents()) doc->AddAgent(std::make_unique<CTalHeatTransferAgent>(*a));
    return doc;
}

CTalPureComponent& AddSimpleComponent(CTalDocEss& doc, const std::string& name, double molecularWeight,
                                      double density, double cp, NormalPhase phase) {
    auto c = std::make_unique<CTalPureComponent>();
    c->name = name;
    c->molecularWeight = molecularWeight;
    c->liqSolDensity = density;
    c->cpLiquid.c = {cp, 0, 0, 0, 0};
    c->cpIdealGas.c = {cp, 0, 0, 0, 0};
    c->phase = phase;
    return doc.AddComponent(std::move(c));
}

CTalInputStream& AddFeed(CTalDocEss& doc, const std::string& name, const std::vector<double>& flows, double T, double P) {
    auto s = std::make_unique<CTalInputStream>(doc.Comps(), name);
    for (std::size_t i = 0; i < flows.size(); ++i) s->SetComponentFlow(static_cast<int>(i), flows[i]);
    for (int i = 0; i < s->NumberOfComponents(); ++i) {
        s->SetComponentVaporFrac(i, s->GetPureComponent(i)->phase == NormalPhase::Gas ? 1.0 : 0.0);
    }
    s->SetTemp(T);
    s->SetPress(P);
    s->KeepAsDefinition();
    return static_cast<CTalInputStream&>(doc.AddStream(std::move(s)));
}

CTalStream& AddStream(CTalDocEss& doc, const std::string& name) {
    return doc.AddStream(std::make_unique<CTalStream>(doc.Comps(), name));
}

CTalProcedure& AddProcedure(CTalDocEss& doc, const std::string& name, unsigned procedureId, bool defaultOps) {
    auto p = CreateProcedureFromRoster(&doc, name, procedureId, defaultOps);
    if (!p) throw std::runtime_error("no procedure type " + std::to_string(procedureId));
    return doc.AddProcedure(std::move(p));
}

std::string CaptureFile(void (*write)(std::FILE*, void*), void* context) {
    char* buffer = nullptr;
    std::size_t size = 0;
    std::FILE* f = open_memstream(&buffer, &size);
    write(f, context);
    std::fclose(f);
    std::string text(buffer, size);
    std::free(buffer);
    return text;
}

std::string FirstRefusal(CTalOperation& op, int group) {
    ValidationSink page;
    if (op.IsSimDataComplete(group, &page, false, 0)) return "accepted";
    const ValidationIssue& issue = page.Issues().at(0);
    if (!issue.label.empty()) return issue.label + " " + std::to_string(issue.kind);
    const std::string caption = "Operating Conditions: ";
    return issue.text.rfind(caption, 0) == 0 ? issue.text.substr(caption.size()) : issue.text;
}

std::string LoadError(const std::string& text) {
    try {
        LoadFlowsheet(text, "test.json");
    } catch (const InputError& e) {
        return e.what();
    }
    return "";
}

std::string AllMessages(const CTalOperation& op) {
    std::string all;
    for (const SimMessage& m : op.Messages()) all += m.text + "\n";
    return all;
}

}  // namespace unitops::test
