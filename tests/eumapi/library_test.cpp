#include <filesystem>

#include "mapi/entry_points.h"
#include "platform/os/program.h"
#include "tests/eumapi/stand_in_fixture.h"
#include "tests/platform/temp_folder.h"

namespace {

using mapi::Entry;

// Writes an in-box of two mails and lets the registry that the library will see name its folder.
void PutEudora(const std::string& folder, const std::string& nativeFolder) {
    const std::string first = Mail("first"), second = Mail("second");
    test::WriteDisk(nativeFolder + "/In.mbx", first + second);
    const auto length = static_cast<std::uint32_t>(first.size());
    test::WriteDisk(nativeFolder + "/In.toc",
                    Toc({Block(0, length, 0x10),
                         Block(length, static_cast<std::uint32_t>(second.size()), 0x11, 1)}));
    ASSERT_TRUE(platform::NativeSystem().registry.WriteText(platform::RegistryRoot::kLocalMachine,
                                                            locate::kAppPathsKey,
                                                            locate::kAppPathsFolder, folder));
}

// The built library by its exports, on the real file system: on Linux over a prefix that the
// environment names, on Windows over the registry and the drives that there are.
TEST(StandInLibrary, WalksThroughItsExports) {
    const test::TempFolder folder;
    std::string eudora = folder / "Eudora", native = eudora;
    if (platform::NativeFiles().Separator() == '/') {
        std::filesystem::create_directories(folder.Path() / "dosdevices");
        std::filesystem::create_directory_symlink(folder.Path(), folder.Path() / "dosdevices/c:");
        ASSERT_TRUE(platform::SetEnvironment("WINEPREFIX", folder.Path().string()));
        test::WriteDisk(folder.Path() / "system.reg", "WINE REGISTRY Version 2\n");
        eudora = "C:\\Eudora";
    }
    PutEudora(eudora, native);

    auto loaded = platform::LoadNativeLibrary(KV_STAND_IN);
    ASSERT_TRUE(loaded) << loaded.Error().Message();
    mapi::EntryPoints entries;
    ASSERT_TRUE(entries.Find(**loaded)) << "one of the twelve names is missing";
    mapi::Session session = 0;
    ASSERT_EQ(entries.Get<mapi::LogonFn>(Entry::kLogon)(0, nullptr, nullptr, 3, 0, &session), 0u);
    std::string walk;
    char id[mapi::kMessageIdSize] = {};
    const auto findNext = entries.Get<mapi::FindNextFn>(Entry::kFindNext);
    std::uint32_t result;
    while ((result = findNext(session, 0, nullptr, id, kFindFlags, 0, id)) == 0) {
        MapiMessage* message = nullptr;
        ASSERT_EQ(entries.Get<mapi::ReadMailFn>(Entry::kReadMail)(session, 0, id, mapi::kPeek, 0,
                                                                  &message),
                  0u);
        walk += std::string(id) + ' ' + message->lpszSubject + ' ' +
                std::to_string(message->flFlags) + "; ";
        EXPECT_EQ(entries.Get<mapi::FreeBufferFn>(Entry::kFreeBuffer)(message), 0u);
    }
    EXPECT_EQ(result, mapi::kNoMessages);
    EXPECT_EQ(walk, "0x00000010 first 1; 0x00000011 second 0; ");
    EXPECT_EQ(entries.Get<mapi::DeleteMailFn>(Entry::kDeleteMail)(session, 0, "0x00000010", 0, 0),
              0u);
    EXPECT_EQ(test::ReadDisk(native + "/Trash.mbx"), Mail("first"));
    using SaveMailFn = std::uint32_t(KV_LIBRARY_CALL*)(mapi::Session, std::uintptr_t, MapiMessage*,
                                                       std::uint32_t, std::uint32_t, char*);
    EXPECT_EQ(entries.Get<SaveMailFn>(Entry::kSaveMail)(session, 0, nullptr, 0, 0, id),
              mapi::kNotSupported);
    EXPECT_EQ(entries.Get<mapi::LogoffFn>(Entry::kLogoff)(session, 0, 0, 0), 0u);
    EXPECT_EQ(findNext(session, 0, nullptr, nullptr, 0, 0, id), mapi::kInvalidSession);
}

}  // namespace
