#include "mailstore/recipients.h"

#include "mailstore/record_text.h"

namespace mailstore {

namespace {

struct Recipient {
    std::uint32_t recipientClass;
    std::string address;
    bool hasName;
};

std::vector<std::string> Pieces(std::string_view text, std::string_view separators) {
    std::vector<std::string> pieces;
    for (std::size_t end = 0;;) {
        const std::size_t start = text.find_first_not_of(separators, end);
        if (start == std::string_view::npos) return pieces;
        end = std::min(text.find_first_of(separators, start), text.size());
        pieces.emplace_back(text.substr(start, end - start));
    }
}

void SetRecipients(MapiMessage& record, const std::vector<Recipient>& recipients) {
    if (recipients.empty()) return;
    std::vector<std::unique_ptr<char[]>> texts;
    for (const Recipient& recipient : recipients) {
        texts.push_back(recipient.hasName ? CopyOf(recipient.address) : nullptr);
        texts.push_back(CopyOf(recipient.address));
    }
    record.lpRecips = new MapiRecipDesc[recipients.size()]{};
    auto text = texts.begin();
    for (const Recipient& recipient : recipients) {
        MapiRecipDesc& entry = record.lpRecips[record.nRecipCount++];
        entry.ulRecipClass = recipient.recipientClass;
        entry.lpszName = (text++)->release();
        entry.lpszAddress = (text++)->release();
    }
}

template <class AddClass>
std::vector<Recipient> ByClass(const RecipientTexts& texts, AddClass add) {
    std::vector<Recipient> recipients;
    add(recipients, mapi::kTo, texts.to);
    add(recipients, mapi::kCc, texts.cc);
    add(recipients, mapi::kBcc, texts.bcc);
    return recipients;
}

}  // namespace

std::vector<std::string> SplitAddresses(std::string_view text) {
    return Pieces(text, ";,");
}

std::string JoinAddresses(std::string_view text) {
    std::string joined;
    for (const std::string& piece : Pieces(text, ";")) {
        if (!joined.empty()) joined += ", ";
        joined += piece;
    }
    return joined;
}

void SetSingleRecipients(MapiMessage& record, const RecipientTexts& texts) {
    SetRecipients(record, ByClass(texts, [](auto& out, std::uint32_t which, std::string_view text) {
                      for (std::string& address : SplitAddresses(text)) {
                          out.push_back({which, std::move(address), true});
                      }
                  }));
}

void SetJoinedRecipients(MapiMessage& record, const RecipientTexts& texts) {
    SetRecipients(record, ByClass(texts, [](auto& out, std::uint32_t which, std::string_view text) {
                      if (!text.empty()) out.push_back({which, JoinAddresses(text), false});
                  }));
}

}  // namespace mailstore
