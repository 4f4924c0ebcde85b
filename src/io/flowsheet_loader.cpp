#include "unitops/io/flowsheet_loader.hpp"

#include "embedded.hpp"

#include <cmath>
#include <list>
#include <map>
#include <set>

#include <nlohmann/json.hpp>

#include "unitops/contract/cost_index.hpp"
#include "unitops/io/database.hpp"
#include "unitops/io/flowsheet_file.hpp"
#include "unitops/io/json_text.hpp"
#include "unitops/io/reaction_entries.hpp"
#include "unitops/models/vessel/cleaning.hpp"
#include "unitops/roster/catalog.hpp"
#include "unitops/roster/roster.hpp"
#include "unitops/schedule/schedule.hpp"

namespace unitops {

using json = nlohmann::ordered_json;

namespace {

std::string Index(const std::string& at, std::size_t i) { return at + "[" + std::to_string(i) + "]"; }
std::string Key(const std::string& at, const std::string& key) { return at.empty() ? key : at + "." + key; }
bool IsNote(const std::string& key) { return key == "note" || key == "notes" || key == "comment"; }

// Numbers written as "0xA087", "41095" or 41095.
bool ParseNumberText(const json& v, unsigned& out) {
    if (v.is_number_unsigned()) {
        const auto n = v.get<std::uint64_t>();
        if (n > 0xFFFFFFFFu) return false;
        out = static_cast<unsigned>(n);
        return true;
    }
    if (!v.is_string()) return false;
    const std::string s = v.get<std::string>();
    if (s.empty()) return false;
    try {
        std::size_t used = 0;
        const unsigned long n = std::stoul(s, &used, 0);
        if (used != s.size() || n > 0xFFFFFFFFul) return false;
        out = static_cast<unsigned>(n);
        return true;
    } catch (const std::exception&) {
        return false;
    }
}

class Loader {
public:
    explicit Loader(std::string origin) : origin_(std::move(origin)) {}

    std::unique_ptr<CTalDocEss> Load(std::string_view text) {
        const json root = ParseJsonDocument(text, origin_);
        if (!root.is_object()) Fail("", "a flowsheet must be a JSON object");
        for (const auto& [key, value] : root.items()) {
            static const std::set<std::string> kSections = {"flowsheet", "components", "mixtures", "agents", "streams",
                                                            "procedures", "skids"};
            if (!kSections.count(key) && !IsNote(key)) Fail(key, "unknown section '" + key + "'");
        }
        doc_ = std::make_unique<CTalDocEss>();
        if (root.contains("flowsheet")) ReadFlowsheetSection(root["flowsheet"]);
        if (!root.contains("components")) Fail("components", "a flowsheet needs its list of components");
        ReadComponents(root["components"]);
        if (root.contains("mixtures")) ReadMixtures(root["mixtures"]);
        ReadAgents(root.contains("agents") ? root["agents"] : json::array());
        if (root.contains("skids")) ReadSkids(root["skids"]);
        if (root.contains("streams")) ReadStreams(root["streams"]);
        if (root.contains("procedures")) ReadProcedures(root["procedures"]);
        for (const auto& s : doc_->Streams()) {
            if (auto* feed = dynamic_cast<CTalInputStream*>(s.get())) feed->KeepAsDefinition();
        }
        return std::move(doc_);
    }

private:
    [[noreturn]] void Fail(const std::string& at, const std::string& what) const {
        throw InputError(at.empty() ? origin_ : origin_ + ": " + at, what);
    }

    // ------------------------------------------------------------ values

    double Value(const json& v, Quantity q, const std::string& at) const {
        double x = 0.0;
        if (v.is_number()) {
            x = v.get<double>();
        } else if (v.is_string()) {
            try {
                x = ParseQuantity(v.get<std::string>(), q, doc_->IsBatchMode() ? doc_->PlantBatchTime() : 0.0);
            } catch (const UnitError& e) {
                Fail(at, e.what());
            }
        } else {
            Fail(at, std::string("expected a number or a value with its unit, not ") + v.type_name());
        }
        if (const std::string why = CheckInputRange(x, q); !why.empty()) Fail(at, why);
        return x;
    }

    double NonNegative(const json& v, Quantity q, const std::string& at) const {
        const double x = Value(v, q, at);
        if (x < 0.0) Fail(at, "must not be negative");
        return x;
    }

    double Positive(const json& v, Quantity q, const std::string& at) const {
        const double x = Value(v, q, at);
        if (!(x > 0.0)) Fail(at, "must be positive");
        return x;
    }

    int Integer(const json& v, const std::string& at) const {
        if (v.is_boolean()) return v.get<bool>() ? 1 : 0;
        if (v.is_number_unsigned() && v.get<std::uint64_t>() > 2147483647u) Fail(at, "the number is too large");
        if (v.is_number_integer()) {
            const auto n = v.get<long long>();
            if (n < -2147483647LL || n > 2147483647LL) Fail(at, "the number is too large");
            return static_cast<int>(n);
        }
        if (v.is_number_float()) {
            const double d = v.get<double>();
            if (std::isfinite(d) && d == std::floor(d) && std::abs(d) < 2147483647.0) return static_cast<int>(d);
        }
        Fail(at, std::string("expected a whole number, not ") + (v.is_string() ? "a text" : v.type_name()));
    }

    //! A whole number among the row's choices (a mode, a basis).
    int Choice(const MemberRow& row, int value, const std::string& at) const {
        if (value < row.lowest || value > row.highest) {
            Fail(at, row.name + " must be " + std::to_string(row.lowest) + " to " + std::to_string(row.highest) + " (" +
                         std::to_string(value) + " given)");
        }
        return value;
    }

    bool Bool(const json& v, const std::string& at) const {
        if (!v.is_boolean()) Fail(at, "expected true or false");
        return v.get<bool>();
    }

    std::string Text(const json& v, const std::string& at) const {
        if (!v.is_string()) Fail(at, std::string("expected a text, not ") + v.type_name());
        return v.get<std::string>();
    }

