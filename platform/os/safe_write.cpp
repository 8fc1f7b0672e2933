#include "platform/os/safe_write.h"

namespace platform {

SafeWrite::SafeWrite(Files& files, std::string path, std::string side)
    : m_files(files), m_path(std::move(path)), m_side(std::move(side)) {}

SafeWrite::~SafeWrite() {
    m_file.reset();
    try {
        if (m_hasSide) (void)m_files.DeleteEvenReadOnly(m_side);
    } catch (...) {
        // Without memory for the call the side file stays; the next SafeWrite replaces it.
    }
}

Status SafeWrite::MakeRoom() {
    const auto old = m_files.Open(m_path, OpenMode::kReadWrite, Share::kNone);
    m_isNew = !old && old.Error().code == ErrorCode::kNotFound;
    if (!old && !m_isNew) return old.Error();
    if (old) {
        if (auto status = (*old)->Close(); !status) return status;
    }
    m_hasSide = true;
    auto freed = m_files.DeleteEvenReadOnly(m_side);
    return freed || freed.Error().code == ErrorCode::kNotFound ? Status() : freed;
}

Status SafeWrite::Begin() {
    if (auto status = MakeRoom(); !status) return status;
    auto file = m_files.Open(m_side, OpenMode::kCreateNew, Share::kNone);
    if (!file) return file.Error();
    m_file = *std::move(file);
    return {};
}

Status SafeWrite::BeginAsCopyOf(std::string_view from, std::optional<std::uint64_t> length) {
    auto status = MakeRoom();
    if (status) status = m_files.Copy(from, m_side);
    if (status && length) {
        const auto side = m_files.Open(m_side, OpenMode::kReadWrite, Share::kNone);
        status = side ? (*side)->Truncate(*length) : side.Error();
    }
    return status ? FlushFile(m_files, m_side) : status;
}

Status SafeWrite::Write(std::string_view bytes) {
    return m_file->Write(bytes);
}

Status SafeWrite::Finish() {
    if (!m_file) return {};
    auto status = m_file->Flush();
    if (status) status = m_file->Close();
    m_file.reset();
    return status;
}

Status SafeWrite::Commit() {
    auto status = Finish();
    if (status) status = m_isNew ? m_files.Move(m_side, m_path) : m_files.Replace(m_side, m_path);
    m_hasSide = !status;
    return status;
}

Status WriteWhole(Files& files, std::string_view path, std::string_view content) {
    return WriteWhole(SafeWrite(files, std::string(path)), content);
}

Status WriteWhole(SafeWrite&& write, std::string_view content) {
    auto status = write.Begin();
    if (status) status = write.Write(content);
    return status ? write.Commit() : status;
}

Status CopyFlushed(Files& files, std::string_view from, std::string_view to) {
    auto status = files.Copy(from, to);
    return status ? FlushFile(files, to) : status;
}

Status FlushFile(Files& files, std::string_view path) {
    // Windows flushes only what may be written, and the copy of a read-only file is one too.
    const bool isReadOnly = files.IsReadOnly(path);
    const auto file =
        files.Open(path, isReadOnly ? OpenMode::kRead : OpenMode::kReadWrite, Share::kNone);
    if (!file) return file.Error();
    auto flushed = (*file)->Flush();
    if (!flushed && !(isReadOnly && flushed.Error().code == ErrorCode::kAccessDenied)) {
        return flushed;
    }
    return (*file)->Close();
}

}  // namespace platform
