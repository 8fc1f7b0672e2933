#include "host/shell/operations.h"

#include "host/shell/record_operations.h"
#include "host/shell/selection_operations.h"

namespace host::shell {

namespace {

using namespace operations;

constexpr Operation kOperations[] = {
    {"Init", "[LANGUAGE]", "InitTranslatorEx; without a language the last one stays",
     &operations::Init, false},
    {"New", "KIND", "release the translator and make one: contacts, mail, other or a number",
     &operations::New, false},
    {"Properties", "", "GetAppProperties", &operations::Properties},
    {"GetAppInfo", "[CONFIGURE [SELECTION]]",
     "choose the store; CONFIGURE 1 shows the dialog, on Linux in a terminal",
     &operations::GetAppInfo},
    {"SaveSettings", "PATH", "SaveSettings", &operations::SaveSettings},
    {"Open", "[MODE]", "Open", &operations::Open},
    {"Fields", "", "GetFirstFieldInfo and GetNextFieldInfo to the end", &operations::Fields},
    {"FieldCount", "", "GetFieldCount; null if the translator gives none", &operations::FieldCount},
    {"RecordCount", "", "GetRecordCount; null if the translator gives none",
     &operations::RecordCount},
    {"TextFilter", "[{\"field\":ID,\"text\":TEXT,\"substring\":BOOL}, ...]", "SetTextFilter",
     &operations::TextFilter},
    {"DateFilter", "[{\"field\":ID,\"start\":DATE,\"end\":DATE,\"skip\":BOOL}, ...]",
     "SetDateFilter; dates are OLE numbers, null for none", &operations::DateFilter},
    {"BoolFilter", "[{\"field\":ID,\"value\":BOOL}, ...]", "SetBoolFilter",
     &operations::BoolFilter},
    {"MoveFirst", "", "MoveFirst", &operations::MoveFirst},
    {"MoveNext", "", "MoveNext", &operations::MoveNext},
    {"GoTo", "ID", "GoToRecord", &operations::GoTo},
    {"GetRecordID", "", "GetRecordID", &operations::GetRecordID},
    {"GetModifiedInfo", "", "GetModifiedInfo", &operations::GetModifiedInfo},
    {"GetField", "FIELD [TYPE]",
     "GetField; null for a field without value. TYPE is for kinds that have no fields",
     &operations::GetField},
    {"IsOk", "{\"FIELD\":VALUE, ...}", "IsOkToSetRecord with these values shown to the callback",
     &operations::IsOk},
    {"IsOkToProceed", "", "IsOkToProceed", &operations::IsOkToProceed},
    {"Add", "[WORD]", "AddNewRecord", &operations::Add},
    {"Edit", "[ID]", "EditRecord, of the current record or of the one with that id",
     &operations::Edit},
    {"SetField", "FIELD VALUE [TYPE]", "SetField", &operations::SetField},
    {"Update", "", "UpdateRecord", &operations::Update},
    {"Delete", "[ID]", "DeleteRecord, of the current record or of the one with that id",
     &operations::Delete},
    {"DeleteAll", "", "DeleteAllRecords", &operations::DeleteAll},
    {"BatchUpdate", "", "BatchUpdate; shows what its sink was told", &operations::BatchUpdate},
    {"Errors", "", "empty the error queue", &operations::Errors},
    {"Warnings", "", "empty the warning queue", &operations::Warnings},
    {"Close", "[MODE]", "Close", &operations::Close},
    {"Uninit", "", "UninitTranslator", &operations::Uninit, false},
    {"RemoveTranslator", "", "RemoveTranslator", &operations::RemoveTranslator, false},
    {"SelfDiagnose", "", "SelfDiagnose", &operations::SelfDiagnose, false},
    {"Reserved", "NUMBER [WORD ...]", "the reserved operation of that number",
     &operations::Reserved},
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

}  // namespace host::shell
