#include <cstdint>
#include <cstdlib>
#include <string>

#include "eumapi/simple_mapi.h"
#include "integration/locate/locate.h"
#include "mailbox/toc_records.h"
#include "platform/testing/test_system.h"

namespace {

constexpr unsigned kCodePages[] = {1252, 932};

// The texts of a message must be readable to their ends.
std::size_t Length(const char* text) {
    return text == nullptr ? 0 : std::string(text).size();
}

std::size_t Length(const MapiMessage& message) {
    std::size_t length = Length(message.lpszSubject) + Length(message.lpszNoteText) +
                         Length(message.lpszDateReceived);
    if (message.lpOriginator != nullptr) length += Length(message.lpOriginator->lpszName);
    for (std::uint32_t i = 0; i < message.nRecipCount; ++i) {
        length += Length(message.lpRecips[i].lpszName) + Length(message.lpRecips[i].lpszAddress);
    }
    return length;
}

}  // namespace

// The bytes are a mailbox with one mail. Whatever they are, the mail reads, its date has the
// published form, and deleting it moves every byte to the Trash.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string mail(reinterpret_cast<const char*>(data), size);
    platform::testing::TestSystem machine(kCodePages[size % 2]);
    machine.files.Put("C:\\Eudora\\Attach\\a.txt", "content");
    machine.files.Put("C:\\Eudora\\In.mbx", mail);
    mailbox::MsgBlock block;
    block.dwLength = static_cast<std::uint32_t>(size);
    block.dwMsgId = 1;
    auto header = mailbox::TocHeader::Decode(mailbox::NewTocHeader());
    header.wNumberOfMsgs = 1;
    machine.files.Put("C:\\Eudora\\In.toc", header.Encode() + block.Encode());
    (void)machine.registry.WriteText(platform::RegistryRoot::kLocalMachine, locate::kAppPathsKey,
                                     locate::kAppPathsFolder, "C:\\Eudora");
    eumapi::SimpleMapi library(machine.system);
    mapi::Session session = 0;
    MapiMessage* message = nullptr;
    if (library.Logon(&session) != 0) std::abort();
    if (library.ReadMail(session, "0x00000001", mapi::kPeek, &message) != 0) std::abort();
    if (message->lpszDateReceived != nullptr && Length(message->lpszDateReceived) != 16) {
        std::abort();
    }
    (void)Length(*message);
    if (library.FreeBuffer(message) != 0) std::abort();
    if (library.DeleteMail(session, "0x00000001") != 0) std::abort();
    if (machine.files.Get("C:\\Eudora\\Trash.mbx") != mail) std::abort();
    return 0;
}
