#include "unitops/io/flowsheet_file.hpp"

#include <array>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <unordered_map>
#include <stdexcept>

#include "unitops/contract/archive.hpp"
#include "unitops/contract/cost_index.hpp"
#include "unitops/io/database.hpp"
#include "unitops/roster/catalog.hpp"
#include "unitops/roster/roster.hpp"
#include "unitops/schedule/schedule.hpp"

namespace unitops {

namespace {

// Smallest size on disk of the records that a count announces: a count larger than the bytes
// left could hold is refused before anything is allocated for it.
constexpr std::size_t kMinComponentBytes = 4 * 1 + 2 + 21 * 8 + 2 + 4 * 8 + 2;
constexpr std::size_t kMinAgentBytes = 1 + 2 + 3 * 8;
constexpr std::size_t kMinMixtureBytes = 1 + 8 + 4;
constexpr std::size_t kMinIngredientBytes = 1 + 8;

//! Files from this version on keep the flowsheet's stock mixtures after its components.
constexpr double kMixturesSinceVersion = 6.1;
constexpr double kRecyclesSinceVersion = 6.2;  // recycle options and loops in the run record
constexpr double kSolventFlagSinceVersion = 6.5;  // a component's solvent flag
constexpr double kSkidsSinceVersion = 6.4;     // the cleaning skids, before the streams
constexpr std::size_t kMinSkidBytes = 2 + 1;
constexpr double kScheduleSinceVersion = 6.3;  // start relations, plant cycle time and annual time
constexpr std::size_t kMinRelationBytes = 4 * 1 + 2 + 8;
constexpr std::size_t kMinProcedureStartBytes = 2 * 1 + 8;
constexpr std::size_t kMinStreamBytes = 1 + 2 + 8 + 8 + 4;
constexpr std::size_t kMinProcedureBytes = 1 + 4 + 2 + 2 + 8 + 8 + 4 + 8 + 2 + 4 + 4 + 2 + 4;
constexpr std::size_t kMinOperationBytes = 2;
constexpr std::size_t kMinMessageBytes = 2 + 4 + 4 + 1;
constexpr std::size_t kMinTextBytes = 1;
constexpr std::size_t kIndexBytes = 4;

// ---------------------------------------------------------------- values in both directions
// The host's own records are written and read by one function each, as the framework's
// Serialize does: the direction of the archive decides.

template <class T>
void Transfer(CArchive& ar, T& v) {
    if (ar.IsStoring()) {
        ar << v;
    } else {
        ar >> v;
    }
}

template <class T, std::size_t N>
void Transfer(CArchive& ar, std::array<T, N>& values) {
    for (T& v : values) Transfer(ar, v);
}

//! A choice among `count` values stored as a 16-bit word; a word out of range is an error.
int TransferChoice(CArchive& ar, int value, int count, const char* what) {
    if (ar.IsStoring()) {
        ar.WriteWord(value);
        return value;
    }
    const std::size_t at = ar.Position();
    const int read = ar.ReadWord();
    if (read >= count) throw ArchiveError(std::string("bad ") + what + " " + std::to_string(read), at);
    return read;
}

void TransferFlag(CArchive& ar, bool& flag, const char* what) { flag = TransferChoice(ar, flag ? 1 : 0, 2, what) != 0; }

template <class E>
void TransferEnum(CArchive& ar, E& e, int count, const char* what) {
    e = static_cast<E>(TransferChoice(ar, static_cast<int>(e), count, what));
}

//! A count of records, each at least `minBytes` long on disk.
std::size_t TransferCount(CArchive& ar, std::size_t count, std::size_t minBytes, const char* what) {
    std::int32_t n = static_cast<std::int32_t>(count);
    const std::size_t at = ar.Position();
    Transfer(ar, n);
    if (ar.IsLoading() && (n < 0 || static_cast<std::size_t>(n) > ar.Remaining() / minBytes)) {
        throw ArchiveError(std::to_string(n) + " " + what + " cannot fit in the " + std::to_string(ar.Remaining()) +
                               " bytes left",
                           at);
    }
    return static_cast<std::size_t>(n);
}

void TransferTexts(CArchive& ar, std::vector<std::string>& texts) {
    texts.resize(TransferCount(ar, texts.size(), kMinTextBytes, "texts"));
    for (std::string& t : texts) Transfer(ar, t);
}

// ---------------------------------------------------------------- the host's records

struct Settings {
    std::string title;
    bool batch = false;
    double plantBatchTime = 0.0;
    double costYear = 0.0;
    QuestionPolicy policy = QuestionPolicy::NoChange;
};

void TransferSettings(CArchive& ar, Settings& s) {
    Transfer(ar, s.title);
    TransferFlag(ar, s.batch, "plant mode");
    Transfer(ar, s.plantBatchTime);
    Transfer(ar, s.costYear);
    TransferEnum(ar, s.policy, 4, "question policy");
}

void TransferComponent(CArchive& ar, CTalPureComponent& c) {
    Transfer(ar, c.name);
    Transfer(ar, c.databaseName);
    Transfer(ar, c.formula);
    Transfer(ar, c.cas);
    TransferEnum(ar, c.phase, 3, "phase");
    Transfer(ar, c.molecularWeight);
    Transfer(ar, c.liqSolDensity);
    Transfer(ar, c.cpLiquid.c);
    Transfer(ar, c.cpIdealGas.c);
    Transfer(ar, c.normalBoilingPoint);
    Transfer(ar, c.criticalTemperature);
    Transfer(ar, c.criticalPressure);
    Transfer(ar, c.heatOfVaporization);
    Transfer(ar, c.antoine);
    TransferFlag(ar, c.hasVaporPressure, "vapour-pressure flag");
    Transfer(ar, c.henryConstant);
    Transfer(ar, c.diffusivityInAir);
    Transfer(ar, c.diffusivityInWater);
    Transfer(ar, c.particleSize);
    TransferFlag(ar, c.isBiomass, "biomass flag");
    if (ar.IsStoring() ? ar.StoreVersionNo() >= kSolventFlagSinceVersion : ar.VersionNo() >= kSolventFlagSinceVersion) {
        TransferFlag(ar, c.isSolvent, "solvent flag");
    } else {
        c.isSolvent = false;
    }
}

void TransferMixture(CArchive& ar, CTalStockMixture& m) {
    Transfer(ar, m.name);
    Transfer(ar, m.density);
    m.ingredients.resize(TransferCount(ar, m.ingredients.size(), kMinIngredientBytes, "ingredients"));
    for (auto& [component, fraction] : m.ingredients) {
        Transfer(ar, component);
        Transfer(ar, fraction);
    }
}

void TransferAgent(CArchive& ar, CTalHeatTransferAgent& a) {
    Transfer(ar, a.name);
    TransferFlag(ar, a.isHeating, "agent kind");
    Transfer(ar, a.inTemp);
    Transfer(ar, a.outTemp);
    Transfer(ar, a.energyToMassF);
}

struct ProcedureSettings {
    std::string name;
    std::uint32_t type = 0;
    bool batch = false;
    bool design = true;
    double holdupTime = 0.0;
    double cycleTime = 0.0;  // 0: the holdup time
    std::int32_t cycles = 1;
    double utilFactor = 1.0;
};

void TransferProcedureSettings(CArchive& ar, ProcedureSettings& s) {
    Transfer(ar, s.name);
    Transfer(ar, s.type);
    TransferFlag(ar, s.batch, "procedure mode");
    TransferFlag(ar, s.design, "design mode");
    Transfer(ar, s.holdupTime);
    Transfer(ar, s.cycleTime);
    Transfer(ar, s.cycles);
    Transfer(ar, s.utilFactor);
}

void TransferMessage(CArchive& ar, SimMessage& m) {
    TransferEnum(ar, m.kind, 3, "message kind");
    Transfer(ar, m.number);
    Transfer(ar, m.help);
    Transfer(ar, m.text);
}

//! What an operation said in the run, and how its last Solve ended.
struct RunRecord {
    std::int32_t lastResult = -2;
    std::vector<SimMessage> messages;
};

void TransferRunRecord(CArchive& ar, RunRecord& r) {
    const std::size_t at = ar.Position();
    Transfer(ar, r.lastResult);
    if (r.lastResult < -2 || r.lastResult > 1) throw ArchiveError("bad result of a run " + std::to_string(r.lastResult), at);
    r.messages.resize(TransferCount(ar, r.messages.size(), kMinMessageBytes, "messages"));
    for (SimMessage& m : r.messages) TransferMessage(ar, m);
}

//! The record of the whole run; the order of the procedures is kept as their indices.
void TransferSimulationResult(CArchive& ar, SimulationResult& run, std::vector<std::int32_t>& order) {
    TransferFlag(ar, run.completed, "run state");
    Transfer(ar, run.passes);
    TransferTexts(ar, run.errors);
    order.resize(TransferCount(ar, order.size(), kIndexBytes, "procedures in the order of the run"));
    for (std::int32_t& i : order) Transfer(ar, i);
}

//! The recycle settings and, per loop, its procedures (indices), tear streams (names),
//! iterations, last error and whether it converged.
struct SavedLoop {
    std::vector<std::int32_t> procedures;
    std::vector<std::string> tears;
    std::int32_t iterations = 0;
    double error = 0.0;
    bool converged = false;
};

void TransferRecycles(CArchive& ar, RecycleOptions& o, std::vector<SavedLoop>& loops) {
    Transfer(ar, o.relativeTolerance);
    std::int32_t most = o.maxIterations;
    Transfer(ar, most);
    o.maxIterations = most;
    TransferFlag(ar, o.accelerate, "recycle acceleration");
    TransferTexts(ar, o.tears);
    loops.resize(TransferCount(ar, loops.size(), kIndexBytes, "recycle loops"));
    for (SavedLoop& l : loops) {
        l.procedures.resize(TransferCount(ar, l.procedures.size(), kIndexBytes, "procedures of a recycle loop"));
        for (std::int32_t& i : l.procedures) Transfer(ar, i);
        TransferTexts(ar, l.tears);
        Transfer(ar, l.iterations);
        Transfer(ar, l.error);
        TransferFlag(ar, l.converged, "recycle convergence");
    }
}

//! The start relations of the operations and procedures, the plant cycle time and the annual
//! operating time; the reader checks them against the flowsheet once it is complete.
void TransferSchedule(CArchive& ar, ScheduleSettings& s) {
    Transfer(ar, s.plantCycleTime);
    Transfer(ar, s.annualTime);
    s.operations.resize(TransferCount(ar, s.operations.size(), kMinRelationBytes, "start relations"));
    for (StartRelation& r : s.operations) {
        Transfer(ar, r.procedure);
        Transfer(ar, r.operation);
        const int anchor = TransferChoice(ar, static_cast<int>(r.anchor) - 1, 2, "start relation") + 1;
        r.anchor = static_cast<StartRelation::Anchor>(anchor);
        Transfer(ar, r.refProcedure);
        Transfer(ar, r.refOperation);
        Transfer(ar, r.shift);
    }
    s.procedures.resize(TransferCount(ar, s.procedures.size(), kMinProcedureStartBytes, "procedure starts"));
    for (ProcedureStart& p : s.procedures) {
        Transfer(ar, p.procedure);
        Transfer(ar, p.after);
        Transfer(ar, p.time);
    }
}

// ---------------------------------------------------------------- writing

class Writer {
public:
    Writer(const CTalDocEss& doc, double version) : doc_(doc), version_(version) {
        ar_.StoreAsVersion(version);
        ar_.RequireFiniteValues(true);
        ar_.SetComponents(doc.Comps());
        for (const auto& p : doc.Procedures()) {
            refs_.procedures.push_back(p.get());
            for (int i = 0; i < p->NumberOfOps(); ++i) refs_.operations.push_back(p->GetOp(i));
        }
        ar_.SetReferences(&refs_);
        for (std::size_t i = 0; i < doc.Streams().size(); ++i) {
            streamIndex_.emplace(doc.Streams()[i].get(), static_cast<std::int32_t>(i));
        }
    }

