#include "platform/testing/memory_node.h"

namespace platform::testing {

char Lower(char letter) {
    return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
}

std::string Folded(std::string_view text) {
    std::string folded(text);
    for (char& letter : folded) letter = Lower(letter);
    return folded;
}

bool SameName(std::string_view a, std::string_view b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](char x, char y) { return Lower(x) == Lower(y); });
}

}  // namespace platform::testing