    //! The member that a key names: its own name, or another name by which the same member is
    //! known in some model descriptions.
    static const MemberRow* FindMember(const MemberTable& table, const std::string& key) {
        static const std::map<std::string, std::string> kAliases = {
            {"WorkingToVesselVolume", "WorkingToVesselVol"}, {"OperatingTemp", "ExitTemp"},
            {"OperatingPress", "OperPressure"},              {"IsPressSetByUser", "IsPressureSetByUser"},
            {"TotalPower", "Power"},                         {"EquipCapacityUtilF", "CapacityUtilF"}};
        if (const MemberRow* row = table.Find(key)) return row;
        const auto alias = kAliases.find(key);
        return alias == kAliases.end() ? nullptr : table.Find(alias->second);
    }

    //! Sets every key of `j` (but those in `skip`) through the object's member table.
    //! Lists with one value per entry of a count are set after every other key, so that the
    //! count may come after them in the file.
    void SetMembers(CObject& obj, const json& j, const std::string& at, const std::set<std::string>& skip) const {
        const MemberTable& table = obj.MemberRows();
        for (const bool listsOfACount : {false, true}) {
            for (const auto& [key, value] : j.items()) {
                if (skip.count(key) || IsNote(key)) continue;
                const std::string where = Key(at, key);
                const MemberRow* row = FindMember(table, key);
                if (!row) Fail(where, std::string("unknown parameter '") + key + "' of " + obj.GetRuntimeClass()->m_lpszClassName);
                if (!row->input) Fail(where, "'" + key + "' is a result of " + obj.GetRuntimeClass()->m_lpszClassName + " and cannot be set");
                if ((row->type == MemberType::RealArray && row->lengthOf) == listsOfACount) SetMember(obj, *row, value, where);
            }
        }
        // A later key may have changed what an earlier text named (a `PortID` that moves the
        // transfer off the port of its `PortStream`): every text given must still read back.
        for (const auto& [key, value] : j.items()) {
            if (skip.count(key) || IsNote(key) || !value.is_string()) continue;
            const MemberRow* row = FindMember(table, key);
            if (row->type != MemberType::Text || std::get<std::string>(row->get(obj)) == value.get<std::string>()) continue;
            Fail(Key(at, key), "'" + value.get<std::string>() + "' no longer holds after the other keys of this object were set (" +
                                   row->name + " reads '" + std::get<std::string>(row->get(obj)) + "'); give one of the keys that contradict each other");
        }
        RequireListsOfTheirCount(obj, at);
    }

    void SetMember(CObject& obj, const MemberRow& row, const json& value, const std::string& where) const {
        switch (row.type) {
            case MemberType::Real: row.set(obj, Value(value, row.quantity, where)); break;
            case MemberType::Integer: row.set(obj, Choice(row, Integer(value, where), where)); break;
            case MemberType::Text: SetText(obj, row, Text(value, where), where); break;
            case MemberType::RealArray:
                row.set(obj, row.lengthOf ? ListArray(value, row.lengthOf(obj), where) : ComponentArray(value, where));
                break;
        }
    }

    //! A list with one value per entry of a count (per particle-size range, say) must hold as many
    //! values as the count says once the object's keys are set: a count given without its lists,
    //! or lists of another length, cannot be simulated or saved as one flowsheet.
    void RequireListsOfTheirCount(const CObject& obj, const std::string& at) const {
        for (const MemberRow& row : obj.MemberRows().All()) {
            if (row.type != MemberType::RealArray || !row.lengthOf) continue;
            const std::size_t held = std::get<std::vector<double>>(row.get(obj)).size();
            const std::size_t needed = row.lengthOf(obj);
            if (held != needed) {
                Fail(Key(at, row.name), "holds " + std::to_string(held) + " values where the count set for this object needs " +
                                            std::to_string(needed) + ": give it as a list of " + std::to_string(needed) + " values");
            }
        }
    }

    //! A text member that names something (a procedure, a stream on a port) keeps only a name
    //! that it finds: one that does not read back was not taken.
    void SetText(CObject& obj, const MemberRow& row, const std::string& text, const std::string& at) const {
        row.set(obj, text);
        if (std::get<std::string>(row.get(obj)) != text) {
            Fail(at, "'" + text + "' names nothing that " + row.name +
                     " can refer to (no such procedure, or no such stream on a port of this procedure)");
        }
    }

    //! Mass fractions must add up to 1 (to within 0.1 %; they are then scaled to 1).
    void CheckFractionSum(double sum, const std::string& at) const {
        if (std::abs(sum - 1.0) > 1e-3) Fail(at, "the mass fractions add up to " + std::to_string(sum) + ", not 1");
    }

    //! An array that is not one per component: a list of `n` values, or a list of lists read in
    //! order (one list per outlet of a component splitting).
    std::vector<double> ListArray(const json& v, std::size_t n, const std::string& at) const {
        std::vector<double> a;
        const auto collect = [&](const json& list, const std::string& where, auto& self) -> void {
            if (!list.is_array()) Fail(where, "expected a list of " + std::to_string(n) + " values");
            for (std::size_t i = 0; i < list.size(); ++i) {
                if (list[i].is_array()) {
                    self(list[i], Index(where, i), self);
                } else {
                    a.push_back(Value(list[i], Quantity::Dimensionless, Index(where, i)));
                }
            }
        };
        collect(v, at, collect);
        if (a.size() != n) Fail(at, "expected " + std::to_string(n) + " values, found " + std::to_string(a.size()));
        return a;
    }

