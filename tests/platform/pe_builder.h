#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <utility>

namespace test {

// Makes small PE libraries with string resources, by block (sixteen strings each) and language.
class PeBuilder {
  public:
    bool is64Bit = false;
    std::map<unsigned, std::map<unsigned, std::u16string>> strings;  // language, id -> text

    std::string Build() const {
        std::string file = Header();
        file.resize(kHeaders);
        return file + Resources();
    }

  private:
    static constexpr std::uint32_t kHeaders = 0x200, kAddress = 0x1000;

    static void Put(std::string& out, std::uint64_t number, int bytes) {
        for (int i = 0; i < bytes; ++i) out += static_cast<char>(number >> 8 * i & 0xFF);
    }

    std::string Header() const {
        std::string out = "MZ";
        out.resize(0x3C);
        Put(out, 0x40, 4);
        out += std::string("PE\0\0", 4);
        Put(out, is64Bit ? 0x8664 : 0x14C, 2);
        Put(out, 1, 2);  // one section
        out.resize(out.size() + 12);
        const unsigned optionalSize = (is64Bit ? 112 : 96) + 16 * 8;
        Put(out, optionalSize, 2);
        Put(out, 0x2102, 2);
        const std::size_t optional = out.size();
        Put(out, is64Bit ? 0x20B : 0x10B, 2);
        out.resize(optional + optionalSize - 16 * 8 - 4);
        Put(out, 16, 4);
        out.resize(out.size() + 16);
        Put(out, kAddress, 4);
        Put(out, Resources().size(), 4);
        out.resize(optional + optionalSize);
        out += std::string(".rsrc\0\0\0", 8);
        for (const std::uint64_t number : {Resources().size(), std::size_t{kAddress},
                                           Resources().size(), std::size_t{kHeaders}}) {
            Put(out, number, 4);
        }
        out.resize(out.size() + 16);
        return out;
    }

    static std::string Folder(const std::map<unsigned, std::uint32_t>& entries) {
        std::string out(12, '\0');
        Put(out, 0, 2);
        Put(out, entries.size(), 2);
        for (const auto& [id, offset] : entries) {
            Put(out, id, 4);
            Put(out, offset, 4);
        }
        return out;
    }

    std::string Resources() const {
        constexpr std::uint32_t kSub = 0x80000000;
        // block -> language -> bytes
        std::map<unsigned, std::map<unsigned, std::string>> blocks;
        for (const auto& [language, texts] : strings) {
            for (const auto& [id, ignored] : texts) blocks[id / 16 + 1][language];
        }
        for (auto& [block, languages] : blocks) {
            for (auto& [language, bytes] : languages) {
                const auto& texts = strings.at(language);
                for (unsigned id = (block - 1) * 16; id < block * 16; ++id) {
                    const auto found = texts.find(id);
                    const std::u16string text = found == texts.end() ? u"" : found->second;
                    Put(bytes, text.size(), 2);
                    for (const char16_t unit : text) Put(bytes, unit, 2);
                }
            }
        }
        const std::uint32_t typeFolder = 16 + 8;
        std::uint32_t at = typeFolder + 16 + 8 * static_cast<std::uint32_t>(blocks.size());
        std::map<unsigned, std::uint32_t> blockFolders;
        for (const auto& [block, languages] : blocks) {
            blockFolders[block] = kSub | at;
            at += 16 + 8 * static_cast<std::uint32_t>(languages.size());
        }
        std::string folders = Folder({{6, kSub | typeFolder}}) + Folder(blockFolders);
        std::string leaves, data;
        std::uint32_t leafCount = 0;
        for (const auto& [block, languages] : blocks) {
            leafCount += static_cast<std::uint32_t>(languages.size());
        }
        const std::uint32_t leafBase = at, dataBase = at + 16 * leafCount;
        for (const auto& [block, languages] : blocks) {
            std::map<unsigned, std::uint32_t> entries;
            for (const auto& [language, bytes] : languages) {
                entries[language] = leafBase + static_cast<std::uint32_t>(leaves.size());
                Put(leaves, kAddress + dataBase + data.size(), 4);
                Put(leaves, bytes.size(), 4);
                Put(leaves, 0, 8);
                data += bytes;
            }
            folders += Folder(entries);
        }
        return folders + leaves + data;
    }
};

}  // namespace test
