#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>

#include "host/contacts/eudora_contacts.h"
#include "host/contacts/vdir_contacts.h"
#include "platform/os/system.h"
#include "platform/testing/fixed_clock.h"
#include "tests/host/built_module.h"

// What the engine takes for granted of every store, on the real disk: for a folder of vCards, and
// for Eudora's address book through the built translator library.
namespace host::testing {
namespace {

namespace fs = std::filesystem;

host::base::Result<translator::TranslatorSession> OpenBook() {
    return translator::TranslatorSession::OpenContacts(
        *TheModule().host, TheModule().setup.eudoraFolder + "\\nndbase.txt");
}

base::Contact Make(const std::string& nickname, const std::string& name, const std::string& address,
                   const std::string& phone, const std::string& email, const std::string& note) {
    return {{nickname, name, address, phone, "", email, note}};
}

const base::Contact kContacts[] = {
    Make("ann", "Ann Lee", "1 High St\nYork", "+44 1", "ann@example.com", "met\nin York"),
    Make("two words", "", "", "", "two@example.com", ""),
    Make("name:x", "name:y", "phone:z", "fax:1", "x@y", "name:in a note"),
    Make("bob;", "O'Neil; Bob \\n", "a;b\\c", "\"1\"", "bob@example.com", "a;b,c\\n \"d\" :e"),
    Make("J\xC3\xBCrgen", "\xC3\x89mile", "Stra\xC3\x9F 1", "", "j@x", "\xE2\x82\xAC 5"),
    Make("bare", "", "", "", "", "")};

class StoreContract : public ::testing::TestWithParam<bool> {
  protected:
    using Contacts = std::map<std::string, contacts::StoredContact>;

    void SetUp() override {
        fs::remove_all(Folder());
        fs::create_directories(Folder());
        test::WriteDisk(TheModule().eudora / "nndbase.txt", "");
        m_store = Fresh();
        ASSERT_TRUE(m_store->List());
        for (const base::Contact& contact : kContacts) {
            ASSERT_EQ(m_store->Refusal(contact, base::NonEmpty(contact)), std::nullopt);
            m_added[*m_store->Add(contact, "")] = m_store->Hold(contact);
        }
        ASSERT_TRUE(m_store->Commit());
    }

    static fs::path Folder() { return TheModule().root.Path() / "C"; }
    // A store that knows only what lies on the disk.
    std::unique_ptr<contacts::ContactStore> Fresh() {
        if (GetParam())
            return std::make_unique<contacts::EudoraContacts>(OpenBook, 1252, std::nullopt);
        return std::make_unique<contacts::VdirContacts>(platform::NativeFiles(), Folder().string(),
                                                        m_clock, contacts::NewUuid);
    }
    // The contacts by id, as another run would see them.
    Contacts OnDisk() {
        const auto store = Fresh();
        Contacts contacts;
        const auto items = *store->List();
        for (const base::StoreItem& item : items) {
            contacts[item.id] = *store->Read(item.id);
            EXPECT_EQ(contacts[item.id].item.marker, item.marker) << item.id;
        }
        return contacts;
    }
    // After a commit the disk holds these; the marker of `changed` alone is another one.
    void ExpectCommitted(const Contacts& expected, const std::string& changed) {
        ASSERT_TRUE(m_store->Commit());
        const auto seen = OnDisk();
        ASSERT_EQ(seen.size(), expected.size());
        for (const auto& [id, contact] : expected) {
            EXPECT_EQ(seen.at(id).contact.values, contact.contact.values) << id;
            EXPECT_EQ(seen.at(id).item.marker == contact.item.marker, id != changed) << id;
        }
    }

    platform::testing::FixedClock m_clock;
    std::unique_ptr<contacts::ContactStore> m_store;
    std::map<std::string, base::Contact> m_added;
};

TEST_P(StoreContract, AnotherRunReadsWhatWasAddedUntilItIsRemoved) {
    auto seen = OnDisk();
    ASSERT_EQ(seen.size(), std::size(kContacts)) << "ids are unique";
    for (const auto& [id, contact] : m_added) {
        ASSERT_TRUE(seen.contains(id)) << id;
        EXPECT_EQ(seen.at(id).contact.values, contact.values);
        EXPECT_EQ(m_store->Hold(contact).values, contact.values) << "what is held is held whole";
        EXPECT_EQ((*m_store->Read(id)).contact.values, contact.values);
    }
    while (!seen.empty()) {
        ASSERT_TRUE(m_store->List());
        const base::StoreItem victim = seen.begin()->second.item;
        ASSERT_TRUE(m_store->Remove(victim));
        seen.erase(victim.id);
        ExpectCommitted(seen, "");
        EXPECT_FALSE(m_store->Read(victim.id));
        EXPECT_FALSE(m_store->Change(victim, kContacts[0], base::FieldSet::All()));
    }
}

TEST_P(StoreContract, AChangeTouchesItsFieldsAlone) {
    for (const base::Field field : base::kAllFields) {
        if (field == base::Field::kNickname) continue;
        for (const std::string value : {"other", "", "more"}) {
            SCOPED_TRACE(std::string(base::FieldName(field)) + " becomes \"" + value + '"');
            ASSERT_TRUE(m_store->List());
            auto expected = OnDisk();
            auto& [id, known] = *expected.begin();
            known.contact[field] = value;
            base::FieldSet which;
            which.Add(field);
            const auto changed = m_store->Change(known.item, known.contact, which);
            ASSERT_TRUE(changed) << changed.Error().Message();
            EXPECT_EQ(*changed, id);
            ExpectCommitted(expected, id);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Stores, StoreContract, ::testing::Bool(),
                         [](const auto& store) { return store.param ? "Eudora" : "Folder"; });

}  // namespace
}  // namespace host::testing
