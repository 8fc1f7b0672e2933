#include "host/translator/module_messages.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>

#include "host/base/output.h"
#include "host/base/paths.h"
#include "platform/kvutil/kvutil.h"

namespace host::translator {

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
    base::PrintLog(base::ToUtf8(line));
}

}  // namespace

DialogsShownBy::DialogsShownBy(platform::Dialogs* dialogs) : m_before(DialogProvider()) {
    SetDialogProvider(dialogs);
}

DialogsShownBy::~DialogsShownBy() {
    SetDialogProvider(m_before);
}

ModuleMessages::ModuleMessages() {
    g_pfnLog = Log;
}

void ModuleMessages::ShowMessage(const std::string& text, const std::string& title,
                                 platform::MessageIcon) {
    base::PrintError(base::ToUtf8(title) + ": " + base::ToUtf8(text));
}

int ModuleMessages::RunModal(const platform::DialogTemplate&, platform::DialogLogic&) {
    constexpr int kCancelled = 2;
    return kCancelled;
}

}  // namespace host::translator
