#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>

#include "platform/mfc/collections.h"
#include "platform/os/files.h"

// Thrown by CArchive when the bytes end early.
class ArchiveError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

// A little-endian byte stream over a string in memory, for storing or loading, in the archive
// format of the Microsoft Foundation Classes: numbers of fixed width; a text as its length in bytes
// (one byte; 0xFF and two bytes from 255 on; 0xFF FF FF and four bytes above 65533) and its bytes.
class CArchive {
  public:
    // Loading from `bytes`, which outlives the archive; storing appends to `out`.
    explicit CArchive(std::string_view bytes) : m_bytes(bytes), m_loading(true) {}
    explicit CArchive(std::string& out) : m_out(&out), m_loading(false) {}

    bool IsLoading() const { return m_loading; }
    // Each moves one value in the archive's direction.
    void Number(std::int32_t& value);
    void Number(std::uint32_t& value);
    void Double(double& value);
    void Text(CString& value);

  private:
    std::string_view Take(std::size_t count);

    std::string_view m_bytes;
    std::string* m_out = nullptr;
    bool m_loading;
};
