#include "host/cli/module_messages.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>

#include "host/module/native_path.h"
#include "host/output/output.h"
#include "platform/kvutil/kvutil.h"

namespace host {

namespace {

void Log(int, const char* format, ...) {
    std::string line(4096, '\0');  // a longer one is cut
    va_list arguments;
    va_start(arguments, format);
    const int length = std::vsnprintf(line.data(), line.size(), format, arguments);
    va_end(arguments);
    line.resize(std::min(line.size() - 1, static_cast<std::size_t>(std::max(length, 0))));
    // Some of the module's lines bring a line end.
    if (line.ends_with('\n')) line.pop_back();
    PrintLog(ToUtf8(line));
}

}  // namespace

ModuleMessages::ModuleMessages() {
    g_pfnLog = Log;
}

void ModuleMessages::ShowMessage(const std::string& text, const std::string& title,
                                 platform::MessageIcon) {
    PrintError(ToUtf8(title) + ": " + ToUtf8(text));
}

int ModuleMessages::RunModal(const platform::DialogTemplate&, platform::DialogLogic&) {
    constexpr int kCancelled = 2;
    return kCancelled;
}

}  // namespace host
