#include "host/shell/shell.h"

#include <algorithm>

#include <nlohmann/json.hpp>

#include "host/base/output.h"
#include "host/shell/operations.h"

namespace host::shell {

namespace {

std::string Complaint(const std::string& operation, const std::string& text) {
    return base::JsonText(Json{{"op", operation}, {"error", text}});
}

// The answer to one line, without a line end; empty if the line asks for nothing.
std::string AnswerLine(Console& console, std::string line) {
    while (!line.empty() && (line.back() == '\r' || line.back() == ' ')) line.pop_back();
    const auto start = line.find_first_not_of(" \t");
    if (start == std::string::npos || line[start] == '#') return {};
    const auto end = std::min(line.find_first_of(" \t", start), line.size());
    const std::string name = line.substr(start, end - start);
    const auto operation = std::ranges::find(Operations(), name, &Operation::name);
    if (operation == Operations().end()) {
        return Complaint(name, "unknown operation; kvsync shell --help lists them");
    }
    if (operation->needsTranslator && console.Translator() == nullptr) {
        return Complaint(name, "there is no translator; New makes one");
    }
    Arguments arguments(std::string_view(line).substr(end));
    Json answer = {{"op", name}};
    Call call{console, arguments, answer};
    operation->run(call);
    return arguments.Failed() ? Complaint(name, arguments.Complaint()) : base::JsonText(answer);
}

}  // namespace

void RunShell(Console& console, std::istream& in) {
    for (std::string line; std::getline(in, line);) {
        const std::string answer = AnswerLine(console, line);
        if (!answer.empty()) base::PrintLine(answer);
    }
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
