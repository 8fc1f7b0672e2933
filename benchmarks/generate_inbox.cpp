#include <cstdlib>
#include <iostream>
#include <string>

#include "benchmarks/inbox_generator.h"

// generate_inbox FOLDER MAILS BYTES_EACH
int main(int count, char** arguments) {
    if (count != 4) {
        std::cerr << "usage: generate_inbox FOLDER MAILS BYTES_EACH\n";
        return 2;
    }
    const std::string base = std::string(arguments[1]) + "/In";
    const auto number = [&](int at) {
        return static_cast<std::uint32_t>(std::strtoul(arguments[at], nullptr, 10));
    };
    if (benchmarks::WriteInbox(base + ".mbx", base + ".toc", number(2), number(3))) return 0;
    std::cerr << base << ".mbx, .toc: cannot be written\n";
    return 1;
}
