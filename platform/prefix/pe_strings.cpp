#include "platform/prefix/pe_strings.h"

#include <algorithm>

#include "platform/os/little_endian.h"
#include "text/utf.h"

namespace platform::prefix {

namespace {

constexpr std::uint32_t kStringTable = 6;  // the resource type
constexpr unsigned kStringsPerBlock = 16;
constexpr std::uint32_t kSubfolder = 0x80000000;
constexpr std::uint32_t kEntrySize = 8;
constexpr std::uint16_t kPe32 = 0x10B, kPe32Plus = 0x20B;
constexpr std::uint32_t kSectionSize = 40;

// The offset that a resource folder gives for a number; with `orFirst` that of its first numbered
// entry if the number is not there. Entries with names come first and are passed over.
std::optional<std::uint32_t> FindEntry(std::string_view resources, std::uint32_t folder,
                                       std::uint32_t number, bool orFirst) {
    const auto named = ReadU16(resources, folder + 12ull);
    const auto numbered = ReadU16(resources, folder + 14ull);
    if (!named || !numbered) return std::nullopt;
    std::optional<std::uint32_t> first;
    for (std::uint32_t i = 0; i < *numbered; ++i) {
        const std::uint64_t entry = folder + 16ull + (std::uint64_t{*named} + i) * kEntrySize;
        const auto id = ReadU32(resources, entry);
        const auto offset = ReadU32(resources, entry + 4);
        if (!id || !offset) break;
        if (*id == number) return offset;
        if (!first) first = offset;
    }
    return orFirst ? first : std::nullopt;
}

std::optional<std::uint32_t> FindFolder(std::string_view resources, std::uint32_t folder,
                                        std::uint32_t number) {
    const auto offset = FindEntry(resources, folder, number, false);
    if (!offset || (*offset & kSubfolder) == 0) return std::nullopt;
    return *offset & ~kSubfolder;
}

// Text number `index` of a block: sixteen texts, each a count of units and the units.
std::u16string TextInBlock(std::string_view block, unsigned index) {
    std::uint64_t offset = 0;
    for (unsigned i = 0;; ++i) {
        const auto units = ReadU16(block, offset);
        if (!units) return {};
        if (i == index) {
            const auto bytes = ReadBytes(block, offset + 2, *units * 2ull);
            return bytes ? text::Utf16FromBytes(*bytes) : std::u16string();
        }
        offset += 2 + *units * 2ull;
    }
}

}  // namespace

Result<PeStrings> PeStrings::Parse(std::string file) {
    const Failure corrupt{ErrorCode::kCorrupt, {}};
    const std::string_view bytes = file;
    const auto header = ReadU32(bytes, 0x3C);
    if (!bytes.starts_with("MZ") || !header) return corrupt;
    const std::uint64_t coff = *header + 4ull;
    const std::uint64_t optional = coff + 20;
    if (ReadBytes(bytes, *header, 4) != std::string_view("PE\0\0", 4)) return corrupt;
    const auto sectionCount = ReadU16(bytes, coff + 2);
    const auto optionalSize = ReadU16(bytes, coff + 16);
    const auto magic = ReadU16(bytes, optional);
    if (!sectionCount || !optionalSize || (magic != kPe32 && magic != kPe32Plus)) return corrupt;

    PeStrings strings;
    // The third of the data directories, if there are so many and the header is that long.
    const std::uint64_t directories = magic == kPe32 ? 96 : 112;
    const auto directoryCount = ReadU32(bytes, optional + directories - 4);
    if (directoryCount && *directoryCount > 2 && *optionalSize >= directories + 24) {
        strings.m_resourceAddress = ReadU32(bytes, optional + directories + 16).value_or(0);
        strings.m_resourceSize = ReadU32(bytes, optional + directories + 20).value_or(0);
    }
    for (std::uint32_t i = 0; i < *sectionCount; ++i) {
        const std::uint64_t entry = optional + *optionalSize + std::uint64_t{i} * kSectionSize;
        const auto address = ReadU32(bytes, entry + 12);
        const auto size = ReadU32(bytes, entry + 16);
        const auto fileOffset = ReadU32(bytes, entry + 20);
        if (!address || !size || !fileOffset) return corrupt;
        strings.m_sections.push_back({*address, *size, *fileOffset});
    }
    strings.m_file = std::move(file);
    return strings;
}

std::optional<std::string_view> PeStrings::AtAddress(std::uint32_t address,
                                                     std::uint32_t size) const {
    for (const Section& section : m_sections) {
        if (address < section.address || address - section.address >= section.size) continue;
        const std::uint32_t inside = address - section.address;
        return ReadBytes(m_file, std::uint64_t{section.fileOffset} + inside,
                         std::min(size, section.size - inside));
    }
    return std::nullopt;
}

std::u16string PeStrings::Text(unsigned id) const {
    if (m_resourceAddress == 0) return {};
    const auto resources = AtAddress(m_resourceAddress, m_resourceSize).value_or("");
    const auto type = FindFolder(resources, 0, kStringTable);
    const auto block = type ? FindFolder(resources, *type, id / kStringsPerBlock + 1) : type;
    const auto leaf = block ? FindEntry(resources, *block, 0, true) : block;
    if (!leaf || (*leaf & kSubfolder) != 0) return {};
    const auto address = ReadU32(resources, *leaf);
    const auto size = ReadU32(resources, *leaf + 4ull);
    if (!address || !size) return {};
    const auto bytes = AtAddress(*address, *size);
    return bytes ? TextInBlock(*bytes, id % kStringsPerBlock) : std::u16string();
}

}  // namespace platform::prefix
