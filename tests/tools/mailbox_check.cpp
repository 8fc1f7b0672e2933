#include "tests/tools/mailbox_check.h"

#include <chrono>
#include <cstdio>
#include <optional>
#include <set>

namespace mailbox_check {

namespace {

constexpr std::size_t kHeader = 104, kBlock = 218, kCountAt = 102, kHighestAt = 72;
constexpr std::string_view kFrom = "From", kAttachment = "Attachment Converted: \"";
constexpr std::string_view kWeekdays = "SunMonTueWedThuFriSat",
                           kMonths = "JanFebMarAprMayJunJulAugSepOctNovDec";
// The bytes of a block of ours that are the same in each, from that offset on.
struct Constant {
    std::size_t at;
    std::string_view bytes;
};
constexpr Constant kConstants[] = {
    {16, std::string_view("\x03\x00", 2)},
    {178, "\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF"},
    {186, std::string_view("\0\0\0\0\0\0", 6)},
    {196, std::string_view("\0\0\1\0\0\0\x5C\xFE\0\0\0\0\1\0\0\0\0\0\0\0\0\0", 22)}};

std::uint32_t Number(std::string_view bytes, std::size_t at, int size) {
    std::uint32_t number = 0;
    for (int i = size - 1; i >= 0; --i) {
        number = number * 256 + static_cast<unsigned char>(bytes[at + static_cast<std::size_t>(i)]);
    }
    return number;
}

std::string Text(std::string_view bytes, std::size_t at, std::size_t width) {
    bytes = bytes.substr(at, width);
    return std::string(bytes.substr(0, bytes.find('\0')));
}

// "Wed Jan 02 02:03:55 1980" as seconds since 1970; false for any other form.
bool ReadDate(const std::string& text, long long& seconds) {
    using namespace std::chrono;
    int day = 0, hour = 0, minute = 0, second = 0, year = 0;
    const auto month = text.size() == 24 ? kMonths.find(text.substr(4, 3)) : kMonths.npos;
    if (month % 3 != 0 || std::sscanf(text.c_str() + 7, " %2d %2d:%2d:%2d %4d", &day, &hour,
                                      &minute, &second, &year) != 5) {
        return false;
    }
    const year_month_day date{std::chrono::year(year), std::chrono::month(unsigned(month / 3 + 1)),
                              std::chrono::day(static_cast<unsigned>(day))};
    if (!date.ok() || hour > 23 || minute > 59 || second > 59) return false;
    const sys_days days(date);
    char again[64];
    std::snprintf(again, sizeof again, "%.3s %.3s %02d %02d:%02d:%02d %04d",
                  &kWeekdays[weekday(days).c_encoding() * 3], &kMonths[month], day, hour, minute,
                  second, year);
    seconds = days.time_since_epoch().count() * 86400LL + hour * 3600 + minute * 60 + second;
    return again == text;
}

// "+0930" as seconds; false for any other form.
bool ReadZone(const std::string& text, long long& seconds) {
    int hours = 0, minutes = 0;
    if (text.size() != 5 || (text[0] != '+' && text[0] != '-')) return false;
    if (text.find_first_not_of("0123456789", 1) != std::string::npos) return false;
    std::sscanf(text.c_str() + 1, "%2d%2d", &hours, &minutes);
    seconds = (hours * 60 + minutes) * 60 * (text[0] == '-' ? -1 : 1);
    return minutes < 60;
}

// Takes a line and its end off a text; nothing at the end of the text.
std::optional<std::string> TakeLine(std::string_view& text) {
    const auto end = text.find("\r\n");
    if (end == text.npos) return std::nullopt;
    const std::string line(text.substr(0, end));
    text.remove_prefix(end + 2);
    return line;
}

class Checker {
  public:
    Checker(std::string_view mbx, std::string_view toc, const Rules& rules)
        : m_mbx(mbx), m_toc(toc), m_rules(rules) {}

