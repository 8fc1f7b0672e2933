#pragma once

#include <functional>
#include <memory>
#include <string>

#include "host/base/contact.h"
#include "host/base/failure.h"
#include "host/contacts/contact_store.h"
#include "host/translator/translator_session.h"

// Eudora's side of a contact sync. Texts are UTF-8, code pages Microsoft's numbers.
namespace host::contacts {

// The most bytes that a nickname may have in the system code page.
inline constexpr std::size_t kNicknameLimit = 27;

// The part of a contact that Eudora's address book can hold: one line where it has one line, only
// characters of the code page or what reads like them, no angle brackets, no comma in nickname and
// address, no nickname that Eudora takes for a group.
base::Contact HoldInEudora(const base::Contact& contact, unsigned codePage);

// A nickname made of `base` and `suffix`, cut so that both fit.
std::string NicknameWithSuffix(const std::string& base, const std::string& suffix,
                               unsigned codePage);

// The id of the contact with a nickname of these bytes, and the bytes of an id: the nickname in
// UTF-8, or "bytes:" and hexadecimal digits if it is no text of the code page.
std::string IdOf(const std::string& bytes, unsigned codePage);
std::string BytesOf(const std::string& id, unsigned codePage);

// Eudora's address book through the translator. The marker is the module's check
// sum. Changes wait in the session until Commit, which rewrites the file as a whole and opens it
// anew; without a Commit they are lost.
class EudoraContacts : public ContactStore {
  public:
    // `open` gives a session with the address book selected and opened. `fileTime`, the time of the
    // nickname file, is the time of change of every contact.
    EudoraContacts(std::function<base::Result<translator::TranslatorSession>()> open,
                   unsigned codePage, std::optional<std::chrono::system_clock::time_point> fileTime)
        : m_open(std::move(open)), m_codePage(codePage), m_fileTime(fileTime) {}

    base::Result<std::vector<base::StoreItem>> List() override;
    base::Result<StoredContact> Read(const std::string& id) override;
    std::optional<std::chrono::system_clock::time_point> ChangedAt(
        const base::StoreItem&) const override {
        return m_fileTime;
    }
    base::Contact Hold(const base::Contact& contact) const override;
    std::optional<std::string> Refusal(const base::Contact& values, base::FieldSet which) override;
    std::string Nickname(const std::string& base, const std::string& suffix) const override {
        return NicknameWithSuffix(base, suffix, m_codePage);
    }
    base::Result<std::string> Add(const std::string& id, const base::Contact& values,
                                  const std::string& like) override;
    base::Result<std::string> Change(const base::StoreItem& known, const base::Contact& values,
                                     base::FieldSet which) override;
    base::Status Remove(const base::StoreItem& known) override;
    base::Status Commit() override;

  private:
    base::Status Reopen();
    base::Result<std::string> StoreFields(const base::Contact& values, base::FieldSet which);
    std::string ToBytes(base::Field field, const std::string& text) const;

    std::function<base::Result<translator::TranslatorSession>()> m_open;
    unsigned m_codePage;
    std::optional<std::chrono::system_clock::time_point> m_fileTime;
    std::unique_ptr<translator::TranslatorSession> m_session;
};

}  // namespace host::contacts
