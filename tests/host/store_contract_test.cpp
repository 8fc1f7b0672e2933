#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <map>

#include "host/contacts/eudora_contacts.h"
#include "host/contacts/vdir_contacts.h"
#include "host/module/setup.h"
#include "platform/os/program.h"
#include "platform/os/system.h"
#include "platform/testing/fixed_clock.h"

// What the engine takes for granted of every store, on the real disk: for a folder of vCards, and
// for Eudora's address book through the built translator library.
namespace host {
namespace {

namespace fs = std::filesystem;

// The Eudora of this process: a folder of its own, which the module is started on once.
struct Eudora {
    fs::path root =
        fs::temp_directory_path() / ("kvsync-store-" + std::to_string(platform::ProcessNumber()));
    fs::path book = root / "E" / "nndbase.txt";
    Setup setup;
    std::unique_ptr<TranslatorHost> module;

    Eudora() {
        fs::create_directories(book.parent_path());
        std::ofstream(book, std::ios::binary).close();
        (void)platform::SetEnvironment("XDG_STATE_HOME", (root / "state").string());
        SetupOptions options;
        options.eudora = book.parent_path().string();
        options.language = "EN";
        setup = *Prepare(options);
        module = *TranslatorHost::Start(setup.init);
    }
    ~Eudora() {
        module.reset();
        fs::remove_all(root);
    }
    platform::Result<TranslatorSession> Open() {
        auto session = TranslatorSession::Create(*module, 1);
        if (!session) return session;
        std::string selection = setup.eudoraFolder + "\\nndbase.txt", summary;
        if (auto status = session->Select(selection, summary, false); !status) {
            return status.Error();
        }
        if (auto status = session->Open(); !status) return status.Error();
        return session;
    }
};

Eudora& TheEudora() {
    static Eudora eudora;
    return eudora;
}

class StoreContract : public ::testing::TestWithParam<bool> {
  protected:
    void SetUp() override {
        auto& eudora = TheEudora();
        fs::remove_all(Folder());
        fs::create_directories(Folder());
        std::ofstream(eudora.book, std::ios::binary | std::ios::trunc).close();
        m_store = Fresh();
        ASSERT_TRUE(m_store->List());
    }

    static fs::path Folder() { return TheEudora().root / "C"; }
    // A store that knows only what lies on the disk.
    std::unique_ptr<ContactStore> Fresh() {
        if (GetParam()) {
            return std::make_unique<EudoraContacts>([] { return TheEudora().Open(); }, 1252,
                                                    std::nullopt);
        }
        return std::make_unique<VdirContacts>(platform::NativeFiles(), Folder().string(), m_clock,
                                              NewUuid);
    }
    std::string AddOne(const Contact& contact) {
        const auto id = m_store->Add(contact, "");
        EXPECT_TRUE(id) << (id ? "" : id.Error().Message());
        return id ? *id : "";
    }
    // The contacts by id, as another run would see them.
    std::map<std::string, StoredContact> OnDisk() {
        const auto store = Fresh();
        std::map<std::string, StoredContact> contacts;
        const auto items = *store->List();
        for (const StoreItem& item : items) {
            contacts[item.id] = *store->Read(item.id);
            EXPECT_EQ(contacts[item.id].item.marker, item.marker) << item.id;
        }
        return contacts;
    }

