#include "host/shell/operations.h"

#include "host/shell/record_operations.h"
#include "host/shell/selection_operations.h"

namespace host {

namespace {

using namespace operations;

constexpr Operation kOperations[] = {
    {"Init", "[LANGUAGE]", "InitTranslatorEx; without a language the last one stays", &Init, false},
    {"New", "KIND", "release the translator and make one: contacts, mail, other or a number", &New,
     false},
    {"Properties", "", "GetAppProperties", &Properties},
    {"GetAppInfo", "[CONFIGURE [SELECTION]]",
     "choose the store; CONFIGURE 1 shows the dialog, on Linux in a terminal", &GetAppInfo},
    {"SaveSettings", "PATH", "SaveSettings", &SaveSettings},
    {"Open", "[MODE]", "Open", &Open},
    {"Fields", "", "GetFirstFieldInfo and GetNextFieldInfo to the end", &Fields},
    {"FieldCount", "", "GetFieldCount; null if the translator gives none", &FieldCount},
    {"RecordCount", "", "GetRecordCount; null if the translator gives none", &RecordCount},
    {"TextFilter", "[{\"field\":ID,\"text\":TEXT,\"substring\":BOOL}, ...]", "SetTextFilter",
     &TextFilter},
    {"DateFilter", "[{\"field\":ID,\"start\":DATE,\"end\":DATE,\"skip\":BOOL}, ...]",
     "SetDateFilter; dates are OLE numbers, null for none", &DateFilter},
    {"BoolFilter", "[{\"field\":ID,\"value\":BOOL}, ...]", "SetBoolFilter", &BoolFilter},
    {"MoveFirst", "", "MoveFirst", &MoveFirst},
    {"MoveNext", "", "MoveNext", &MoveNext},
    {"GoTo", "ID", "GoToRecord", &GoTo},
    {"GetRecordID", "", "GetRecordID", &GetRecordID},
    {"GetModifiedInfo", "", "GetModifiedInfo", &GetModifiedInfo},
    {"GetField", "FIELD [TYPE]",
     "GetField; null for a field without value. TYPE is for kinds that have no fields", &GetField},
    {"IsOk", "{\"FIELD\":VALUE, ...}", "IsOkToSetRecord with these values shown to the callback",
     &IsOk},
    {"IsOkToProceed", "", "IsOkToProceed", &IsOkToProceed},
    {"Add", "[WORD]", "AddNewRecord", &Add},
    {"Edit", "[ID]", "EditRecord, of the current record or of the one with that id", &Edit},
    {"SetField", "FIELD VALUE [TYPE]", "SetField", &SetField},
    {"Update", "", "UpdateRecord", &Update},
    {"Delete", "[ID]", "DeleteRecord, of the current record or of the one with that id", &Delete},
    {"DeleteAll", "", "DeleteAllRecords", &DeleteAll},
    {"BatchUpdate", "", "BatchUpdate; shows what its sink was told", &BatchUpdate},
    {"Errors", "", "empty the error queue", &Errors},
    {"Warnings", "", "empty the warning queue", &Warnings},
    {"Close", "[MODE]", "Close", &Close},
    {"Uninit", "", "UninitTranslator", &Uninit, false},
    {"RemoveTranslator", "", "RemoveTranslator", &RemoveTranslator, false},
    {"SelfDiagnose", "", "SelfDiagnose", &SelfDiagnose, false},
    {"Reserved", "NUMBER [WORD ...]", "the reserved operation of that number", &Reserved},
};

}  // namespace

std::span<const Operation> Operations() {
    return kOperations;
}

const Operation* FindOperation(std::string_view name) {
    for (const Operation& operation : kOperations) {
        if (name == operation.name) return &operation;
    }
    return nullptr;
}

}  // namespace host
