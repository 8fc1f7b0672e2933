#include "platform/os/little_endian.h"
#include "platform/windows/native_parts.h"
#include "platform/windows/system_call.h"

namespace platform::windows {

namespace {

struct OpenKey {
    using Value = HKEY;
    static constexpr HKEY kNone = nullptr;
    static bool IsHandle(HKEY key) { return key != nullptr; }
    static void Close(HKEY key) { RegCloseKey(key); }
};
using Key = Owned<OpenKey>;

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

// The machine's registry in the view of a 32-bit program, whatever this one is.
class WindowsRegistry : public Registry {
  public:
    Result<RegistryData> Read(RegistryRoot root, std::string_view key,
                              std::string_view value) override {
        constexpr DWORD kTypes =
            RRF_RT_REG_SZ | RRF_RT_REG_EXPAND_SZ | RRF_RT_REG_DWORD | RRF_NOEXPAND;
        const std::string name(value);
        Key open;
        LSTATUS error = RegOpenKeyExA(RootOf(root), std::string(key).c_str(), 0,
                                      KEY_READ | KEY_WOW64_32KEY, open.Out());
        std::string data;
        DWORD size = 256, type = REG_NONE;
        if (error == ERROR_SUCCESS) error = ERROR_MORE_DATA;
        // A value that grows meanwhile is asked for again.
        while (error == ERROR_MORE_DATA) {
            data.resize(size);
            error =
                RegGetValueA(open.Get(), nullptr, name.c_str(), kTypes, &type, data.data(), &size);
        }
        if (error == ERROR_SUCCESS && type == REG_DWORD && size != 4) error = ERROR_INVALID_DATA;
        if (error != ERROR_SUCCESS) return FailureOf(error, key, value);
        data.resize(size);
        if (type == REG_DWORD) return RegistryData(static_cast<std::uint32_t>(LittleEndian(data)));
        // The size counts the closing zero.
        if (!data.empty()) data.pop_back();
        return RegistryData(std::move(data));
    }

    Status Write(RegistryRoot root, std::string_view key, std::string_view value,
                 const RegistryData& data) override {
        const auto* const text = std::get_if<std::string>(&data);
        const std::string bytes =
            text != nullptr ? *text + '\0' : LittleEndianBytes(std::get<std::uint32_t>(data), 4);
        Key open;
        LSTATUS error =
            RegCreateKeyExA(RootOf(root), std::string(key).c_str(), 0, nullptr, 0,
                            KEY_SET_VALUE | KEY_WOW64_32KEY, nullptr, open.Out(), nullptr);
        if (error == ERROR_SUCCESS) {
            error = RegSetValueExA(
                open.Get(), std::string(value).c_str(), 0, text != nullptr ? REG_SZ : REG_DWORD,
                reinterpret_cast<const BYTE*>(bytes.data()), static_cast<DWORD>(bytes.size()));
        }
        if (error != ERROR_SUCCESS) return FailureOf(error, key, value);
        return {};
    }
};

}  // namespace

Registry& NativeRegistry() {
    static WindowsRegistry registry;
    return registry;
}

}  // namespace platform::windows