    std::vector<std::uint8_t> Write(const SimulationResult* run) {
        ar_ << std::string(kFlowsheetMagic) << version_;
        WriteSettings();
        WriteList(*doc_.Comps(), [&](const CTalPureComponent& c) {
            CTalPureComponent copy = c;
            TransferComponent(ar_, copy);
        });
        if (version_ >= kMixturesSinceVersion) WriteMixtures();
        WriteList(doc_.Agents(), [&](const CTalHeatTransferAgent& a) {
            CTalHeatTransferAgent copy = a;
            TransferAgent(ar_, copy);
        });
        if (version_ >= kSkidsSinceVersion) WriteList(doc_.Skids(), [&](const CTalIPCleaningSkid& s) { ar_.WriteObject(&s); });
        WriteList(doc_.Streams(), [&](const CTalStream& s) { WriteStream(s); });
        WriteList(doc_.Procedures(), [&](const CTalProcedure& p) { WriteProcedure(p); });
        WriteRun(run);
        return ar_.Bytes();
    }

private:
    template <class List, class Write>
    void WriteList(const List& list, Write&& write) {
        TransferCount(ar_, list.size(), 1, "records");
        for (const auto& item : list) write(*item);
    }

    void WriteMixtures() {
        TransferCount(ar_, static_cast<std::size_t>(doc_.NumberOfMixtures()), 1, "records");
        for (int i = 0; i < doc_.NumberOfMixtures(); ++i) {
            CTalStockMixture copy = doc_.MixtureDef(i);
            TransferMixture(ar_, copy);
        }
    }

