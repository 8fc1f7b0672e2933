#include "tests/mailstore/fake_mapi.h"

#include <cstring>

#include "mapi/entry_points.h"

namespace {

FakeMapi* g_library = nullptr;

// A message and the texts that it points to.
struct Holder {
    MapiMessage message{};
    FakeMail mail;
    MapiRecipDesc originator{};
    std::vector<MapiRecipDesc> recipients;
    std::vector<MapiFileDesc> files;
};

char* TextOf(std::optional<std::string>& text) {
    return text ? text->data() : nullptr;
}

void Fill(Holder& holder) {
    MapiMessage& message = holder.message;
    FakeMail& mail = holder.mail;
    message.lpszSubject = TextOf(mail.subject);
    message.lpszNoteText = TextOf(mail.note);
    message.lpszDateReceived = TextOf(mail.date);
    message.flFlags = mail.flags;
    holder.originator.lpszName = TextOf(mail.originator);
    message.lpOriginator = &holder.originator;
    for (auto& recipient : mail.recipients) {
        holder.recipients.push_back(
            {0, recipient.recipClass, nullptr, recipient.address.data(), 0, nullptr});
    }
    for (auto& file : mail.files) {
        holder.files.push_back({0, file.flags, 0, TextOf(file.path), TextOf(file.name), nullptr});
    }
    message.nRecipCount = static_cast<std::uint32_t>(holder.recipients.size());
    message.lpRecips = holder.recipients.data();
    message.nFileCount = static_cast<std::uint32_t>(holder.files.size());
    message.lpFiles = holder.files.data();
}

// Ids are "0x" and the number of the mail, counted from 1.
std::size_t NumberOf(const char* id) {
    return std::strtoul(id, nullptr, 16);
}

std::uint32_t KV_MAPI_CALL Logon(std::uintptr_t, const char*, const char*, std::uint32_t,
                                 std::uint32_t, mapi::Session* session) {
    *session = 1;
    return mapi::kSuccess;
}

std::uint32_t KV_MAPI_CALL FindNext(mapi::Session, std::uintptr_t, const char*, const char* seed,
                                    std::uint32_t, std::uint32_t, char* id) {
    ++g_library->finds;
    if (g_library->failFinds != 0) return g_library->failFinds;
    const std::size_t next = seed != nullptr && *seed != '\0' ? NumberOf(seed) : 0;
    if (next >= g_library->mails.size()) return mapi::kNoMessages;
    std::strcpy(id, g_library->mails[next].id.c_str());
    return mapi::kSuccess;
}

std::uint32_t KV_MAPI_CALL ReadMail(mapi::Session, std::uintptr_t, const char* id, std::uint32_t,
                                    std::uint32_t, MapiMessage** message) {
    ++g_library->reads;
    const std::size_t number = NumberOf(id);
    const bool isThere = number >= 1 && number <= g_library->mails.size();
    if (!isThere || g_library->badRead == id) return mapi::kInvalidMessage;
    auto* holder = new Holder;
    holder->mail = g_library->mails[number - 1];
    Fill(*holder);
    *message = &holder->message;
    ++g_library->held;
    return mapi::kSuccess;
}

std::uint32_t KV_MAPI_CALL FreeBuffer(void* buffer) {
    // The message is the first member of its holder.
    delete static_cast<Holder*>(buffer);
    if (g_library != nullptr) --g_library->held;
    return mapi::kSuccess;
}

}  // namespace

FakeMapi::FakeMapi(platform::testing::TestSystem& machine) {
    g_library = this;
    std::map<std::string, void*> symbols;
    for (const char* name : mapi::kEntryNames) symbols[name] = g_library;
    symbols["MAPILogon"] = reinterpret_cast<void*>(&Logon);
    symbols["MAPIFindNext"] = reinterpret_cast<void*>(&FindNext);
    symbols["MAPIReadMail"] = reinterpret_cast<void*>(&ReadMail);
    symbols["MAPIFreeBuffer"] = reinterpret_cast<void*>(&FreeBuffer);
    machine.libraries.AddLibrary("C:\\Eudora\\EUMAPI32.DLL", symbols);
    (void)machine.registry.WriteText(platform::RegistryRoot::kLocalMachine,
                                     "SOFTWARE\\Microsoft\\Windows Messaging Subsystem", "MAPI",
                                     "1");
}

FakeMapi::~FakeMapi() {
    g_library = nullptr;
}