    std::vector<double> ComponentArray(const json& v, const std::string& at) const {
        std::vector<double> a(static_cast<std::size_t>(doc_->NumberOfComponents()), 0.0);
        if (v.is_array()) {
            if (v.size() != a.size()) Fail(at, "expected one value per component (" + std::to_string(a.size()) + ")");
            for (std::size_t i = 0; i < a.size(); ++i) a[i] = Value(v[i], Quantity::Dimensionless, Index(at, i));
        } else if (v.is_object()) {
            for (const auto& [name, x] : v.items()) {
                const int i = doc_->GetComponentIndex(name);
                if (i < 0) Fail(Key(at, name), "unknown component '" + name + "'");
                a[static_cast<std::size_t>(i)] = Value(x, Quantity::Dimensionless, Key(at, name));
            }
        } else {
            Fail(at, "expected a list or an object of values per component");
        }
        return a;
    }

    // ------------------------------------------------------------ sections

    void ReadFlowsheetSection(const json& f) {
        if (!f.is_object()) Fail("flowsheet", "expected an object");
        for (const auto& [key, value] : f.items()) {
            const std::string at = Key("flowsheet", key);
            if (key == "name") {
                doc_->title = Text(value, at);
            } else if (key == "mode") {
                const std::string mode = Text(value, at);
                if (mode != "batch" && mode != "continuous") Fail(at, "expected \"batch\" or \"continuous\"");
                doc_->SetBatchMode(mode == "batch");
            } else if (key == "PlantBatchTime") {
                doc_->SetPlantBatchTime(Positive(value, Quantity::Time, at));
            } else if (key == "cost_year") {
                const int year = Integer(value, at);
                if (!HasPlantCostIndex(year)) {
                    Fail(at, "no plant cost index for " + std::to_string(year) + "; the table covers " +
                                 std::to_string(FirstCostIndexYear()) + " to " + std::to_string(LastCostIndexYear()));
                }
                doc_->costYear = year;
            } else if (key == "question_policy") {
                const std::string p = Text(value, at);
                if (p == "no-change") doc_->questionPolicy = QuestionPolicy::NoChange;
                else if (p == "yes") doc_->questionPolicy = QuestionPolicy::Yes;
                else if (p == "no") doc_->questionPolicy = QuestionPolicy::No;
                else if (p == "cancel") doc_->questionPolicy = QuestionPolicy::Cancel;
                else Fail(at, "expected \"no-change\", \"yes\", \"no\" or \"cancel\"");
            } else if (key == "recycle") {
                ReadRecycleOptions(value, at);
            } else if (key == "schedule") {
                ReadScheduleOptions(value, at);
            } else if (!IsNote(key)) {
                Fail(at, "unknown key '" + key + "'");
            }
        }
    }

    //! How recycle loops converge: `tolerance` (relative), `max_iterations`, `tear` (stream names),
    //! `accelerate` (Wegstein's method, default true).
    void ReadRecycleOptions(const json& r, const std::string& at) {
        if (!r.is_object()) Fail(at, "expected an object");
        RecycleOptions& o = doc_->recycleOptions;
        for (const auto& [key, value] : r.items()) {
            const std::string where = Key(at, key);
            if (key == "tolerance") {
                o.relativeTolerance = Positive(value, Quantity::Dimensionless, where);
                if (o.relativeTolerance >= 1.0) Fail(where, "expected a relative tolerance below 1");
            } else if (key == "max_iterations") {
                o.maxIterations = Integer(value, where);
                if (o.maxIterations < 1 || o.maxIterations > 100000) Fail(where, "expected 1 to 100000 iterations");
            } else if (key == "tear") {
                if (!value.is_array()) Fail(where, "expected a list of stream names");
                o.tears.clear();
                for (std::size_t i = 0; i < value.size(); ++i) o.tears.push_back(Text(value[i], Index(where, i)));
            } else if (key == "accelerate") {
                o.accelerate = Bool(value, where);
            } else if (!IsNote(key)) {
                Fail(where, "unknown key '" + key + "'");
            }
        }
    }

    //! The plant's `cycle_time` (0 or absent: the minimum that the equipment allows) and
    //! `annual_time` (default 7920 h).
    void ReadScheduleOptions(const json& r, const std::string& at) {
        if (!r.is_object()) Fail(at, "expected an object");
        for (const auto& [key, value] : r.items()) {
            const std::string where = Key(at, key);
            if (key == "cycle_time") {
                doc_->schedule.plantCycleTime = NonNegative(value, Quantity::Time, where);
            } else if (key == "annual_time") {
                doc_->schedule.annualTime = Positive(value, Quantity::Time, where);
            } else if (!IsNote(key)) {
                Fail(where, "unknown key '" + key + "'");
            }
        }
    }

    //! A time that may be negative ("-10 min"): a shift of a start.
    double Shift(const json& v, const std::string& at) const {
        if (v.is_string()) {
            const std::string text = v.get<std::string>();
            const std::size_t sign = text.find_first_not_of(' ');
            if (sign != std::string::npos && text[sign] == '-') return -Value(json(text.substr(sign + 1)), Quantity::Time, at);
        } else if (v.is_number() && v.get<double>() < 0.0) {
            return -Value(json(-v.get<double>()), Quantity::Time, at);
        }
        return Value(v, Quantity::Time, at);
    }

    //! An operation's start: {"with" | "after": OPERATION, "procedure": NAME, "shift": TIME}; the
    //! procedure is the operation's own when omitted. Names are checked once all procedures exist.
    void ReadOperationStart(const CTalOperation& op, const json& j, const std::string& at) {
        if (!j.is_object()) Fail(at, "expected {\"with\" or \"after\": OPERATION, \"procedure\": NAME, \"shift\": TIME}");
        StartRelation r{op.Owner()->Name(), op.Name(), StartRelation::Anchor::After, op.Owner()->Name(), "", 0.0};
        if (j.contains("with") == j.contains("after")) Fail(at, "give one of \"with\" (start together) and \"after\" (start after it ends)");
        for (const auto& [key, value] : j.items()) {
            const std::string where = Key(at, key);
            if (key == "with" || key == "after") {
                r.anchor = key == "with" ? StartRelation::Anchor::With : StartRelation::Anchor::After;
                r.refOperation = Text(value, where);
            } else if (key == "procedure") {
                r.refProcedure = Text(value, where);
            } else if (key == "shift") {
                r.shift = Shift(value, where);
            } else if (!IsNote(key)) {
                Fail(where, "unknown key '" + key + "' of a start relation");
            }
        }
        pendingStarts_.push_back({doc_->schedule.operations.size(), at});
        doc_->schedule.operations.push_back(std::move(r));
    }