    void WriteSettings() {
        Settings s{doc_.title, doc_.IsBatchMode(), doc_.PlantBatchTime(), doc_.costYear, doc_.questionPolicy};
        TransferSettings(ar_, s);
    }

    // The state of a stream or of a procedure's contents, by the host's own Serialize.
    void WriteState(const CTalSModel& s) { const_cast<CTalSModel&>(s).CTalSModel::Serialize(ar_); }

    void WriteStream(const CTalStream& s) {
        const auto* feed = dynamic_cast<const CTalInputStream*>(&s);
        ar_ << s.Name();
        ar_.WriteWord(feed ? 1 : 0);
        if (feed) {
            ar_.WriteWord(feed->IsVolFlowSetByUser() ? 1 : 0);
            const std::vector<double>& defined = feed->DefinedFlows();
            for (int i = 0; i < feed->NumberOfComponents(); ++i) {
                ar_ << (defined.size() == static_cast<std::size_t>(feed->NumberOfComponents()) ? defined[static_cast<std::size_t>(i)]
                                                                                                  : feed->ComponentFlow(i));
            }
        }
        WriteState(s);
    }

    std::int32_t StreamIndex(const CTalStream* s) const {
        if (!s) return -1;
        if (const auto found = streamIndex_.find(s); found != streamIndex_.end()) return found->second;
        throw std::invalid_argument("stream '" + s->Name() + "' is connected but not in the flowsheet");
    }

    void WritePorts(int count, CTalStream* (CTalProcedure::*stream)(int) const, const CTalProcedure& p) {
        TransferCount(ar_, static_cast<std::size_t>(count), 1, "ports");
        for (int port = 0; port < count; ++port) ar_ << StreamIndex((p.*stream)(port));
    }

