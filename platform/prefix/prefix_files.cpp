#include "platform/prefix/prefix_files.h"

#include <filesystem>

#include "platform/os/code_page.h"
#include "platform/posix/native_file.h"
#include "platform/posix/native_files.h"
#include "text/double_byte.h"
#include "text/path.h"

namespace platform::prefix {

namespace {

Failure Named(Failure failure, std::string_view path) {
    failure.context = path;
    return failure;
}

Status Named(Status status, std::string_view path) {
    return status ? std::move(status) : Status(Named(status.Error(), path));
}

// Which of two Windows paths a failure of the native operation speaks of.
Status NamedByPart(Status status, const std::string& nativeTo, std::string_view from,
                   std::string_view to) {
    if (status) return status;
    return Named(status.Error(), status.Error().context == nativeTo ? to : from);
}

}  // namespace

Result<std::unique_ptr<File>> PrefixFiles::Open(std::string_view path, OpenMode mode, Share share) {
    const auto mapped = m_mapper.Map(path);
    if (!mapped) return mapped.Error();
    auto file = posix::OpenNativeFile(mapped->path, path, mode, share);
    if (!file) return Named(file.Error(), path);
    return file;
}

Result<FileInfo> PrefixFiles::Stat(std::string_view path) {
    const auto mapped = m_mapper.Map(path);
    if (!mapped) return mapped.Error();
    auto info = m_native.Stat(mapped->path);
    if (!info) return Named(info.Error(), path);
    return info;
}

Result<std::vector<FolderEntry>> PrefixFiles::List(std::string_view folder,
                                                   std::string_view pattern) {
    const auto mapped = m_mapper.Map(folder);
    if (!mapped) return mapped.Error();
    auto entries = m_native.List(mapped->path, ToUtf8(pattern, m_mapper.CodePage()));
    if (!entries) return Named(entries.Error(), folder);
    std::erase_if(*entries, [](const FolderEntry& entry) { return !IsWindowsName(entry.name); });
    for (auto& entry : *entries) entry.name = FromUtf8(entry.name, m_mapper.CodePage());
    return entries;
}

Status PrefixFiles::Delete(std::string_view path) {
    const auto mapped = m_mapper.Map(path);
    if (!mapped) return mapped.Error();
    // A file with the read-only attribute cannot be deleted on Windows. A link can, wherever it
    // leads.
    std::error_code ignored;
    const auto info = m_native.Stat(mapped->path);
    if (info && (info->isFolder || info->isReadOnly) &&
        !std::filesystem::is_symlink(mapped->path, ignored)) {
        return Failure{ErrorCode::kAccessDenied, std::string(path)};
    }
    return Named(m_native.Delete(mapped->path), path);
}

Status PrefixFiles::DeleteEvenReadOnly(std::string_view path) {
    const auto mapped = m_mapper.Map(path);
    if (!mapped) return mapped.Error();
    return Named(m_native.Delete(mapped->path), path);
}

Status PrefixFiles::Copy(std::string_view from, std::string_view to) {
    const auto source = m_mapper.Map(from);
    if (!source) return source.Error();
    const auto target = m_mapper.Map(to);
    if (!target) return target.Error();
    return NamedByPart(m_native.Copy(source->path, target->path), target->path, from, to);
}

Status PrefixFiles::Move(std::string_view from, std::string_view to) {
    const auto source = m_mapper.Map(from);
    if (!source) return source.Error();
    const auto target = m_mapper.Map(to);
    if (!target) return target.Error();
    // A new name that is the old one in other letters is no other file.
    const bool isSame = target->path == source->path;
    const std::string& name = isSame ? target->asNamed : target->path;
    if (name == source->path) return {};
    return NamedByPart(m_native.Move(source->path, name), name, from, to);
}

Status PrefixFiles::Replace(std::string_view from, std::string_view to) {
    const auto source = m_mapper.Map(from);
    if (!source) return source.Error();
    const auto target = m_mapper.Map(to);
    if (!target) return target.Error();
    return NamedByPart(m_native.Replace(source->path, target->path), target->path, from, to);
}

Status PrefixFiles::CreateFolder(std::string_view path) {
    const auto mapped = m_mapper.Map(path);
    if (!mapped) return mapped.Error();
    return Named(m_native.CreateFolder(mapped->path), path);
}

Status PrefixFiles::CreatePrivateFolder(std::string_view path) {
    const auto mapped = m_mapper.Map(path);
    if (!mapped) return mapped.Error();
    return Named(m_native.CreatePrivateFolder(mapped->path), path);
}

Status PrefixFiles::RemoveFolder(std::string_view path) {
    const auto mapped = m_mapper.Map(path);
    if (!mapped) return mapped.Error();
    return Named(m_native.RemoveFolder(mapped->path), path);
}

Result<std::string> PrefixFiles::RealPath(std::string_view path) {
    const auto mapped = m_mapper.Map(path);
    if (!mapped) return mapped.Error();
    auto real = m_native.RealPath(mapped->path);
    if (!real) return Named(real.Error(), path);
    return real;
}

bool PrefixFiles::IsFree(std::string_view path) {
    const auto mapped = m_mapper.Map(path);
    return mapped ? m_native.IsFree(mapped->path) : mapped.Error().code == ErrorCode::kNotFound;
}

Result<std::string> PrefixFiles::ShortPath(std::string_view path) {
    if (auto info = Stat(path); !info) return info.Error();
    return std::string(path);
}

// The user's own folder where the registry names it outright, else the system's.
Result<std::string> PrefixFiles::TempFolder() {
    for (const char* name : {"TMP", "TEMP"}) {
        auto folder = m_registry.ReadText(RegistryRoot::kCurrentUser, "Environment", name);
        if (!folder || folder->empty()) continue;
        const auto info = Stat(*folder);
        if (!info || !info->isFolder) continue;
        const bool isClosed =
            text::LastSeparator(*folder, m_mapper.CodePage()) + 1 == folder->size();
        return isClosed ? *folder : *folder + '\\';
    }
    const std::string windows = "C:\\windows", folder = windows + "\\temp";
    for (const auto& path : {windows, folder}) {
        const Status status = CreateFolder(path);
        if (!status && status.Error().code != ErrorCode::kAlreadyExists) return status.Error();
    }
    return folder + '\\';
}

Result<std::string> PrefixFiles::CreateTempFile(std::string_view folder, std::string_view prefix) {
    std::string base(folder);
    const auto last = text::LastSeparator(base, m_mapper.CodePage());
    if (last == std::string::npos || last + 1 != base.size()) base += '\\';
    base += prefix.substr(0, text::WholeCharacterPrefix(prefix, 3, m_mapper.CodePage()));
    return posix::CreateNumberedFile(*this, base);
}

}  // namespace platform::prefix