    //! A procedure's start: a time ("2 h"), or {"after": PROCEDURE, "shift": TIME}.
    void ReadProcedureStart(const CTalProcedure& proc, const json& j, const std::string& at) {
        ProcedureStart s{proc.Name(), "", 0.0};
        if (!j.is_object()) {
            s.time = NonNegative(j, Quantity::Time, at);
        } else {
            if (!j.contains("after")) Fail(at, "expected a start time or {\"after\": PROCEDURE, \"shift\": TIME}");
            for (const auto& [key, value] : j.items()) {
                const std::string where = Key(at, key);
                if (key == "after") {
                    s.after = Text(value, where);
                    if (!doc_->FindProcedure(s.after)) Fail(where, "unknown procedure '" + s.after + "'");
                    if (s.after == proc.Name()) Fail(where, "a procedure cannot start after itself");
                } else if (key == "shift") {
                    s.time = Shift(value, where);
                } else if (!IsNote(key)) {
                    Fail(where, "unknown key '" + key + "' of a procedure start");
                }
            }
        }
        doc_->schedule.procedures.push_back(std::move(s));
    }

    //! Every start relation names an operation that exists, and none goes round in a circle.
    void CheckStartRelationNames() const {
        for (const PendingStart& p : pendingStarts_) {
            const StartRelation* r = &doc_->schedule.operations[p.relation];
            const std::string key = r->anchor == StartRelation::Anchor::With ? "with" : "after";
            const CTalProcedure* ref = doc_->FindProcedure(r->refProcedure);
            if (!ref) Fail(Key(p.at, "procedure"), "unknown procedure '" + r->refProcedure + "'");
            bool found = false;
            for (int i = 0; i < ref->NumberOfOps(); ++i) found = found || ref->GetOp(i)->Name() == r->refOperation;
            if (!found) Fail(Key(p.at, key), "procedure '" + ref->Name() + "' has no operation '" + r->refOperation + "'");
            if (ref->Name() == r->procedure && r->refOperation == r->operation) Fail(Key(p.at, key), "an operation cannot start with or after itself");
        }
        // Without relations nothing can go round: a transfer in's default wait for its feed gives
        // way where it would close a circle.
        if (pendingStarts_.empty() && doc_->schedule.procedures.empty()) return;
        if (const std::string e = CheckStartRelations(*doc_); !e.empty()) Fail("procedures", e);
    }

    void ReadComponents(const json& list) {
        if (!list.is_array() || list.empty()) Fail("components", "expected a non-empty list of components");
        const PropertyDatabase& db = PropertyDatabase::BuiltIn();
        for (std::size_t i = 0; i < list.size(); ++i) {
            const std::string at = Index("components", i);
            const json& entry = list[i];
            auto c = std::make_unique<CTalPureComponent>();
            std::string name;
            if (entry.is_string()) {
                name = entry.get<std::string>();
                const CTalPureComponent* base = db.FindComponent(name);
                if (!base) Fail(at, "unknown component '" + name + "' (define it with its properties)");
                *c = *base;
            } else if (entry.is_object()) {
                if (!entry.contains("name")) Fail(at, "a component needs a name");
                name = Text(entry["name"], Key(at, "name"));
                const std::string like = entry.contains("like") ? Text(entry["like"], Key(at, "like")) : name;
                if (const CTalPureComponent* base = db.FindComponent(like)) {
                    *c = *base;
                } else if (entry.contains("like")) {
                    Fail(Key(at, "like"), "unknown component '" + like + "'");
                }
                c->databaseName = db.FindComponent(like) ? like : std::string();
                ApplyComponentProperties(*c, entry, origin_ + ": " + at, nullptr);
            } else {
                Fail(at, "expected a component name or an object");
            }
            c->name = name;
            if (doc_->GetComponentIndex(name) >= 0) Fail(at, "component '" + name + "' is listed twice");
            if (c->cpIdealGas.At(298.15) <= 0.0) c->cpIdealGas = c->cpLiquid;
            if (c->cpLiquid.At(298.15) <= 0.0) c->cpLiquid = c->cpIdealGas;
            CheckComponentComplete(*c, origin_ + ": " + at);
            doc_->AddComponent(std::move(c));
        }
    }

    void ReadMixtures(const json& mixtures) {
        if (!mixtures.is_object()) Fail("mixtures", "expected an object of mixtures by name");
        for (const auto& [name, spec] : mixtures.items()) {
            if (!IsNote(name)) doc_->AddStockMixture(ReadMixture(name, spec, Key("mixtures", name)));
        }
    }

    CTalStockMixture ReadMixture(const std::string& name, const json& spec, const std::string& at) const {
        if (!spec.is_object()) Fail(at, "expected an object");
        if (doc_->GetComponentIndex(name) >= 0) Fail(at, "'" + name + "' is already the name of a component");
        CTalStockMixture m;
        m.name = name;
        for (const auto& [key, value] : spec.items()) {
            const std::string where = Key(at, key);
            if (key == "density") {
                m.density = Positive(value, Quantity::Density, where);
            } else if (key == "composition") {
                if (!value.is_object()) Fail(where, "expected the mass fraction of each component");
                for (const auto& [comp, x] : value.items()) {
                    if (doc_->GetComponentIndex(comp) < 0) Fail(Key(where, comp), "unknown component '" + comp + "' (not in the flowsheet's list)");
                    m.ingredients.emplace_back(comp, NonNegative(x, Quantity::Fraction, Key(where, comp)));
                }
            } else if (!IsNote(key)) {
                Fail(where, "unknown key '" + key + "' of a mixture");
            }
        }
        if (m.density == 0.0) Fail(at, "a mixture needs its \"density\"");
        double sum = 0.0;
        for (const auto& ingredient : m.ingredients) sum += ingredient.second;
        CheckFractionSum(sum, Key(at, "composition"));
        for (auto& ingredient : m.ingredients) ingredient.second /= sum;
        return m;
    }

