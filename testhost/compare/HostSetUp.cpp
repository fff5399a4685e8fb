#include "testhost/compare/HostSetUp.h"

#include "platform/ResultCodes.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <map>
#include <set>
#include <utility>

using namespace Recording;

namespace {
constexpr unsigned short oldestHost = 0x0600;
constexpr unsigned short newestHost = 0x12FF;
constexpr unsigned short firstWithEngine = 0x1100;

constexpr short noFieldType = 0; // of a field whose type nobody has told

// What is learnt of the tables: their numbers, names and fields, in whatever order.
struct TableSketch {
    std::string name;
    short fieldCount = 0;
    std::map<short, DatabaseField> fields;
};

struct Sketch {
    HostOptions options;
    short tableCount = 0;
    std::map<short, TableSketch> tables;

    TableSketch* Table(short number) {
        if (number < 1 || number > mostTables) {
            return nullptr;
        }
        tableCount = std::max(tableCount, number);
        return &tables[number];
    }
    DatabaseField* Field(short table, short number) {
        TableSketch* const sketch = Table(table);
        if (sketch == nullptr || number < 1 || number > mostFields) {
            return nullptr;
        }
        sketch->fieldCount = std::max(sketch->fieldCount, number);
        return &sketch->fields.try_emplace(number, DatabaseField{.name = {}, .type = noFieldType})
                    .first->second;
    }
};

void TakeProgramInfo(Sketch& sketch, const CallRecord&, const CallRecord& answer) {
    sketch.options = OptionsIn(answer, std::move(sketch.options));
}

void TakeTableCount(Sketch& sketch, const CallRecord&, const CallRecord& answer) {
    sketch.tableCount = static_cast<short>(
        std::clamp<long>(long{answer.Fields().param1}, sketch.tableCount, mostTables));
}

void TakeFieldCount(Sketch& sketch, const CallRecord& sent, const CallRecord& answer) {
    if (TableSketch* const table = sketch.Table(sent.Fields().table)) {
        table->fieldCount = static_cast<short>(
            std::clamp<long>(long{answer.Fields().param1}, table->fieldCount, mostFields));
    }
}

void TakeTableName(Sketch& sketch, const CallRecord& sent, const CallRecord& answer) {
    if (TableSketch* const table = sketch.Table(sent.Fields().table)) {
        table->name = answer.Name();
    }
}

void TakeFieldType(Sketch& sketch, const CallRecord& sent, const CallRecord& answer) {
    if (DatabaseField* const field = sketch.Field(sent.Fields().table, sent.Fields().field)) {
        const CallFields& fields = answer.Fields();
        field->type = static_cast<short>(fields.param1);
        field->length = static_cast<short>(fields.param2);
        field->attributes = fields.param3;
    }
}

void TakeRelation(Sketch& sketch, const CallRecord& sent, const CallRecord& answer) {
    if (DatabaseField* const field = sketch.Field(sent.Fields().table, sent.Fields().field)) {
        field->relatedTable = static_cast<short>(answer.Fields().param1);
        field->relatedField = static_cast<short>(answer.Fields().param2);
    }
}

// A name "[Table]Field", "[Table]" or "Field".
void TakeReference(Sketch& sketch, const CallRecord& sent, const CallRecord& answer) {
    const std::string reference = sent.Name();
    const size_t end = reference.starts_with('[') ? reference.find(']') : std::string::npos;
    const short number = answer.Fields().table;
    if (TableSketch* const table = sketch.Table(number);
        table != nullptr && end != std::string::npos) {
        table->name = reference.substr(1, end - 1);
    }
    if (DatabaseField* const field = sketch.Field(number, answer.Fields().field)) {
        field->name = end != std::string::npos ? reference.substr(end + 1) : reference;
    }
}

// Field data tell the type of the field.
void TakeDataType(Sketch& sketch, const CallRecord& sent, const CallRecord& answer) {
    DatabaseField* const field = sketch.Field(sent.Fields().table, sent.Fields().field);
    if (field != nullptr && field->type == noFieldType) {
        field->type = static_cast<short>(answer.Fields().param1);
        field->length = field->type == FieldType::Alpha ? LongestAlpha : short{0};
    }
}

// The value that is set was sent in the form of the field, as far as the plug-in knows.
void TakeSentType(Sketch& sketch, const CallRecord& sent, const CallRecord&) {
    TakeDataType(sketch, sent, sent);
}

// What the answers of a service tell. Rows that tell better stand first.
struct Source {
    std::string_view service;
    void (*take)(Sketch& sketch, const CallRecord& sent, const CallRecord& answer);
};
constexpr Source sources[] = {
    {"ProgramInfo", TakeProgramInfo},
    {"PluginResID",
     [](Sketch& sketch, const CallRecord&, const CallRecord& answer) {
         sketch.options.pluginResID = static_cast<short>(answer.Fields().param1);
     }},
    {"Reals64",
     [](Sketch& sketch, const CallRecord&, const CallRecord& answer) {
         sketch.options.reals64 = answer.Fields().param1 != 0;
     }},
    {"PlatformInterface",
     [](Sketch& sketch, const CallRecord&, const CallRecord& answer) {
         sketch.options.platformInterface = answer.Fields().param1;
     }},
    {"MacGlobals",
     [](Sketch& sketch, const CallRecord&, const CallRecord& answer) {
         sketch.options.hasGlobals = answer.Fields().handle != nullptr;
     }},
    {"CountFiles", TakeTableCount},
    {"CountFields", TakeFieldCount},
    {"FileName", TakeTableName},
    {"FieldType", TakeFieldType},
    {"FieldInfo", TakeRelation},
    {"FileFieldNumbers", TakeReference},
    {"GetFieldData", TakeDataType},
    {"SetFieldData", TakeSentType},
};

// The answers without an error, in their order.
std::array<std::vector<const RecordedEvent*>, std::size(sources)>
AnswersBySource(const RecordingFile& file) {
    std::array<std::vector<const RecordedEvent*>, std::size(sources)> answers;
    for (const RecordedEvent& event : file.events) {
        const SelectorPair* const selector =
            event.chunk == Chunk::CallEnds ? ServiceOf(event) : nullptr;
        const auto* const source =
            selector != nullptr ? std::ranges::find(sources, selector->name, &Source::service)
                                : std::end(sources);
        if (source != std::end(sources) &&
            CallRecord(event.way, event.contents.root).Fields().error == ResultCode::NoError) {
            answers.at(static_cast<size_t>(source - sources)).push_back(&event);
        }
    }
    return answers;
}

// What was asked of a service: only the first answer to it counts.
std::string QuestionOf(const CallRecord& sent) {
    return std::to_string(sent.Fields().table) + " " + std::to_string(sent.Fields().field) + " " +
           sent.Name();
}

// The version word of the record with which the plug-in is initialised; 0 in any other event.
unsigned short VersionIn(const RecordingFile& file, const RecordedEvent& event) {
    const RecordedItem* const init = event.contents.Find(0, sizeof(std::uint32_t), Target::Memory);
    Surroundings surroundings;
    Learn(file.CrossingOf(event),
          init != nullptr ? std::span<const unsigned char>(init->bytes)
                          : std::span<const unsigned char>(),
          surroundings);
    return surroundings.version;
}

unsigned short VersionOf(const RecordingFile& file) {
    unsigned short version = 0;
    for (const RecordedEvent& event : file.events) {
        if (event.chunk == Chunk::EntryBegins && version == 0) {
            version = VersionIn(file, event);
        }
    }
    if (version != 0) {
        return version;
    }
    const bool hasEngine = std::ranges::any_of(
        file.events, [](const RecordedEvent& event) { return event.way == Way::Engine; });
    return hasEngine ? firstWithEngine : short{0x0680};
}

Database Build(const Sketch& sketch) {
    Database database;
    const auto nameOr = [](const std::string& name, const char* kind, short number) {
        return name.empty() ? std::string(kind) + " " + std::to_string(number) : name;
    };
    for (short number = 1; number <= sketch.tableCount; ++number) {
        const auto found = sketch.tables.find(number);
        const TableSketch table = found != sketch.tables.end() ? found->second : TableSketch{};
        database.AddTable(nameOr(table.name, "Table", number));
        for (short place = 1; place <= table.fieldCount; ++place) {
            const auto known = table.fields.find(place);
            DatabaseField field = known != table.fields.end() ? known->second : DatabaseField{};
            field.name = nameOr(field.name, "Field", place);
            // Nothing is known of one that only has a name, or a type that none has.
            field.type =
                KindOfField(field.type) == ValueKind::None ? short{FieldType::Text} : field.type;
            database.AddField(number, std::move(field));
        }
    }
    return database;
}
} // namespace

