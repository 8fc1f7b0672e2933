#pragma once

#include <gmock/gmock.h>

#include <map>
#include <string>
#include <vector>

#include "mailstore/eudora_mail.h"
#include "tests/frame/frame_fixture.h"
#include "tests/frame/log_capture.h"
#include "tests/mailstore/mailbox_builder.h"

using Texts = std::vector<std::string>;

// The mail translator with its members in sight.
class OpenedMail : public CREudoraMail {
  public:
    using IdTexts = std::map<std::string, std::string>;

    RRETURNCODE OpenMailbox(CEudoraTransUtil& util, int mode = 1) {
        return Open(mode, 0, 0, 0, 0, 0, 0, 0, 0, &util);
    }
    // The Message-IDs that are known, by index id. The log tells them all.
    IdTexts ToMessageId() const {
        const LogCapture log;
        m_ids.LogAll();
        IdTexts texts;
        for (const std::string& line : LogCapture::Lines()) {
            const auto end = line.rfind(", csIndexID = ");
            texts[line.substr(end + 14, 10)] = line.substr(18, end - 18);
        }
        return texts;
    }

    using CREudoraMail::m_appInfo;
    using CREudoraMail::m_attach;
    using CREudoraMail::m_bAppReady;
    using CREudoraMail::m_bBoxFileOpenFlag;
    using CREudoraMail::m_bOutBox;
    using CREudoraMail::m_draft;
    using CREudoraMail::m_ids;
    using CREudoraMail::m_queues;
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
