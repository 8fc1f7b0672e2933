#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/os/files.h"

namespace platform::testing {

enum class Fault {
    kNone,
    kFail,       // that one operation does nothing and fails
    kTornWrite,  // as kFail; a write leaves the first half of its bytes
    kKill        // as kTornWrite, and everything afterwards does nothing and fails too
};

// A file system that counts the operations on it and on its open files (but for destructors) and
// lets one of them fail. The usual sweep: for n = 1, 2, ... until Fired() stays false.
class FaultyFiles : public Files {
  public:
    explicit FaultyFiles(Files& inner) : m_inner(inner) {}

    // Starts to count anew; operation number `number`, counted from 1, meets the fault.
    void Arm(Fault fault, int number, ErrorCode code = ErrorCode::kIo);
    // Ends the fault; gives whether it was met.
    bool Disarm() {
        const bool fired = Fired();
        Arm(Fault::kNone, 0);
        return fired;
    }
    int Operations() const { return m_count; }
    bool Fired() const { return m_fault != Fault::kNone && m_count >= m_number; }

    Result<std::unique_ptr<File>> Open(std::string_view path, OpenMode mode, Share share) override;
    Result<FileInfo> Stat(std::string_view path) override {
        return Guard(path, [&] { return m_inner.Stat(path); });
    }
    Result<std::vector<FolderEntry>> List(std::string_view folder,
                                          std::string_view pattern) override {
        return Guard(folder, [&] { return m_inner.List(folder, pattern); });
    }
    Status Delete(std::string_view path) override {
        return Guard(path, [&] { return m_inner.Delete(path); });
    }
    Status DeleteEvenReadOnly(std::string_view path) override {
        return Guard(path, [&] { return m_inner.DeleteEvenReadOnly(path); });
    }
    Status Copy(std::string_view from, std::string_view to) override {
        return Guard(from, [&] { return m_inner.Copy(from, to); });
    }
    Status Move(std::string_view from, std::string_view to) override {
        return Guard(from, [&] { return m_inner.Move(from, to); });
    }
    Status MoveLazily(std::string_view from, std::string_view to) override {
        return Guard(from, [&] { return m_inner.MoveLazily(from, to); });
    }
    Status Settle(std::string_view folder) override {
        return Guard(folder, [&] { return m_inner.Settle(folder); });
    }
    Status Replace(std::string_view from, std::string_view to) override {
        return Guard(to, [&] { return m_inner.Replace(from, to); });
    }
    Status CreateFolder(std::string_view path) override {
        return Guard(path, [&] { return m_inner.CreateFolder(path); });
    }
    Status CreatePrivateFolder(std::string_view path) override {
        return Guard(path, [&] { return m_inner.CreatePrivateFolder(path); });
    }
    Status RemoveFolder(std::string_view path) override {
        return Guard(path, [&] { return m_inner.RemoveFolder(path); });
    }
    Result<std::string> RealPath(std::string_view path) override {
        return Guard(path, [&] { return m_inner.RealPath(path); });
    }
    Result<std::string> ShortPath(std::string_view path) override {
        return Guard(path, [&] { return m_inner.ShortPath(path); });
    }
    Result<std::string> TempFolder() override {
        return Guard("temporary folder", [&] { return m_inner.TempFolder(); });
    }
    Result<std::string> CreateTempFile(std::string_view folder, std::string_view prefix) override {
        return Guard(folder, [&] { return m_inner.CreateTempFile(folder, prefix); });
    }
    Result<std::uint64_t> FreeSpace(std::string_view folder) override {
        return Guard(folder, [&] { return m_inner.FreeSpace(folder); });
    }
    char Separator() const override { return m_inner.Separator(); }
    bool IsFree(std::string_view path) override { return !Strikes() && m_inner.IsFree(path); }

    // Counts one operation; true if it must fail.
    bool Strikes();
    bool Tears() const { return m_count == m_number && m_fault != Fault::kFail; }
    Failure Injected(std::string_view path) const { return {m_code, std::string(path)}; }
    // Does the operation unless it must fail.
    template <class Operation>
    auto Guard(std::string_view path, const Operation& operation) -> decltype(operation()) {
        if (Strikes()) return Injected(path);
        return operation();
    }

  private:
    Files& m_inner;
    Fault m_fault = Fault::kNone;
    int m_number = 0;
    int m_count = 0;
    ErrorCode m_code = ErrorCode::kIo;
};

}  // namespace platform::testing
