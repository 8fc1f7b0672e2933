#pragma once

#include <algorithm>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "mailbox/toc_records.h"
#include "platform/testing/memory_files.h"

// A mailbox in a test's own words: mails one after the other with sound blocks, or blocks that lie.
class MailboxBuilder {
  public:
    // Appends the text to the .mbx file and a block for it.
    MailboxBuilder& Mail(std::uint32_t msgId, std::string_view text, std::uint16_t status = 0) {
        const auto offset = static_cast<std::uint32_t>(mbx.size());
        mbx += text;
        return Block(msgId, offset, static_cast<std::uint32_t>(text.size()), status);
    }
    // Appends a block that claims any place.
    MailboxBuilder& Block(std::uint32_t msgId, std::uint32_t offset, std::uint32_t length,
                          std::uint16_t status = 0) {
        mailbox::MsgBlock block;
        block.dwOffset = offset;
        block.dwLength = length;
        block.wStatus = status;
        block.dwMsgId = msgId;
        blocks.push_back(block);
        return *this;
    }
    std::string Toc() const { return Toc(static_cast<std::uint16_t>(blocks.size())); }
    // The same with another number of mails in the header.
    std::string Toc(std::uint16_t count) const {
        auto header = mailbox::TocHeader::Decode(mailbox::NewTocHeader());
        header.wNumberOfMsgs = count;
        std::string toc = header.Encode();
        for (const auto& block : blocks) toc += block.Encode();
        return toc;
    }
    void Put(platform::testing::MemoryFiles& files, const std::string& folder) const {
        files.Put(folder + "\\In.mbx", mbx);
        files.Put(folder + "\\In.toc", Toc());
    }

    std::string mbx;
    std::vector<mailbox::MsgBlock> blocks;
};

// A stored mail with these header lines, which need no line end, in front of its "To: ".
inline std::string MailText(const std::vector<std::string>& lines,
                            const std::string& body = "Text\r\n") {
    std::string text = "From ???@??? Wed Jan 02 02:03:55 1980\r\n";
    for (const auto& line : lines) text += line + "\r\n";
    return text + "To: a@b.example\r\n\r\n" + body;
}

// The Message-ID of a stored mail the plain way; nothing if the mail has no place for one.
inline std::optional<std::string> PlainMessageId(std::string text) {
    text.resize(std::min(text.find('\0'), text.size()));
    const auto to = text.find("To: ");
    if (to == text.npos) return std::nullopt;
    text.resize(to);
    const auto at = std::min(text.find("Message-ID: <"), text.size());
    text.erase(0, at < text.size() ? at : std::min(text.find("Message-Id: <"), text.size()));
    text.erase(0, std::string_view("Message-ID: <").size());
    text.erase(0, text.find_first_not_of('>'));
    return text.substr(0, text.find('>'));
}
