#include <editline/readline.h>

#include <clocale>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "host/base/output.h"
#include "host/shell/line_source.h"
#include "host/shell/operations.h"

namespace host::shell {

namespace {

struct FreeText {
    void operator()(char* text) const { std::free(text); }
};

// The operations whose name begins with `start`, one a call; from the first one if `state` is 0.
// libedit frees what it gets.
char* NextName(const char* start, int state) {
    static std::size_t next;
    if (state == 0) next = 0;
    while (next < Operations().size()) {
        const char* const name = Operations()[next++].name;
        if (std::strncmp(name, start, std::strlen(start)) == 0) return strdup(name);
    }
    return nullptr;
}

// Completes the first word of a line, and nothing behind it.
char** Complete(const char* start, int begin, int /*end*/) {
    rl_attempted_completion_over = 1;
    return begin == 0 ? rl_completion_matches(start, NextName) : nullptr;
}

}  // namespace

LineSource LinesOfTerminal() {
    std::setlocale(LC_CTYPE, "");  // of the characters that are edited
    rl_attempted_completion_function = Complete;
    return [last = std::string()]() mutable -> std::optional<std::string> {
        const std::unique_ptr<char, FreeText> typed(readline("kvsync> "));
        if (typed == nullptr) {
            base::PrintLine("");
            return std::nullopt;
        }
        const std::string line = typed.get();
        if (!line.empty() && line != last) add_history(line.c_str());
        last = line;
        return line;
    };
}

}  // namespace host::shell
