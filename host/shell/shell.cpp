#include "host/shell/shell.h"

#include <algorithm>

#include "host/base/output.h"
#include "host/shell/operations.h"
#include "text/ascii.h"

namespace host::shell {

namespace {

// Works on the line and gives its answer, without a line end; empty if the line asks for nothing.
std::string AnswerLine(Call& call, std::string line) {
    while (!line.empty() && (line.back() == '\r' || line.back() == ' ')) line.pop_back();
    const auto start = line.find_first_not_of(" \t");
    if (start == std::string::npos || line[start] == '#') return {};
    const auto end = std::min(line.find_first_of(" \t", start), line.size());
    const std::string name = line.substr(start, end - start);
    call.answer = {{"op", name}};
    try {
        const auto operation = std::ranges::find(Operations(), name, &Operation::name);
        if (operation == Operations().end()) {
            throw Complaint("unknown operation; kvsync shell --help lists them");
        }
        if (operation->needsTranslator && call.translator == nullptr) {
            throw Complaint("there is no translator; New makes one");
        }
        call.arguments = Arguments(std::string_view(line).substr(end));
        operation->run(call);
    } catch (const Complaint& complaint) {
        call.answer["error"] = complaint.what();
    }
    return base::JsonText(call.answer);
}

}  // namespace

std::optional<unsigned long> ParseKind(std::string_view text) {
    if (text == "contacts") return translator::kContactsKind;
    if (text == "mail") return translator::kMailKind;
    if (text == "other") return 2;
    return text::NumberIn<unsigned long>(text);
}

LineSource LinesOf(std::istream& in) {
    return [&in]() -> std::optional<std::string> {
        std::string line;
        return std::getline(in, line) ? std::optional(std::move(line)) : std::nullopt;
    };
}

base::Status RunShell(translator::TranslatorHost& module, unsigned long kind,
                      const std::string& nicknameFile, const LineSource& lines) {
    Call call{module, nicknameFile};
    if (call.Renew(kind) != RRC_OK) {
        return base::Failed("the translator library gives no translator for data kind " +
                            std::to_string(kind));
    }
    while (auto line = lines()) {
        const std::string answer = AnswerLine(call, *std::move(line));
        if (!answer.empty()) base::PrintLine(answer);
    }
    return {};
}

std::string ShellHelp() {
    std::string text =
        "Each line of FILE (or of standard input) is one operation, called on the loaded\n"
        "translator library; one JSON object a line says what came back. Texts are JSON\n"
        "strings whose characters U+0000 to U+00FF stand for the bytes 0 to 255; an id may\n"
        "also be written without quotes. The library is initialised and a translator of the\n"
        "kind is made before the first line.\n\nOperations:\n";
    for (const Operation& operation : Operations()) {
        text += "  " + std::string(operation.name);
        if (*operation.usage != '\0') text += " " + std::string(operation.usage);
        text += "\n        " + std::string(operation.help) + "\n";
    }
    return text;
}

}  // namespace host::shell
