#include "eumapi/simple_mapi.h"
#include "fuzz/fuzz.h"
#include "integration/locate/locate.h"
#include "platform/testing/test_system.h"
#include "tests/mailstore/mailbox_builder.h"

namespace {

// The texts of a message must be readable to their ends.
std::size_t Length(const char* text) {
    return text == nullptr ? 0 : std::string(text).size();
}

}  // namespace

// The bytes are a mailbox with one mail. Whatever they are, the mail reads, its date has the
// published form, and deleting it moves every byte to the Trash.
void Check(std::string_view mail) {
    platform::testing::TestSystem machine(mail.size() % 2 == 0 ? 1252 : 932);
    machine.files.Put("C:\\Eudora\\Attach\\a.txt", "content");
    MailboxBuilder().Mail(1, mail).Put(machine.files, "C:\\Eudora");
    (void)machine.registry.WriteText(platform::RegistryRoot::kLocalMachine, locate::kAppPathsKey,
                                     locate::kAppPathsFolder, "C:\\Eudora");
    eumapi::SimpleMapi library(machine.system);
    mapi::Session session = 0;
    MapiMessage* message = nullptr;
    Require(library.Logon(&session) == 0);
    Require(library.ReadMail(session, "0x00000001", mapi::kPeek, &message) == 0);
    Require(message->lpszDateReceived == nullptr || Length(message->lpszDateReceived) == 16);
    for (std::uint32_t i = 0; i < message->nRecipCount; ++i) {
        const auto& to = message->lpRecips[i];
        Require(Length(to.lpszName) + Length(to.lpszAddress) < 8 * mail.size() + 1000);
    }
    Require(Length(message->lpszSubject) + Length(message->lpszNoteText) < 8 * mail.size() + 1000);
    Require(library.FreeBuffer(message) == 0);
    Require(library.DeleteMail(session, "0x00000001") == 0);
    Require(library.Logoff(session) == 0);
    Require(machine.files.Get("C:\\Eudora\\Trash.mbx") == mail);
}
