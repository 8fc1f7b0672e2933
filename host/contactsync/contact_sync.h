#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <string>

#include "host/base/failure.h"
#include "host/sync/report.h"
#include "host/sync/rules.h"
#include "host/translator/translator_session.h"

namespace host::contactsync {

// Eudora's side. `open` makes a session with the address book selected and opened; it is called
// again whenever the file must be read anew.
struct EudoraPlace {
    std::function<base::Result<translator::TranslatorSession>()> open;
    // The nickname file as a native path. With the folder it is the memory's key: to Eudora every
    // bare folder is C:\Eudora.
    std::string file;
    unsigned codePage = 1252;
};

struct SyncOptions : sync::Options {
    EudoraPlace eudora;
    std::string contactsFolder;
};

// A failure: nothing was touched.
base::Result<sync::Report> RunSync(const sync::CommandPlace& place, const SyncOptions& options);
// What a sync would find and do, without touching anything.
sync::Preview RunStatus(const sync::CommandPlace& place, const SyncOptions& options);

// Writes all contacts into a native folder, which is made if there is none and must hold no .vcf
// file. Gives their number.
base::Result<std::size_t> ExportContacts(const sync::CommandPlace& place, const EudoraPlace& from,
                                         const std::string& toFolder);

}  // namespace host::contactsync
