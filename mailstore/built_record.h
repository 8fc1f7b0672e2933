#pragma once

#include <memory>
#include <string_view>

#include "mapi/mapi.h"

// Records that the module builds. Every text of one is a zero-ended block of its own.
namespace mailstore {

using TextBlock = std::unique_ptr<char[]>;

// A text of a record; a null one is empty.
inline std::string_view ViewOf(const char* text) {
    return text != nullptr ? std::string_view(text) : std::string_view();
}

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

}  // namespace mailstore