    //! The cleaning skids: a list of names, each a skid that operations may share.
    void ReadSkids(const json& list) {
        if (!list.is_array()) Fail("skids", "expected a list of skid names");
        for (std::size_t i = 0; i < list.size(); ++i) {
            const std::string at = Index("skids", i);
            const std::string name = Text(list[i], at);
            if (name.empty()) Fail(at, "a skid needs a name");
            if (doc_->GetSkid(name)) Fail(at, "skid '" + name + "' is listed twice");
            doc_->AddSkid(std::make_unique<CTalIPCleaningSkid>(name));
        }
    }

    //! The skid an operation is tied to, by its name in the flowsheet's "skids".
    void ReadSkidOf(CTalOperation& op, const json& v, const std::string& at) const {
        const std::string name = Text(v, at);
        CTalIPCleaningSkid* skid = doc_->GetSkid(name);
        if (!skid) Fail(at, "unknown skid '" + name + "' (not in the flowsheet's \"skids\")");
        op.SetSkid(skid);
    }

    void ReadAgents(const json& list) {
        for (const auto& a : PropertyDatabase::BuiltIn().Agents()) {
            doc_->AddAgent(std::make_unique<CTalHeatTransferAgent>(*a));
        }
        if (!list.is_array()) Fail("agents", "expected a list of agents");
        for (std::size_t i = 0; i < list.size(); ++i) {
            doc_->AddAgent(ParseAgent(list[i], origin_ + ": " + Index("agents", i), nullptr));
        }
    }

    void ReadStreams(const json& streams) {
        if (!streams.is_object()) Fail("streams", "expected an object of streams by name");
        for (const auto& [name, spec] : streams.items()) ReadFeed(name, spec, Key("streams", name));
    }

    void ReadFeed(const std::string& name, const json& spec, const std::string& at) {
        if (!spec.is_object()) Fail(at, "expected an object");
        auto feed = std::make_unique<CTalInputStream>(doc_->Comps(), name);
        double T = 298.15, P = 101325.0;
        bool hasFlows = false, hasTotal = false, hasComposition = false, byVolume = false;
        double total = 0.0;
        std::vector<double> flows(static_cast<std::size_t>(doc_->NumberOfComponents()), 0.0);
        std::vector<double> fractions(flows.size(), 0.0);
        for (const auto& [key, value] : spec.items()) {
            const std::string where = Key(at, key);
            if (key == "T") {
                T = Positive(value, Quantity::Temperature, where);
            } else if (key == "P") {
                P = Positive(value, Quantity::Pressure, where);
            } else if (key == "flows") {
                if (!value.is_object()) Fail(where, "expected the flow of each component");
                for (const auto& [comp, flow] : value.items()) {
                    const int i = doc_->GetComponentIndex(comp);
                    if (i < 0) Fail(Key(where, comp), "unknown component '" + comp + "' (not in the flowsheet's list)");
                    flows[static_cast<std::size_t>(i)] = NonNegative(flow, Quantity::MassFlow, Key(where, comp));
                }
                hasFlows = true;
            } else if (key == "mass_flow" || key == "volume_flow") {
                if (hasTotal) Fail(where, "give either mass_flow or volume_flow");
                byVolume = key == "volume_flow";
                total = NonNegative(value, byVolume ? Quantity::VolumeFlow : Quantity::MassFlow, where);
                hasTotal = true;
            } else if (key == "composition") {
                if (!value.is_object()) Fail(where, "expected the mass fraction of each component");
                for (const auto& [comp, x] : value.items()) {
                    const int i = doc_->GetComponentIndex(comp);
                    if (i < 0) Fail(Key(where, comp), "unknown component '" + comp + "' (not in the flowsheet's list)");
                    fractions[static_cast<std::size_t>(i)] = NonNegative(x, Quantity::Fraction, Key(where, comp));
                }
                hasComposition = true;
            } else if (!IsNote(key)) {
                Fail(where, "unknown key '" + key + "' of a stream");
            }
        }
        if (hasFlows == (hasTotal || hasComposition)) Fail(at, "give either \"flows\" or a total flow with a \"composition\"");
        if (hasTotal != hasComposition) Fail(at, "a total flow needs a \"composition\" and the other way round");
        feed->SetTemp(T);
        feed->SetPress(P);
        for (int i = 0; i < feed->NumberOfComponents(); ++i) {
            const CTalPureComponent* pc = feed->GetPureComponent(i);
            feed->SetComponentVaporFrac(i, pc->IsVolatileAt(T, P) ? 1.0 : 0.0);
        }
        if (hasComposition) {
            double sum = 0.0;
            for (double x : fractions) sum += x;
            CheckFractionSum(sum, Key(at, "composition"));
            for (std::size_t i = 0; i < flows.size(); ++i) flows[i] = fractions[i] / sum;
        }
        for (std::size_t i = 0; i < flows.size(); ++i) feed->SetComponentFlow(static_cast<int>(i), flows[i]);
        if (hasComposition) {
            if (byVolume) {
                const double perKg = feed->VolFlow();
                if (!(perKg > 0.0)) Fail(at, "the composition has no volume to give a volume flow");
                feed->SetMassFlow(total / perKg);
                feed->SetVolFlowSetByUser(true);
            } else {
                feed->SetMassFlow(total);
            }
        }
        doc_->AddStream(std::move(feed));
    }

    // ------------------------------------------------------------ procedures

