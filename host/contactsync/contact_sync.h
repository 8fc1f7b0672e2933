#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <string>

#include "host/base/report.h"
#include "host/sync/place.h"
#include "host/sync/preference.h"
#include "host/translator/translator_session.h"

namespace host::contactsync {

// Eudora's side. `open` makes a session with the address book selected and opened; it is called
// again whenever the file must be read anew.
struct EudoraPlace {
    std::function<platform::Result<translator::TranslatorSession>()> open;
    std::string selection;   // the nickname file as Eudora knows it (UTF-8): the memory's key
    std::string nativeFile;  // the same file as a native path, for backups
    unsigned codePage = 1252;
};

struct SyncOptions {
    EudoraPlace eudora;
    std::string contactsFolder;
    sync::Prefer prefer = sync::Prefer::kBoth;
    std::optional<sync::DeleteLimit> maxDelete;  // the larger of 10 and 25% if not given
    bool dryRun = false;
    bool quiet = false;  // counts only, no line for each contact
};

base::Report RunSync(const sync::CommandPlace& place, const SyncOptions& options);
// What a sync would find and do, without touching anything.
base::Report RunStatus(const sync::CommandPlace& place, const SyncOptions& options);

// When the nickname file was last changed. kRefused for what cannot be one.
platform::Result<std::chrono::system_clock::time_point> CheckNicknameFile(platform::Files& files,
                                                                          const std::string& path);

}  // namespace host::contactsync
