#include "tests/mapi/mapi_fixture.h"

namespace {

class MapiSessionTest : public MapiFixture {
  protected:
    MapiSessionTest() {
        mapi.MapiLogoff();
        mapi.UnloadMapiLibrary();
        library.calls.clear();
    }
};

TEST_F(MapiSessionTest, AvailabilityIsToldByProfileOrRegistry) {
    struct Row {
        unsigned major, minor;
        int profile;
        const char* flag;
        int available;
    };
    const Row rows[] = {{3, 51, 1, "0", 1},      {3, 51, 0, "1", 0}, {2, 99, 5, "0", 1},
                        {3, 52, 1, "0", 0},      {3, 52, 0, "1", 1}, {4, 0, 0, "1", 1},
                        {4, 0, 1, "11", 0},      {4, 0, 1, "", 0},   {6, 1, 1, "true", 0},
                        {6, 1, 1, "1       ", 0}};
    for (const Row& row : rows) {
        machine.processes.version = {row.major, row.minor};
        machine.processes.profile[{"Mail", "MAPI"}] = row.profile;
        (void)machine.registry.WriteText(platform::RegistryRoot::kLocalMachine,
                                         "SOFTWARE\\Microsoft\\Windows Messaging Subsystem", "MAPI",
                                         row.flag);
        const auto tries = machine.libraries.Tries().size();
        EXPECT_EQ(mapi.LoadMapiLibrary("C:\\Eudora"), row.available)
            << row.major << '.' << row.minor << ' ' << row.flag;
        if (row.available == 0) {
            EXPECT_EQ(mapi.LastError(), CMapi::kNotAvailable);
        }
        EXPECT_EQ(machine.libraries.Tries().size() - tries, row.available == 0 ? 0U : 1U);
        mapi.UnloadMapiLibrary();
    }
}

TEST_F(MapiSessionTest, EveryEntryPointIsNeeded) {
    for (const char* missing : mapi::kEntryNames) {
        library.Install("C:\\Eudora", missing);
        EXPECT_EQ(mapi.LoadMapiLibrary("C:\\Eudora"), 0) << missing;
        EXPECT_EQ(machine.libraries.LoadedCount(), 1) << "it stays until it is unloaded";
    }
    mapi.UnloadMapiLibrary();
    EXPECT_EQ(machine.libraries.LoadedCount(), 0);
    EXPECT_EQ(mapi.LoadMapiLibrary("C:\\Eudora\\"), 0) << "the backslash is always added";
    EXPECT_EQ(mapi.LastError(), CMapi::kNotLoaded);
}

TEST_F(MapiSessionTest, OneSessionAtATime) {
    ASSERT_EQ(mapi.LoadMapiLibrary("C:\\Eudora"), 1);
    library.results[mapi::Entry::kLogon] = {3};
    EXPECT_EQ(mapi.MapiLogon(), 0);
    EXPECT_EQ(mapi.LastError(), 3U);
    mapi.MapiLogoff();
    EXPECT_EQ(mapi.MapiLogon(), 1);
    ASSERT_EQ(mapi.LoadMapiLibrary("C:\\Eudora"), 1) << "as a second translator does";
    EXPECT_EQ(mapi.MapiLogon(), 0);
    EXPECT_EQ(library.calls, (Lines{"logon", "logon"}));
    mapi.MapiLogoff();
    mapi.MapiLogoff();
    EXPECT_EQ(library.calls, (Lines{"logon", "logon", "logoff"}));
}

}  // namespace
