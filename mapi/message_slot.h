#pragma once

#include "mapi/records.h"

namespace mapi {

// Holds at most one message and knows whose it is: the library's, which the holder of the slot has
// to give back, or a queue's, which the slot borrows. Frees nothing, so it may outlive the library.
class MessageSlot {
  public:
    MapiMessage* Get() const { return m_message; }
    bool IsLibrarys() const { return m_message != nullptr && !m_borrowed; }

    // What the slot held before is the caller's to give back. Null empties it.
    void PutLibrarys(MapiMessage* message);
    void PutBorrowed(MapiMessage* message);
    // Empties the slot: gives the message if it is the library's, else null.
    MapiMessage* TakeLibrarys();

  private:
    MapiMessage* m_message = nullptr;
    bool m_borrowed = false;
};

}  // namespace mapi
