#include "platform/windows/native_parts.h"
#include "platform/windows/windows_error.h"

namespace platform::windows {

namespace {

// Owns an open key; null if it could not be opened.
class Key {
  public:
    Key() = default;
    Key(const Key&) = delete;
    Key& operator=(const Key&) = delete;
    ~Key() {
        if (m_key != nullptr) RegCloseKey(m_key);
    }
    HKEY Get() const { return m_key; }
    HKEY* Out() { return &m_key; }

  private:
    HKEY m_key = nullptr;
};

HKEY RootOf(RegistryRoot root) {
    return root == RegistryRoot::kLocalMachine ? HKEY_LOCAL_MACHINE : HKEY_CURRENT_USER;
}

// The name that a person knows the value by.
std::string NameOf(std::string_view key, std::string_view value) {
    std::string name(key);
    if (!value.empty()) name.append("\\").append(value);
    return name;
}

Failure FailureOf(LSTATUS error, std::string_view key, std::string_view value) {
    auto failure = FromError(static_cast<DWORD>(error), NameOf(key, value));
    // The value is there, but of another type or length.
    if (error == ERROR_UNSUPPORTED_TYPE || error == ERROR_INVALID_DATA || error == ERROR_MORE_DATA)
        failure.code = ErrorCode::kNotFound;
    return failure;
}

LSTATUS OpenForReading(RegistryRoot root, std::string_view key, Key& result) {
    return RegOpenKeyExA(RootOf(root), std::string(key).c_str(), 0, KEY_READ | KEY_WOW64_32KEY,
                         result.Out());
}

Status Write(RegistryRoot root, std::string_view key, std::string_view value, DWORD type,
             const void* data, std::size_t size) {
    Key open;
    LSTATUS error = RegCreateKeyExA(RootOf(root), std::string(key).c_str(), 0, nullptr, 0,
                                    KEY_SET_VALUE | KEY_WOW64_32KEY, nullptr, open.Out(), nullptr);
    if (error == ERROR_SUCCESS) {
        error = RegSetValueExA(open.Get(), std::string(value).c_str(), 0, type,
                               static_cast<const BYTE*>(data), static_cast<DWORD>(size));
    }
    if (error != ERROR_SUCCESS) return FailureOf(error, key, value);
    return {};
}

// The machine's registry in the view of a 32-bit program, whatever this one is.
class WindowsRegistry : public Registry {
  public:
    Result<std::string> ReadText(RegistryRoot root, std::string_view key,
                                 std::string_view value) override {
        constexpr DWORD kTexts = RRF_RT_REG_SZ | RRF_RT_REG_EXPAND_SZ | RRF_NOEXPAND;
        const std::string name(value);
        Key open;
        LSTATUS error = OpenForReading(root, key, open);
        std::string text;
        DWORD size = 256;
        if (error == ERROR_SUCCESS) error = ERROR_MORE_DATA;
        // A value that grows meanwhile is asked for again.
        while (error == ERROR_MORE_DATA) {
            text.resize(size);
            error = RegGetValueA(open.Get(), nullptr, name.c_str(), kTexts, nullptr, text.data(),
                                 &size);
        }
        if (error != ERROR_SUCCESS) return FailureOf(error, key, value);
        // The size counts the closing zero.
        text.resize(size > 0 ? size - 1 : 0);
        return text;
    }

    Result<std::uint32_t> ReadNumber(RegistryRoot root, std::string_view key,
                                     std::string_view value) override {
        Key open;
        LSTATUS error = OpenForReading(root, key, open);
        DWORD number = 0;
        DWORD size = sizeof number;
        if (error == ERROR_SUCCESS) {
            error = RegGetValueA(open.Get(), nullptr, std::string(value).c_str(), RRF_RT_REG_DWORD,
                                 nullptr, &number, &size);
        }
        if (error == ERROR_SUCCESS && size != sizeof number) error = ERROR_INVALID_DATA;
        if (error != ERROR_SUCCESS) return FailureOf(error, key, value);
        return std::uint32_t{number};
    }

    Status WriteText(RegistryRoot root, std::string_view key, std::string_view value,
                     std::string_view text) override {
        const std::string zeroEnded(text);
        return Write(root, key, value, REG_SZ, zeroEnded.c_str(), zeroEnded.size() + 1);
    }

    Status WriteNumber(RegistryRoot root, std::string_view key, std::string_view value,
                       std::uint32_t number) override {
        return Write(root, key, value, REG_DWORD, &number, sizeof number);
    }
};

}  // namespace

Registry& NativeRegistry() {
    static WindowsRegistry registry;
    return registry;
}

}  // namespace platform::windows
