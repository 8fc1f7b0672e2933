#include "host/dialogs/terminal_dialogs.h"

#include <newt.h>

#include <algorithm>
#include <iterator>
#include <vector>

#include "host/base/output.h"
#include "host/base/paths.h"
#include "host/dialogs/modal_form.h"
#include "host/dialogs/screen.h"
#include "platform/os/not_copied.h"
#include "platform/os/program.h"
#include "platform/os/system.h"
#include "text/path.h"

namespace host::dialogs {

namespace {

constexpr int kWidth = 66;
constexpr int kListHeight = 8;

// A text of the module as a line of the screen.
std::string Shown(const std::string& text) {
    return base::OneLine(base::ToUtf8(text));
}

// "Label (*.txt)|*.txt||" in its first two parts.
struct Filter {
    std::string label, pattern = "*";
    explicit Filter(const std::string& text) {
        const auto first = text.find('|');
        label = text.substr(0, first);
        if (first == std::string::npos) return;
        const auto second = text.find('|', first + 1);
        pattern = text.substr(first + 1, second - first - 1);
    }
};

// The files of the folder that the path lies in, then those of its subfolders.
std::vector<std::string> FilesNear(const std::string& path, const std::string& pattern) {
    const auto end = text::LastSeparator(path, platform::NativeSystem().codePage);
    std::vector<std::string> paths;
    if (end == std::string::npos) return paths;
    const auto names = [](const std::string& folder, const std::string& which, bool areFolders) {
        std::vector<std::string> found;
        for (const auto& entry : platform::NativeSystem().files.List(folder, which).ValueOr({})) {
            if (entry.isFolder == areFolders) found.push_back(folder + '\\' + entry.name);
        }
        return found;
    };
    const std::string folder = path.substr(0, end);
    auto folders = names(folder, "*", true);
    folders.insert(folders.begin(), folder);
    for (const std::string& one : folders) {
        std::ranges::move(names(one, pattern, false), std::back_inserter(paths));
    }
    return paths;
}

// What a typed name stands for: beside the initial file if it names no drive, with the default
// extension if it has none.
std::string CompletePath(const std::string& typed, const platform::OpenFileRequest& request) {
    const unsigned codePage = platform::NativeSystem().codePage;
    auto parts = text::SplitPath(typed, codePage);
    const auto initial = text::SplitPath(request.initialPath, codePage);
    if (parts.drive.empty()) {
        parts.drive = initial.drive;
        const bool isRooted = !parts.folder.empty() && parts.folder[0] == '\\';
        if (!isRooted) parts.folder = initial.folder + parts.folder;
    }
    if (parts.extension.empty() && !parts.name.empty() && !request.defaultExtension.empty()) {
        parts.extension = "." + request.defaultExtension;
    }
    return text::JoinPath(parts);
}

// The path to type, and below it the files to choose from.
class FileForm : platform::NotCopied {
  public:
    explicit FileForm(const platform::OpenFileRequest& request) {
        const Filter filter(request.filter);
        m_paths = FilesNear(request.initialPath, filter.pattern);
        newtCenteredWindow(kWidth, kListHeight + 8, Shown(filter.label).c_str());
        m_form = newtForm(nullptr, nullptr, 0);
        m_entry = newtEntry(1, 1, Shown(request.initialPath).c_str(), kWidth - 2, nullptr,
                            NEWT_FLAG_SCROLL | NEWT_FLAG_RETURNEXIT);
        m_list = newtListbox(1, 3, kListHeight, NEWT_FLAG_SCROLL | NEWT_FLAG_RETURNEXIT);
        newtListboxSetWidth(m_list, kWidth - 2);
        for (std::size_t i = 0; i < m_paths.size(); ++i) {
            newtListboxAppendEntry(m_list, Shown(m_paths[i]).c_str(), &m_paths[i]);
        }
        m_cancel = newtButton(kWidth / 2 + 4, kListHeight + 4, "Cancel");
        newtFormAddComponents(m_form, m_entry, m_list,
                              newtButton(kWidth / 2 - 14, kListHeight + 4, "OK"), m_cancel,
                              nullptr);
        newtFormAddHotKey(m_form, NEWT_KEY_ESCAPE);
    }
    ~FileForm() {
        newtFormDestroy(m_form);
        newtPopWindow();
    }

    // The text of the entry once it is confirmed. A choice in the list goes to the entry first.
    std::optional<std::string> Run() {
        while (true) {
            newtExitStruct reason{};
            newtFormRun(m_form, &reason);
            const bool left = reason.reason == newtExitStruct::NEWT_EXIT_HOTKEY ||
                              reason.reason == newtExitStruct::NEWT_EXIT_ERROR;
            if (left || reason.u.co == m_cancel) return std::nullopt;
            if (reason.u.co != m_list) return PathShownAs(newtEntryGetValue(m_entry));
            const auto* path = static_cast<const std::string*>(newtListboxGetCurrent(m_list));
            if (path != nullptr) newtEntrySet(m_entry, Shown(*path).c_str(), 1);
            newtFormSetCurrent(m_form, m_entry);
        }
    }

  private:
    // What is shown of a name in the list may differ from it.
    std::string PathShownAs(const std::string& text) const {
        const auto path = std::ranges::find_if(
            m_paths, [&](const std::string& one) { return Shown(one) == text; });
        return path != m_paths.end() ? *path : base::FromUtf8(text);
    }

    std::vector<std::string> m_paths;
    newtComponent m_form = nullptr, m_entry = nullptr, m_list = nullptr, m_cancel = nullptr;
};

class TerminalDialogs : public platform::Dialogs {
  public:
    void ShowMessage(const std::string& text, const std::string& title,
                     platform::MessageIcon /*icon*/) override {
        const NewtScreen screen;
        std::string caption = Shown(title), button = "OK", format = "%s";
        std::string line = base::Visible(base::ToUtf8(text));
        newtWinMessage(caption.data(), button.data(), format.data(), line.data());
    }

    std::optional<std::string> OpenFile(const platform::OpenFileRequest& request) override {
        const NewtScreen screen;
        FileForm form(request);
        while (auto typed = form.Run()) {
            const std::string path = CompletePath(*typed, request);
            if (!request.accept || request.accept(path)) return path;
        }
        return std::nullopt;
    }

    int RunModal(const platform::DialogTemplate& dialog, platform::DialogLogic& logic) override {
        return RunModalForm(dialog, logic);
    }
};

}  // namespace

std::unique_ptr<platform::Dialogs> MakeTerminalDialogs() {
    if (!platform::IsTerminal(platform::Stream::kInput) ||
        !platform::IsTerminal(platform::Stream::kOutput)) {
        return nullptr;
    }
    return std::make_unique<TerminalDialogs>();
}

}  // namespace host::dialogs