    unsigned ProcedureType(const json& v, const std::string& at) const {
        unsigned id = 0;
        if (ParseNumberText(v, id)) {
            if (!roster::FindProcedure(id)) Fail(at, "unknown procedure type " + v.dump());
            return id;
        }
        if (v.is_string()) {
            for (const auto& p : roster::Procedures()) {
                if (p.mapName && v.get<std::string>() == p.mapName) return p.procedureId;
            }
        }
        Fail(at, "unknown procedure type " + v.dump());
    }

    unsigned OperationModel(const json& v, const std::string& at) const {
        unsigned id = 0;
        if (ParseNumberText(v, id)) {
            if (!roster::FindOperation(id)) Fail(at, "unknown operation model " + v.dump());
            return id;
        }
        if (v.is_string()) {
            const std::string name = v.get<std::string>();
            for (const auto& op : roster::Operations()) {
                if (name == op.className || name == op.isA || (op.mapName && name == op.mapName)) return op.modelId;
            }
        }
        Fail(at, "unknown operation model " + v.dump());
    }

    // Procedures are read in three rounds: each with its outputs, then all inputs (a procedure may
    // use a stream that a later one makes), then equipment and operations, whose parameters may
    // name the streams on their ports.
    void ReadProcedures(const json& list) {
        if (!list.is_array()) Fail("procedures", "expected a list of procedures");
        std::vector<CTalProcedure*> made;
        for (std::size_t i = 0; i < list.size(); ++i) made.push_back(&ReadProcedure(list[i], Index("procedures", i)));
        for (std::size_t i = 0; i < made.size(); ++i) {
            if (list[i].contains("inputs")) ConnectInputs(*made[i], list[i]["inputs"], Key(Index("procedures", i), "inputs"));
        }
        for (std::size_t i = 0; i < made.size(); ++i) {
            ReadEquipment(*made[i], list[i], Index("procedures", i));
            ReadOperations(*made[i], list[i], Index("procedures", i));
            if (list[i].contains("start")) ReadProcedureStart(*made[i], list[i]["start"], Key(Index("procedures", i), "start"));
        }
        for (const PendingMaster& m : pendingMasters_) ResolveMaster(m);
        CheckStartRelationNames();
        CheckTearNames();
    }

    // A tear stream the flowsheet names must be one of its streams: a misspelt name would be
    // passed over and another stream torn without a word.
    void CheckTearNames() const {
        const std::vector<std::string>& tears = doc_->recycleOptions.tears;
        for (std::size_t i = 0; i < tears.size(); ++i) {
            if (!doc_->FindStream(tears[i])) {
                Fail(Index(Key(Key("flowsheet", "recycle"), "tear"), i), "'" + tears[i] + "' names no stream of the flowsheet");
            }
        }
    }

    // An operation that takes its duration from another: {"procedure": "P-1", "operation": "OP"},
    // the procedure being the operation's own when omitted. Resolved once every operation exists.
    struct PendingMaster {
        CTalOperation* op;
        const json* spec;
        std::string at;
    };

    void ResolveMaster(const PendingMaster& m) const {
        if (!m.spec->is_object() || !m.spec->contains("operation")) {
            Fail(m.at, "expected {\"procedure\": NAME, \"operation\": NAME}");
        }
        for (const auto& [key, value] : m.spec->items()) {
            if (key != "procedure" && key != "operation") Fail(Key(m.at, key), "unknown key '" + key + "' of a master operation");
        }
        CTalProcedure* proc = m.op->Owner();
        if (m.spec->contains("procedure")) {
            const std::string name = Text((*m.spec)["procedure"], Key(m.at, "procedure"));
            proc = doc_->FindProcedure(name);
            if (!proc) Fail(Key(m.at, "procedure"), "unknown procedure '" + name + "'");
        }
        const std::string name = Text((*m.spec)["operation"], Key(m.at, "operation"));
        CTalOperation* master = nullptr;
        for (int i = 0; i < proc->NumberOfOps() && !master; ++i) {
            if (proc->GetOp(i)->Name() == name) master = proc->GetOp(i);
        }
        if (!master) Fail(Key(m.at, "operation"), "procedure '" + proc->Name() + "' has no operation '" + name + "'");
        if (master == m.op) Fail(m.at, "an operation cannot be its own master");
        m.op->SetMasterOperation(master);
    }

    CTalProcedure& ReadProcedure(const json& j, const std::string& at) {
        if (!j.is_object()) Fail(at, "expected an object");
        static const std::set<std::string> kKeys = {"name", "type", "inputs", "outputs", "vent", "batch", "design",
                                                    "HoldupTime", "CycleTime", "NumberOfCycles", "UtilFactor",
                                                    "equipment", "operations", "start"};
        for (const auto& [key, value] : j.items()) {
            if (!kKeys.count(key) && !IsNote(key)) Fail(Key(at, key), "unknown key '" + key + "' of a procedure");
        }
        if (!j.contains("type")) Fail(at, "a procedure needs its \"type\"");
        const unsigned type = ProcedureType(j["type"], Key(at, "type"));
        std::string name = j.contains("name") ? Text(j["name"], Key(at, "name"))
                                              : "P-" + std::to_string(doc_->Procedures().size() + 1);
        if (doc_->FindProcedure(name)) Fail(Key(at, "name"), "procedure '" + name + "' is defined twice");
        CTalProcedure& proc = doc_->AddProcedure(CreateProcedureFromRoster(doc_.get(), name, type, false));
        ReadProcedureSettings(proc, j, at);
        if (j.contains("outputs")) ConnectOutputs(proc, j["outputs"], Key(at, "outputs"));
        if (j.contains("vent")) ConnectVent(proc, j["vent"], Key(at, "vent"));
        return proc;
    }