    void WriteProcedure(const CTalProcedure& p) {
        ProcedureSettings s{p.Name(), p.UnitProcID(), p.IsBatchMode(), p.IsDesignMode(), p.HoldupTime(),
                            p.CycleTime() == p.HoldupTime() ? 0.0 : p.CycleTime(), p.NumberOfCycles(), p.UtilFactor()};
        TransferProcedureSettings(ar_, s);
        const CTalDiscreteEntity* entity = p.Entity();
        ar_.WriteWord(entity ? 1 : 0);
        if (entity) {
            ar_ << entity->bulkConvF;
            ar_.WriteWord(entity->isBulkConvFMass ? 1 : 0);
        }
        WritePorts(p.NumberOfInPorts(), &CTalProcedure::InStream, p);
        WritePorts(p.NumberOfOutPorts(), &CTalProcedure::OutStream, p);
        WriteEquipment(p.Equipment());
        TransferCount(ar_, static_cast<std::size_t>(p.NumberOfOps()), 1, "operations");
        for (int i = 0; i < p.NumberOfOps(); ++i) ar_.WriteObject(p.GetOp(i));
        for (int i = 0; i < p.NumberOfStates(); ++i) WriteState(*p.GetState(i));
        for (int i = 0; i < p.NumberOfOps(); ++i) {
            RunRecord r{p.GetOp(i)->LastResult(), p.GetOp(i)->Messages()};
            TransferRunRecord(ar_, r);
        }
    }

    void WriteEquipment(const CTalEquipment* e) {
        ar_.WriteObject(e);
        if (!e) return;
        ar_.WriteWord(e->m_DefaultContents ? 1 : 0);
        if (e->m_DefaultContents) WriteState(*e->m_DefaultContents);
        ar_.WriteWord(e->CostComputation().method.empty() ? 0 : 1);
    }

    // The run record, then the recycle settings, which a flowsheet keeps whether or not it ran,
    // with the loops of the run.
    void WriteRun(const SimulationResult* run) {
        ar_.WriteWord(run ? 1 : 0);
        if (run) {
            SimulationResult copy = *run;
            std::vector<std::int32_t> order;
            for (const CTalProcedure* p : run->order) order.push_back(doc_.GetProcedureIndex(p));
            TransferSimulationResult(ar_, copy, order);
        }
        if (version_ < kRecyclesSinceVersion) return;
        RecycleOptions options = doc_.recycleOptions;
        std::vector<SavedLoop> loops;
        for (const RecycleLoop& loop : run ? run->loops : std::vector<RecycleLoop>{}) {
            SavedLoop l{{}, {}, loop.iterations, loop.error, loop.converged};
            for (const CTalProcedure* p : loop.procedures) l.procedures.push_back(doc_.GetProcedureIndex(p));
            for (const CTalStream* t : loop.tears) l.tears.push_back(t->Name());
            loops.push_back(std::move(l));
        }
        TransferRecycles(ar_, options, loops);
        if (version_ < kScheduleSinceVersion) return;
        ScheduleSettings schedule = doc_.schedule;
        TransferSchedule(ar_, schedule);
    }

    const CTalDocEss& doc_;
    double version_;
    CArchive ar_;
    ReferenceTable refs_;
    std::unordered_map<const CTalStream*, std::int32_t> streamIndex_;  // place of each stream in the list
};

// ---------------------------------------------------------------- reading

class Reader {
public:
    explicit Reader(const std::vector<std::uint8_t>& bytes) : ar_(bytes, &RosterClasses()) {
        ar_.RequireFiniteValues(true);
        ar_.SetReferences(&refs_);
        ar_.SetPrepareObject([this](CObject& o) { Place(o); });
    }

    SavedFlowsheet Read() {
        ReadHeader();
        doc_ = std::make_unique<CTalDocEss>();
        ReadSettings();
        ReadComponents();
        if (ar_.VersionNo() >= kMixturesSinceVersion) ReadList(kMinMixtureBytes, "mixtures", [&] { ReadMixture(); });
        ReadAgents();
        if (ar_.VersionNo() >= kSkidsSinceVersion) ReadList(kMinSkidBytes, "skids", [&] { ReadSkid(); });
        ReadList(kMinStreamBytes, "streams", [&] { ReadStream(); });
        ReadList(kMinProcedureBytes, "procedures", [&] { ReadProcedure(); });
        SavedFlowsheet saved;
        saved.run = ReadRun();
        if (!ar_.AtEnd()) Fail(ar_.Position(), "unexpected data after the end of the flowsheet");
        ar_.ResolveReferences();
        FinishOpening();
        doc_->SetSimModified(!(saved.run && saved.run->completed));
        saved.doc = std::move(doc_);
        return saved;
    }

private:
    [[noreturn]] static void Fail(std::size_t at, const std::string& what) { throw ArchiveError(what, at); }

    template <class ReadOne>
    void ReadList(std::size_t minBytes, const char* what, ReadOne&& readOne) {
        const std::size_t n = TransferCount(ar_, 0, minBytes, what);
        for (std::size_t i = 0; i < n; ++i) readOne();
    }

