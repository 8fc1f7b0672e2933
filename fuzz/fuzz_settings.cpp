#include "frame/app_info.h"
#include "fuzz/fuzz.h"

namespace {

std::string Bytes(CEudoraAppInfo& info) {
    std::string bytes;
    CArchive archive(bytes);
    info.Serialize(archive);
    return bytes;
}

}  // namespace

// Whatever loads must come back the same from what it is stored as.
void Check(std::string_view input) {
    CEudoraAppInfo info;
    try {
        CArchive archive{input};
        info.Serialize(archive);
    } catch (const ArchiveError&) {
    }
    (void)info.GetSummaryText();
    const std::string stored = Bytes(info);
    CEudoraAppInfo again;
    CArchive archive{std::string_view(stored)};
    again.Serialize(archive);
    Require(Bytes(again) == stored);
}
