#include "platform/kvutil/kvutil.h"

#include <array>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <new>

#include "platform/kvutil/kvutil_core.h"
#include "platform/os/system.h"
#include "text/path.h"

namespace {

void LogToStandardError(int, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    std::vfprintf(stderr, format, arguments);
    va_end(arguments);
    // Some of the module's lines bring no line end.
    if (const auto length = std::strlen(format); length == 0 || format[length - 1] != '\n') {
        std::fputc('\n', stderr);
    }
}

std::string& LastError() {
    static std::string text;
    return text;
}

platform::Dialogs* g_dialogProvider = nullptr;

// Nothing is thrown at the users of the library: what fails gives RRC_FAILED.
template <class Operation>
RRETURNCODE Shielded(Operation&& operation) noexcept {
    try {
        return operation() ? RRC_OK : RRC_FAILED;
    } catch (...) {
        return RRC_FAILED;
    }
}

const char* OrEmpty(const char* text) {
    return text != nullptr ? text : "";
}

unsigned CodePage() {
    return platform::NativeSystem().codePage;
}

constexpr std::array<std::uint32_t, 256> MakeCrcTable() {
    std::array<std::uint32_t, 256> table{};
    for (std::uint32_t i = 0; i < table.size(); ++i) {
        std::uint32_t rest = i;
        for (int bit = 0; bit < 8; ++bit) rest = rest >> 1 ^ ((rest & 1) != 0 ? 0xEDB88320U : 0U);
        table[i] = rest;
    }
    return table;
}

constexpr auto kCrcTable = MakeCrcTable();

}  // namespace

int g_bEnableLog = 0;
void (*g_pfnLog)(int level, const char* format, ...) = LogToStandardError;

RRETURNCODE AllocVornString(char*& out, int size) {
    out = size < 0
              ? nullptr
              : static_cast<char*>(::operator new(static_cast<std::size_t>(size), std::nothrow));
    return out != nullptr ? RRC_OK : RRC_FAILED;
}

RRETURNCODE AllocVornString(char*& out, const char* text) {
    const int size = text != nullptr ? static_cast<int>(std::strlen(text)) + 1 : -1;
    const RRETURNCODE code = AllocVornString(out, size);
    if (code == RRC_OK) std::strcpy(out, text);
    return code;
}

RRETURNCODE FreeVornString(char*& text) {
    ::operator delete(text);
    text = nullptr;
    return RRC_OK;
}

RRETURNCODE SetLastVornErrorString(const char* text) {
    return Shielded([&] {
        LastError() = OrEmpty(text);
        return true;
    });
}

const char* LastVornErrorString() {
    return LastError().c_str();
}

RRETURNCODE ReadStrFromRegistry(const char* key, const char* value, CString& out,
                                unsigned long size, platform::RegistryRoot root) {
    return Shielded([&] {
        auto text = kvutil::ReadBoundedText(platform::NativeSystem().registry, root, OrEmpty(key),
                                            OrEmpty(value), size);
        if (text) out = CString(std::move(*text));
        return text.HasValue();
    });
}

RRETURNCODE ReadDWordFromRegistry(const char* key, const char* value, unsigned long& out,
                                  platform::RegistryRoot root) {
    return Shielded([&] {
        const auto number =
            platform::NativeSystem().registry.ReadNumber(root, OrEmpty(key), OrEmpty(value));
        if (number) out = *number;
        return number.HasValue();
    });
}

RRETURNCODE StoreDWordInRegistry(const char* key, const char* value, unsigned long number,
                                 platform::RegistryRoot root) {
    return Shielded([&] {
        return platform::NativeSystem()
            .registry
            .WriteNumber(root, OrEmpty(key), OrEmpty(value), static_cast<std::uint32_t>(number))
            .HasValue();
    });
}

CString VornRight(const char* text, int count, int flag) {
    return kvutil::LastBytes(OrEmpty(text), static_cast<std::size_t>(count > 0 ? count : 0),
                             flag != 0 ? CodePage() : 0);
}

RRETURNCODE FindReplace(CString& text, const char* find, const char* replacement, int count) {
    return Shielded([&] {
        const std::string_view wanted = OrEmpty(find), by = OrEmpty(replacement);
        std::string& bytes = text.Str();
        // Replacements are not searched again; an empty `find` replaces nothing.
        for (std::size_t at = 0; !wanted.empty() && count != 0; --count) {
            at = bytes.find(wanted, at);
            if (at == std::string::npos) break;
            bytes.replace(at, wanted.size(), by);
            at += by.size();
        }
        return true;
    });
}

RRETURNCODE StripChars(const char* source, char* target, const char* characters) {
    if (source == nullptr || target == nullptr) return RRC_FAILED;
    characters = OrEmpty(characters);
    for (; *source != '\0'; ++source) {
        if (std::strchr(characters, *source) == nullptr) *target++ = *source;
    }
    *target = '\0';
    return RRC_OK;
}

RRETURNCODE GetFilename(const char* path, CString& out) {
    return Shielded([&] {
        out = CString(text::NameIn(OrEmpty(path), CodePage()));
        return true;
    });
}

RRETURNCODE FormatFilename(const char* path, int number, CString& out) {
    return Shielded([&] {
        const std::string_view whole = OrEmpty(path);
        out =
            number < 0
                ? CString(whole)
                : CString(kvutil::ShortenPath(whole, static_cast<std::size_t>(number), CodePage()));
        return true;
    });
}

RRETURNCODE ComputeCheckSum(unsigned char* data, int length, unsigned int& sum, int) {
    if (length < 0 || (data == nullptr && length > 0)) return RRC_FAILED;
    sum = ~sum;
    for (int i = 0; i < length; ++i) sum = sum >> 8 ^ kCrcTable[(sum ^ data[i]) & 0xFF];
    sum = ~sum;
    return RRC_OK;
}

RRETURNCODE AttachmentInfoToStr(const CArray<CRAttachmentInfo>& list, CString& out) {
    return Shielded([&] {
        out = CString(kvutil::EncodeAttachments(list));
        return true;
    });
}

RRETURNCODE StrToAttachmentInfo(const char* text, CArray<CRAttachmentInfo>& list) {
    return Shielded([&] {
        list.RemoveAll();
        return kvutil::DecodeAttachments(OrEmpty(text), list);
    });
}

void SetDialogProvider(platform::Dialogs* dialogs) {
    g_dialogProvider = dialogs;
}

platform::Dialogs* DialogProvider() {
    return g_dialogProvider;
}
