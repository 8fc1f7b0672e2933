#include "platform/os/code_page.h"
#include "platform/windows/native_parts.h"
#include "platform/windows/system_call.h"
#include "platform/windows/wide_text.h"
#include "text/double_byte.h"

namespace platform::windows {

namespace {

class WindowsLibrary : public Library {
  public:
    explicit WindowsLibrary(Module module) : m_module(std::move(module)) {}
    void* Symbol(const char* name) override {
        return reinterpret_cast<void*>(GetProcAddress(m_module.get(), name));
    }

  private:
    Module m_module;
};

class WindowsResources : public StringResources {
  public:
    explicit WindowsResources(Module module) : m_module(std::move(module)) {}

    std::string Text(unsigned id, std::size_t limit) override {
        constexpr unsigned kHighestId = 0xFFFF;
        // With a size of 0 the system hands out its own copy of the text.
        const wchar_t* text = nullptr;
        const int length =
            id > kHighestId ? 0
                            : LoadStringW(m_module.get(), id, reinterpret_cast<wchar_t*>(&text), 0);
        if (length <= 0 || text == nullptr) return {};
        const std::string utf8 = Narrow({text, static_cast<std::size_t>(length)}, CP_UTF8);
        std::string result = FromUtf8(utf8, GetACP());
        result.resize(text::WholeCharacterPrefix(result, limit, GetACP()));
        return result;
    }

  private:
    Module m_module;
};

bool HasFolder(const std::wstring& name) {
    return name.find_first_of(L"\\/:") != std::wstring::npos;
}

// The folder, with a closing backslash, of the file that this code is part of.
std::wstring OwnFolder() {
    std::wstring path(32768, L'\0');
    path.resize(GetModuleFileNameW(static_cast<HMODULE>(OwnInstance()), path.data(),
                                   static_cast<DWORD>(path.size())));
    path.resize(path.rfind(L'\\') + 1);
    return path;
}

// As data and as image at once: a library for another machine type loads too, and its resources
// are found.
Module LoadAsData(const std::wstring& name) {
    return Module(LoadLibraryExW(name.c_str(), nullptr,
                                 LOAD_LIBRARY_AS_DATAFILE | LOAD_LIBRARY_AS_IMAGE_RESOURCE));
}

Result<std::unique_ptr<StringResources>> Loaded(Module module, std::string_view path) {
    if (!module) return FromLastError(path);
    return std::unique_ptr<StringResources>(std::make_unique<WindowsResources>(std::move(module)));
}

// By Windows paths in the system code page.
class WindowsLibraries : public Libraries {
  public:
    Result<std::unique_ptr<Library>> Load(std::string_view path) override {
        return LoadCode(path, CP_ACP);
    }

    Result<std::unique_ptr<StringResources>> LoadResources(std::string_view path) override {
        const std::wstring name = Wide(path, CP_ACP);
        if (!HasFolder(name)) {
            if (Module beside = LoadAsData(OwnFolder() + name)) {
                return Loaded(std::move(beside), path);
            }
        }
        return Loaded(LoadAsData(name), path);
    }
};

}  // namespace

Result<std::unique_ptr<Library>> LoadCode(std::string_view path, unsigned codePage) {
    const std::wstring name = Wide(path, codePage);
    const DWORD flags = HasFolder(name) ? LOAD_WITH_ALTERED_SEARCH_PATH : 0;
    Module module(LoadLibraryExW(name.c_str(), nullptr, flags));
    if (!module) return FromLastError(path);
    return std::unique_ptr<Library>(std::make_unique<WindowsLibrary>(std::move(module)));
}

Libraries& NativeLibraries() {
    static WindowsLibraries libraries;
    return libraries;
}

}  // namespace platform::windows

namespace platform {

void* OwnInstance() {
    HMODULE module = nullptr;
    GetModuleHandleExW(
        GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
        reinterpret_cast<const wchar_t*>(&OwnInstance), &module);
    return module;
}

}  // namespace platform
