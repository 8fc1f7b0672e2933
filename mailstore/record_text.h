#pragma once

#include <memory>
#include <string_view>

namespace mailstore {

// A text of a record that the module builds: a zero-ended block of its own.
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
    auto copy = CopyOf(text);
    delete[] slot;
    slot = copy.release();
}

}  // namespace mailstore
