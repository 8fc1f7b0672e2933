#include <fcntl.h>
#include <sys/file.h>

#include <array>
#include <cerrno>

#include "platform/os/little_endian.h"
#include "platform/os/safe_write.h"
#include "platform/posix/system_call.h"
#include "platform/prefix/code_page_table.h"
#include "platform/prefix/prefix_parts.h"
#include "platform/prefix/registry_line.h"
#include "platform/prefix/registry_text.h"
#include "text/utf.h"

namespace platform::prefix {

namespace {

constexpr std::uint64_t kLargestFile = 1u << 28;

// The key under which a 32-bit program finds a Software key of the machine in a 64-bit prefix;
// empty if it is the same.
std::u16string NodeKey(RegistryRoot root, std::u16string_view key) {
    constexpr std::u16string_view kSoftware = u"Software\\";
    if (root != RegistryRoot::kLocalMachine ||
        !EqualFolded(key.substr(0, kSoftware.size()), kSoftware)) {
        return {};
    }
    const std::u16string_view rest = key.substr(kSoftware.size());
    const std::u16string_view first = rest.substr(0, rest.find(u'\\'));
    if (EqualFolded(first, u"Classes") || EqualFolded(first, u"Wow6432Node")) return {};
    return std::u16string(kSoftware) + u"Wow6432Node\\" + std::u16string(rest);
}

std::string FullName(RegistryRoot root, std::string_view key) {
    const bool isMachine = root == RegistryRoot::kLocalMachine;
    return std::string(isMachine ? "HKEY_LOCAL_MACHINE\\" : "HKEY_CURRENT_USER\\") +
           std::string(key);
}

// Held while a file is read, changed and put in place, so that no change of another program of
// ours gets lost. The lock is on the folder: the files themselves are exchanged.
Result<posix::FileHandle> LockFolder(const std::string& folder) {
    posix::FileHandle handle(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!handle) return posix::FromErrno(errno, folder);
    while (flock(handle.Get(), LOCK_EX) != 0) {
        if (errno != EINTR) return posix::FromErrno(errno, folder);
    }
    return handle;
}

class PrefixRegistry : public Registry {
  public:
    PrefixRegistry(std::string prefix, Files& native, unsigned codePage)
        : m_prefix(std::move(prefix)), m_native(native), m_codePage(codePage) {}

    Result<std::string> ReadText(RegistryRoot root, std::string_view key,
                                 std::string_view value) override {
        const auto found = Find(root, key, value);
        if (!found) return found.Error();
        const RegistryValue& content = *found;
        if (content.type != RegistryValue::kText && content.type != RegistryValue::kExpandText) {
            return Failure{ErrorCode::kNotFound, FullName(root, key)};
        }
        const std::u16string text = text::Utf16FromBytes(content.data);
        return FromUtf16(std::u16string_view(text).substr(0, text.find(u'\0')), m_codePage);
    }

    Result<std::uint32_t> ReadNumber(RegistryRoot root, std::string_view key,
                                     std::string_view value) override {
        const auto found = Find(root, key, value);
        if (!found) return found.Error();
        const RegistryValue& content = *found;
        const auto number = ReadU32(content.data, 0);
        if (content.type != RegistryValue::kNumber || content.data.size() != 4 || !number) {
            return Failure{ErrorCode::kNotFound, FullName(root, key)};
        }
        return *number;
    }

    Status WriteText(RegistryRoot root, std::string_view key, std::string_view value,
                     std::string_view text) override {
        return Store(root, key, value, RegistryValue::kText,
                     text::BytesFromUtf16(ToUtf16(text, m_codePage)));
    }

    Status WriteNumber(RegistryRoot root, std::string_view key, std::string_view value,
                       std::uint32_t number) override {
        return Store(root, key, value, RegistryValue::kNumber, LittleEndianBytes(number, 4));
    }

  private:
    struct Content {
        FileInfo info;
        std::string text;
        bool isRead = false;
    };

    std::string PathOf(RegistryRoot root) const {
        return m_prefix + (root == RegistryRoot::kLocalMachine ? "/system.reg" : "/user.reg");
    }

    Result<Content*> Load(RegistryRoot root) {
        Content& content = m_contents[root == RegistryRoot::kLocalMachine ? 0 : 1];
        const std::string path = PathOf(root);
        const auto info = m_native.Stat(path);
        if (!info) return info.Error();
        const bool isCurrent = content.isRead && content.info.modified == info->modified &&
                               content.info.size == info->size;
        if (isCurrent) return &content;
        content.isRead = false;
        auto text = ReadWhole(m_native, path, kLargestFile, Share::kReadWrite);
        if (!text) return text.Error();
        content = {*info, *std::move(text), true};
        return &content;
    }

    Result<RegistryValue> Find(RegistryRoot root, std::string_view key, std::string_view value) {
        const auto content = Load(root);
        if (!content) return content.Error();
        const std::string_view text = (*content)->text;
        const std::u16string wideKey = ToUtf16(key, m_codePage), name = ToUtf16(value, m_codePage);
        const std::u16string node = Is64Bit(text) ? NodeKey(root, wideKey) : std::u16string();
        std::optional<RegistryValue> found;
        if (!node.empty()) found = FindValue(text, node, name);
        if (!found) found = FindValue(text, wideKey, name);
        if (!found) return Failure{ErrorCode::kNotFound, FullName(root, key)};
        return *std::move(found);
    }

    Status Store(RegistryRoot root, std::string_view key, std::string_view value, unsigned type,
                 std::string data) {
        const auto lock = LockFolder(m_prefix);
        if (!lock) return lock.Error();
        const auto content = Load(root);
        std::string text;
        if (content) {
            text = (*content)->text;
        } else if (content.Error().code == ErrorCode::kNotFound) {
            const auto machine = Load(RegistryRoot::kLocalMachine);
            text = EmptyRegistry(root == RegistryRoot::kLocalMachine,
                                 machine && Is64Bit((*machine)->text));
        } else {
            return content.Error();
        }
        const std::u16string wideKey = ToUtf16(key, m_codePage);
        const std::u16string node = Is64Bit(text) ? NodeKey(root, wideKey) : std::u16string();
        const std::string changed =
            WithValue(text, node.empty() ? wideKey : node, ToUtf16(value, m_codePage),
                      {type, std::move(data)}, std::chrono::system_clock::now());
        if (content && changed == text) return {};
        m_contents[root == RegistryRoot::kLocalMachine ? 0 : 1].isRead = false;
        return WriteWhole(m_native, PathOf(root), changed);
    }

    const std::string m_prefix;
    Files& m_native;
    const unsigned m_codePage;
    std::array<Content, 2> m_contents;
};

}  // namespace

std::unique_ptr<Registry> MakeRegistry(const std::string& prefix, Files& native,
                                       unsigned codePage) {
    return std::make_unique<PrefixRegistry>(prefix, native, codePage);
}

}  // namespace platform::prefix
