#pragma once

#include <functional>
#include <memory>
#include <string>

#include "host/base/failure.h"
#include "host/mail/attach_folder.h"
#include "host/mail/mail_source.h"
#include "host/state/memory.h"
#include "host/sync/report.h"
#include "host/sync/rules.h"
#include "platform/os/files.h"

// Syncing and previewing mails. Paths are native, in UTF-8.
namespace host::mailsync {

// The two sides of a sync and its rules.
struct MailSyncOptions : sync::Options {
    // Makes the in-box ready for reading; called once, after the checks of memory and Maildir.
    std::function<base::Result<std::unique_ptr<mail::MailSource>>()> open;
    // Turns the bytes of a message into a mail for Eudora; the second text names it in failures.
    std::function<base::Result<mail::NewMail>(std::string_view, const std::string&)> parse;
    mail::AttachFolder* attachments = nullptr;  // Eudora's; outlives the run
    std::string inbox;   // In.mbx as a native path: with the Maildir the memory's key
    std::string table;   // In.toc, the same
    std::string limits;  // any text that changes when Eudora's limits do
    std::string outbox;  // Out.toc, the same
    // The files of In, Trash and Out that change with Eudora's mails, native, in the order of a
    // restore.
    std::vector<std::string> mailboxes;
    std::string maildir;         // native, without links
    unsigned codePage = 0;       // Microsoft's number of that of Eudora's texts
    bool isCodePageSaid = true;  // or else only supposed
};

// The two sides whose memory a sync keeps.
state::Sides SidesOf(const sync::RunContext& context, const MailSyncOptions& options);

// Brings both sides into step, after a backup if Eudora's files change. A failure means that
// neither side was changed; failures of single mails are errors of the report. A dry run writes
// nothing and reports what a run would do.
base::Result<sync::Report> RunMailSync(const sync::RunContext& context,
                                       const MailSyncOptions& options);
// What a sync would find and do, without touching anything.
sync::Preview RunMailStatus(const sync::RunContext& context, const MailSyncOptions& options);

// kRefused, with the way out, if the folder cannot be a Maildir: it is a file, may not be written,
// holds other things, or lies in Eudora's folder. One that does not exist is in order. Paths are
// native, without links.
base::Status CheckMaildir(platform::Files& files, const std::string& maildir,
                          const std::string& eudoraFolder);

}  // namespace host::mailsync
