#include <dlfcn.h>

#include <filesystem>

#include "platform/os/code_page.h"
#include "platform/os/system.h"
#include "platform/posix/system_call.h"
#include "platform/prefix/pe_strings.h"
#include "platform/prefix/prefix_system.h"
#include "text/ascii.h"
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

class PrefixLibraries : public Libraries {
  public:
    PrefixLibraries(const PathMapper& mapper, std::string ownFolder)
        : m_mapper(mapper), m_ownFolder(std::move(ownFolder)) {}

    Result<std::unique_ptr<Library>> Load(std::string_view path) override {
        const Failure notFound{ErrorCode::kNotFound, std::string(path)};
        const auto separator = text::LastSeparator(path, m_mapper.CodePage());
        const bool isBare = separator == std::string_view::npos;
        const std::string name =
            ToUtf8(isBare ? path : path.substr(separator + 1), m_mapper.CodePage());
        if (text::EqualNoCase(name, "EUMAPI32.DLL")) {
            const std::string standIn = m_ownFolder + "/libEUMAPI32.so";
            return NativeFiles().Exists(standIn) ? LoadShared(standIn, path) : notFound;
        }
        if (path.starts_with('/') && NativeFiles().Exists(path))
            return LoadShared(std::string(path), path);
        if (isBare) {
            const std::string beside = m_ownFolder + "/" + name;
            if (NativeFiles().Exists(beside)) return LoadShared(beside, path);
            auto library = LoadShared(name, path);
            return library ? std::move(library) : notFound;
        }
        const auto mapped = m_mapper.Map(path);
        if (!mapped) return mapped.Error();
        return mapped->exists ? LoadShared(mapped->path, path) : notFound;
    }

    Result<std::unique_ptr<StringResources>> LoadResources(std::string_view path) override {
        const auto name = FindResources(path);
        if (!name) return name.Error();
        auto file = ReadWhole(NativeFiles(), *name, kLargestLibrary);
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

  private:
    Result<std::string> FindResources(std::string_view path) const {
        if (text::LastSeparator(path, m_mapper.CodePage()) != std::string_view::npos) {
            const auto mapped = m_mapper.Map(path);
            if (!mapped) return mapped.Error();
            return mapped->path;
        }
        std::string beside = m_ownFolder + "/" + ToUtf8(path, m_mapper.CodePage());
        if (NativeFiles().Exists(beside)) return beside;
        for (const std::string folder : {"C:\\windows\\system32\\", "C:\\windows\\"}) {
            const auto mapped = m_mapper.Map(folder + std::string(path));
            if (mapped && mapped->exists) return mapped->path;
        }
        return Failure{ErrorCode::kNotFound, std::string(path)};
    }

    const PathMapper& m_mapper;
    const std::string m_ownFolder;
};

}  // namespace

std::unique_ptr<Libraries> MakeLibraries(const PathMapper& mapper, std::string ownFolder) {
    return std::make_unique<PrefixLibraries>(mapper, std::move(ownFolder));
}

}  // namespace platform::prefix

namespace platform {

void* OwnInstance() {
    Dl_info info = {};
    return dladdr(reinterpret_cast<void*>(&OwnInstance), &info) != 0 ? info.dli_fbase : nullptr;
}

}  // namespace platform