    void ReadProcedureSettings(CTalProcedure& proc, const json& j, const std::string& at) const {
        if (j.contains("batch")) proc.SetBatchMode(Bool(j["batch"], Key(at, "batch")));
        if (j.contains("design")) proc.SetDesignMode(Bool(j["design"], Key(at, "design")));
        if (j.contains("HoldupTime")) proc.SetHoldupTime(Positive(j["HoldupTime"], Quantity::Time, Key(at, "HoldupTime")));
        if (j.contains("CycleTime")) proc.SetCycleTime(Positive(j["CycleTime"], Quantity::Time, Key(at, "CycleTime")));
        if (j.contains("NumberOfCycles")) {
            const int n = Integer(j["NumberOfCycles"], Key(at, "NumberOfCycles"));
            if (n < 1) Fail(Key(at, "NumberOfCycles"), "must be at least 1");
            proc.SetNumberOfCycles(n);
        }
        if (j.contains("UtilFactor")) {
            const double f = Value(j["UtilFactor"], Quantity::Fraction, Key(at, "UtilFactor"));
            if (!(f > 0.0) || f > 1.0) Fail(Key(at, "UtilFactor"), "must lie above 0 and at most 1");
            proc.SetUtilFactor(f);
        }
    }

    void ReadEquipment(CTalProcedure& proc, const json& j, const std::string& at) const {
        const int typeId = EquipTypeIDFromRoster0(proc.UnitProcID());
        const std::string where = Key(at, "equipment");
        if (!typeId) {
            if (j.contains("equipment")) Fail(where, "this procedure has no equipment");
            return;
        }
        if (!proc.Equipment()) {
            Fail(Key(at, "type"), std::string("the equipment ") + roster::FindEquipment(typeId)->className +
                                      " of this procedure is not available in this version");
        }
        CTalEquipment& e = *proc.Equipment();
        e.SetName(e.DefaultPrefix() + std::to_string(101 + doc_->GetProcedureIndex(&proc)));
        if (j.contains("equipment")) ReadEquipmentSettings(proc, e, j["equipment"], where);
        e.VesselCalcDimensions();  // a rated vessel shows the dimensions of its given volume
    }

    void ReadEquipmentSettings(CTalProcedure& proc, CTalEquipment& e, const json& spec, const std::string& where) const {
        if (!spec.is_object()) Fail(where, "expected an object");
        if (spec.contains("design")) proc.SetDesignMode(Bool(spec["design"], Key(where, "design")));
        if (spec.contains("name")) e.SetName(Text(spec["name"], Key(where, "name")));
        SetMembers(e, spec, where, {"design", "name", "UserCostReferenceSize", "UserCostMinSize", "UserCostMaxSize"});
        ReadCostModelSizes(e, spec, where);
        CheckCostYear(e.m_UserCostModel.baseYear, Key(where, "UserCostBaseYear"));
        CheckCostYear(e.m_CostBaseYear, Key(where, "CostBaseYear"));
    }

    //! Sizes of the user's cost model: a number is in the unit of the class's size variable
    //! (docs/costing.md); a text may carry any unit of its kind ("2000 L" for a vessel's m3).
    void ReadCostModelSizes(CTalEquipment& e, const json& spec, const std::string& where) const {
        for (const char* key : {"UserCostReferenceSize", "UserCostMinSize", "UserCostMaxSize"}) {
            if (!spec.contains(key)) continue;
            const std::string at = Key(where, key);
            const json& v = spec[key];
            double size = 0.0;
            try {
                size = Value(v, Quantity::Dimensionless, at);  // a number, or a text without a unit
            } catch (const InputError&) {
                if (e.SizeVarQuantityForUDCM() == Quantity::Dimensionless) throw;
                size = Value(v, e.SizeVarQuantityForUDCM(), at) * e.SizeVarFactorForUDCM();
            }
            // The law divides by the reference size: without a positive one the cost would be $0.
            if (std::string_view(key) == "UserCostReferenceSize" && !(size > 0.0)) Fail(at, "the reference size must be positive");
            e.MemberRows().Find(key)->set(e, size);
        }
    }

    //! A year of cost data: 0 (none) or a year of the plant cost index table.
    void CheckCostYear(double year, const std::string& at) const {
        if (year == 0.0) return;
        if (!(year >= FirstCostIndexYear() && year <= LastCostIndexYear()) || year != std::floor(year)) {
            Fail(at, "no plant cost index for that year; the table covers " + std::to_string(FirstCostIndexYear()) + " to " +
                         std::to_string(LastCostIndexYear()));
        }
    }

    //! The steps of a cleaning in place, in their order, each with the members of a step.
    void ReadCIPSteps(CTalCIPOp& op, const json& j, const std::string& at) const {
        if (!j.is_array()) Fail(at, "expected a list of cleaning steps");
        op.m_Scheme.m_Steps.clear();
        for (std::size_t i = 0; i < j.size(); ++i) {
            const std::string where = at + "[" + std::to_string(i) + "]";
            if (!j[i].is_object()) Fail(where, "expected an object");
            SetMembers(op.AddStep(), j[i], where, {});
        }
    }

