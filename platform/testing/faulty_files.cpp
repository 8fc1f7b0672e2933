#include "platform/testing/faulty_files.h"

namespace platform::testing {

namespace {

class FaultyFile : public File {
  public:
    FaultyFile(FaultyFiles& files, std::unique_ptr<File> inner, std::string path)
        : m_files(files), m_inner(std::move(inner)), m_path(std::move(path)) {}

    Result<std::size_t> Read(std::span<char> buffer) override {
        if (m_files.Strikes()) return m_files.Injected(m_path);
        return m_inner->Read(buffer);
    }
    Status Write(std::string_view bytes) override {
        if (!m_files.Strikes()) return m_inner->Write(bytes);
        if (m_files.Tears()) (void)m_inner->Write(bytes.substr(0, bytes.size() / 2));
        return m_files.Injected(m_path);
    }
    Result<std::uint64_t> Seek(std::int64_t offset, SeekFrom from) override {
        if (m_files.Strikes()) return m_files.Injected(m_path);
        return m_inner->Seek(offset, from);
    }
    Result<std::uint64_t> Size() override {
        if (m_files.Strikes()) return m_files.Injected(m_path);
        return m_inner->Size();
    }
    Status Truncate(std::uint64_t size) override {
        if (m_files.Strikes()) return m_files.Injected(m_path);
        return m_inner->Truncate(size);
    }
    Status Flush() override {
        if (m_files.Strikes()) return m_files.Injected(m_path);
        return m_inner->Flush();
    }
    // A close that fails has closed the file all the same.
    Status Close() override {
        const bool strikes = m_files.Strikes();
        Status status = m_inner->Close();
        if (strikes) return m_files.Injected(m_path);
        return status;
    }

  private:
    FaultyFiles& m_files;
    std::unique_ptr<File> m_inner;
    std::string m_path;
};

}  // namespace

void FaultyFiles::Arm(Fault fault, int number, ErrorCode code) {
    m_fault = fault;
    m_number = number;
    m_count = 0;
    m_code = code;
}

bool FaultyFiles::Strikes() {
    ++m_count;
    if (m_fault == Fault::kNone) return false;
    return m_fault == Fault::kKill ? m_count >= m_number : m_count == m_number;
}

Result<std::unique_ptr<File>> FaultyFiles::Open(std::string_view path, OpenMode mode, Share share) {
    if (Strikes()) return Injected(path);
    auto file = m_inner.Open(path, mode, share);
    if (!file) return file;
    return std::unique_ptr<File>(
        std::make_unique<FaultyFile>(*this, *std::move(file), std::string(path)));
}

Result<FileInfo> FaultyFiles::Stat(std::string_view path) {
    if (Strikes()) return Injected(path);
    return m_inner.Stat(path);
}

Result<std::vector<FolderEntry>> FaultyFiles::List(std::string_view folder,
                                                   std::string_view pattern) {
    if (Strikes()) return Injected(folder);
    return m_inner.List(folder, pattern);
}

Status FaultyFiles::Delete(std::string_view path) {
    if (Strikes()) return Injected(path);
    return m_inner.Delete(path);
}

Status FaultyFiles::Copy(std::string_view from, std::string_view to) {
    if (Strikes()) return Injected(from);
    return m_inner.Copy(from, to);
}

Status FaultyFiles::Move(std::string_view from, std::string_view to) {
    if (Strikes()) return Injected(from);
    return m_inner.Move(from, to);
}

Status FaultyFiles::MoveLazily(std::string_view from, std::string_view to) {
    if (Strikes()) return Injected(from);
    return m_inner.MoveLazily(from, to);
}

Status FaultyFiles::Settle(std::string_view folder) {
    if (Strikes()) return Injected(folder);
    return m_inner.Settle(folder);
}

Status FaultyFiles::Replace(std::string_view from, std::string_view to) {
    if (Strikes()) return Injected(to);
    return m_inner.Replace(from, to);
}

Status FaultyFiles::CreateFolder(std::string_view path) {
    if (Strikes()) return Injected(path);
    return m_inner.CreateFolder(path);
}

Status FaultyFiles::RemoveFolder(std::string_view path) {
    if (Strikes()) return Injected(path);
    return m_inner.RemoveFolder(path);
}

Result<std::string> FaultyFiles::ShortPath(std::string_view path) {
    if (Strikes()) return Injected(path);
    return m_inner.ShortPath(path);
}

Result<std::string> FaultyFiles::TempFolder() {
    if (Strikes()) return Injected("temporary folder");
    return m_inner.TempFolder();
}

Result<std::string> FaultyFiles::CreateTempFile(std::string_view folder, std::string_view prefix) {
    if (Strikes()) return Injected(folder);
    return m_inner.CreateTempFile(folder, prefix);
}

}  // namespace platform::testing