    void ReadHeader() {
        std::string magic;
        ar_ >> magic;
        if (magic != kFlowsheetMagic) Fail(0, "not a saved flowsheet");
        const std::size_t at = ar_.Position();
        double version = 0.0;
        ar_ >> version;
        if (version > kFlowsheetFormatVersion || version < kOldestFlowsheetFormatVersion) {
            Fail(at, "the file has format version " + std::to_string(version) + "; this program reads versions " +
                         std::to_string(kOldestFlowsheetFormatVersion) + " to " + std::to_string(kFlowsheetFormatVersion));
        }
        ar_.SetVersionNo(version);
    }

    void ReadSettings() {
        Settings s;
        TransferSettings(ar_, s);
        const std::size_t end = ar_.Position();
        if (!(s.plantBatchTime > 0.0)) Fail(end, "the plant batch time must be positive");
        if (s.costYear != 0.0 && !IsCostIndexYear(s.costYear)) Fail(end, "no plant cost index for the cost year");
        doc_->title = s.title;
        doc_->SetBatchMode(s.batch);
        doc_->SetPlantBatchTime(s.plantBatchTime);
        doc_->costYear = s.costYear;
        doc_->questionPolicy = s.policy;
    }

    static bool IsCostIndexYear(double year) {
        return year == std::floor(year) && year >= FirstCostIndexYear() && year <= LastCostIndexYear();
    }

    void ReadComponents() {
        const std::size_t n = TransferCount(ar_, 0, kMinComponentBytes, "components");
        if (n == 0) Fail(ar_.Position(), "a flowsheet needs at least one component");
        for (std::size_t i = 0; i < n; ++i) {
            const std::size_t at = ar_.Position();
            auto c = std::make_unique<CTalPureComponent>();
            TransferComponent(ar_, *c);
            if (doc_->GetComponentIndex(c->name) >= 0) Fail(at, "component '" + c->name + "' is listed twice");
            try {
                CheckComponentComplete(*c, "component " + std::to_string(i + 1));
            } catch (const InputError& e) {
                Fail(at, e.what());
            }
            doc_->AddComponent(std::move(c));
        }
        ar_.SetComponents(doc_->Comps());
    }

    void ReadMixture() {
        const std::size_t at = ar_.Position();
        CTalStockMixture m;
        TransferMixture(ar_, m);
        const std::string what = "mixture '" + m.name + "'";
        if (doc_->MixtureDefPtr(m.name)) Fail(at, what + " is listed twice");
        if (!(m.density > 0.0)) Fail(at, what + " has no positive density");
        for (const auto& [component, fraction] : m.ingredients) {
            if (doc_->GetComponentIndex(component) < 0) Fail(at, what + " holds the unknown component '" + component + "'");
            if (!(fraction >= 0.0 && fraction <= 1.0)) Fail(at, what + " holds a mass fraction outside 0 to 1");
        }
        doc_->AddStockMixture(std::move(m));
    }

    // The operations that use a skid refer to it later in the file.
    void ReadSkid() {
        const std::size_t at = ar_.Position();
        std::unique_ptr<CTalIPCleaningSkid> skid = ReadOwned<CTalIPCleaningSkid>(RUNTIME_CLASS(CTalIPCleaningSkid));
        if (!skid) Fail(at, "a cleaning skid is missing");
        if (doc_->GetSkid(skid->Name())) Fail(at, "cleaning skid '" + skid->Name() + "' is listed twice");
        doc_->AddSkid(std::move(skid));
    }

    void ReadAgents() {
        ReadList(kMinAgentBytes, "agents", [&] {
            auto a = std::make_unique<CTalHeatTransferAgent>();
            TransferAgent(ar_, *a);
            doc_->AddAgent(std::move(a));
        });
    }

    // A state read by the host's own Serialize, then checked: a state that no simulation could
    // have made is refused rather than carried into the next run.
    void ReadState(CTalSModel& s, const std::string& whose) {
        const std::size_t at = ar_.Position();
        s.CTalSModel::Serialize(ar_);
        if (!(s.Temp() > 0.0) || !(s.Press() > 0.0)) Fail(at, "the state of " + whose + " has no positive T and P");
        for (int i = 0; i < s.NumberOfComponents(); ++i) {
            const bool ok = s.ComponentFlow(i) >= 0.0 && IsFraction(s.ComponentVaporFrac(i)) &&
                            IsFraction(s.ComponentLiquidFrac(i)) && IsFraction(s.ComponentExtraCellFrac(i));
            if (!ok) Fail(at, "the state of " + whose + " holds a negative flow or a fraction outside 0 to 1");
        }
    }

    static bool IsFraction(double f) { return f >= 0.0 && f <= 1.0; }

    void ReadStream() {
        const std::size_t at = ar_.Position();
        std::string name;
        ar_ >> name;
        if (doc_->FindStream(name)) Fail(at, "stream '" + name + "' is listed twice");
        bool isFeed = false;
        TransferFlag(ar_, isFeed, "stream kind");
        std::unique_ptr<CTalStream> s;
        if (isFeed) {
            s = ReadFeedDefinition(name);
        } else {
            s = std::make_unique<CTalStream>(doc_->Comps(), name);
        }
        ReadState(*s, "stream '" + name + "'");
        doc_->AddStream(std::move(s));
    }