    void ReadOperations(CTalProcedure& proc, const json& j, const std::string& at) {
        std::map<std::string, int> counters;
        auto add = [&](unsigned id, const json* spec, const std::string& where) {
            std::unique_ptr<CTalOperation> op = CreateOperationFromRoster0(&proc, id);
            if (!op) {
                Fail(where, std::string("the operation model ") + roster::FindOperation(id)->className +
                                " is not available in this version");
            }
            CTalOperation& ref = *op;
            proc.AddOperation(std::move(op));
            ref.SetName(ref.DefaultPrefix() + std::to_string(++counters[ref.DefaultPrefix()]));
            if (!spec) return;
            if (spec->contains("name")) ref.SetName(Text((*spec)["name"], Key(where, "name")));
            auto* cip = dynamic_cast<CTalCIPOp*>(&ref);
            const bool takesSkid = ref.MemberRows().Find("Skid") != nullptr;
            std::set<std::string> skip = {"model", "name", "MasterOperation", "reactions", "start", "profiles"};
            if (cip) skip.insert("steps");
            if (takesSkid) skip.insert("Skid");
            SetMembers(ref, *spec, where, skip);
            if (cip && spec->contains("steps")) ReadCIPSteps(*cip, (*spec)["steps"], Key(where, "steps"));
            if (takesSkid && spec->contains("Skid")) ReadSkidOf(ref, (*spec)["Skid"], Key(where, "Skid"));
            if (spec->contains("reactions")) {
                ReadReactions(ref, (*spec)["reactions"], origin_, Key(where, "reactions"),
                              doc_->IsBatchMode() ? doc_->PlantBatchTime() : 0.0);
            }
            if (spec->contains("profiles")) ReadProfileSettings(ref, (*spec)["profiles"], origin_, Key(where, "profiles"));
            FoldPlugFlowDutyEntry(ref, *spec);
            if (spec->contains("start")) ReadOperationStart(ref, (*spec)["start"], Key(where, "start"));
            if (spec->contains("MasterOperation")) {
                pendingMasters_.push_back({&ref, &(*spec)["MasterOperation"], Key(where, "MasterOperation")});
            }
        };
        if (!j.contains("operations")) {
            std::list<unsigned> ids;
            DefaultOperIDsFromRoster0(proc.UnitProcID(), ids);
            for (unsigned id : ids) add(id, nullptr, Key(at, "type"));
            return;
        }
        const json& list = j["operations"];
        if (!list.is_array()) Fail(Key(at, "operations"), "expected a list of operations");
        if (list.empty()) {
            Fail(Key(at, "operations"), "the list of operations is empty (leave the key out for the procedure's default operation)");
        }
        for (std::size_t i = 0; i < list.size(); ++i) {
            const std::string where = Index(Key(at, "operations"), i);
            if (!list[i].is_object() || !list[i].contains("model")) Fail(where, "an operation needs its \"model\"");
            add(OperationModel(list[i]["model"], Key(where, "model")), &list[i], where);
        }
        std::set<std::string> names;
        for (int i = 0; i < proc.NumberOfOps(); ++i) {
            if (!names.insert(proc.GetOp(i)->Name()).second) {
                Fail(Key(at, "operations"), "two operations are named '" + proc.GetOp(i)->Name() + "'");
            }
        }
    }

    CTalStream& OutputStream(const std::string& name, const std::string& at) {
        CTalStream* s = doc_->FindStream(name);
        if (s) {
            if (dynamic_cast<CTalInputStream*>(s)) Fail(at, "stream '" + name + "' is a feed and cannot be an output");
            Fail(at, "stream '" + name + "' is connected twice as an output (already from " + s->Source()->Name() + ")");
        }
        return doc_->AddStream(std::make_unique<CTalStream>(doc_->Comps(), name));
    }

    void ConnectOutputs(CTalProcedure& proc, const json& list, const std::string& at) {
        if (!list.is_array()) Fail(at, "expected a list of stream names, one per output port");
        const int ports = proc.NumberOfOutPorts() - (proc.HasVentPort() ? 1 : 0);
        if (static_cast<int>(list.size()) > ports) {
            Fail(at, "procedure '" + proc.Name() + "' has " + std::to_string(ports) + " output ports, " +
                         std::to_string(list.size()) + " outputs given");
        }
        for (std::size_t i = 0; i < list.size(); ++i) {
            if (list[i].is_null()) continue;
            const std::string name = Text(list[i], Index(at, i));
            int port = static_cast<int>(i);
            if (proc.HasVentPort() && port >= proc.VentPortID()) ++port;
            proc.ConnectOut(port, &OutputStream(name, Index(at, i)));
        }
    }

    void ConnectVent(CTalProcedure& proc, const json& v, const std::string& at) {
        if (!proc.HasVentPort()) Fail(at, "procedure '" + proc.Name() + "' has no vent port");
        proc.ConnectOut(proc.VentPortID(), &OutputStream(Text(v, at), at));
    }

    void ConnectInputs(CTalProcedure& proc, const json& list, const std::string& at) {
        if (!list.is_array()) Fail(at, "expected a list of stream names, one per input port");
        if (static_cast<int>(list.size()) > proc.NumberOfInPorts()) {
            Fail(at, "procedure '" + proc.Name() + "' has " + std::to_string(proc.NumberOfInPorts()) +
                         " input ports, " + std::to_string(list.size()) + " inputs given");
        }
        for (std::size_t i = 0; i < list.size(); ++i) {
            if (list[i].is_null()) continue;
            const std::string name = Text(list[i], Index(at, i));
            CTalStream* s = doc_->FindStream(name);
            if (!s) Fail(Index(at, i), "unknown stream '" + name + "' (neither a feed nor an output of a procedure)");
            if (s->Destination()) {
                Fail(Index(at, i), "stream '" + name + "' is connected twice as an input (already to " +
                                       s->Destination()->Name() + ")");
            }
            proc.ConnectIn(static_cast<int>(i), s);
        }
    }

    std::string origin_;
    std::unique_ptr<CTalDocEss> doc_;
    std::vector<PendingMaster> pendingMasters_;
    struct PendingStart {
        std::size_t relation;  // its place in the flowsheet's list
        std::string at;
    };
    std::vector<PendingStart> pendingStarts_;
};

}  // namespace

std::string ReadTextFile(const std::string& path) {
    const std::vector<std::uint8_t> bytes = ReadBinaryFile(path);
    return std::string(bytes.begin(), bytes.end());
}

std::unique_ptr<CTalDocEss> LoadFlowsheet(std::string_view text, const std::string& origin) {
    return Loader(origin).Load(text);
}

std::unique_ptr<CTalDocEss> LoadFlowsheetFile(const std::string& path) { return LoadFlowsheet(ReadTextFile(path), path); }

std::string_view ExampleFlowsheetText() { return embedded::kExampleFlowsheet; }

std::unique_ptr<CTalDocEss> LoadExampleFlowsheet() { return LoadFlowsheet(ExampleFlowsheetText(), "built-in example"); }

}  // namespace unitops
