#include "mailstore/mail_ids.h"

#include <algorithm>
#include <new>
#include <utility>

#include "mailbox/mailbox_index.h"
#include "mailbox/toc_file.h"
#include "mailstore/eudora_access.h"
#include "platform/kvutil/kvutil.h"

namespace mailstore {

std::optional<std::uint32_t> MailIds::Read(CEudoraTransUtil& util) {
    using platform::OpenMode;
    using platform::Share;
    m_canGive = false;
    // A file that cannot be made fails to open below, with a message.
    (void)MakeInBox(util);
    const auto mbx = OpenInBoxFile(util, ".mbx", OpenMode::kRead, Share::kRead, "WriteNewMails");
    if (mbx == nullptr) return std::nullopt;
    const auto toc = OpenInBoxFile(util, ".toc", OpenMode::kRead, Share::kNone, "Open");
    if (toc == nullptr) return std::nullopt;
    try {
        const auto count = ReadFiles(*mbx, *toc);
        if (count) {
            m_canGive = true;
            if (*count > 0) KV_LOG(4, "@@@@@@@@ wNumberOfMsgs = %d\n", static_cast<int>(*count));
            return *count;
        }
        const std::string message = count.Error().Message();
        KV_LOG(1, "%s in CREudoraMail::Open\n", message.c_str());
        util.AddErrorText(message.c_str());
    } catch (const std::bad_alloc&) {
        Fail(util, frame::StringId::kNoMemory, "Memory Allcation failed in CREudoraMail::Open\n");
    }
    return std::nullopt;
}

platform::Result<std::uint32_t> MailIds::ReadFiles(platform::File& mbx, platform::File& toc) {
    const auto header = mailbox::ReadTocHeader(toc);
    if (!header) return header.Error();
    const std::uint32_t count = header->wNumberOfMsgs;
    std::uint32_t highest = 0;
    decltype(m_mapIndexIDToMessageID) names;
    names.reserve(count + m_mapIndexIDToMessageID.size());
    const auto lastId = mailbox::ReadIndex(
        mbx, toc, count, [&](std::uint32_t id, std::optional<std::string_view> messageId) {
            highest = std::max(highest, id);
            // The library, too, takes the first of two mails with one id.
            if (!names.try_emplace(id, messageId).second || !messageId) return;
            KV_LOG(5, "CREudoraMail::Open - IndexID = %s\n", mailbox::IndexIdOf(id).c_str());
        });
    if (!lastId) return lastId.Error();
    names.merge(m_mapIndexIDToMessageID);
    m_mapIndexIDToMessageID = std::move(names);
    m_highest = highest;
    m_dwNextIndexID = std::max({1U, count, *lastId});
    return count;
}

// The name is kept before it counts, lest half of it stays.
std::string MailIds::Give(std::string_view messageId) {
    std::uint32_t number = m_dwNextIndexID;
    do {
        ++number;
    } while (number == 0 || m_mapIndexIDToMessageID.contains(number));
    m_mapIndexIDToMessageID.try_emplace(number, messageId);
    m_dwNextIndexID = number;
    return mailbox::IndexIdOf(number);
}

const MailIds::Name* MailIds::Find(std::string_view indexId) const {
    const auto id = mailbox::ExactMsgIdOf(indexId);
    const auto found = id ? m_mapIndexIDToMessageID.find(*id) : m_mapIndexIDToMessageID.end();
    return found != m_mapIndexIDToMessageID.end() ? &found->second : nullptr;
}

std::optional<std::string> MailIds::MessageIdOf(std::string_view indexId) const {
    const Name* name = Find(indexId);
    if (name == nullptr || !*name) return std::nullopt;
    return (*name)->empty() ? std::string(indexId) : **name;
}

void MailIds::LogAll() const {
    if (g_bEnableLog == 0) return;
    for (const auto& [id, name] : m_mapIndexIDToMessageID) {
        const std::string indexId = mailbox::IndexIdOf(id);
        if (!name) continue;
        KV_LOG(1, "- csMessageID = %s, csIndexID = %s\n",
               name->empty() ? indexId.c_str() : name->c_str(), indexId.c_str());
    }
}

// The number stays taken.
void MailIds::Forget(std::string_view indexId) {
    if (Find(indexId) != nullptr) m_mapIndexIDToMessageID[mailbox::MsgIdOf(indexId)].reset();
}

void MailIds::ForgetAllBut(const std::list<MapiMessage*>& waiting) {
    decltype(m_mapIndexIDToMessageID) kept;
    kept.reserve(waiting.size());
    for (const MapiMessage* record : waiting) {
        kept.insert(m_mapIndexIDToMessageID.extract(mailbox::MsgIdOf(record->lpszConversationID)));
    }
    m_mapIndexIDToMessageID = std::move(kept);
    m_highest = 0;
}

void MailIds::GoOnBehindAll() {
    m_dwNextIndexID = std::max(m_dwNextIndexID, m_highest);
}

}  // namespace mailstore
