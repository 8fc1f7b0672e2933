#include "platform/prefix/hosted_dialogs.h"

#include <atomic>
#include <cstdio>

#include "platform/os/code_page.h"
#include "platform/os/system.h"

namespace platform {

namespace {

std::atomic<Dialogs* (*)()> dialogSource = nullptr;

Dialogs* Provider() {
    const auto source = dialogSource.load();
    return source != nullptr ? source() : nullptr;
}

}  // namespace

void SetDialogSource(Dialogs* (*source)()) {
    dialogSource = source;
}

namespace prefix {

void HostedDialogs::ShowMessage(const std::string& text, const std::string& title,
                                MessageIcon icon) {
    if (Dialogs* provider = Provider()) return provider->ShowMessage(text, title, icon);
    std::fprintf(stderr, "%s: %s\n", ToUtf8(title, m_codePage).c_str(),
                 ToUtf8(text, m_codePage).c_str());
}

std::optional<std::string> HostedDialogs::OpenFile(const OpenFileRequest& request) {
    if (Dialogs* provider = Provider()) return provider->OpenFile(request);
    return std::nullopt;
}

int HostedDialogs::RunModal(const DialogTemplate& dialog, DialogLogic& logic) {
    constexpr int kCancelled = 2;
    Dialogs* provider = Provider();
    return provider != nullptr ? provider->RunModal(dialog, logic) : kCancelled;
}

}  // namespace prefix

}  // namespace platform
