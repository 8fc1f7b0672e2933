#include <cstdlib>
#include <iostream>
#include <string>

#include "benchmarks/nickname_generator.h"

// generate_nicknames FILE CONTACTS [sorted]
int main(int count, char** arguments) {
    if (count < 3 || count > 4) {
        std::cerr << "usage: generate_nicknames FILE CONTACTS [sorted]\n";
        return 2;
    }
    const auto contacts = static_cast<std::uint32_t>(std::strtoul(arguments[2], nullptr, 10));
    if (benchmarks::WriteNicknameFile(arguments[1], contacts, count == 4)) return 0;
    std::cerr << arguments[1] << ": cannot be written\n";
    return 1;
}
