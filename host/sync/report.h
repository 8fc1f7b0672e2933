#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "host/base/contact.h"
#include "host/base/failure.h"

// What a sync of contacts or of mails did. All texts are UTF-8 and may hold any characters: they
// come from mails, vCards and file names.
namespace host::sync {

// What is done to a contact or a mail, and where. kMemory: only what is remembered changes.
enum class Side { kEudora, kFolder, kMemory };
enum class Verb {
    kNone,
    kAdd,
    kChange,
    kRemove,
    kQueue,  // a mail is queued in Eudora, to be sent
    kFile,   // a mail that was queued before goes to .Sent
    // Of a mail. In memory: a delivery that came to nothing is forgotten, before the mail is
    // delivered again. In the folder: its file is composed again, as it lacks something.
    kRedo,
};
struct Act {
    Side side = Side::kMemory;
    Verb verb = Verb::kNone;
    bool operator==(const Act&) const = default;
};

// One contact or mail that changed, or would.
struct Change {
    struct OnSide {
        Verb verb = Verb::kNone;
        std::string name;         // what a person knows it by on that side
        base::FieldSet fields;    // of a contact that is changed
        base::FieldSet inPart{};  // that the side cannot hold as they are
    };
    std::string name;
    OnSide eudora, folder;
    std::string renamedTo;      // a contact's new nickname; empty if it keeps its own
    std::string id, messageId;  // of a mail, as Eudora tells them
    bool isRead = false;        // of a mail whose read state changes: the new one

    const OnSide& On(Side side) const { return side == Side::kEudora ? eudora : folder; }
};

// Something that waits for a person, or that a person should look at.
struct Notice {
    std::string name, text;
};

// Why nothing of a plan was done: a limit, or a side that is suddenly empty.
struct Stop {
    base::Failure why;
    Verb verb = Verb::kNone;        // what there would have been too much of
    std::optional<Side> side = {};  // and where; nothing if on either
};

// What a sync did, or would do. All counts are of contacts or mails.
struct Report {
    std::vector<Change> changes;  // in the order in which a person reads them
    std::vector<Notice> conflicts;
    std::vector<std::string> errors;  // a line each: what failed, and mails that cannot be read
    std::optional<Stop> stop;         // then `changes` are those that were stopped

    // Of contacts.
    std::vector<Notice> refused;         // by Eudora's own rules
    std::vector<std::string> leftAlone;  // files that are not one vCard each, in words
    std::size_t richer = 0;              // vCards that hold more than Eudora can
    std::size_t further = 0;             // contacts with addresses that stay in Eudora alone
    std::vector<std::string> details;    // for who wants to know all: which those are, and what a
                                         // run in one direction leaves

    std::size_t undone = 0;  // changes that are left to the next run

    // Of mails.
    std::size_t dropped = 0;  // Eudora keeps them though their files were removed long ago
    std::size_t kept = 0;     // marked files of mails that are gone from Eudora
    std::size_t drafts = 0;   // files that are not finished, so that Eudora does not get them
    std::size_t held = 0;     // removals that wait until all can be read
    std::string limits;       // what Eudora's limits leave out; empty if nothing
    std::vector<std::string> notes;  // what got lost in a mail on its way

    // That of the stop, kFailed with an error, else kConflictsLeft with a conflict, else
    // kChangesMade with a change.
    base::ExitCode Code() const;
    // How many changes do `verb` to Eudora or to the folder.
    std::size_t Count(Side side, Verb verb) const;
    // Whether anything is done to that side.
    bool Changes(Side side) const;
    // Whether there is anything that a person who wants to read little must know.
    bool HasNews() const;
    // Whether a run that finds both sides as they were would report the same: nothing was done, and
    // nothing waits or could not be read.
    bool IsIdle() const;
};

// An idle report as bytes, and back; nothing if they are of another version.
std::string IdleBytes(const Report& report);
std::optional<Report> IdleReport(const std::string& bytes);

// What a sync would find and do.
struct Preview {
    std::size_t inEudora = 0, inFolder = 0, remembered = 0;  // as far as they were counted
    base::Status ready;  // why a sync would not begin; then `report` is empty
    Report report;
};

}  // namespace host::sync
