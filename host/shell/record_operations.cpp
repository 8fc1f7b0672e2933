#include "host/shell/record_operations.h"

#include <limits>
#include <list>

#include "host/shell/byte_text.h"
#include "host/shell/cell.h"
#include "host/shell/filters.h"
#include "host/shell/kinds.h"
#include "host/translator/batch_sink.h"

namespace host::shell::operations {

namespace {

// Runs an operation that takes nothing and gives a code alone.
void CallPlain(Console& console, Arguments& arguments, Json& answer,
               RRETURNCODE (CRRecordTranslator::*operation)()) {
    arguments.ExpectAtMost(0);
    if (!arguments.Failed()) answer["code"] = (console.Translator()->*operation)();
}

void CallText(Console& console, Arguments& arguments, Json& answer,
              RRETURNCODE (CRRecordTranslator::*operation)(CString&)) {
    arguments.ExpectAtMost(0);
    if (arguments.Failed()) return;
    CString text;
    answer["code"] = (console.Translator()->*operation)(text);
    answer["value"] = JsonTextFromBytes(text.Str());
}

// An id, or nothing for the form that works on the current record.
void CallRecord(Console& console, Arguments& arguments, Json& answer,
                RRETURNCODE (CRRecordTranslator::*current)(),
                RRETURNCODE (CRRecordTranslator::*named)(LPCTSTR)) {
    const std::string id = arguments.WholeText();
    if (arguments.Failed()) return;
    answer["code"] = arguments.Has(0) ? (console.Translator()->*named)(id.c_str())
                                      : (console.Translator()->*current)();
}

// A count that the module may leave alone shows as null then.
void CallCount(Console& console, Arguments& arguments, Json& answer,
               RRETURNCODE (CRRecordTranslator::*operation)(long*)) {
    arguments.ExpectAtMost(0);
    if (arguments.Failed()) return;
    long count = std::numeric_limits<long>::min();
    answer["code"] = (console.Translator()->*operation)(&count);
    answer["value"] = count == std::numeric_limits<long>::min() ? Json(nullptr) : Json(count);
}

using SetFilters = RRETURNCODE (*)(CRRecordTranslator&, const Json&, Arguments&);

void CallFilter(Console& console, Arguments& arguments, Json& answer, SetFilters set) {
    const Json list = arguments.Value(0);
    arguments.ExpectAtMost(1);
    if (arguments.Failed()) return;
    const RRETURNCODE code = set(*console.Translator(), list, arguments);
    if (!arguments.Failed()) answer["code"] = code;
}

// The type to give for a field: the field's own, and where the kind has no fields the one on the
// line, else text. A translator takes it on trust that the cell is one of the field's own type.
unsigned long CellType(Console& console, const std::string& id, std::size_t index,
                       Arguments& arguments) {
    const auto own = FieldType(console.Kind(), id);
    if (!arguments.Has(index)) return own.value_or(kTextCell);
    const auto given = static_cast<unsigned long>(arguments.Number(index, 0));
    if (own && given != *own) {
        arguments.Complain("field " + id + " is of type " + std::to_string(*own));
    }
    return given;
}

struct ShownCell {
    std::string field;
    Cell cell;
    ShownCell(const std::string& id, unsigned long type, const Json& value, Arguments& arguments)
        : field(id), cell(type, value, arguments) {}
};

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

}  // namespace

void Fields(Console& console, Arguments& arguments, Json& answer) {
    arguments.ExpectAtMost(0);
    if (arguments.Failed()) return;
    auto& translator = *console.Translator();
    Json fields = Json::array();
    CString id, name;
    unsigned long type = 0, tag = 0;
    unsigned short ordinal = 0;
    RRETURNCODE code = translator.GetFirstFieldInfo(id, name, &type, &tag, &ordinal);
    while (code == RRC_OK) {
        fields.push_back({{"id", JsonTextFromBytes(id.Str())},
                          {"name", JsonTextFromBytes(name.Str())},
                          {"type", type},
                          {"tag", tag},
                          {"ordinal", ordinal}});
        code = translator.GetNextFieldInfo(id, name, &type, &tag, &ordinal);
    }
    answer["code"] = code == RRC_NONE ? RRC_OK : code;
    answer["fields"] = fields;
}

void FieldCount(Console& console, Arguments& arguments, Json& answer) {
    CallCount(console, arguments, answer, &CRRecordTranslator::GetFieldCount);
}

void RecordCount(Console& console, Arguments& arguments, Json& answer) {
    CallCount(console, arguments, answer, &CRRecordTranslator::GetRecordCount);
}

void TextFilter(Console& console, Arguments& arguments, Json& answer) {
    CallFilter(console, arguments, answer, &SetTextFilters);
}

void DateFilter(Console& console, Arguments& arguments, Json& answer) {
    CallFilter(console, arguments, answer, &SetDateFilters);
}

void BoolFilter(Console& console, Arguments& arguments, Json& answer) {
    CallFilter(console, arguments, answer, &SetBoolFilters);
}

void MoveFirst(Console& console, Arguments& arguments, Json& answer) {
    CallPlain(console, arguments, answer, &CRRecordTranslator::MoveFirst);
}

void MoveNext(Console& console, Arguments& arguments, Json& answer) {
    CallPlain(console, arguments, answer, &CRRecordTranslator::MoveNext);
}

void GoTo(Console& console, Arguments& arguments, Json& answer) {
    const std::string id = arguments.WholeText();
    if (!arguments.Has(0)) arguments.Complain("the id of a record is needed");
    if (!arguments.Failed()) answer["code"] = console.Translator()->GoToRecord(id.c_str());
}

void GetRecordID(Console& console, Arguments& arguments, Json& answer) {
    CallText(console, arguments, answer, &CRRecordTranslator::GetRecordID);
}

void GetModifiedInfo(Console& console, Arguments& arguments, Json& answer) {
    CallText(console, arguments, answer, &CRRecordTranslator::GetModifiedInfo);
}

void GetField(Console& console, Arguments& arguments, Json& answer) {
    const std::string id = arguments.Text(0);
    if (!arguments.Has(0)) arguments.Complain("the id of a field is needed");
    unsigned long type = CellType(console, id, 1, arguments);
    arguments.ExpectAtMost(2);
    if (arguments.Failed()) return;
    Cell cell(type);
    answer["code"] = console.Translator()->GetField(id.c_str(), &type, cell.Address());
    answer["type"] = type;
    answer["value"] = cell.Take();
}

void SetField(Console& console, Arguments& arguments, Json& answer) {
    const std::string id = arguments.Text(0);
    if (!arguments.Has(1)) arguments.Complain("the id of a field and a JSON value are needed");
    const Json value = arguments.Value(1);
    unsigned long type = CellType(console, id, 2, arguments);
    arguments.ExpectAtMost(3);
    if (arguments.Failed()) return;
    Cell cell(type, value, arguments);
    if (arguments.Failed()) return;
    answer["code"] = console.Translator()->SetField(id.c_str(), &type, cell.Address());
}

void IsOk(Console& console, Arguments& arguments, Json& answer) {
    const Json values = arguments.Value(0);
    if (!values.is_object()) arguments.Complain("a JSON object of field ids and values is needed");
    arguments.ExpectAtMost(1);
    std::list<ShownCell> shown;
    if (!arguments.Failed()) {
        for (const auto& [id, value] : values.items()) {
            const unsigned long type = FieldType(console.Kind(), id).value_or(kTextCell);
            shown.emplace_back(id, type, value, arguments);
        }
    }
    if (arguments.Failed()) return;
    BOOL ok = 0;
    answer["code"] = console.Translator()->IsOkToSetRecord(0, &Show, &shown, &ok);
    answer["ok"] = ok != 0;
}

void IsOkToProceed(Console& console, Arguments& arguments, Json& answer) {
    arguments.ExpectAtMost(0);
    if (arguments.Failed()) return;
    BOOL ok = 0;
    answer["code"] = console.Translator()->IsOkToProceed(0, 0, &ok);
    answer["ok"] = ok != 0;
}

void Add(Console& console, Arguments& arguments, Json& answer) {
    const long word = arguments.Number(0, 0);
    arguments.ExpectAtMost(1);
    if (arguments.Failed()) return;
    answer["code"] = console.Translator()->AddNewRecord(static_cast<RWORD>(word));
}

void Edit(Console& console, Arguments& arguments, Json& answer) {
    CallRecord(console, arguments, answer, &CRRecordTranslator::EditRecord,
               &CRRecordTranslator::EditRecord);
}

void Update(Console& console, Arguments& arguments, Json& answer) {
    arguments.ExpectAtMost(0);
    if (arguments.Failed()) return;
    CString id, modifiedInfo;
    answer["code"] = console.Translator()->UpdateRecord(id, modifiedInfo);
    answer["id"] = JsonTextFromBytes(id.Str());
    answer["modifiedInfo"] = JsonTextFromBytes(modifiedInfo.Str());
}

void Delete(Console& console, Arguments& arguments, Json& answer) {
    CallRecord(console, arguments, answer, &CRRecordTranslator::DeleteRecord,
               &CRRecordTranslator::DeleteRecord);
}

void DeleteAll(Console& console, Arguments& arguments, Json& answer) {
    CallPlain(console, arguments, answer, &CRRecordTranslator::DeleteAllRecords);
}

void BatchUpdate(Console& console, Arguments& arguments, Json& answer) {
    arguments.ExpectAtMost(0);
    if (arguments.Failed()) return;
    translator::CollectingSink sink;
    answer["code"] = console.Translator()->BatchUpdate(&sink);
    answer["stored"] = Json::array();
    for (const auto& stored : sink.report.stored) {
        answer["stored"].push_back({{"id", JsonTextFromBytes(stored.id)},
                                    {"modifiedInfo", JsonTextFromBytes(stored.modifiedInfo)}});
    }
    answer["deleted"] = Json::array();
    for (const auto& id : sink.report.deleted) answer["deleted"].push_back(JsonTextFromBytes(id));
}

}  // namespace host::shell::operations
