#include "host/mailsync/match_mails.h"

#include <string>
#include <string_view>
#include <unordered_map>

#include "host/mailsync/tell_apart.h"

namespace host::mailsync {

namespace {

using state::MailLink;
using state::RememberedMail;

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
bool IsSame(const EudoraHead& head, const RememberedMail& row) {
    if (!head.messageId) return row.link != MailLink::kAdding;
    return *head.messageId == row.messageId;
}

// Remembered mails and mails in Eudora of one Message-ID that have no counterpart yet, by position.
struct SameId {
    std::vector<std::size_t> rows, heads;
};

void MatchGroup(const MailSides& sides, const SameId& group, MailMatching& matching) {
    std::vector<Traits> rows, heads;
    for (const std::size_t i : group.rows) {
        const RememberedMail& row = sides.remembered[i];
        rows.push_back({NameTrait(row.name), {}, row.content, {row.id, row.marker}});
    }
    for (const std::size_t i : group.heads) {
        const EudoraHead& head = sides.eudora[i];
        heads.push_back({NameTrait(head.name), {}, head.content, {head.id, head.marker}});
    }
    const Telling telling = TellApart(rows, heads);
    for (std::size_t i = 0; i < group.rows.size(); ++i) {
        const std::size_t row = group.rows[i];
        if (telling.rightOf[i]) matching.rowOf[group.heads[*telling.rightOf[i]]] = row;
        matching.isUnclearRow[row] = telling.isUnclearLeft[i];
        matching.isGone[row] = !telling.rightOf[i] && !telling.isUnclearLeft[i];
    }
    for (std::size_t i = 0; i < group.heads.size(); ++i) {
        matching.isUnclearHead[group.heads[i]] = telling.isUnclearRight[i];
    }
}

std::vector<bool> LostDeliveries(const MailSides& sides) {
    const auto present = UniqueNames(sides.folder);
    std::vector<bool> lost;
    for (const RememberedMail& row : sides.remembered) {
        lost.push_back(row.link == MailLink::kPending &&
                       (!present.contains(row.unique) || sides.torn.contains(row.unique)));
    }
    return lost;
}

}  // namespace

MailMatching MatchMails(const MailSides& sides) {
    const std::vector<EudoraHead>& eudora = sides.eudora;
    const std::vector<RememberedMail>& remembered = sides.remembered;
    MailMatching matching;
    matching.rowOf.resize(eudora.size());
    matching.isLost = LostDeliveries(sides);
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
        if (sides.doubtful.contains(remembered[found->second].messageId)) continue;
        matching.rowOf[i] = found->second;
        matching.isGone[found->second] = false;
    }
    Pool byContent;
    std::unordered_map<std::string, SameId> byMessageId;
    for (std::size_t i = 0; i < remembered.size(); ++i) {
        if (!matching.isGone[i]) continue;
        const RememberedMail& row = remembered[i];
        if (row.messageId.empty()) {
            byContent.Add(row.content, i);
        } else {
            byMessageId[row.messageId].rows.push_back(i);
        }
    }
    for (std::size_t i = 0; i < eudora.size(); ++i) {
        if (matching.rowOf[i]) continue;
        const std::string id = eudora[i].messageId.value_or("");
        if (const auto group = byMessageId.find(id); group != byMessageId.end()) {
            group->second.heads.push_back(i);
        } else if (id.empty()) {
            matching.rowOf[i] = byContent.Take(eudora[i].content);
            if (matching.rowOf[i]) matching.isGone[*matching.rowOf[i]] = false;
        }
    }
    matching.isUnclearRow.resize(remembered.size());
    matching.isUnclearHead.resize(eudora.size());
    for (const auto& [id, group] : byMessageId) MatchGroup(sides, group, matching);
    return matching;
}

}  // namespace host::mailsync
