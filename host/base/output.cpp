#include "host/base/output.h"

#include <iostream>

#include "host/base/terminal_text.h"

namespace host::base {

bool PrintLine(std::string_view text) {
    std::cout << OneLine(text) << std::endl;
    return OutputIsWhole();
}

void PrintText(std::string_view text) {
    std::cout << Visible(text);
    if (!text.empty() && !text.ends_with('\n')) std::cout << '\n';
    std::cout.flush();
}

bool OutputIsWhole() {
    return static_cast<bool>(std::cout);
}

void PrintError(std::string_view text) {
    std::cerr << "kvsync: " + OneLine(text) + '\n';
}

void PrintLog(std::string_view text) {
    std::cerr << OneLine(text) + '\n';
}

void ShowProgress(std::string_view text) {
    std::cerr << '\r' + OneLine(text) + "\033[K" << std::flush;
}

}  // namespace host::base
