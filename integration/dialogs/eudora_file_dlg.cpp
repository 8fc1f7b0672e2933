#include "integration/dialogs/eudora_file_dlg.h"

#include <string>

#include "text/double_byte.h"

CEudoraFileDlg::CEudoraFileDlg(const platform::System& system, const CString& initialPath)
    : m_csPathName(initialPath), m_system(system) {}

int CEudoraFileDlg::DoModal() {
    constexpr std::size_t kMaxPath = 259;
    const auto& path = m_csPathName.Str();
    platform::OpenFileRequest request;
    request.initialPath =
        path.substr(0, text::WholeCharacterPrefix(path, kMaxPath, m_system.codePage));
    request.defaultExtension = "txt";
    request.filter = "Eudora Address Book (*.txt)|*.txt||";
    request.accept = [this](const std::string& confirmed) {
        m_confirmed = confirmed;
        return OnFileNameOK() == 0;
    };
    return m_system.dialogs.OpenFile(request) ? kOk : kCancel;
}

int CEudoraFileDlg::OnFileNameOK() {
    m_csPathName = GetPathName();
    if (m_system.files.Exists(m_csPathName.Str())) return 0;
    m_system.dialogs.ShowMessage("Invalid File Name", "Error", platform::MessageIcon::kWarning);
    return 1;
}
