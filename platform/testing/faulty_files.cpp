#include "platform/testing/faulty_files.h"

namespace platform::testing {

namespace {

class FaultyFile : public File {
  public:
    FaultyFile(FaultyFiles& files, std::string path) : m_files(files), m_path(std::move(path)) {}

    void Take(std::unique_ptr<File> inner) { m_inner = std::move(inner); }

    Result<std::size_t> Read(std::span<char> buffer) override { return Guard(&File::Read, buffer); }
    Status Write(std::string_view bytes) override {
        if (!m_files.Strikes()) return m_inner->Write(bytes);
        if (m_files.Tears()) (void)m_inner->Write(bytes.substr(0, bytes.size() / 2));
        return m_files.Injected(m_path);
    }
    Result<std::uint64_t> Seek(std::int64_t offset, SeekFrom from) override {
        return Guard(&File::Seek, offset, from);
    }
    Result<std::uint64_t> Size() override { return Guard(&File::Size); }
    Status Truncate(std::uint64_t size) override { return Guard(&File::Truncate, size); }
    Status Flush() override { return Guard(&File::Flush); }
    // A close that fails has closed the file all the same.
    Status Close() override {
        Status status = m_inner->Close();
        return m_files.Strikes() ? m_files.Injected(m_path) : status;
    }

  private:
    template <class Result, class... Arguments>
    Result Guard(Result (File::*operation)(Arguments...), Arguments... arguments) {
        if (m_files.Strikes()) return m_files.Injected(m_path);
        return ((*m_inner).*operation)(arguments...);
    }

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
    auto faulty = std::make_unique<FaultyFile>(*this, std::string(path));
    auto file = Guard(path, &Files::Open, path, mode, share);
    if (!file) return file;
    faulty->Take(*std::move(file));
    return std::unique_ptr<File>(std::move(faulty));
}

}  // namespace platform::testing
