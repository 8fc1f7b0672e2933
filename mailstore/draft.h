#pragma once

#include <list>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "frame/interface/field_ids.h"
#include "mapi/mapi.h"

namespace mailstore {

// Records that the module builds. Every text of one is a zero-ended block of its own.

using TextBlock = std::unique_ptr<char[]>;

inline TextBlock CopyOf(std::string_view text) {
    auto copy = std::make_unique<char[]>(text.size() + 1);
    text.copy(copy.get(), text.size());
    return copy;
}

// Lets `slot` hold a copy of the text instead of what it held.
inline void Assign(char*& slot, std::string_view text) {
    delete[] std::exchange(slot, CopyOf(text).release());
}

// Owns a record: frees it, with the files that it names.
struct FreeRecord {
    CMapi* mapi;
    void operator()(MapiMessage* record) const { mapi->FreeMessage(record); }
};
using BuiltRecord = std::unique_ptr<MapiMessage, FreeRecord>;

// The record that the host is filling, with its recipients as texts, until it is queued.
class Draft {
  public:
    // Makes an empty record; there is none in hand. False without memory.
    bool Begin() { return CMapi::AllocMessage(m_lpNewMessage) != 0; }
    // Frees the record and deletes its files.
    void Drop(CMapi& mapi);
    void ForgetRecipients();
    bool Exists() const { return m_lpNewMessage != nullptr; }

    // Takes the value of a field that the record itself holds: sender, recipients, subject, date or
    // body. `cell` points to the text or the number.
    void Set(MailField field, const void* cell);

    // Gives the record its recipients, first To, then cc, then bcc, and moves it to the end of the
    // queue, which owns it from then on. A record to be sent has a recipient for each address
    // between semicolons and commas. One for the mailbox has one for each class with a text, whose
    // addresses between semicolons are joined by ", ". A lack of memory is thrown and changes
    // nothing.
    void Queue(std::list<MapiMessage*>& queue, bool isToBeSent);

    MapiMessage* m_lpNewMessage = nullptr;

  private:
    std::string m_pszTo, m_pszCc, m_pszBcc;
};

// A text cell of the host's; empty for a null one.
std::string_view TextOf(const void* cell);

}  // namespace mailstore
