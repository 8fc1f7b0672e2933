#include "host/shell/selection_operations.h"

#include <array>

#include "host/shell/byte_text.h"
#include "host/shell/kinds.h"
#include "host/shell/reserved_operations.h"

namespace host::shell::operations {

namespace {

// An out argument that the module may leave alone shows as null then.
constexpr unsigned long kUntouched = 0x5A5AA5A5;

Json Drain(CRRecordTranslator& translator, RRETURNCODE (CRRecordTranslator::*first)(CString&),
           RRETURNCODE (CRRecordTranslator::*next)(CString&)) {
    Json messages = Json::array();
    CString message;
    for (RRETURNCODE code = (translator.*first)(message); code == RRC_OK;
         code = (translator.*next)(message)) {
        messages.push_back(JsonTextFromBytes(message.Str()));
    }
    return messages;
}

}  // namespace

void Init(Console& console, Arguments& arguments, Json& answer) {
    const std::string language = arguments.Text(0);
    arguments.ExpectAtMost(1);
    if (arguments.Failed()) return;
    std::string message;
    answer["code"] = console.Module().Init(arguments.Has(0) ? language.c_str() : nullptr, message);
    answer["message"] = JsonTextFromBytes(message);
}

void Uninit(Console& console, Arguments& arguments, Json& answer) {
    arguments.ExpectAtMost(0);
    if (!arguments.Failed()) answer["code"] = console.Module().Uninit();
}

void New(Console& console, Arguments& arguments, Json& answer) {
    const auto kind = ParseKind(arguments.Text(0));
    if (!kind) arguments.Complain("contacts, mail, other or the number of a data kind is needed");
    arguments.ExpectAtMost(1);
    if (!arguments.Failed()) answer["code"] = console.Renew(*kind);
}

void RemoveTranslator(Console& console, Arguments& arguments, Json& answer) {
    arguments.ExpectAtMost(0);
    if (!arguments.Failed()) answer["code"] = console.Module().RemoveTranslator();
}

void SelfDiagnose(Console& console, Arguments& arguments, Json& answer) {
    arguments.ExpectAtMost(0);
    if (!arguments.Failed()) answer["code"] = console.Module().SelfDiagnose();
}

void Properties(Console& console, Arguments& arguments, Json& answer) {
    arguments.ExpectAtMost(0);
    if (arguments.Failed()) return;
    unsigned long properties = kUntouched;
    answer["code"] = console.Translator()->GetAppProperties(&properties);
    answer["value"] = properties == kUntouched ? Json(nullptr) : Json(properties);
}

void GetAppInfo(Console& console, Arguments& arguments, Json& answer) {
    const long configure = arguments.Number(0, 0);
    CString selection(arguments.Text(1)), summary;
    arguments.ExpectAtMost(2);
    if (arguments.Failed()) return;
    answer["code"] = console.Translator()->GetAppInfo(static_cast<BOOL>(configure),
                                                      &console.Context(), selection, 0, summary, 0);
    answer["selection"] = JsonTextFromBytes(selection.Str());
    answer["summary"] = JsonTextFromBytes(summary.Str());
}

void SaveSettings(Console& console, Arguments& arguments, Json& answer) {
    const std::string selection = arguments.Text(0);
    arguments.ExpectAtMost(1);
    if (arguments.Failed()) return;
    tagRAPPINFO info{0, selection.c_str()};
    answer["code"] = console.Translator()->SaveSettings(0, &info, 0);
}

void Open(Console& console, Arguments& arguments, Json& answer) {
    const int mode = static_cast<int>(arguments.Number(0, 0));
    arguments.ExpectAtMost(1);
    if (arguments.Failed()) return;
    answer["code"] = console.Translator()->Open(mode, 0, 0, 0, &console.Context(), 0);
}

void Close(Console& console, Arguments& arguments, Json& answer) {
    const int mode = static_cast<int>(arguments.Number(0, 0));
    arguments.ExpectAtMost(1);
    if (!arguments.Failed()) answer["code"] = console.Translator()->Close(mode);
}

void Errors(Console& console, Arguments& arguments, Json& answer) {
    arguments.ExpectAtMost(0);
    if (arguments.Failed()) return;
    answer["messages"] = Drain(*console.Translator(), &CRRecordTranslator::GetFirstErrorMessage,
                               &CRRecordTranslator::GetNextErrorMessage);
}

void Warnings(Console& console, Arguments& arguments, Json& answer) {
    arguments.ExpectAtMost(0);
    if (arguments.Failed()) return;
    answer["messages"] = Drain(*console.Translator(), &CRRecordTranslator::GetFirstWarningMessage,
                               &CRRecordTranslator::GetNextWarningMessage);
}

void Reserved(Console& console, Arguments& arguments, Json& answer) {
    const long number = arguments.Number(0, 0);
    std::array<RWORD, kMostReservedWords> words{};
    for (std::size_t i = 0; i < words.size(); ++i) {
        words[i] = static_cast<RWORD>(arguments.Number(i + 1, 0));
    }
    arguments.ExpectAtMost(1 + words.size());
    if (number < 1 || number > static_cast<long>(kReservedOperations)) {
        arguments.Complain("a number from 1 to " + std::to_string(kReservedOperations) +
                           " is needed");
    }
    if (arguments.Failed()) return;
    const auto code = CallReserved(*console.Translator(), static_cast<std::size_t>(number), words);
    answer["code"] = *code;
}

}  // namespace host::shell::operations
