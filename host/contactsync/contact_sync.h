#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <string>

#include "host/base/failure.h"
#include "host/state/memory.h"
#include "host/sync/report.h"
#include "host/sync/rules.h"
#include "host/translator/translator_session.h"

// Syncing, previewing and exporting contacts. Paths are native, in UTF-8.
namespace host::contactsync {

// Eudora's side. `open` makes a session with the address book selected and opened; it is called
// again whenever the file must be read anew.
struct AddressBook {
    std::function<base::Result<translator::TranslatorSession>()> open;
    // The nickname file, by which its memory is known: the Windows path would not do, as every bare
    // folder is C:\Eudora to the module.
    std::string file;
    // Microsoft's number of the code page of the file's texts, and whether a person or the machine
    // says so; else it is the usual one.
    unsigned codePage = 1252;
    bool isCodePageSaid = true;
};

// The two sides of a sync and its rules. The folder of vCards need not exist unless contacts in it
// are remembered.
struct SyncOptions : sync::Options {
    AddressBook eudora;
    std::string folder;               // absolute, links followed
    std::string folderAsNamed;        // on the command line
    std::string cardVersion = "4.0";  // of new vCards; or "3.0"
};

// The two sides whose memory a sync keeps.
state::Sides SidesOf(const sync::RunContext& context, const SyncOptions& options);

// Brings both sides into step, after a backup if Eudora's file changes. A failure means that
// neither side was changed; failures of single contacts are errors of the report. A dry run writes
// nothing and reports what a run would do.
base::Result<sync::Report> RunSync(const sync::RunContext& context, const SyncOptions& options);
// What a sync would find and do, without touching anything.
sync::Preview RunStatus(const sync::RunContext& context, const SyncOptions& options);

// Writes all contacts into a folder, one vCard each. The folder is made if it is missing, but not
// those above it; kRefused if it holds a .vcf file. Gives the number of contacts. A failure leaves
// the vCards written before it.
base::Result<std::size_t> ExportContacts(const sync::RunContext& context, const AddressBook& from,
                                         const std::string& toFolder,
                                         const std::string& cardVersion);

}  // namespace host::contactsync
