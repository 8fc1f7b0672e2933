#include <random>

#include "tests/mailstore/mail_world.h"

namespace {

// What a mailbox should hold: the mails in order, and what Close will add.
struct Model {
    struct Mail {
        std::string messageId;
        bool isRead = false;
    };
    std::map<std::string, Mail> stored;   // by record id
    std::map<std::string, Mail> waiting;  // until Close
    std::map<std::string, bool> noted;    // read states, until Close
    int sent = 0, toSend = 0;

    void Close() {
        stored.merge(waiting);
        waiting.clear();
        for (const auto& [id, isRead] : noted) {
            if (stored.contains(id)) stored[id].isRead = isRead;
        }
        noted.clear();
        sent += toSend;
        toSend = 0;
    }
};

class RandomWalkTest : public WritingTest {
  protected:
    std::size_t Below(std::size_t count) {
        return std::uniform_int_distribution<std::size_t>(0, count - 1)(random);
    }
    std::string AnyStored() {
        auto at = model.stored.begin();
        std::advance(at, Below(model.stored.size()));
        return at->first;
    }
    void Add() {
        HostMail host{.status = Below(2) == 0 ? 1 : 0x20001,
                      .id = Below(5) == 0 ? std::nullopt
                                          : HostMail::Text("m" + std::to_string(++m_made) + "@x")};
        if (Below(8) == 0) host.status = 2;
        host.body = std::string(Below(3000), 'x') + '\n';
        if (Below(4) == 0) host.files = {"C:\\src\\1"};
        if (Below(8) == 0) {  // begun and left
            EXPECT_TRUE(mail->AddNewRecord(0) == RRC_OK && mail->Fill(host));
            if (Below(2) == 0) (void)mail->EditRecord();
        }
        const std::string result = mail->Add(host);
        if (host.status == 2) {
            EXPECT_EQ(result, "/");
            ++model.toSend;
            return;
        }
        const std::string id = result.substr(0, result.find('/'));
        EXPECT_FALSE(model.stored.contains(id) || model.waiting.contains(id)) << id;
        model.waiting[id] = {host.id.value_or(id), false};
        model.noted[id] = host.status == 0x20001;
    }
    void Edit() {
        if (model.stored.empty()) return;
        const std::string id = AnyStored();
        const bool isRead = Below(2) == 0;
        if (Below(3) == 0) {
            mail->Edit(id.c_str(), std::nullopt);  // changes nothing that is stored or noted
            model.noted.try_emplace(id, model.stored[id].isRead);
        } else {
            mail->Edit(id.c_str(), isRead ? 0x20001 : 1);
            model.noted[id] = isRead;
        }
    }
    void Delete() {
        if (model.stored.empty()) return;
        const std::string id = AnyStored();
        EXPECT_EQ(mail->DeleteRecord(id.c_str()), RRC_OK);
        model.stored.erase(id);
        model.noted.erase(id);
    }
    void Close() {
        EXPECT_EQ(mail->Close(0), RRC_OK);
        model.Close();
        Compare();
        if (Below(2) == 0) Restart();
        EXPECT_EQ(Open(), RRC_OK);
    }
    void Compare() {
        std::map<std::string, bool> found, wanted;
        for (const auto& each : Read(0, true)) {
            const auto id = mailbox::IndexIdOf(each.id);
            found[id] = each.state == 1;
            EXPECT_NE(each.text.find("Message-ID: <" + model.stored[id].messageId + ">\r\n"),
                      std::string::npos);
        }
        for (const auto& [id, each] : model.stored) wanted[id] = each.isRead;
        EXPECT_EQ(found, wanted);
        const auto out = machine.files.Get("C:\\E\\Out.toc").value_or(mailbox::NewTocHeader());
        EXPECT_EQ(mailbox::TocHeader::Decode(out).wNumberOfMsgs, model.sent);
    }

    std::mt19937 random;
    Model model;

  private:
    int m_made = 0;
};

TEST_F(RandomWalkTest, TheMailboxIsWhatTheModelSays) {
    ASSERT_EQ(Open(), RRC_OK);
    for (int step = 0; step < 1500; ++step) {
        SCOPED_TRACE(step);
        const auto action = Below(10);
        if (action == 0) Close();
        if (action == 1) Delete();
        if (action >= 2 && action < 5) Edit();
        if (action >= 5) Add();
        if (HasFailure()) break;
    }
    Close();
    EXPECT_GT(model.stored.size(), 100U);
}

}  // namespace
