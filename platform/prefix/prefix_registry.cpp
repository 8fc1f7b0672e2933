#include <fcntl.h>
#include <sys/file.h>

#include <cerrno>
#include <map>

#include "platform/os/code_page.h"
#include "platform/os/little_endian.h"
#include "platform/os/safe_write.h"
#include "platform/posix/system_call.h"
#include "platform/prefix/prefix_system.h"
#include "platform/prefix/registry_line.h"
#include "platform/prefix/registry_text.h"
#include "text/utf.h"

namespace platform::prefix {

namespace {

constexpr std::uint64_t kLargestFile = 1u << 28;

// The key under which a 32-bit program finds one: in a prefix of 64 bits the machine's Software
// keys lie elsewhere.
std::u16string NodeKey(std::string_view text, RegistryRoot root, const std::u16string& key) {
    constexpr std::u16string_view kSoftware = u"Software\\", kNode = u"Wow6432Node";
    if (root != RegistryRoot::kLocalMachine || !Is64Bit(text) ||
        !EqualFolded(key.substr(0, kSoftware.size()), kSoftware)) {
        return key;
    }
    const std::u16string rest = key.substr(kSoftware.size());
    const std::u16string first = rest.substr(0, rest.find(u'\\'));
    if (EqualFolded(first, u"Classes") || EqualFolded(first, kNode)) return key;
    return std::u16string(kSoftware).append(kNode).append(u"\\").append(rest);
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

    Result<RegistryData> Read(RegistryRoot root, std::string_view key,
                              std::string_view value) override {
        const auto content = Load(root);
        if (!content) return content.Error();
        const std::string_view text = (*content)->text;
        const std::u16string wideKey = ToUtf16(key, m_codePage);
        const std::u16string wideName = ToUtf16(value, m_codePage);
        const std::u16string node = NodeKey(text, root, wideKey);
        auto found = FindValue(text, node, wideName);
        if (!found && node != wideKey) found = FindValue(text, wideKey, wideName);
        const auto [type, data] = found.value_or(RegistryValue());
        if (type == RegistryValue::kText || type == RegistryValue::kExpandText) {
            const std::u16string wide = text::Utf16FromBytes(data);
            return RegistryData(FromUtf16(wide.substr(0, wide.find(u'\0')), m_codePage));
        }
        if (type == RegistryValue::kNumber && data.size() == 4) {
            return RegistryData(static_cast<std::uint32_t>(LittleEndian(data)));
        }
        const bool isMachine = root == RegistryRoot::kLocalMachine;
        std::string name = isMachine ? "HKEY_LOCAL_MACHINE\\" : "HKEY_CURRENT_USER\\";
        return Failure{ErrorCode::kNotFound, name.append(key)};
    }

    Status Write(RegistryRoot root, std::string_view key, std::string_view value,
                 const RegistryData& data) override {
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
        const std::string changed =
            WithValue(text, NodeKey(text, root, ToUtf16(key, m_codePage)),
                      ToUtf16(value, m_codePage), ValueOf(data), std::chrono::system_clock::now());
        if (content && changed == text) return {};
        m_contents[root].isRead = false;
        return WriteWhole(m_native, PathOf(root), changed);
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
        Content& content = m_contents[root];
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

    RegistryValue ValueOf(const RegistryData& data) const {
        if (const auto* text = std::get_if<std::string>(&data)) {
            return {RegistryValue::kText, text::BytesFromUtf16(ToUtf16(*text, m_codePage))};
        }
        return {RegistryValue::kNumber, LittleEndianBytes(std::get<std::uint32_t>(data), 4)};
    }

    const std::string m_prefix;
    Files& m_native;
    const unsigned m_codePage;
    std::map<RegistryRoot, Content> m_contents;
};

}  // namespace

std::unique_ptr<Registry> MakeRegistry(const std::string& prefix, Files& native,
                                       unsigned codePage) {
    return std::make_unique<PrefixRegistry>(prefix, native, codePage);
}

}  // namespace platform::prefix
