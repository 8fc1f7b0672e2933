#include "host/shell/operations.h"

#include <array>
#include <iterator>
#include <limits>
#include <list>

#include "host/shell/cell.h"
#include "host/shell/filters.h"
#include "host/shell/shell.h"

namespace host::shell {

namespace {

using T = CRRecordTranslator;

// An out argument that the module may leave alone, and then shows as null, begins with `untouched`.
template <class Number>
Json NumberOrNull(Number value, Number untouched) {
    return value == untouched ? Json(nullptr) : Json(value);
}

// An operation of the module without arguments; the answer is its code.
template <auto operation>
void OfModule(Call& call) {
    call.arguments.EndAt(0);
    call.answer["code"] = (call.module.*operation)();
}

// An operation of the translator without arguments; the answer is its code.
template <auto operation>
void Plain(Call& call) {
    call.arguments.EndAt(0);
    call.answer["code"] = (*call.translator.*operation)();
}

// An operation with a number as its argument, 0 if none is given.
template <class Number, auto operation>
void WithNumber(Call& call) {
    const auto number = static_cast<Number>(call.arguments.Number(0));
    call.arguments.EndAt(1);
    call.answer["code"] = (*call.translator.*operation)(number);
}

// The translator fills a text; no argument.
template <auto operation>
void GivesText(Call& call) {
    call.arguments.EndAt(0);
    CString text;
    call.answer["code"] = (*call.translator.*operation)(text);
    call.answer["value"] = JsonOf(text.Str());
}

// The translator fills a number; no argument.
template <class Number, auto operation, Number untouched>
void GivesNumber(Call& call) {
    call.arguments.EndAt(0);
    Number number = untouched;
    call.answer["code"] = (*call.translator.*operation)(&number);
    call.answer["value"] = NumberOrNull(number, untouched);
}

constexpr long kNoCount = std::numeric_limits<long>::min();
constexpr unsigned long kNoProperties = 0x5A5AA5A5;

// Empties a queue of messages; no argument.
template <auto first, auto next>
void Empties(Call& call) {
    call.arguments.EndAt(0);
    auto& messages = call.answer["messages"] = Json::array();
    CString message;
    RRETURNCODE code = (*call.translator.*first)(message);
    for (; code == RRC_OK; code = (*call.translator.*next)(message)) {
        messages.push_back(JsonOf(message.Str()));
    }
}

// An operation on the record with that id, or on the current record without an id.
template <RRETURNCODE (T::*current)(), RRETURNCODE (T::*named)(LPCTSTR)>
void OfRecord(Call& call) {
    const std::string id = call.arguments.WholeText();
    call.answer["code"] = call.arguments.Has(0) ? (*call.translator.*named)(id.c_str())
                                                : (*call.translator.*current)();
}

// Hands a JSON array of filters over.
template <auto set>
void Filters(Call& call) {
    const Json list = call.arguments.Value(0);
    call.arguments.EndAt(1);
    call.answer["code"] = set(*call.translator, list);
}

void Init(Call& call) {
    const std::string language = call.arguments.Text(0);
    call.arguments.EndAt(1);
    std::string message;
    call.answer["code"] =
        call.module.Init(call.arguments.Has(0) ? language.c_str() : nullptr, message);
    call.answer["message"] = JsonOf(message);
}

void New(Call& call) {
    const auto kind = ParseKind(call.arguments.Text(0));
    if (!kind) throw Complaint("contacts, mail, other or the number of a data kind is needed");
    call.arguments.EndAt(1);
    call.answer["code"] = call.Renew(*kind);
}

void GetAppInfo(Call& call) {
    const auto configure = static_cast<BOOL>(call.arguments.Number(0));
    std::string wanted = call.arguments.Text(1);
    if (wanted.empty() && call.kind == translator::kContactsKind) wanted = call.nicknameFile;
    CString selection(wanted), summary;
    call.arguments.EndAt(2);
    call.answer["code"] =
        call.translator->GetAppInfo(configure, &call.Context(), selection, 0, summary, 0);
    call.answer["selection"] = JsonOf(selection.Str());
    call.answer["summary"] = JsonOf(summary.Str());
}

void SaveSettings(Call& call) {
    const std::string selection = call.arguments.Text(0);
    call.arguments.EndAt(1);
    tagRAPPINFO info{0, selection.c_str()};
    call.answer["code"] = call.translator->SaveSettings(0, &info, 0);
}

void Open(Call& call) {
    const int mode = static_cast<int>(call.arguments.Number(0));
    call.arguments.EndAt(1);
    call.answer["code"] = call.translator->Open(mode, 0, 0, 0, &call.Context(), 0);
}

void Fields(Call& call) {
    call.arguments.EndAt(0);
    Json fields = Json::array();
    CString id, name;
    unsigned long type = 0, tag = 0;
    unsigned short ordinal = 0;
    RRETURNCODE code = call.translator->GetFirstFieldInfo(id, name, &type, &tag, &ordinal);
    while (code == RRC_OK) {
        fields.push_back({{"id", JsonOf(id.Str())},
                          {"name", JsonOf(name.Str())},
                          {"type", type},
                          {"tag", tag},
                          {"ordinal", ordinal}});
        code = call.translator->GetNextFieldInfo(id, name, &type, &tag, &ordinal);
    }
    call.answer["code"] = code == RRC_NONE ? RRC_OK : code;
    call.answer["fields"] = fields;
}

void GoTo(Call& call) {
    const std::string id = call.arguments.WholeText();
    if (!call.arguments.Has(0)) throw Complaint("the id of a record is needed");
    call.answer["code"] = call.translator->GoToRecord(id.c_str());
}

// The type to give for a field: the field's own, and where the kind has no fields the one on the
// line, else text. A translator takes it on trust that the cell is one of the field's own type.
unsigned long CellType(Call& call, const std::string& id, std::size_t index) {
    const auto own = FieldType(call.kind, id);
    if (!call.arguments.Has(index)) return own.value_or(translator::kTextType);
    const auto given = static_cast<unsigned long>(call.arguments.Number(index));
    if (own && given != *own) {
        throw Complaint("field " + id + " is of type " + std::to_string(*own));
    }
    return given;
}

void GetField(Call& call) {
    const std::string id = call.arguments.Text(0);
    if (!call.arguments.Has(0)) throw Complaint("the id of a field is needed");
    unsigned long type = CellType(call, id, 1);
    call.arguments.EndAt(2);
    Cell cell(type);
    call.answer["code"] = call.translator->GetField(id.c_str(), &type, cell.Address());
    call.answer["type"] = type;
    call.answer["value"] = cell.Take();
}

void SetField(Call& call) {
    const std::string id = call.arguments.Text(0);
    if (!call.arguments.Has(1)) throw Complaint("the id of a field and a JSON value are needed");
    const Json value = call.arguments.Value(1);
    unsigned long type = CellType(call, id, 2);
    call.arguments.EndAt(3);
    Cell cell(type, value);
    call.answer["code"] = call.translator->SetField(id.c_str(), &type, cell.Address());
}

// A field that a host is about to store.
struct ShownCell {
    std::string field;
    Cell cell;
    ShownCell(const std::string& id, unsigned long type, const Json& value)
        : field(id), cell(type, value) {}
};

// The callback of IsOkToSetRecord over a list of such fields.
RRETURNCODE Show(void* context, const char* fieldId, void** cell, unsigned long* type,
                 BOOL* hasField) {
    *hasField = 0;
    for (ShownCell& shown : *static_cast<std::list<ShownCell>*>(context)) {
        if (shown.field != fieldId) continue;
        *cell = shown.cell.Address();
        *type = shown.cell.Type();
        *hasField = 1;
    }
    return RRC_OK;
}

void IsOk(Call& call) {
    const Json values = call.arguments.Value(0);
    if (!values.is_object()) throw Complaint("a JSON object of field ids and values is needed");
    call.arguments.EndAt(1);
    std::list<ShownCell> shown;
    for (const auto& [id, value] : values.items()) {
        shown.emplace_back(id, FieldType(call.kind, id).value_or(translator::kTextType), value);
    }
    BOOL ok = 0;
    call.answer["code"] = call.translator->IsOkToSetRecord(0, &Show, &shown, &ok);
    call.answer["ok"] = ok != 0;
}

void IsOkToProceed(Call& call) {
    call.arguments.EndAt(0);
    BOOL ok = 0;
    call.answer["code"] = call.translator->IsOkToProceed(0, 0, &ok);
    call.answer["ok"] = ok != 0;
}

void Update(Call& call) {
    call.arguments.EndAt(0);
    CString id, modifiedInfo;
    call.answer["code"] = call.translator->UpdateRecord(id, modifiedInfo);
    call.answer["id"] = JsonOf(id.Str());
    call.answer["modifiedInfo"] = JsonOf(modifiedInfo.Str());
}

void BatchUpdate(Call& call) {
    call.arguments.EndAt(0);
    translator::CollectingSink sink;
    call.answer["code"] = call.translator->BatchUpdate(&sink);
    auto& stored = call.answer["stored"] = Json::array();
    for (const auto& [id, modifiedInfo] : sink.report.stored) {
        stored.push_back({{"id", JsonOf(id)}, {"modifiedInfo", JsonOf(modifiedInfo)}});
    }
    auto& deleted = call.answer["deleted"] = Json::array();
    for (const auto& id : sink.report.deleted) deleted.push_back(JsonOf(id));
}

using Words = std::array<RWORD, 5>;
using Caller = RRETURNCODE (*)(T&, const Words&);

// Calls an operation with as many of the words as it takes.
template <auto operation, class... Word>
RRETURNCODE Take(T& translator, const RWORD* next, Word... taken) {
    if constexpr (std::is_invocable_v<decltype(operation), T&, Word...>) {
        return (translator.*operation)(taken...);
    } else {
        return Take<operation>(translator, next + 1, taken..., *next);
    }
}

template <auto operation>
RRETURNCODE Pass(T& translator, const Words& words) {
    return Take<operation>(translator, words.data());
}

// The reserved operations, from number 1 on; each takes as many of the words as it has.
constexpr Caller kReserved[] = {
    Pass<&T::ReservedOp1>,  Pass<&T::ReservedOp2>,  Pass<&T::ReservedOp3>,  Pass<&T::ReservedOp4>,
    Pass<&T::ReservedOp5>,  Pass<&T::ReservedOp6>,  Pass<&T::ReservedOp7>,  Pass<&T::ReservedOp8>,
    Pass<&T::ReservedOp9>,  Pass<&T::ReservedOp10>, Pass<&T::ReservedOp11>, Pass<&T::ReservedOp12>,
    Pass<&T::ReservedOp13>, Pass<&T::ReservedOp14>, Pass<&T::ReservedOp15>, Pass<&T::ReservedOp16>,
    Pass<&T::ReservedOp17>, Pass<&T::ReservedOp18>, Pass<&T::ReservedOp19>, Pass<&T::ReservedOp20>,
    Pass<&T::ReservedOp21>, Pass<&T::ReservedOp22>, Pass<&T::ReservedOp23>, Pass<&T::ReservedOp24>,
    Pass<&T::ReservedOp25>, Pass<&T::ReservedOp26>, Pass<&T::ReservedOp27>, Pass<&T::ReservedOp28>,
    Pass<&T::ReservedOp29>, Pass<&T::ReservedOp30>, Pass<&T::ReservedOp31>, Pass<&T::ReservedOp32>,
    Pass<&T::ReservedOp33>};

// A number and up to five words; what an operation does not take is left out.
void Reserved(Call& call) {
    const long number = call.arguments.Number(0);
    Words words{};
    for (std::size_t i = 0; i < words.size(); ++i) {
        words[i] = static_cast<RWORD>(call.arguments.Number(i + 1));
    }
    call.arguments.EndAt(1 + words.size());
    constexpr long kLast = std::size(kReserved);
    if (number < 1 || number > kLast) {
        throw Complaint("a number from 1 to " + std::to_string(kLast) + " is needed");
    }
    call.answer["code"] = kReserved[number - 1](*call.translator, words);
}

using translator::TranslatorHost;

constexpr Operation kOperations[] = {
    {"Init", "[LANGUAGE]", "InitTranslatorEx; without a language the last one stays", &Init, false},
    {"New", "KIND", "release the translator and make one: contacts, mail, other or a number", &New,
     false},
    {"Properties", "", "GetAppProperties",
     &GivesNumber<unsigned long, &T::GetAppProperties, kNoProperties>},
    {"GetAppInfo", "[CONFIGURE [SELECTION]]",
     "choose the store; CONFIGURE 1 shows the dialog, on Linux in a terminal", &GetAppInfo},
    {"SaveSettings", "PATH", "SaveSettings", &SaveSettings},
    {"Open", "[MODE]", "Open", &Open},
    {"Fields", "", "GetFirstFieldInfo and GetNextFieldInfo to the end", &Fields},
    {"FieldCount", "", "GetFieldCount; null if the translator gives none",
     &GivesNumber<long, &T::GetFieldCount, kNoCount>},
    {"RecordCount", "", "GetRecordCount; null if the translator gives none",
     &GivesNumber<long, &T::GetRecordCount, kNoCount>},
    {"TextFilter", "[{\"field\":ID,\"text\":TEXT,\"substring\":BOOL}, ...]", "SetTextFilter",
     &Filters<&SetTextFilters>},
    {"DateFilter", "[{\"field\":ID,\"start\":DATE,\"end\":DATE,\"skip\":BOOL}, ...]",
     "SetDateFilter; dates are OLE numbers, null for none", &Filters<&SetDateFilters>},
    {"BoolFilter", "[{\"field\":ID,\"value\":BOOL}, ...]", "SetBoolFilter",
     &Filters<&SetBoolFilters>},
    {"MoveFirst", "", "MoveFirst", &Plain<&T::MoveFirst>},
    {"MoveNext", "", "MoveNext", &Plain<&T::MoveNext>},
    {"GoTo", "ID", "GoToRecord", &GoTo},
    {"GetRecordID", "", "GetRecordID", &GivesText<&T::GetRecordID>},
    {"GetModifiedInfo", "", "GetModifiedInfo", &GivesText<&T::GetModifiedInfo>},
    {"GetField", "FIELD [TYPE]",
     "GetField; null for a field without value. TYPE is for kinds that have no fields", &GetField},
    {"IsOk", "{\"FIELD\":VALUE, ...}", "IsOkToSetRecord with these values shown to the callback",
     &IsOk},
    {"IsOkToProceed", "", "IsOkToProceed", &IsOkToProceed},
    {"Add", "[WORD]", "AddNewRecord", &WithNumber<RWORD, &T::AddNewRecord>},
    {"Edit", "[ID]", "EditRecord, of the current record or of the one with that id",
     &OfRecord<&T::EditRecord, &T::EditRecord>},
    {"SetField", "FIELD VALUE [TYPE]", "SetField", &SetField},
    {"Update", "", "UpdateRecord", &Update},
    {"Delete", "[ID]", "DeleteRecord, of the current record or of the one with that id",
     &OfRecord<&T::DeleteRecord, &T::DeleteRecord>},
    {"DeleteAll", "", "DeleteAllRecords", &Plain<&T::DeleteAllRecords>},
    {"BatchUpdate", "", "BatchUpdate; shows what its sink was told", &BatchUpdate},
    {"Errors", "", "empty the error queue",
     &Empties<&T::GetFirstErrorMessage, &T::GetNextErrorMessage>},
    {"Warnings", "", "empty the warning queue",
     &Empties<&T::GetFirstWarningMessage, &T::GetNextWarningMessage>},
    {"Close", "[MODE]", "Close", &WithNumber<int, &T::Close>},
    {"Uninit", "", "UninitTranslator", &OfModule<&TranslatorHost::Uninit>, false},
    {"RemoveTranslator", "", "RemoveTranslator", &OfModule<&TranslatorHost::RemoveTranslator>,
     false},
    {"SelfDiagnose", "", "SelfDiagnose", &OfModule<&TranslatorHost::SelfDiagnose>, false},
    {"Reserved", "NUMBER [WORD ...]", "the reserved operation of that number", &Reserved},
};

}  // namespace

RRETURNCODE Call::Renew(unsigned long newKind) {
    translator.reset();
    kind = newKind;
    return module.NewTranslator(kind, translator);
}

CRHostContext& Call::Context() {
    context = std::make_unique<translator::HostContext>(module.Util());
    return *context;
}

std::span<const Operation> Operations() {
    return kOperations;
}

}  // namespace host::shell
