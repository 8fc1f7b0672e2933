#include "platform/prefix/prefix_libraries.h"

#include <dlfcn.h>

#include <climits>
#include <cstdlib>

#include "platform/os/code_page.h"
#include "platform/os/system.h"
#include "platform/posix/character_case.h"
#include "platform/posix/shared_object.h"
#include "platform/prefix/code_page_table.h"
#include "platform/prefix/pe_strings.h"
#include "text/double_byte.h"
#include "text/path.h"

namespace platform::prefix {

namespace {

constexpr std::uint64_t kLargestLibrary = 1u << 26;

class PeResources : public StringResources {
  public:
    PeResources(PeStrings strings, unsigned codePage)
        : m_strings(std::move(strings)), m_codePage(codePage) {}

    std::string Text(unsigned id, std::size_t limit) override {
        std::string text = FromUtf16(m_strings.Text(id), m_codePage);
        text.resize(text::WholeCharacterPrefix(text, limit, m_codePage));
        return text;
    }

  private:
    PeStrings m_strings;
    unsigned m_codePage;
};

Result<std::unique_ptr<Library>> LoadShared(const std::string& file, std::string_view path) {
    auto library = posix::LoadSharedObject(file);
    if (!library) return Failure{ErrorCode::kNotSupported, std::string(path)};
    return library;
}

}  // namespace

Result<std::unique_ptr<Library>> PrefixLibraries::Load(std::string_view path) {
    const Failure notFound{ErrorCode::kNotFound, std::string(path)};
    const auto separator = text::LastSeparator(path, m_mapper.CodePage());
    const bool isBare = separator == std::string_view::npos;
    const std::string name =
        ToUtf8(isBare ? path : path.substr(separator + 1), m_mapper.CodePage());
    if (posix::EqualFolded(name, "EUMAPI32.DLL")) {
        const std::string standIn = m_ownFolder + "/libEUMAPI32.so";
        return m_native.Exists(standIn) ? LoadShared(standIn, path) : notFound;
    }
    if (path.starts_with('/') && m_native.Exists(path)) return LoadShared(std::string(path), path);
    if (isBare) {
        const std::string beside = m_ownFolder + "/" + name;
        if (m_native.Exists(beside)) return LoadShared(beside, path);
        auto library = LoadShared(name, path);
        return library ? std::move(library) : notFound;
    }
    const auto mapped = m_mapper.Map(path);
    if (!mapped) return mapped.Error();
    return mapped->exists ? LoadShared(mapped->path, path) : notFound;
}

Result<std::string> PrefixLibraries::FindResources(std::string_view path) const {
    if (text::LastSeparator(path, m_mapper.CodePage()) != std::string_view::npos) {
        const auto mapped = m_mapper.Map(path);
        if (!mapped) return mapped.Error();
        return mapped->path;
    }
    std::string beside = m_ownFolder + "/" + ToUtf8(path, m_mapper.CodePage());
    if (m_native.Exists(beside)) return beside;
    for (const std::string folder : {"C:\\windows\\system32\\", "C:\\windows\\"}) {
        const auto mapped = m_mapper.Map(folder + std::string(path));
        if (mapped && mapped->exists) return mapped->path;
    }
    return Failure{ErrorCode::kNotFound, std::string(path)};
}

Result<std::unique_ptr<StringResources>> PrefixLibraries::LoadResources(std::string_view path) {
    const auto name = FindResources(path);
    if (!name) return name.Error();
    auto file = ReadWhole(m_native, *name, kLargestLibrary);
    if (!file) {
        Failure failure = file.Error();
        failure.context = path;
        return failure;
    }
    auto strings = PeStrings::Parse(*std::move(file));
    if (!strings) return Failure{strings.Error().code, std::string(path)};
    return std::unique_ptr<StringResources>(
        std::make_unique<PeResources>(*std::move(strings), m_mapper.CodePage()));
}

std::string OwnFolder() {
    Dl_info info = {};
    char buffer[PATH_MAX];
    if (dladdr(reinterpret_cast<void*>(&OwnFolder), &info) == 0 || info.dli_fname == nullptr ||
        realpath(info.dli_fname, buffer) == nullptr) {
        return ".";
    }
    const std::string path = buffer;
    return path.substr(0, path.rfind('/'));
}

}  // namespace platform::prefix

namespace platform {

void* OwnInstance() {
    Dl_info info = {};
    return dladdr(reinterpret_cast<void*>(&OwnInstance), &info) != 0 ? info.dli_fbase : nullptr;
}

}  // namespace platform
