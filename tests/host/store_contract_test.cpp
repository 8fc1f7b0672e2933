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

const base::Contact kContacts[] = {
    {{"ann", "Ann Lee", "1 High St\nYork", "+44 1", "", "ann@example.com", "met\nin York"}},
    {{"two words", "", "", "", "", "two@example.com", ""}},
    {{"name:x", "name:y", "phone:z", "fax:1", "", "x@y", "name:in a note"}},
    {{"bob;", "O'Neil; Bob \\n", "a;b\\c", "\"1\"", "", "bob@x", "a;b,c\\n \"d\" :e"}},
    {{"J\xC3\xBCrgen", "\xC3\x89mile", "Stra\xC3\x9F 1", "", "", "j@x", "\xE2\x82\xAC 5"}},
    {{"bare", "", "", "", "", "", ""}}};

class StoreContract : public ::testing::TestWithParam<bool> {
  protected:
    using Contacts = std::map<std::string, contacts::StoredContact>;

    // A store that knows only what lies on the disk.
    std::unique_ptr<contacts::ContactStore> Fresh() {
        if (!GetParam())
            return std::make_unique<contacts::VdirContacts>(
                platform::NativeFiles(), m_folder.Path().string(), m_clock, base::NewUuid);
        const auto open = [] {
            return translator::TranslatorSession::OpenContacts(
                *TheModule().host, TheModule().setup.eudoraFolder + "\\nndbase.txt");
        };
        return std::make_unique<contacts::EudoraContacts>(open, 1252, std::nullopt);
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

    test::TempFolder m_folder;
    platform::testing::FixedClock m_clock;
    std::unique_ptr<contacts::ContactStore> m_store = Fresh();
};

TEST_P(StoreContract, AnotherRunReadsWhatWasAddedChangedAndRemoved) {
    ASSERT_TRUE(m_store->List());
    std::map<std::string, base::Contact> added;
    for (const base::Contact& contact : kContacts) {
        ASSERT_EQ(m_store->Refusal(contact, base::NonEmpty(contact)), std::nullopt);
        added[*m_store->Add(contact, "")] = m_store->Hold(contact);
    }
    ASSERT_TRUE(m_store->Commit());
    auto seen = OnDisk();
    ASSERT_EQ(seen.size(), std::size(kContacts)) << "ids are unique";
    for (const auto& [id, contact] : added) {
        EXPECT_EQ(seen.at(id).contact.values, contact.values);
        EXPECT_EQ(m_store->Hold(contact).values, contact.values) << "what is held is held whole";
        EXPECT_EQ((*m_store->Read(id)).contact.values, contact.values);
    }
    for (const base::Field field : base::kAllFields) {
        if (field == base::Field::kNickname) continue;
        for (const std::string value : {"other", "", "more"}) {
            SCOPED_TRACE(std::string(base::FieldName(field)) + " becomes \"" + value + '"');
            ASSERT_TRUE(m_store->List());
            seen = OnDisk();
            auto& [id, known] = *seen.begin();
            known.contact[field] = value;
            base::FieldSet which;
            which.Add(field);
            EXPECT_EQ(*m_store->Change(known.item, known.contact, which), id);
            ExpectCommitted(seen, id);
        }
    }
    for (seen = OnDisk(); !seen.empty();) {
        ASSERT_TRUE(m_store->List());
        const base::StoreItem victim = seen.begin()->second.item;
        ASSERT_TRUE(m_store->Remove(victim));
        seen.erase(victim.id);
        ExpectCommitted(seen, "");
        EXPECT_FALSE(m_store->Read(victim.id));
        EXPECT_FALSE(m_store->Change(victim, kContacts[0], base::FieldSet::All()));
    }
}

INSTANTIATE_TEST_SUITE_P(Stores, StoreContract, ::testing::Bool(),
                         [](const auto& store) { return store.param ? "Eudora" : "Folder"; });

}  // namespace
}  // namespace host::testing
