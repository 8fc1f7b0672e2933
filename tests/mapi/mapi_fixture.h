#pragma once

#include <gtest/gtest.h>

#include <cstring>

#include "mapi/mapi.h"
#include "tests/mapi/scripted_library.h"

using Lines = std::vector<std::string>;

// A session with a scripted library whose mailbox holds the mails A to E.
class MapiFixture : public ::testing::Test {
  protected:
    MapiFixture() {
        for (const char* id : {"A", "B", "C", "D", "E"}) {
            library.mailbox.push_back({.id = id, .subject = id});
        }
        EXPECT_EQ(mapi.LoadMapiLibrary("C:\\Eudora"), 1);
        EXPECT_EQ(mapi.MapiLogon(), 1);
        library.calls.clear();
    }
    void TearDown() override {
        mapi.UnloadMapiLibrary();
        EXPECT_EQ(library.badCalls, 0);
    }

    // A built record; its file, if it has a path, exists.
    MapiMessage* NewRecord(const char* subject, std::uint32_t status, const char* path = nullptr) {
        MapiMessage* record = nullptr;
        EXPECT_NE(CMapi::AllocMessage(record), 0);
        record->lpszSubject = NewText(subject);
        record->flFlags = status;
        record->lpFiles = new MapiFileDesc[1]{};
        record->nFileCount = 1;
        if (path != nullptr) {
            machine.files.Put(path, "x");
            record->lpFiles[0].lpszPathName = NewText(path);
        }
        return record;
    }
    static char* NewText(const char* text) {
        char* const block = new char[std::strlen(text) + 1];
        return std::strcpy(block, text);
    }
    // The subject of the current message, "-" if there is none.
    std::string Current() {
        MapiMessage* message = nullptr;
        return mapi.GetCurrentMessage(message) == 1 ? message->lpszSubject : "-";
    }

    platform::testing::TestSystem machine;
    ScriptedLibrary library{machine, "C:\\Eudora"};
    CMapi mapi{machine.system};
};
