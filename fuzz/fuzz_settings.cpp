#include <cstdint>
#include <cstdlib>

#include "frame/app_info.h"

namespace {

std::string Bytes(CEudoraAppInfo& info) {
    std::string bytes;
    CArchive archive(bytes);
    info.Serialize(archive);
    return bytes;
}

}  // namespace

// Whatever loads must come back the same from what it is stored as.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    CEudoraAppInfo info;
    try {
        CArchive archive{std::string_view(reinterpret_cast<const char*>(data), size)};
        info.Serialize(archive);
    } catch (const ArchiveError&) {
    }
    (void)info.GetSummaryText();
    const std::string stored = Bytes(info);
    CEudoraAppInfo again;
    CArchive archive{std::string_view(stored)};
    again.Serialize(archive);
    if (Bytes(again) != stored) std::abort();
    return 0;
}
