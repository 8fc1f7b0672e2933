#include "mapi/message_slot.h"

#include <utility>

namespace mapi {

void MessageSlot::PutLibrarys(MapiMessage* message) {
    m_message = message;
    m_borrowed = false;
}

void MessageSlot::PutBorrowed(MapiMessage* message) {
    m_message = message;
    m_borrowed = true;
}

MapiMessage* MessageSlot::TakeLibrarys() {
    MapiMessage* const message = std::exchange(m_message, nullptr);
    return m_borrowed ? nullptr : message;
}

}  // namespace mapi
