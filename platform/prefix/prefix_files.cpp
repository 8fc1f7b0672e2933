#include <filesystem>
#include <functional>

#include "platform/os/code_page.h"
#include "platform/posix/open_file.h"
#include "platform/prefix/prefix_system.h"
#include "text/path.h"

namespace platform::prefix {

namespace {

Failure Named(Failure failure, std::string_view path) {
    failure.context = path;
    return failure;
}

class PrefixFiles : public Files {
  public:
    PrefixFiles(const PathMapper& mapper, Registry& registry)
        : m_mapper(mapper), m_registry(registry) {}

    Result<std::unique_ptr<File>> Open(std::string_view path, OpenMode mode, Share share) override {
        return At(path, [&](Files&, std::string_view native) {
            return posix::OpenNativeFile(std::string(native), path, mode, share);
        });
    }

    Result<FileInfo> Stat(std::string_view path) override { return At(path, &Files::Stat); }

    Result<std::vector<FolderEntry>> List(std::string_view folder,
                                          std::string_view pattern) override {
        auto entries = At(folder, [&](Files& files, std::string_view native) {
            return files.List(native, ToUtf8(pattern, m_mapper.CodePage()));
        });
        if (!entries) return entries;
        std::erase_if(*entries,
                      [](const FolderEntry& entry) { return !IsWindowsName(entry.name); });
        for (auto& entry : *entries) entry.name = FromUtf8(entry.name, m_mapper.CodePage());
        return entries;
    }

    Status Delete(std::string_view path) override {
        return At(path, [](Files& files, std::string_view native) -> Status {
            // As on Windows, a read-only file cannot be deleted, but any link can.
            std::error_code ignored;
            const auto info = files.Stat(native);
            if (info && (info->isFolder || files.IsReadOnly(native)) &&
                !std::filesystem::is_symlink(native, ignored)) {
                return Failure{ErrorCode::kAccessDenied, {}};
            }
            return files.Delete(native);
        });
    }

    Status DeleteEvenReadOnly(std::string_view path) override { return At(path, &Files::Delete); }

    Status Copy(std::string_view from, std::string_view to) override {
        return Between(from, to, [&](const MappedPath& source, const MappedPath& target) {
            return NativeFiles().Copy(source.path, target.path);
        });
    }

    Status Move(std::string_view from, std::string_view to) override {
        return Between(from, to, [&](const MappedPath& source, const MappedPath& target) -> Status {
            // A new name that is the old one in other letters is no other file.
            const bool isSame = target.path == source.path;
            const std::string& name = isSame ? target.asNamed : target.path;
            if (name == source.path) return {};
            return NativeFiles().Move(source.path, name);
        });
    }

    Status Replace(std::string_view from, std::string_view to) override {
        return Between(from, to, [&](const MappedPath& source, const MappedPath& target) {
            return NativeFiles().Replace(source.path, target.path);
        });
    }

    Status CreateFolder(std::string_view path) override { return At(path, &Files::CreateFolder); }
    Status CreatePrivateFolder(std::string_view path) override {
        return At(path, &Files::CreatePrivateFolder);
    }
    Status RemoveFolder(std::string_view path) override { return At(path, &Files::RemoveFolder); }
    Result<std::string> RealPath(std::string_view path) override {
        return At(path, &Files::RealPath);
    }

    bool IsReadOnly(std::string_view path) override {
        return At(path,
                  [](Files& files, std::string_view native) -> Result<bool> {
                      return files.IsReadOnly(native);
                  })
            .ValueOr(false);
    }
    bool IsFree(std::string_view path) override {
        const auto mapped = m_mapper.Map(path);
        return mapped ? NativeFiles().IsFree(mapped->path)
                      : mapped.Error().code == ErrorCode::kNotFound;
    }

    // The user's own folder where the registry names it outright, else the system's.
    Result<std::string> TempFolder() override {
        for (const char* name : {"TMP", "TEMP"}) {
            auto folder = m_registry.ReadText(RegistryRoot::kCurrentUser, "Environment", name);
            if (!folder || folder->empty()) continue;
            const auto info = Stat(*folder);
            if (!info || !info->isFolder) continue;
            return text::WithSeparator(*folder, m_mapper.CodePage());
        }
        const std::string windows = "C:\\windows", folder = windows + "\\temp";
        for (const auto& path : {windows, folder}) {
            const Status status = CreateFolder(path);
            if (!status && status.Error().code != ErrorCode::kAlreadyExists) return status.Error();
        }
        return folder + '\\';
    }

    char Separator() const override { return '\\'; }

  private:
    // Does an operation at the place of a Windows path, which a failure names.
    template <class Operation>
    auto At(std::string_view path, const Operation& operation) const
        -> decltype(std::invoke(operation, NativeFiles(), path)) {
        const auto mapped = m_mapper.Map(path);
        if (!mapped) return mapped.Error();
        auto result = std::invoke(operation, NativeFiles(), mapped->path);
        if (!result) return Named(result.Error(), path);
        return result;
    }

    // An operation on two paths; a failure names the one that the native failure is about.
    template <class Operation>
    Status Between(std::string_view from, std::string_view to, const Operation& operation) const {
        const auto source = m_mapper.Map(from);
        if (!source) return source.Error();
        const auto target = m_mapper.Map(to);
        if (!target) return target.Error();
        Status status = operation(*source, *target);
        if (status) return status;
        const auto& named = status.Error().context;
        const bool isTarget =
            named != source->path && (named == target->path || named == target->asNamed);
        return Named(status.Error(), isTarget ? to : from);
    }

    const PathMapper& m_mapper;
    Registry& m_registry;
};

}  // namespace

std::unique_ptr<Files> MakeFiles(const PathMapper& mapper, Registry& registry) {
    return std::make_unique<PrefixFiles>(mapper, registry);
}

}  // namespace platform::prefix
