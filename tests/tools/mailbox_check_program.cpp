// mailbox_check FOLDER [OURS]: reads FOLDER/In.mbx and FOLDER/In.toc, prints their faults, and ends
// with 1 if there is one. From mail number OURS on, counted from 0, the mails have to be as the
// translator writes them.
#include <cctype>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>

#include "tests/tools/mailbox_check.h"

namespace {

namespace fs = std::filesystem;

std::string Read(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

std::string Lower(std::string text) {
    for (char& letter : text) {
        if (letter >= 'A' && letter <= 'Z') letter = static_cast<char>(letter - 'A' + 'a');
    }
    return text;
}

// The path is Eudora's, the folder may lie anywhere: what counts is the name in its Attach folder.
bool IsAttached(const fs::path& folder, const std::string& path) {
    const std::string name = Lower(path.substr(path.rfind('\\') + 1));
    std::error_code error;
    for (const auto& file : fs::directory_iterator(folder / "Attach", error)) {
        if (Lower(file.path().filename().string()) == name) return true;
    }
    return false;
}

}  // namespace

int main(int count, char** arguments) {
    if (count < 2 || count > 3) {
        std::cerr << "usage: mailbox_check FOLDER [OURS]\n";
        return 2;
    }
    const fs::path folder = arguments[1];
    mailbox_check::Rules rules;
    if (count == 3)
        rules.ours = static_cast<std::uint32_t>(std::strtoul(arguments[2], nullptr, 10));
    rules.exists = [&](const std::string& path) { return IsAttached(folder, path); };
    const auto report =
        mailbox_check::Check(Read(folder / "In.mbx"), Read(folder / "In.toc"), rules);
    for (const auto& fault : report.faults) std::cout << fault << '\n';
    std::cout << report.mails.size() << " mails, " << report.faults.size() << " faults\n";
    return report.faults.empty() ? 0 : 1;
}