HostOptions OptionsIn(const CallRecord& answer, HostOptions options) {
    const auto word = static_cast<unsigned long>(answer.Fields().param1);
    const auto has = [word](int bit) { return (word >> bit & 1) != 0; };
    options.role = has(25) ? Role::Server : has(26) ? Role::Client : Role::SingleUser;
    options.hostCompiled = has(23);
    options.callerCompiled = has(27);
    options.messages = has(28);
    const std::string name = answer.IsEngine() ? AnsiText(answer.Engine()->uniName) : answer.Name();
    options.hasStructure = !name.empty();
    options.structureName = name.empty() ? options.structureName : name;
    return options;
}

HostSetUp SetUpOf(const RecordingFile& file) {
    Sketch sketch;
    sketch.options.version = VersionOf(file);
    if (sketch.options.version < oldestHost || sketch.options.version > newestHost) {
        throw RecordingError("it is of a host of version " +
                             HostVersionText(sketch.options.version) +
                             "; the stand-in is one of 6.0 to 12.x");
    }
    const auto answers = AnswersBySource(file);
    for (size_t place = 0; place < std::size(sources); ++place) {
        std::set<std::string> asked;
        for (const RecordedEvent* event : answers[place]) {
            const CallRecord sent(event->way, file.CrossingOf(*event).sent);
            if (asked.insert(QuestionOf(sent)).second) {
                sources[place].take(sketch, sent, CallRecord(event->way, event->contents.root));
            }
        }
    }
    return {.options = sketch.options, .database = Build(sketch)};
}

std::string Describe(const HostSetUp& setUp) {
    const HostOptions& options = setUp.options;
    const char* const role = options.role == Role::Server   ? "server"
                             : options.role == Role::Client ? "client"
                                                            : "single";
    const short tables = setUp.database.TableCount();
    return "host " + HostVersionText(options.version) + ", " + role +
           (options.callerCompiled || options.hostCompiled ? ", compiled" : "") +
           (tables != 0 ? ", " + LeftOvers::Count(tables, "table") : "");
}
