#include "integration/locate/locate.h"

#include <algorithm>
#include <string>
#include <string_view>

#include "platform/kvutil/kvutil.h"
#include "platform/kvutil/kvutil_core.h"
#include "text/ascii.h"
#include "text/double_byte.h"

namespace locate {

namespace {

using platform::RegistryRoot;

constexpr const char* kMailtoKey = "SOFTWARE\\Classes\\mailto\\shell\\open\\command";
constexpr const char* kDefaultValue = "";
constexpr std::size_t kTextSize = 260;  // of every path and registry text, with its closing zero

bool Read(platform::Registry& registry, const char* key, const char* value, CString& out) {
    auto text =
        kvutil::ReadBoundedText(registry, RegistryRoot::kLocalMachine, key, value, kTextSize);
    if (text) out = CString(std::move(*text));
    return text.HasValue();
}

// Empty if there is none of a usable length.
std::string ShortPath(platform::Files& files, std::string_view path) {
    std::string shortPath = files.ShortPath(path).ValueOr("");
    return shortPath.size() < kTextSize ? shortPath : std::string();
}

}  // namespace

bool FindEudora(platform::Registry& registry, platform::Files& files, CString& folder,
                CString& program) {
    if (!Read(registry, kAppPathsKey, kAppPathsFolder, folder)) return false;
    KV_LOG(5, "Eudora Path = %s\n", folder.Str().c_str());
    if (!Read(registry, kAppPathsKey, kDefaultValue, program)) return false;
    KV_LOG(5, "The Full Eudora Application path = [%s] \n", program.Str().c_str());
    return files.Exists(program.Str());
}

CString FindNicknameFile(platform::Files& files, const CString& program, unsigned codePage) {
    const std::string_view path = program.Str();
    const auto slash = text::FindLastOf(path, "\\", codePage);
    const auto folder = std::string(path.substr(0, slash == path.npos ? 0 : slash));
    const std::string nickNames = folder + "\\NickName";
    const auto listed = files.List(nickNames, "*.txt");
    if (listed) {
        const auto first = std::find_if(listed->begin(), listed->end(),
                                        [](const auto& entry) { return !entry.isFolder; });
        if (first != listed->end()) {
            const std::string found = nickNames + '\\' + first->name;
            const std::string shortPath = ShortPath(files, found);
            return !shortPath.empty() && files.Exists(shortPath) ? CString(found) : CString();
        }
    }
    return std::string(path.substr(0, slash == path.npos ? 0 : slash + 1)) + "nndbase.txt";
}

bool IsDefaultClient(platform::Registry& registry, platform::Files& files, const CString& program) {
    CString command;
    if (!Read(registry, kMailtoKey, kDefaultValue, command)) return false;
    return text::EqualNoCase(ShortPath(files, program.Str()) + " /M %1", command.Str());
}

}  // namespace locate
