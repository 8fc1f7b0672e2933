#pragma once

#include <functional>
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

// A file system that counts the operations on it and on its open files, destructors left out, and
// lets one of them fail. A sweep arms it for operation 1, 2, ... until Fired() stays false. The
// files below outlive it.
class FaultyFiles : public Files {
    Files& m_inner;

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
    Result<std::vector<FolderEntry>> List(std::string_view folder,
                                          std::string_view pattern) override {
        return Guard(folder, &Files::List, folder, pattern);
    }
    Result<FileInfo> Stat(std::string_view path) override {
        return Guard(path, &Files::Stat, path);
    }
    Status Delete(std::string_view path) override { return Guard(path, &Files::Delete, path); }
    Status DeleteEvenReadOnly(std::string_view path) override {
        return Guard(path, &Files::DeleteEvenReadOnly, path);
    }
    Status Settle(std::string_view folder) override {
        return Guard(folder, &Files::Settle, folder);
    }
    Status CreateFolder(std::string_view path) override {
        return Guard(path, &Files::CreateFolder, path);
    }
    Status CreatePrivateFolder(std::string_view path) override {
        return Guard(path, &Files::CreatePrivateFolder, path);
    }
    Status RemoveFolder(std::string_view path) override {
        return Guard(path, &Files::RemoveFolder, path);
    }
    Result<std::string> RealPath(std::string_view path) override {
        return Guard(path, &Files::RealPath, path);
    }
    Result<std::string> ShortPath(std::string_view path) override {
        return Guard(path, &Files::ShortPath, path);
    }
    Result<std::uint64_t> FreeSpace(std::string_view folder) override {
        return Guard(folder, &Files::FreeSpace, folder);
    }
    Status Copy(std::string_view from, std::string_view to) override {
        return Guard(from, &Files::Copy, from, to);
    }
    Status Move(std::string_view from, std::string_view to) override {
        return Guard(from, &Files::Move, from, to);
    }
    Status MoveLazily(std::string_view from, std::string_view to) override {
        return Guard(from, &Files::MoveLazily, from, to);
    }
    Status Replace(std::string_view from, std::string_view to) override {
        return Guard(to, &Files::Replace, from, to);
    }
    Result<std::string> TempFolder() override {
        return Guard("temporary folder", &Files::TempFolder);
    }
    char Separator() const override { return m_inner.Separator(); }
    bool IsReadOnly(std::string_view path) override { return m_inner.IsReadOnly(path); }
    bool IsFree(std::string_view path) override { return !Strikes() && m_inner.IsFree(path); }

    // Counts one operation; true if it must fail.
    bool Strikes();
    bool Tears() const { return m_count == m_number && m_fault != Fault::kFail; }
    Failure Injected(std::string_view path) const { return {m_code, std::string(path)}; }
    // Does an operation of the files below unless it must fail.
    template <class Operation, class... Arguments>
    auto Guard(std::string_view path, const Operation& operation, Arguments... arguments)
        -> decltype(std::invoke(operation, m_inner, arguments...)) {
        if (Strikes()) return Injected(path);
        return std::invoke(operation, m_inner, arguments...);
    }

  private:
    Fault m_fault = Fault::kNone;
    int m_number = 0;
    int m_count = 0;
    ErrorCode m_code = ErrorCode::kIo;
};

}  // namespace platform::testing
