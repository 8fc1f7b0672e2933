#pragma once

#include <span>
#include <string_view>

#include "host/shell/console.h"

namespace host::shell {

// One operation of the shell. It reads its arguments, calls the module and adds what came back to
// `answer`; after a complaint of the arguments it has called nothing.
struct Operation {
    const char* name;
    const char* usage;  // the arguments
    const char* help;
    void (*run)(Console& console, Arguments& arguments, Json& answer);
    bool needsTranslator = true;
};

// All of them, in the order in which a host uses them.
std::span<const Operation> Operations();
// Null if there is none of that name.
const Operation* FindOperation(std::string_view name);

}  // namespace host::shell
