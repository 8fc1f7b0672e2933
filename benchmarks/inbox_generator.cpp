#include "benchmarks/inbox_generator.h"

#include <algorithm>
#include <fstream>
#include <random>

#include "mailbox/toc_records.h"

namespace benchmarks {

namespace {

constexpr std::uint32_t kFirstSeconds = 1'000'000'000;

// A mail's lines; every number of a mail comes out of its own index, so that mails differ.
class MailMaker {
  public:
    std::string Make(std::uint32_t index, std::uint32_t size) {
        m_random.seed(index);
        std::string mail = "From ???@??? Wed Jan 02 02:03:55 2002\r\n";
        for (int hop = 0; hop < 2; ++hop) {
            mail += "Received: from relay" + Number(100) + ".example.net (relay" + Number(100) +
                    ".example.net [192.0.2." + Number(256) +
                    "])\r\n\tby mail.example.org (8.9.3/8.9.3) with ESMTP id CAA" + Number(100000) +
                    "\r\n\tfor <someone@example.org>; Wed, 2 Jan 2002 02:0" + Number(10) +
                    ":55 +0900\r\n";
        }
        mail += "Return-Path: <sender" + Number(2000) + "@example.net>\r\n";
        if (index % 50 != 0) {
            mail += index % 10 == 0 ? "Message-Id: <" : "Message-ID: <";
            mail += std::to_string(index) + '.' + Number(1'000'000'000) + '.' + Number(1'000'000) +
                    "@relay.example.net>\r\n";
        }
        mail += "Date: Wed, 2 Jan 2002 02:03:55 +0900\r\nFrom: Some Sender <sender" + Number(2000) +
                "@example.net>\r\nSubject: What " + Number(10000) +
                " says\r\nTo: Someone <someone@example.org>\r\n\r\n";
        while (mail.size() + 2 < size) {
            mail += "Line " + Number(1'000'000) +
                    " of a text that goes on for as long as mails of its kind do.\r\n";
        }
        mail.resize(std::max<std::size_t>(size, 2) - 2);
        return mail + "\r\n";
    }

  private:
    std::string Number(std::uint32_t below) { return std::to_string(m_random() % below); }

    std::minstd_rand m_random;
};

}  // namespace

bool WriteInbox(const std::string& mbxPath, const std::string& tocPath, std::uint32_t mails,
                std::uint32_t bytesEach) {
    std::ofstream mbx(mbxPath, std::ios::binary), toc(tocPath, std::ios::binary);
    auto header = mailbox::TocHeader::Decode(mailbox::NewTocHeader());
    header.wNumberOfMsgs = static_cast<std::uint16_t>(mails);
    toc << header.Encode();
    MailMaker maker;
    std::uint32_t offset = 0;
    for (std::uint32_t i = 0; i < mails; ++i) {
        const std::string mail = maker.Make(i, bytesEach / 4 + bytesEach / 4 * (i % 7));
        mbx << mail;
        mailbox::MsgBlock block;
        block.dwOffset = offset;
        block.dwLength = static_cast<std::uint32_t>(mail.size());
        block.dwSeconds = kFirstSeconds + i;
        block.wStatus = static_cast<std::uint16_t>(i % 2);
        block.szDate = "02:03 2002/01/02";
        block.szFrom = "Some Sender";
        block.szSubject = "What is said";
        block.dwMsgId = i + 1;
        toc << block.Encode();
        offset += block.dwLength;
    }
    return mbx.flush().good() && toc.flush().good();
}

}  // namespace benchmarks
