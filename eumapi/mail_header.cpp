#include "eumapi/mail_header.h"

#include <algorithm>
#include <chrono>
#include <optional>

#include "eumapi/address_list.h"
#include "platform/os/charset.h"
#include "platform/os/code_page.h"
#include "text/calendar.h"
#include "text/encoded_words.h"

namespace eumapi {

namespace {

using TimePoint = std::chrono::system_clock::time_point;

bool IsWhole(std::string_view utf8) {
    constexpr std::string_view kNoCharacter = "\xEF\xBF\xBD";
    constexpr char kEscape = '\x1B';  // that switched no set
    return utf8.find(kNoCharacter) == utf8.npos && utf8.find(kEscape) == utf8.npos;
}

// Callers take the address out of the brackets, so the name must have none.
std::string DisplayName(std::string name, const std::string& address) {
    std::erase_if(name, [](char letter) { return letter == '<' || letter == '>'; });
    return name.empty() ? address : name + " <" + address + ">";
}

// Without a zone the text is local time.
std::optional<TimePoint> ReadDate(std::string_view text, platform::Clock& clock) {
    const auto date = text::ReadMailDate(text);
    if (!date) return std::nullopt;
    const auto offset = date->zone.value_or(clock.UtcOffset(date->time));
    return TimePoint(date->time.time_since_epoch() - offset);
}

std::optional<TimePoint> SeparatorDate(std::string_view line, platform::Clock& clock) {
    constexpr std::string_view kMark = "???@???";
    const auto at = line.find(kMark);
    if (at == line.npos) return std::nullopt;
    return ReadDate(line.substr(at + kMark.size()), clock);
}

std::vector<Recipient> Recipients(const text::MailView& text, const char* field,
                                  std::uint32_t recipientClass, unsigned codePage) {
    std::vector<Recipient> recipients;
    for (const auto& one : ParseAddresses(text.AllFields(field), codePage)) {
        recipients.push_back({recipientClass, DecodeHeader(one.name, codePage),
                              DecodeHeader(one.address, codePage)});
    }
    return recipients;
}

}  // namespace

std::string DecodeHeader(std::string_view text, unsigned codePage) {
    const auto convert = [=](std::string_view bytes,
                             std::string_view charset) -> std::optional<std::string> {
        const auto utf8 = platform::CharsetToUtf8(bytes, charset);
        if (!utf8 || !IsWhole(*utf8)) return std::nullopt;
        bool isLossy = false;
        auto converted = platform::FromUtf8(*utf8, codePage, &isLossy);
        if (isLossy) return std::nullopt;
        return converted;
    };
    std::string out = text::DecodeWords(text, text::Damage::kRefused, convert);
    std::ranges::replace_if(
        out, [](char letter) { return static_cast<unsigned char>(letter) < ' '; }, ' ');
    return out;
}

void TakeHeader(const text::MailView& text, const platform::System& system, const MailIndex& index,
                const IndexedMail& mail, MessageRecord& record) {
    const unsigned codePage = system.codePage;
    for (const auto& [field, recipientClass] :
         {std::pair{"To", mapi::kTo}, {"Cc", mapi::kCc}, {"Bcc", mapi::kBcc}}) {
        for (auto& one : Recipients(text, field, recipientClass, codePage)) {
            if (one.name.empty()) one.name = one.address;
            one.address.insert(0, "SMTP:");
            record.recipients.push_back(std::move(one));
        }
    }
    auto senders = Recipients(text, "From", mapi::kOriginator, codePage);
    auto subject = text.Field("Subject");
    auto moment = ReadDate(text.Field("Date").value_or(""), system.clock);
    if (!subject || senders.empty() || !moment) {
        mailbox::MsgBlock block;
        if (const auto bytes = index.ReadBlock(mail)) block = mailbox::MsgBlock::Decode(*bytes);
        if (!subject) subject = block.szSubject;
        if (senders.empty() && !block.szFrom.empty()) {
            senders.push_back({mapi::kOriginator, "", DecodeHeader(block.szFrom, codePage)});
        }
        if (!moment && block.dwSeconds != 0) {
            moment = std::chrono::system_clock::from_time_t(block.dwSeconds);
        }
        if (!moment) moment = SeparatorDate(text.Separator(), system.clock);
    }
    record.subject = DecodeHeader(*subject, codePage);
    if (!senders.empty()) {
        const auto& [originator, name, address] = senders.front();
        record.originator = {originator, DisplayName(name, address), "SMTP:" + address};
    }
    if (moment) {
        const auto local = text::CivilTime(*moment, system.clock.UtcOffset(*moment));
        record.date = text::Format("%Y/%m/%d %H:%M", local);
    }
}

}  // namespace eumapi