    Report Run() {
        if (m_toc.size() < kHeader) {
            m_report.faults.push_back("no whole header");
            return m_report;
        }
        const std::uint32_t count = Number(m_toc, kCountAt, 2);
        const std::size_t end = kHeader + std::size_t{count} * kBlock;
        if (m_toc.size() < end) m_report.faults.push_back("fewer blocks than mails");
        if (m_toc.size() > end && !m_rules.mayHaveLeftovers) {
            m_report.faults.push_back("bytes behind the last block");
        }
        for (m_index = 0; m_index < count && kHeader + (m_index + 1) * kBlock <= m_toc.size();
             ++m_index) {
            CheckMail(m_toc.substr(kHeader + m_index * kBlock, kBlock));
        }
        CheckEnd();
        return m_report;
    }

  private:
    void Fault(const std::string& what) {
        m_report.faults.push_back("mail " + std::to_string(m_index) + ": " + what);
    }
    void Require(bool holds, const char* what) {
        if (!holds) Fault(what);
    }

    void CheckMail(std::string_view block) {
        Mail mail;
        mail.offset = Number(block, 0, 4);
        mail.length = Number(block, 4, 4);
        mail.seconds = Number(block, 8, 4);
        mail.state = static_cast<std::uint16_t>(Number(block, 12, 2));
        mail.id = Number(block, 192, 4);
        mail.date = Text(block, 18, 32);
        mail.from = Text(block, 50, 64);
        mail.subject = Text(block, 114, 64);
        const std::uint64_t end = std::uint64_t{mail.offset} + mail.length;
        if (end > m_mbx.size()) {
            Fault("reaches beyond the end of the texts");
            m_end.reset();
        } else {
            mail.text = m_mbx.substr(mail.offset, mail.length);
            CheckPlace(mail);
            CheckText(mail);
            if (m_index >= m_rules.ours) CheckOurs(mail, block);
        }
        Require(m_ids.insert(mail.id).second, "its id is another mail's too");
        m_report.mails.push_back(std::move(mail));
    }

    void CheckPlace(const Mail& mail) {
        const std::uint64_t end = std::uint64_t{mail.offset} + mail.length;
        const auto next = m_places.lower_bound({mail.offset, 0});
        if (next != m_places.end()) Require(next->first >= end, "lies over another mail");
        if (next != m_places.begin()) {
            Require(std::prev(next)->second <= mail.offset, "lies over another mail");
        }
        m_places.insert({mail.offset, end});
        if (m_index >= m_rules.ours && !m_rules.mayHaveLeftovers) {
            Require(!m_end || m_end == mail.offset, "does not begin where the mail before it ends");
        }
        m_end = end;
    }

    void CheckText(Mail& mail) {
        Require(mail.text.starts_with("From ???@??"
                                      "? "),
                "has no separator line");
        Require(mail.text.ends_with("\r\n"), "has no line end at its end");
        mail.attachments = Attachments(mail.text);
        for (const auto& path : mail.attachments) {
            if (!path.empty() && m_rules.exists && !m_rules.exists(path)) {
                Fault("no such attachment: " + path);
            }
        }
    }

    // Read from the end: each line stands behind an empty one.
    static std::vector<std::string> Attachments(std::string_view text) {
        std::vector<std::string> paths;
        while (text.ends_with("\"\r\n") || (!paths.empty() && text.ends_with('"'))) {
            text.remove_suffix(text.ends_with('"') ? 1 : 3);
            const auto line = text.rfind('\n');
            if (line == std::string_view::npos || line < 3) break;
            if (text.substr(line - 3, 4) != "\r\n\r\n") break;
            if (text.substr(line + 1, kAttachment.size()) != kAttachment) break;
            paths.insert(paths.begin(), std::string(text.substr(line + 1 + kAttachment.size())));
            text = text.substr(0, line - 3);
        }
        return paths;
    }

    void CheckOurs(const Mail& mail, std::string_view block) {
        for (const auto& constant : kConstants) {
            Require(block.substr(constant.at, constant.bytes.size()) == constant.bytes,
                    "a constant of its block is another");
        }
        Require(mail.state <= 1, "is neither read nor unread");
        Require(block[49] == 0 && block[113] == 0 && block[177] == 0, "a text has no end");
        const std::uint32_t marks = Number(block, 14, 2);
        Require(marks == 0x8000 || marks == 0x01BE, "its marks are none");
        Require((marks == 0x8000) <= !mail.attachments.empty(), "is marked, without attachments");
        CheckHead(mail);
    }

