// Stands in for a running Eudora: a program that lies in Eudora's folder as Eudora.exe, opens the
// folder's Simple MAPI library and keeps the in-box in its hands until it is told to end.
#include <chrono>
#include <filesystem>
#include <fstream>
#include <thread>

#include "mapi/entry_points.h"
#include "platform/os/program.h"
#include "tests/end_to_end/eudora_double.h"

namespace fs = std::filesystem;
using mapi::Entry;

namespace {

bool ReadFirstMail(const mapi::EntryPoints& entries, mapi::Session session) {
    char id[mapi::kMessageIdSize] = {};
    MapiMessage* message = nullptr;
    return entries.Get<mapi::FindNextFn>(Entry::kFindNext)(session, 0, nullptr, nullptr,
                                                           mapi::kLongMessageId, 0, id) == 0 &&
           entries.Get<mapi::ReadMailFn>(Entry::kReadMail)(session, 0, id, mapi::kPeek, 0,
                                                           &message) == 0 &&
           entries.Get<mapi::FreeBufferFn>(Entry::kFreeBuffer)(message) == 0;
}

// Longer than any test takes, so that nothing is left running behind a test that crashed.
void WaitFor(const fs::path& file) {
    using namespace std::chrono;
    const auto end = steady_clock::now() + minutes(5);
    while (!fs::exists(file) && steady_clock::now() < end) std::this_thread::sleep_for(50ms);
}

}  // namespace

int main() {
    const fs::path folder = fs::path(platform::ProgramPath()).parent_path();
    auto library = platform::LoadNativeLibrary((folder / "EUMAPI32.dll").string());
    mapi::EntryPoints entries;
    mapi::Session session = 0;
    if (!library || !entries.Find(**library) ||
        entries.Get<mapi::LogonFn>(Entry::kLogon)(0, nullptr, nullptr, mapi::kNewSession, 0,
                                                  &session) != 0 ||
        !ReadFirstMail(entries, session)) {
        return 1;
    }
    std::ofstream(folder / test::kDoubleIsUp) << "up";
    WaitFor(folder / test::kEndDouble);
    return 0;
}
