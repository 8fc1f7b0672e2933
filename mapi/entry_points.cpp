#include "mapi/entry_points.h"

namespace mapi {

bool EntryPoints::Find(platform::Library& library) {
    for (std::size_t i = 0; i < kEntryCount; ++i) {
        m_addresses[i] = library.Symbol(kEntryNames[i]);
        if (m_addresses[i] == nullptr) return false;
    }
    return true;
}

}  // namespace mapi