    void CheckHead(const Mail& mail) {
        std::string_view rest = mail.text;
        const auto next = [&] { return TakeLine(rest).value_or(""); };
        const std::string separator = next(), id = next(), dated = next();
        const std::string date = separator.size() > 12 ? separator.substr(13) : "";
        long long local = 0, zone = 0;
        Require(ReadDate(date, local), "its separator has no date");
        Require(id.starts_with("Message-ID: <") && id.ends_with('>'), "has no Message-ID line");
        CheckDateLine(dated, date, zone);
        const long long seconds = local - 2 * zone;
        Require(mail.seconds == (seconds < 0 ? 0 : seconds), "its time is another than its date");
        CheckShownDate(mail.date, dated.size() >= 5 ? dated.substr(dated.size() - 5) : "");
        // Recipients in the order of their classes, then sender, subject, and the empty line.
        std::string line = next();
        for (const char* opener : {"To: ", "Cc: ", "Bcc: "}) {
            if (line.starts_with(opener)) line = next();
        }
        CheckShort(mail.from, line, std::string(kFrom) + ": ", "sender");
        CheckShort(mail.subject, next(), "Subject: ", "subject");
        Require(TakeLine(rest) == "", "has no empty line behind its head");
        Require(TakeLine(rest).has_value(), "has no body");
    }

    // The same date in the other order, and the zone.
    void CheckDateLine(const std::string& line, const std::string& date, long long& zone) {
        if (date.size() != 24 || line.size() < 5) return Fault("has no Date line");
        const std::string wanted = "Date: " + date.substr(0, 3) + ", " + date.substr(8, 2) + ' ' +
                                   date.substr(4, 3) + ' ' + date.substr(20) + ' ' +
                                   date.substr(11, 8) + ' ' + line.substr(line.size() - 5);
        Require(line == wanted, "its Date line is another date than its separator");
        Require(ReadZone(line.substr(line.size() - 5), zone), "its Date line has no zone");
    }

    void CheckShownDate(const std::string& shown, const std::string& zone) {
        int hour = 0, minute = 0, month = 0, day = 0, year = 0, end = 0;
        char half = 'A';
        if (std::sscanf(shown.c_str(), "%2d:%2d %cM %d/%d/%d %n", &hour, &minute, &half, &month,
                        &day, &year, &end) != 6) {
            std::sscanf(shown.c_str(), "%2d:%2d:%*2d %d/%d/%d %n", &hour, &minute, &month, &day,
                        &year, &end);
        }
        Require(end > 0 && (half == 'A' || half == 'P'), "its block has no date");
        Require(hour < 24 && minute < 60 && month >= 1 && month <= 12 && day >= 1 && day <= 31,
                "its block has a date that is none");
        Require(shown.substr(static_cast<std::size_t>(end)) == zone, "its block has another zone");
    }

    void CheckShort(const std::string& held, const std::string& line, const std::string& opener,
                    const char* what) {
        if (!line.starts_with(opener)) return Fault(std::string("has no line of the ") + what);
        const std::string full = line.substr(opener.size());
        const bool isCut = full.starts_with(held) && held.size() >= 62 && held.size() <= 63;
        if (held != full && !isCut) Fault(std::string("its block has another ") + what);
    }

    void CheckEnd() {
        const bool hasOurs = m_report.mails.size() > m_rules.ours;
        if (!hasOurs || m_rules.mayHaveLeftovers) return;
        if (m_end != m_mbx.size()) m_report.faults.push_back("bytes behind the last mail");
        const std::uint32_t highest = Number(m_toc, kHighestAt, 2);
        if (highest < (m_report.mails.back().id & 0xFFFF)) {
            m_report.faults.push_back("the highest id of the header is lower than the last mail's");
        }
    }

    std::string_view m_mbx, m_toc;
    const Rules& m_rules;
    Report m_report;
    std::size_t m_index = 0;
    std::optional<std::uint64_t> m_end;  // of the mail before, if that lies in the file
    std::set<std::uint32_t> m_ids;
    std::set<std::pair<std::uint64_t, std::uint64_t>> m_places;
};

}  // namespace

Report Check(std::string_view mbx, std::string_view toc, const Rules& rules) {
    return Checker(mbx, toc, rules).Run();
}

}  // namespace mailbox_check
