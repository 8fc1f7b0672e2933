#include "tests/tools/mailbox_check.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <ctime>
#include <iomanip>
#include <optional>
#include <set>
#include <sstream>

namespace mailbox_check {

namespace {

constexpr std::size_t kHeader = 104, kBlock = 218, kCountAt = 102, kHighestAt = 72;
constexpr std::string_view kAttachment = "Attachment Converted: \"";
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

// None of a time that the system's calendar lacks.
std::tm Fields(std::time_t time) {
    const std::tm* const known = std::gmtime(&time);
    return known != nullptr ? *known : std::tm();
}

std::string Written(std::time_t time, const char* form) {
    std::ostringstream text;
    const std::tm fields = Fields(time);
    text << std::put_time(&fields, form);
    return text.str();
}

// Whether a block tells that time. Daylight saving adds an hour to it.
bool Shows(const std::string& shown, std::time_t utc, const std::string& zone) {
    return std::ranges::any_of(std::array{utc, utc + 3600}, [&](std::time_t time) {
        const std::tm tm = Fields(time);
        const bool isLate = tm.tm_hour > 12;
        char wanted[100];
        std::snprintf(wanted, sizeof wanted, "%02d:%02d %cM %d/%d/%d %s",
                      isLate ? tm.tm_hour - 12 : tm.tm_hour, tm.tm_min, isLate ? 'P' : 'A',
                      tm.tm_mon + 1, tm.tm_mday, tm.tm_year, zone.c_str());
        return shown == wanted;
    });
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
        const bool isFree = next == m_places.end() || next->first >= end;
        Require(isFree && (next == m_places.begin() || std::prev(next)->second <= mail.offset),
                "lies over another mail");
        m_places.insert({mail.offset, end});
        if (m_index >= m_rules.ours && !m_rules.mayHaveLeftovers) {
            Require(!m_end || m_end == mail.offset, "does not begin where the mail before it ends");
        }
        m_end = end;
    }

    void CheckText(Mail& mail) {
        Require(mail.text.starts_with("From ???@??\? "), "has no separator line");
        Require(mail.text.ends_with("\r\n"), "has no line end at its end");
        mail.attachments = Attachments(mail.text);
        for (const auto& path : mail.attachments) {
            const bool isThere = path.empty() || !m_rules.exists || m_rules.exists(path);
            Require(isThere, "names an attachment that does not exist");
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
        Require(block[49] + block[113] + block[177] == 0, "a text has no end");
        const std::uint32_t marks = Number(block, 14, 2);
        Require(marks == 0x8000 || marks == 0x01BE, "its marks are none");
        Require((marks == 0x8000) <= !mail.attachments.empty(), "is marked, without attachments");
        std::string_view rest = mail.text;
        const auto next = [&] {
            const std::string line(rest.substr(0, rest.find("\r\n")));
            rest.remove_prefix(std::min(rest.size(), line.size() + 2));
            return line;
        };
        const std::string separator = next(), id = next(), dated = next();
        Require(id.starts_with("Message-ID: <") && id.ends_with('>'), "has no Message-ID line");
        CheckDates(mail, separator, dated);
        // Recipients in the order of their classes, then sender, subject, and the empty line.
        std::string line = next();
        for (const char* to : {"To: ", "Cc: ", "Bcc: "})
            line = line.starts_with(to) ? next() : line;
        CheckShort(mail.from, line, "From: ", "sender");
        CheckShort(mail.subject, next(), "Subject: ", "subject");
        Require(next().empty() && !rest.empty(), "has no empty line behind its head, or no body");
    }

    // All tell the moment that the block has in seconds, which has none before 1970.
    void CheckDates(const Mail& mail, const std::string& separator, const std::string& dated) {
        const std::string zone = dated.size() < 5 ? "" : dated.substr(dated.size() - 5);
        int hours = 0, minutes = 0;
        std::sscanf(zone.c_str(), "%3d%2d", &hours, &minutes);
        const int offset = hours * 3600 + (zone.starts_with('-') ? -60 : 60) * minutes;
        const std::time_t utc = std::time_t{mail.seconds} + offset, local = utc + offset;
        if (mail.seconds == 0) {
            return Require(separator.size() > 4 && separator.substr(separator.size() - 4) <= "1970",
                           "has no time");
        }
        Require(separator == Written(local, "From ???@?\?? %a %b %d %H:%M:%S %Y"),
                "its separator has another date");
        Require(dated == Written(local, "Date: %a, %d %b %Y %H:%M:%S ") + zone,
                "its Date line has another date");
        Require(Shows(mail.date, utc, zone), "its block has another date");
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
