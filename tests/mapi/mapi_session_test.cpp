#include "mapi/mapi.h"

#include <gtest/gtest.h>

#include "platform/testing/test_system.h"

namespace {

constexpr const char* kKey = "SOFTWARE\\Microsoft\\Windows Messaging Subsystem";
constexpr const char* kLibrary = "C:\\Eudora\\EUMAPI32.DLL";

// What the library was told, and what it answers.
struct Library {
    std::string calls;
    std::uint32_t logonResult = 0;
};
Library g_library;

std::uint32_t KV_MAPI_CALL Logon(std::uintptr_t, const char*, const char*, std::uint32_t flags,
                                 std::uint32_t, mapi::Session* session) {
    g_library.calls += "on" + std::to_string(flags) + ' ';
    *session = 42;
    return g_library.logonResult;
}

std::uint32_t KV_MAPI_CALL Logoff(mapi::Session session, std::uintptr_t, std::uint32_t,
                                  std::uint32_t) {
    g_library.calls += "off" + std::to_string(session) + ' ';
    return 0;
}

class MapiSessionTest : public ::testing::Test {
  protected:
    MapiSessionTest() {
        g_library = {};
        SetFlag("1");
        AddLibrary(nullptr);
    }
    void SetFlag(const char* text) {
        (void)machine.registry.WriteText(platform::RegistryRoot::kLocalMachine, kKey, "MAPI", text);
    }
    // All entry points but `missing`.
    void AddLibrary(const char* missing) {
        std::map<std::string, void*> symbols;
        for (const char* name : mapi::kEntryNames) symbols[name] = &g_library;
        symbols["MAPILogon"] = reinterpret_cast<void*>(&Logon);
        symbols["MAPILogoff"] = reinterpret_cast<void*>(&Logoff);
        if (missing != nullptr) symbols.erase(missing);
        machine.libraries.AddLibrary(kLibrary, symbols);
    }

    platform::testing::TestSystem machine;
    CMapi mapi{machine.system};
};

TEST_F(MapiSessionTest, AvailabilityIsToldByProfileOrRegistry) {
    struct Row {
        unsigned major, minor;
        int profile;
        const char* flag;
        int available;
    };
    const Row rows[] = {{3, 51, 1, "0", 1},      {3, 51, 0, "1", 0}, {2, 99, 5, "0", 5},
                        {3, 52, 1, "0", 0},      {3, 52, 0, "1", 1}, {4, 0, 0, "1", 1},
                        {4, 0, 1, "11", 0},      {4, 0, 1, "", 0},   {6, 1, 1, "true", 0},
                        {6, 1, 1, "1       ", 0}};
    for (const Row& row : rows) {
        machine.processes.version = {row.major, row.minor};
        machine.processes.profile[{"Mail", "MAPI"}] = row.profile;
        SetFlag(row.flag);
        EXPECT_EQ(mapi.IsMapiAvailable(), row.available)
            << row.major << '.' << row.minor << ' ' << row.flag;
    }
    EXPECT_EQ(mapi.LoadMapiLibrary("C:\\Eudora"), 0);
    EXPECT_EQ(mapi.LastError(), CMapi::kNotAvailable);
    EXPECT_TRUE(machine.libraries.Tries().empty());
}

TEST_F(MapiSessionTest, EveryEntryPointIsNeeded) {
    for (const char* missing : mapi::kEntryNames) {
        AddLibrary(missing);
        EXPECT_EQ(mapi.LoadMapiLibrary("C:\\Eudora"), 0) << missing;
        EXPECT_EQ(mapi.LastError(), 0U);
        EXPECT_EQ(machine.libraries.LoadedCount(), 1) << "it stays until it is unloaded";
    }
    mapi.UnloadMapiLibrary();
    EXPECT_EQ(machine.libraries.LoadedCount(), 0);
    EXPECT_EQ(mapi.LoadMapiLibrary("C:\\Eudora\\"), 0) << "the backslash is always added";
    EXPECT_EQ(mapi.LastError(), CMapi::kNotLoaded);
}

TEST_F(MapiSessionTest, OneSessionAtATime) {
    mapi.MapiLogoff();
    mapi.UnloadMapiLibrary();
    ASSERT_EQ(mapi.LoadMapiLibrary("C:\\Eudora"), 1);
    g_library.logonResult = 3;
    EXPECT_EQ(mapi.MapiLogon(), 0);
    EXPECT_EQ(mapi.LastError(), 3U);
    mapi.MapiLogoff();
    g_library.logonResult = 0;
    EXPECT_EQ(mapi.MapiLogon(), 1);
    ASSERT_EQ(mapi.LoadMapiLibrary("C:\\Eudora"), 1) << "as a second translator does";
    EXPECT_EQ(mapi.MapiLogon(), 0);
    EXPECT_EQ(g_library.calls, "on3 on3 ");
    mapi.MapiLogoff();
    mapi.MapiLogoff();
    EXPECT_EQ(g_library.calls, "on3 on3 off42 ");
    mapi.UnloadMapiLibrary();
    EXPECT_EQ(machine.libraries.LoadedCount(), 0);
}

}  // namespace
