#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "host/contacts/vdir_contacts.h"
#include "platform/testing/faulty_files.h"
#include "platform/testing/fixed_clock.h"
#include "platform/testing/memory_files.h"
#include "tests/host/sync_memory.h"

namespace host::testing {
namespace {

using platform::testing::Fault;
using ::testing::HasSubstr;
using ::testing::UnorderedElementsAre;

constexpr const char* kAnn =
    "BEGIN:VCARD\r\nVERSION:3.0\r\nFN:Ann\r\nPHOTO:abc\r\nTEL:1\r\nEND:VCARD\r\n";

struct Vdir {
    platform::testing::MemoryFiles disk;
    platform::testing::FaultyFiles files{disk};
    platform::testing::FixedClock clock;
    int uids = 0;
    contacts::VdirContacts store{files, "C:\\contacts", clock,
                                 [this] { return "uid" + std::to_string(++uids); }};
};

base::Contact Phone(const std::string& phone) {
    base::Contact contact;
    contact[base::Field::kPhone] = phone;
    return contact;
}

base::FieldSet PhoneOnly() {
    base::FieldSet set;
    set.Add(base::Field::kPhone);
    return set;
}

TEST(VdirContacts, SeesCardsOnlyAndLeavesOtherFilesAlone) {
    Vdir vdir;
    EXPECT_THAT(*vdir.store.List(), ::testing::IsEmpty());
    vdir.disk.Put("C:\\contacts\\a.vcf", kAnn);
    vdir.disk.Put("C:\\contacts\\.hidden.vcf", "?");
    vdir.disk.Put("C:\\contacts\\b.vcf.kvnew", "?");
    vdir.disk.Put("C:\\contacts\\color", "#fff");
    vdir.disk.Put("C:\\contacts\\.kvsync-a.vcf.tmp", "half");
    vdir.disk.Put("C:\\contacts\\sub\\c.vcf", "?");
    const auto items = *vdir.store.List();
    ASSERT_EQ(items.size(), 1u);
    ASSERT_TRUE(vdir.store.Change(items[0], Phone("2"), PhoneOnly()));
    EXPECT_EQ(*vdir.disk.Get("C:\\contacts\\color"), "#fff");
    EXPECT_FALSE(vdir.disk.Get("C:\\contacts\\.kvsync-a.vcf.tmp"));
    EXPECT_EQ(*vdir.disk.Get("C:\\contacts\\a.vcf"),
              "BEGIN:VCARD\r\nVERSION:3.0\r\nFN:Ann\r\nPHOTO:abc\r\nTEL:2\r\n"
              "REV:19700101T000000Z\r\nEND:VCARD\r\n");
}

TEST(VdirContacts, DoesNotOverwriteWhatSomebodyJustChanged) {
    Vdir vdir;
    vdir.disk.Put("C:\\contacts\\a.vcf", kAnn);
    const auto items = *vdir.store.List();
    std::string other = kAnn;
    other.replace(other.find("abc"), 3, "xyz");
    vdir.disk.Put("C:\\contacts\\a.vcf", other);
    EXPECT_THAT(vdir.store.Change(items[0], Phone("2"), PhoneOnly()).Error().Message(),
                HasSubstr("changed during the run"));
    EXPECT_FALSE(vdir.store.Remove(items[0]));
    EXPECT_EQ(*vdir.disk.Get("C:\\contacts\\a.vcf"), other);
}

// Each operation of an addition, a copy, a change and a removal fails in turn, plainly, torn, or
// with the run killed: the card is there as before or as after, whole, and the retry works.
TEST(VdirContacts, AFaultLeavesTheOldOrTheNewCard) {
    using Action = std::function<host::base::Result<std::string>(Vdir&)>;
    const Action actions[] = {[](Vdir& vdir) { return vdir.store.Add(Phone("9"), ""); },
                              [](Vdir& vdir) { return vdir.store.Add(Phone("9"), "a.vcf"); },
                              [](Vdir& vdir) -> host::base::Result<std::string> {
                                  const auto items = vdir.store.List();
                                  if (!items) return items.Error();
                                  return vdir.store.Change((*items)[0], Phone("2"), PhoneOnly());
                              },
                              [](Vdir& vdir) -> host::base::Result<std::string> {
                                  const auto items = vdir.store.List();
                                  if (!items) return items.Error();
                                  const auto removed = vdir.store.Remove((*items)[0]);
                                  if (!removed) return removed.Error();
                                  return std::string();
                              }};
    for (std::size_t action = 0; action < std::size(actions); ++action) {
        const auto content = [](Vdir& vdir) {
            std::vector<std::string> cards;
            const auto items = *vdir.store.List();
            for (const auto& [id, marker] : items) {
                cards.push_back(*vdir.disk.Get("C:\\contacts\\" + id));
                EXPECT_TRUE(vdir.store.Read(id)) << cards.back();
            }
            return cards;
        };
        const auto start = [](Vdir& vdir) { vdir.disk.Put("C:\\contacts\\a.vcf", kAnn); };
        Vdir whole;
        start(whole);
        const auto before = content(whole);
        ASSERT_TRUE(actions[action](whole));
        const std::size_t after = content(whole).size();
        for (const Fault fault : {Fault::kFail, Fault::kTornWrite, Fault::kKill}) {
            bool fired = true;
            for (int n = 1; fired; ++n) {
                SCOPED_TRACE(std::to_string(action) + ", operation " + std::to_string(n));
                Vdir vdir;
                start(vdir);
                vdir.files.Arm(fault, n, platform::ErrorCode::kNoSpace);
                const bool done = actions[action](vdir).HasValue();
                fired = vdir.files.Fired();
                vdir.files.Disarm();
                const auto now = content(vdir);
                EXPECT_EQ(vdir.disk.OpenCount(), 0);
                EXPECT_TRUE(done || now == before || fault == Fault::kKill);
                if (now != before) continue;
                ASSERT_TRUE(actions[action](vdir));
                EXPECT_EQ(content(vdir).size(), after);
            }
        }
    }
}

}  // namespace
}  // namespace host::testing
