#pragma once

#include <span>

#include "host/shell/arguments.h"
#include "host/shell/console.h"

namespace host::shell {

// One line at work: what its operation stands on, its arguments, and the answer that it fills.
struct Call {
    Console& console;
    Arguments& arguments;
    Json& answer;

    CRRecordTranslator& Translator() { return *console.Translator(); }
};

// One operation of the shell. It reads its arguments, calls the module and adds what came back to
// the answer; after a complaint of the arguments it has called nothing.
struct Operation {
    const char* name;
    const char* usage;  // the arguments
    const char* help;
    void (*run)(Call& call);
    bool needsTranslator = true;
};

// All of them, in the order in which a host uses them.
std::span<const Operation> Operations();

}  // namespace host::shell