    std::unique_ptr<CTalStream> ReadFeedDefinition(const std::string& name) {
        auto feed = std::make_unique<CTalInputStream>(doc_->Comps(), name);
        bool byVolume = false;
        TransferFlag(ar_, byVolume, "volume flag");
        feed->SetVolFlowSetByUser(byVolume);
        for (int i = 0; i < feed->NumberOfComponents(); ++i) {
            const std::size_t at = ar_.Position();
            double flow = 0.0;
            ar_ >> flow;
            if (flow < 0.0) Fail(at, "feed '" + name + "' has a negative flow");
            feed->SetComponentFlow(i, flow);
        }
        feed->KeepAsDefinition();
        return feed;
    }

    void ReadProcedure() {
        const std::size_t at = ar_.Position();
        ProcedureSettings s;
        TransferProcedureSettings(ar_, s);
        CheckProcedureSettings(s, at);
        CTalProcedure& p = doc_->AddProcedure(CreateProcedureFromRoster(doc_.get(), s.name, s.type, false));
        refs_.procedures.push_back(&p);
        p.SetBatchMode(s.batch);
        p.SetDesignMode(s.design);
        p.SetHoldupTime(s.holdupTime);
        p.SetCycleTime(s.cycleTime);
        p.SetNumberOfCycles(s.cycles);
        p.SetUtilFactor(s.utilFactor);
        ReadEntity(p);
        ReadPorts(p, true);
        ReadPorts(p, false);
        current_ = &p;
        ReadEquipment(p);
        ReadOperations(p);
        for (int i = 0; i < p.NumberOfStates(); ++i) ReadState(*p.GetState(i), "procedure '" + p.Name() + "'");
        for (int i = 0; i < p.NumberOfOps(); ++i) ReplayRun(*p.GetOp(i));
        current_ = nullptr;
    }

    void CheckProcedureSettings(const ProcedureSettings& s, std::size_t at) const {
        const std::string name = "procedure '" + s.name + "'";
        if (!roster::FindProcedure(s.type)) Fail(at, name + " has the unknown type " + std::to_string(s.type));
        if (doc_->FindProcedure(s.name)) Fail(at, name + " is listed twice");
        if (!(s.holdupTime > 0.0)) Fail(at, name + ": the holdup time must be positive");
        if (s.cycleTime < 0.0) Fail(at, name + ": the cycle time must not be negative");
        if (s.cycles < 1) Fail(at, name + ": the number of cycles must be at least 1");
        if (!(s.utilFactor > 0.0) || s.utilFactor > 1.0) Fail(at, name + ": the utilization factor must lie above 0 and at most 1");
    }

    void ReadEntity(CTalProcedure& p) {
        bool has = false;
        TransferFlag(ar_, has, "entity flag");
        if (!has) return;
        auto entity = std::make_unique<CTalDiscreteEntity>();
        ar_ >> entity->bulkConvF;
        TransferFlag(ar_, entity->isBulkConvFMass, "entity basis");
        p.SetEntity(std::move(entity));
    }

    void ReadPorts(CTalProcedure& p, bool inputs) {
        const std::size_t at = ar_.Position();
        const int ports = inputs ? p.NumberOfInPorts() : p.NumberOfOutPorts();
        const std::size_t n = TransferCount(ar_, 0, kIndexBytes, "ports");
        if (n != static_cast<std::size_t>(ports)) {
            Fail(at, "procedure '" + p.Name() + "' has " + std::to_string(n) + (inputs ? " input" : " output") +
                         " ports in the file, " + std::to_string(ports) + " in this program");
        }
        for (int port = 0; port < ports; ++port) {
            const std::size_t where = ar_.Position();
            std::int32_t index = 0;
            ar_ >> index;
            if (index == -1) continue;
            if (index < -1 || static_cast<std::size_t>(index) >= doc_->Streams().size()) {
                Fail(where, "procedure '" + p.Name() + "' is connected to the unknown stream " + std::to_string(index));
            }
            CTalStream* s = doc_->Streams()[static_cast<std::size_t>(index)].get();
            const bool taken = inputs ? s->Destination() != nullptr : s->Source() != nullptr;
            const bool feedAsOutput = !inputs && dynamic_cast<CTalInputStream*>(s);
            if (taken || feedAsOutput) {
                Fail(where, "stream '" + s->Name() + "' cannot be " + (inputs ? "an input" : "an output") + " of '" +
                                p.Name() + "': it is a feed or already connected");
            }
            if (inputs) {
                p.ConnectIn(port, s);
            } else {
                p.ConnectOut(port, s);
            }
        }
    }

    // Objects made by the archive take their place in the procedure being read before they
    // read their members, so that they know the flowsheet's components and agents.
    void Place(CObject& o) {
        if (!current_) return;
        if (auto* op = dynamic_cast<CTalOperation*>(&o)) {
            op->SetOwner(current_);
        } else if (auto* e = dynamic_cast<CTalEquipment*>(&o)) {
            e->SetOwner(current_);
        }
    }

