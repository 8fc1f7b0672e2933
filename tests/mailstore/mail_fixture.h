#pragma once

#include <gmock/gmock.h>

#include <map>
#include <string>
#include <vector>

#include "mailstore/eudora_mail.h"
#include "tests/frame/frame_fixture.h"
#include "tests/mailstore/mailbox_builder.h"

using Texts = std::vector<std::string>;

// The mail translator with its members in sight.
class OpenedMail : public CREudoraMail {
  public:
    using IdTexts = std::map<std::string, std::string>;

    RRETURNCODE OpenMailbox(CEudoraTransUtil& util, int mode = 1) {
        return Open(mode, 0, 0, 0, 0, 0, 0, 0, 0, &util);
    }
    static IdTexts Copy(const mailstore::IdMap& map) {
        IdTexts texts;
        map.ForEach([&](std::string_view key, std::string_view value) {
            texts[std::string(key)] = std::string(value);
        });
        return texts;
    }
    IdTexts ToIndexId() const { return Copy(m_mapMessageIDToIndexID); }
    IdTexts ToMessageId() const { return Copy(m_mapIndexIDToMessageID); }

    using CREudoraMail::m_appInfo;
    using CREudoraMail::m_bAppReady;
    using CREudoraMail::m_bBoxFileOpenFlag;
    using CREudoraMail::m_bOutBox;
    using CREudoraMail::m_csAttachDir;
    using CREudoraMail::m_dwNextIndexID;
    using CREudoraMail::m_lpNewMessage;
    using CREudoraMail::m_lstNewMails;
    using CREudoraMail::m_lstOutBoxMails;
    using CREudoraMail::m_mapIndexIDToMessageID;
    using CREudoraMail::m_mapMailStatus;
    using CREudoraMail::m_pMapi;
};

// A machine in memory with Eudora's folder C:\E; every string of the bundle is "m" and its number,
// but for those that are read as something else.
class MailFixture : public FrameTest {
  protected:
    MailFixture() {
        platform::testing::FakeLibraries::Strings strings;
        for (unsigned id = 2; id < 90; ++id) strings[id] = "m" + std::to_string(id);
        strings[1] = "no <%s>";
        for (unsigned id = 85; id <= 88; ++id) strings[id] = "m" + std::to_string(id) + " <%s>";
        strings[41] = "From";
        strings[77] = "Attachment Converted:";
        strings[79] = "In";
        LoadStrings(strings);
        machine.files.MakeFolders("C:\\E\\Attach");
        util.csEudoraDir = "C:\\E";
    }
    void TearDown() override {
        util.mapi.MapiLogoff();
        util.mapi.UnloadMapiLibrary();
    }
    std::string Mbx() { return machine.files.Get("C:\\E\\In.mbx").value_or("(none)"); }
    std::string Toc() { return machine.files.Get("C:\\E\\In.toc").value_or("(none)"); }
};
