#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/os/result.h"

namespace platform::prefix {

// The string table of a PE library (32 or 64 bit, any machine), read from the bytes of its file, in
// the format that Microsoft publishes (PE Format). Damaged files are safe: nothing outside the
// bytes is read.
class PeStrings {
  public:
    // kCorrupt if the bytes are no PE library. A library without a string table has no texts.
    static Result<PeStrings> Parse(std::string file);

    // The text of string `id`, in the neutral language if it is there, else in the first one that
    // the file lists; empty if there is none or it is damaged.
    std::u16string Text(unsigned id) const;

  private:
    // Where a stretch of memory lies in the file.
    struct Section {
        std::uint32_t address = 0, size = 0, fileOffset = 0;
    };

    PeStrings() = default;
    std::optional<std::string_view> AtAddress(std::uint32_t address, std::uint32_t size) const;

    std::string m_file;
    std::vector<Section> m_sections;
    std::uint32_t m_resourceAddress = 0, m_resourceSize = 0;
};

}  // namespace platform::prefix