    platform::testing::FixedClock m_clock;
    std::unique_ptr<ContactStore> m_store;
};

Contact Make(const std::string& nickname, const std::string& name, const std::string& address,
             const std::string& phone, const std::string& email, const std::string& note) {
    return {{nickname, name, address, phone, "", email, note}};
}

const Contact kContacts[] = {
    Make("ann", "Ann Lee", "1 High St\nYork", "+44 1", "ann@example.com", "met\nin York"),
    Make("two words", "", "", "", "two@example.com", ""),
    Make("name:x", "name:y", "phone:z", "fax:1", "x@y", "name:in a note"),
    Make("bob;", "O'Neil; Bob \\n", "a;b\\c", "\"1\"", "bob@example.com", "a;b,c\\n \"d\" :e"),
    Make("J\xC3\xBCrgen", "\xC3\x89mile",
         "Stra\xC3\x9F"
         "e 1",
         "", "j@example.com", "\xE2\x82\xAC 5"),
    Make("bare", "", "", "", "", "")};

FieldSet NonEmpty(const Contact& contact) {
    FieldSet set;
    for (const Field field : kAllFields) {
        if (!contact[field].empty()) set.Add(field);
    }
    return set;
}

TEST_P(StoreContract, AnotherRunReadsWhatWasAdded) {
    std::map<std::string, Contact> added;
    for (const Contact& contact : kContacts) {
        ASSERT_EQ(m_store->Refusal(contact, NonEmpty(contact)), std::nullopt) << contact.values[0];
        added[AddOne(contact)] = m_store->Hold(contact);
    }
    ASSERT_TRUE(m_store->Commit());
    const auto seen = OnDisk();
    ASSERT_EQ(seen.size(), std::size(kContacts)) << "ids are unique";
    for (const auto& [id, contact] : added) {
        ASSERT_TRUE(seen.count(id)) << id;
        EXPECT_EQ(seen.at(id).contact.values, contact.values);
        EXPECT_EQ(m_store->Hold(contact).values, contact.values) << "what is held is held whole";
        EXPECT_EQ((*m_store->Read(id)).contact.values, contact.values);
    }
}

TEST_P(StoreContract, AChangeTouchesItsFieldsAlone) {
    for (const Contact& contact : kContacts) AddOne(contact);
    ASSERT_TRUE(m_store->Commit());
    for (const Field field : kAllFields) {
        if (field == Field::kNickname) continue;
        for (const std::string value : {"other", "", "more"}) {
            SCOPED_TRACE(std::string(FieldName(field)) + " becomes \"" + value + '"');
            ASSERT_TRUE(m_store->List());
            auto expected = OnDisk();
            StoredContact& known = expected.begin()->second;
            const std::string id = expected.begin()->first;
            known.contact[field] = value;
            FieldSet which;
            which.Add(field);
            const auto changed = m_store->Change(known.item, known.contact, which);
            ASSERT_TRUE(changed) << changed.Error().Message();
            EXPECT_EQ(*changed, id);
            ASSERT_TRUE(m_store->Commit());
            const auto seen = OnDisk();
            ASSERT_EQ(seen.size(), expected.size());
            for (const auto& [key, contact] : expected) {
                EXPECT_EQ(seen.at(key).contact.values, contact.contact.values) << key;
                EXPECT_EQ(seen.at(key).item.marker == contact.item.marker, key != id) << key;
            }
        }
    }
}

TEST_P(StoreContract, ARemovedContactIsGoneAndNoOther) {
    for (const Contact& contact : kContacts) AddOne(contact);
    ASSERT_TRUE(m_store->Commit());
    for (std::size_t left = std::size(kContacts); left-- > 0;) {
        ASSERT_TRUE(m_store->List());
        auto expected = OnDisk();
        const StoreItem victim = expected.begin()->second.item;
        expected.erase(victim.id);
        ASSERT_TRUE(m_store->Remove(victim));
        ASSERT_TRUE(m_store->Commit());
        const auto seen = OnDisk();
        ASSERT_EQ(seen.size(), left);
        for (const auto& [id, contact] : expected) {
            EXPECT_EQ(seen.at(id).contact.values, contact.contact.values);
        }
        EXPECT_FALSE(m_store->Read(victim.id));
        FieldSet which;
        which.Add(Field::kPhone);
        EXPECT_FALSE(m_store->Change(victim, kContacts[0], which));
    }
}

INSTANTIATE_TEST_SUITE_P(Stores, StoreContract, ::testing::Bool(),
                         [](const auto& store) { return store.param ? "Eudora" : "Folder"; });

}  // namespace
}  // namespace host
