#pragma once

#include <memory>
#include <span>
#include <string>

#include "host/shell/arguments.h"
#include "host/translator/translator_session.h"

namespace host::shell {

// The state that operations work on: the loaded module, the current translator, and the arguments
// and the answer of the current line.
struct Call {
    translator::TranslatorHost& module;
    // A Windows path in the system code page: what GetAppInfo selects of contacts in place of an
    // empty selection; may be empty.
    std::string nicknameFile = {};
    // The current translator, of the kind made last; null after a failure.
    std::unique_ptr<CRRecordTranslator> translator = nullptr;
    unsigned long kind = 0;
    // Made anew for each use, with the object that the last Init gave.
    std::unique_ptr<translator::HostContext> context = nullptr;
    Arguments arguments{""};
    Json answer = {};

    // Releases the translator and makes one of the kind.
    RRETURNCODE Renew(unsigned long newKind);
    CRHostContext& Context();
};

// One operation of the shell. It reads its arguments, calls the module and adds what came back to
// the answer. A Complaint about the arguments comes before any call.
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