    //! An object that the file must hold here, of class `cls`; null stays null.
    template <class T>
    std::unique_ptr<T> ReadOwned(const CRuntimeClass* cls) {
        const std::size_t at = ar_.Position();
        bool isNew = false;
        CObject* obj = ar_.ReadObjectOf(cls, isNew);
        if (obj && !isNew) Fail(at, std::string("a second reference to an object of class ") + cls->m_lpszClassName);
        std::unique_ptr<CObject> owned(obj);
        std::unique_ptr<T> typed(dynamic_cast<T*>(owned.get()));
        if (typed) owned.release();
        return typed;
    }

    void ReadEquipment(CTalProcedure& p) {
        const std::size_t at = ar_.Position();
        const int typeId = EquipTypeIDFromRoster0(p.UnitProcID());
        const roster::EquipmentEntry* entry = typeId ? roster::FindEquipment(typeId) : nullptr;
        const CRuntimeClass* cls = entry ? RosterClasses().Find(entry->className) : RUNTIME_CLASS(CTalEquipment);
        if (!cls) Fail(at, std::string("the equipment ") + entry->className + " of '" + p.Name() + "' is not available in this version");
        std::unique_ptr<CTalEquipment> e = ReadOwned<CTalEquipment>(cls);
        if (!e != !entry) Fail(at, "procedure '" + p.Name() + "' must " + (entry ? "" : "not ") + "hold equipment");
        if (!e) return;
        CTalEquipment& item = *e;
        const double baseYear = item.m_UserCostModel.baseYear;
        if (baseYear != 0.0 && !IsCostIndexYear(baseYear)) Fail(at, "no plant cost index for the base year of the user's cost model");
        p.SetEquipment(std::move(e));
        bool hasContents = false;
        TransferFlag(ar_, hasContents, "default contents flag");
        if (hasContents) {
            if (!item.m_DefaultContents) Fail(ar_.Position(), "equipment of '" + p.Name() + "' has no default contents");
            ReadState(*item.m_DefaultContents, "the default contents of '" + p.Name() + "'");
        }
        bool costed = false;
        TransferFlag(ar_, costed, "cost flag");
        if (costed) costed_.push_back(&item);
    }

    void ReadOperations(CTalProcedure& p) {
        const std::size_t n = TransferCount(ar_, 0, kMinOperationBytes, "operations");
        for (std::size_t i = 0; i < n; ++i) {
            const std::size_t at = ar_.Position();
            std::unique_ptr<CTalOperation> op = ReadOwned<CTalOperation>(RUNTIME_CLASS(CTalOperation));
            if (!op) Fail(at, "operation " + std::to_string(i + 1) + " of '" + p.Name() + "' is missing");
            refs_.operations.push_back(op.get());
            p.AddOperation(std::move(op));
        }
    }

    // The messages and the result of the run, as the operation had them.
    void ReplayRun(CTalOperation& op) {
        RunRecord r;
        TransferRunRecord(ar_, r);
        op.RestoreRunRecord(std::move(r.messages), r.lastResult);
    }

    std::optional<SimulationResult> ReadRun() {
        bool has = false;
        TransferFlag(ar_, has, "run flag");
        if (!has) {
            SimulationResult none;
            if (ar_.VersionNo() >= kRecyclesSinceVersion) ReadRecycles(none);
            ReadSchedule();
            return std::nullopt;
        }
        SimulationResult run;
        std::vector<std::int32_t> order;
        const std::size_t at = ar_.Position();
        TransferSimulationResult(ar_, run, order);
        for (std::int32_t i : order) {
            if (i < 0 || static_cast<std::size_t>(i) >= doc_->Procedures().size()) Fail(at, "bad procedure in the order of the run");
            run.order.push_back(doc_->Procedures()[static_cast<std::size_t>(i)].get());
        }
        if (ar_.VersionNo() >= kRecyclesSinceVersion) ReadRecycles(run);
        ReadSchedule();
        return run;
    }

    // A file from before start relations keeps the defaults: every operation follows the one
    // before it. Names that do not fit the flowsheet are a damaged file.
    void ReadSchedule() {
        if (ar_.VersionNo() < kScheduleSinceVersion) return;
        const std::size_t at = ar_.Position();
        TransferSchedule(ar_, doc_->schedule);
        const ScheduleSettings& s = doc_->schedule;
        if (!(s.plantCycleTime >= 0.0) || !(s.annualTime > 0.0)) Fail(at, "bad plant cycle time or annual operating time");
        if (s.operations.empty() && s.procedures.empty()) return;
        if (const std::string e = CheckStartRelations(*doc_); !e.empty()) Fail(at, e);
    }

    void ReadRecycles(SimulationResult& run) {
        const std::size_t at = ar_.Position();
        std::vector<SavedLoop> loops;
        TransferRecycles(ar_, doc_->recycleOptions, loops);
        for (const SavedLoop& l : loops) {
            RecycleLoop loop;
            for (std::int32_t i : l.procedures) {
                if (i < 0 || static_cast<std::size_t>(i) >= doc_->Procedures().size()) Fail(at, "bad procedure in a recycle loop");
                loop.procedures.push_back(doc_->Procedures()[static_cast<std::size_t>(i)].get());
            }
            for (const std::string& name : l.tears) {
                CTalStream* s = doc_->FindStream(name);
                if (!s) Fail(at, "unknown tear stream '" + name + "' in a recycle loop");
                loop.tears.push_back(s);
            }
            loop.iterations = l.iterations;
            loop.error = l.error;
            loop.converged = l.converged;
            run.loops.push_back(std::move(loop));
        }
    }

