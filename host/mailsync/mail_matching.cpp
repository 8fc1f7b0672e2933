#include "host/mailsync/mail_matching.h"

#include <string>
#include <unordered_map>

namespace host::mailsync {

namespace {

// Positions by a text, given out one by one in their order; an empty text finds nothing.
class Pool {
  public:
    void Add(const std::string& text, std::size_t position) {
        if (!text.empty()) m_positions.emplace(text, Queue()).first->second.all.push_back(position);
    }
    std::optional<std::size_t> Take(const std::string& text) {
        const auto found = m_positions.find(text);
        if (found == m_positions.end()) return std::nullopt;
        Queue& queue = found->second;
        if (queue.next == queue.all.size()) return std::nullopt;
        return queue.all[queue.next++];
    }

  private:
    struct Queue {
        std::vector<std::size_t> all;
        std::size_t next = 0;
    };
    std::unordered_map<std::string, Queue> m_positions;
};

// An id that another mail got is no sign.
bool IsSame(const EudoraHead& head, const state::RememberedMail& row) {
    if (!head.messageId) return row.link != state::MailLink::kAdding;
    return *head.messageId == row.messageId;
}

std::vector<bool> LostDeliveries(const MailSides& sides) {
    std::unordered_set<std::string_view> present;
    for (const maildir::MaildirEntry& file : sides.folder) present.insert(file.unique);
    std::vector<bool> lost;
    for (const state::RememberedMail& row : sides.remembered) {
        lost.push_back(row.link == state::MailLink::kPending &&
                       (!present.contains(row.unique) || sides.torn.contains(row.unique)));
    }
    return lost;
}

}  // namespace

MailMatching MatchMails(const MailSides& sides) {
    const std::vector<EudoraHead>& eudora = sides.eudora;
    const std::vector<state::RememberedMail>& remembered = sides.remembered;
    MailMatching matching{
        std::vector<std::optional<std::size_t>>(eudora.size()), LostDeliveries(sides), {}};
    const std::vector<bool>& lost = matching.isLost;
    matching.isGone = lost;
    matching.isGone.flip();
    std::unordered_map<std::string_view, std::size_t> byId;
    for (std::size_t i = 0; i < remembered.size(); ++i) {
        if (!lost[i]) byId.emplace(remembered[i].id, i);
    }
    for (std::size_t i = 0; i < eudora.size(); ++i) {
        const auto found = byId.find(eudora[i].id);
        if (found == byId.end() || !IsSame(eudora[i], remembered[found->second])) continue;
        matching.rowOf[i] = found->second;
        matching.isGone[found->second] = false;
    }
    Pool byMessageId, byContent;
    for (std::size_t i = 0; i < remembered.size(); ++i) {
        if (!matching.isGone[i]) continue;
        const state::RememberedMail& row = remembered[i];
        row.messageId.empty() ? byContent.Add(row.content, i) : byMessageId.Add(row.messageId, i);
    }
    for (std::size_t i = 0; i < eudora.size(); ++i) {
        if (matching.rowOf[i]) continue;
        const std::string id = eudora[i].messageId.value_or("");
        const auto row = id.empty() ? byContent.Take(eudora[i].content) : byMessageId.Take(id);
        if (!row) continue;
        matching.rowOf[i] = row;
        matching.isGone[*row] = false;
    }
    return matching;
}

}  // namespace host::mailsync