    // Models finish their upgrades once the whole flowsheet is there; the cost computations of
    // the run are then made again from the members that the file restored.
    void FinishOpening() {
        for (const auto& p : doc_->Procedures()) {
            if (CTalEquipment* e = p->Equipment()) e->OnNotifyAfterDocOpening();
            for (int i = 0; i < p->NumberOfOps(); ++i) {
                CTalOperation& op = *p->GetOp(i);
                op.UpdatePortID();
                op.CreateAgentPointersFromOldVersionNames();
                op.CreateLaborNeedsForOldVersions();
                op.OnNotifyAfterDocOpening();
            }
        }
        // A cost that is not finite with the file's data is cleared as the run that saved it did.
        for (CTalEquipment* e : costed_) {
            e->CalcPurchaseCost(nullptr);
            e->KeepsFiniteCost();
        }
    }

    CArchive ar_;
    ReferenceTable refs_;
    std::unique_ptr<CTalDocEss> doc_;
    CTalProcedure* current_ = nullptr;
    std::vector<CTalEquipment*> costed_;
};

}  // namespace

std::vector<std::uint8_t> SaveFlowsheet(const CTalDocEss& doc, const SimulationResult* run, double asVersion) {
    if (!(asVersion >= kOldestFlowsheetFormatVersion && asVersion <= kFlowsheetFormatVersion)) {
        throw std::invalid_argument("no flowsheet format version " + std::to_string(asVersion));
    }
    return Writer(doc, asVersion).Write(run);
}

namespace {
// The file's components in the order of `names`, which must name each of them once.
void ReorderComponents(CTalDocEss& doc, const std::vector<std::string>& names, const std::string& origin) {
    std::vector<std::unique_ptr<CTalPureComponent>> definitions;
    for (const std::string& name : names) {
        const CTalPureComponent* c = doc.ComponentDefPtr(name);
        if (!c) throw InputError(origin, "component '" + name + "' is not in the saved flowsheet");
        definitions.push_back(std::make_unique<CTalPureComponent>(*c));
    }
    if (definitions.size() != static_cast<std::size_t>(doc.NumberOfComponents())) {
        throw InputError(origin, "the component order must name each of the saved flowsheet's " +
                                     std::to_string(doc.NumberOfComponents()) + " components once");
    }
    const bool modified = doc.IsSimModified();
    try {
        doc.UpdateComponentList(std::move(definitions));
    } catch (const std::invalid_argument& e) {
        throw InputError(origin, e.what());
    }
    doc.SetSimModified(modified);  // the same data in another order: the results still hold
}
}  // namespace

SavedFlowsheet ReadSavedFlowsheet(const std::vector<std::uint8_t>& bytes, const std::string& origin,
                                  const std::vector<std::string>& componentOrder) {
    SavedFlowsheet saved;
    try {
        saved = Reader(bytes).Read();
    } catch (const ArchiveError& e) {
        throw InputError(origin, e.what());
    }
    if (!componentOrder.empty()) ReorderComponents(*saved.doc, componentOrder, origin);
    return saved;
}

std::unique_ptr<CTalDocEss> LoadSavedFlowsheet(const std::vector<std::uint8_t>& bytes, const std::string& origin) {
    return ReadSavedFlowsheet(bytes, origin).doc;
}

bool IsSavedFlowsheet(const std::vector<std::uint8_t>& bytes) {
    const std::size_t n = std::strlen(kFlowsheetMagic);
    return bytes.size() > n && bytes[0] == n && std::memcmp(bytes.data() + 1, kFlowsheetMagic, n) == 0;
}

std::vector<std::uint8_t> ReadBinaryFile(const std::string& path) {
    std::error_code ec;
    const auto status = std::filesystem::status(path, ec);
    if (ec || !std::filesystem::exists(status)) throw InputError(path, "cannot open the file");
    if (!std::filesystem::is_regular_file(status)) {
        throw InputError(path, "not a regular file (a directory, a device or a pipe cannot be read as a flowsheet)");
    }
    const auto size = std::filesystem::file_size(path, ec);
    if (ec) throw InputError(path, "cannot read the file");
    if (size > kMaxInputFileSize) {
        throw InputError(path, "the file holds " + std::to_string(size) + " bytes; files of more than " +
                                   std::to_string(kMaxInputFileSize >> 20) + " MB are refused");
    }
    std::ifstream in(path, std::ios::binary);
    if (!in) throw InputError(path, "cannot open the file");
    std::vector<std::uint8_t> bytes(static_cast<std::size_t>(size));
    in.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    if (in.bad() || static_cast<std::uintmax_t>(in.gcount()) != size) throw InputError(path, "cannot read the file");
    return bytes;
}

void WriteBinaryFile(const std::string& path, const std::vector<std::uint8_t>& bytes) {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    if (!out) throw InputError(path, "cannot write the file");
    out.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    if (!out) throw InputError(path, "cannot write the file");
}

}  // namespace unitops
