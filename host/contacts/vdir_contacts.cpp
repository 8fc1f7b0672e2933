#include "host/contacts/vdir_contacts.h"

#include <algorithm>
#include <cstdlib>

#include "host/vcard/card_fields.h"
#include "platform/os/safe_write.h"
#include "text/ascii.h"

namespace host::contacts {

namespace {

using platform::ErrorCode;

constexpr std::uint64_t kLargestCard = 64u << 20;
constexpr std::string_view kSuffix = ".vcf";
constexpr std::string_view kSidePrefix = ".kvsync-", kSideSuffix = ".tmp";

std::string MarkerOf(const platform::FileInfo& info) {
    return std::to_string(info.size) + ':' +
           std::to_string(std::chrono::duration_cast<std::chrono::nanoseconds>(
                              info.modified.time_since_epoch())
                              .count());
}

// "Ann Lee <ann@x>" is a mailbox with a name; a vCard holds the mailbox alone.
std::string BareAddress(const std::string& text) {
    const auto open = text.rfind('<'), close = text.rfind('>');
    if (open == std::string::npos || close == std::string::npos || close < open) return text;
    const std::string inner = base::Canonical(text.substr(open + 1, close - open - 1));
    return inner.empty() ? text : inner;
}

bool IsCardName(const std::string& name) {
    return name.size() > kSuffix.size() && name[0] != '.' &&
           text::EqualNoCase(std::string_view(name).substr(name.size() - kSuffix.size()), kSuffix);
}

}  // namespace

std::string VdirContacts::PathOf(const std::string& name) const {
    const bool hasEnd = !m_folder.empty() && m_folder.back() == m_files.Separator();
    return hasEnd ? m_folder + name : m_folder + m_files.Separator() + name;
}

base::Result<std::vector<base::StoreItem>> VdirContacts::List() {
    m_leftovers.clear();
    if (auto info = m_files.Stat(m_folder); !info) {
        if (info.Error().code == ErrorCode::kNotFound) return std::vector<base::StoreItem>{};
        return info.Error();
    }
    auto entries = m_files.List(m_folder, "*");
    if (!entries) return entries.Error();
    std::vector<base::StoreItem> items;
    for (const platform::FolderEntry& entry : *entries) {
        if (!entry.isFolder && entry.name.starts_with(kSidePrefix) &&
            entry.name.ends_with(kSideSuffix)) {
            m_leftovers.push_back(entry.name);
        }
        if (!IsCardName(entry.name)) continue;
        auto marker = Look(entry.name);
        if (marker) {
            items.push_back({entry.name, *std::move(marker)});
        } else if (marker.Error().code == ErrorCode::kNotRegular) {
            items.push_back({entry.name, {}});
        } else if (marker.Error().code != ErrorCode::kNotFound) {
            return marker.Error();
        }
    }
    std::ranges::sort(items, {}, &base::StoreItem::id);
    return items;
}

base::Result<std::string> VdirContacts::Look(const std::string& name) {
    const std::string path = PathOf(name);
    const auto info = m_files.Stat(path);
    if (info) return MarkerOf(*info);
    if (info.Error().code != ErrorCode::kNotFound || m_files.IsFree(path)) return info.Error();
    return platform::Failure{ErrorCode::kNotRegular, path + " (a link that leads nowhere)"};
}

base::Result<std::string> VdirContacts::ReadCard(const std::string& name) {
    return platform::ReadWhole(m_files, PathOf(name), kLargestCard, platform::Share::kReadWrite);
}

base::Result<StoredContact> VdirContacts::Read(const std::string& id) {
    // The time comes before the content: a change in between shows at the next look.
    auto marker = Look(id);
    if (!marker) return marker.Error();
    auto bytes = ReadCard(id);
    if (!bytes) return bytes.Error();
    vcard::Card card;
    if (auto error = card.Parse(*bytes)) {
        const bool isEmpty = text::Trimmed(*bytes, " \t\r\n").empty();
        auto refusal = base::RefusedFor(
            isEmpty ? PathOf(id) : PathOf(id) + ", line " + std::to_string(error->line),
            isEmpty ? "an empty file" : error->what,
            error->isSecondCard ? "give each vCard a file of its own"
                                : "mend the file or move it out of the folder");
        if (isEmpty || error->isSecondCard) refusal.code = ErrorCode::kNotRegular;
        return refusal;
    }
    vcard::CardContent content = vcard::ReadFields(card, m_seen[id]);
    m_seen[id] = content.contact;
    return StoredContact{{id, *std::move(marker)},
                         std::move(content.contact),
                         std::move(content.uid),
                         content.beyond,
                         content.isPerson};
}

// The marker tells it.
std::optional<std::chrono::system_clock::time_point> VdirContacts::ChangedAt(
    const base::StoreItem& item) const {
    const auto colon = item.marker.find(':');
    if (colon == std::string::npos) return std::nullopt;
    const std::chrono::nanoseconds time(std::strtoll(&item.marker[colon + 1], nullptr, 10));
    return std::chrono::system_clock::time_point(
        std::chrono::duration_cast<std::chrono::system_clock::duration>(time));
}

base::Contact VdirContacts::Hold(const base::Contact& contact) const {
    base::Contact held = contact;
    held[base::Field::kEmail] = BareAddress(held[base::Field::kEmail]);
    return held;
}

base::Result<std::string> VdirContacts::ReadUnchanged(const base::StoreItem& known) {
    auto bytes = ReadCard(known.id);
    if (!bytes) return bytes;
    auto marker = Look(known.id);
    if (!marker) return marker;
    if (*marker == known.marker) return bytes;
    return base::Failed(PathOf(known.id) +
                        " changed during the run; the next run takes it as it is now");
}

base::Result<std::string> VdirContacts::Put(const std::string& name, vcard::Card card,
                                            const base::Contact& values, base::FieldSet which) {
    for (const std::string& leftover : m_leftovers) (void)m_files.Delete(PathOf(leftover));
    m_leftovers.clear();
    vcard::WriteFields(card, Hold(values), which, m_clock.Now(), m_seen[name]);
    const std::string side = PathOf(std::string(kSidePrefix).append(name).append(kSideSuffix));
    auto written = platform::WriteWhole({m_files, PathOf(name), side}, card.Serialise());
    if (!written) return written.Error();
    for (const base::Field field : base::kAllFields) {
        if (which.Has(field)) m_seen[name][field] = Hold(values)[field];
    }
    return name;
}

std::string VdirContacts::NewId() {
    return m_newUid().append(kSuffix);
}

base::Result<std::string> VdirContacts::Add(const std::string& id, const base::Contact& values,
                                            const std::string& like) {
    if (!m_files.Exists(m_folder)) {
        if (auto status = m_files.CreateFolder(m_folder); !status) return status.Error();
    }
    const std::string uid = "urn:uuid:" + id.substr(0, id.size() - kSuffix.size());
    vcard::Card card = vcard::Card::Create(uid, m_cardVersion);
    if (!like.empty()) {
        auto bytes = ReadCard(like);
        if (!bytes) return bytes.Error();
        if (card.Parse(*bytes)) return base::Failed(PathOf(like) + " changed during the run");
        vcard::SetUid(card, uid);
        m_seen[id] = m_seen[like];
    }
    return Put(id, std::move(card), values, base::FieldSet::All());
}

base::Result<std::string> VdirContacts::Change(const base::StoreItem& known,
                                               const base::Contact& values, base::FieldSet which) {
    auto bytes = ReadUnchanged(known);
    if (!bytes) return bytes;
    vcard::Card card;
    if (card.Parse(*bytes)) return base::Failed(PathOf(known.id) + " changed during the run");
    return Put(known.id, std::move(card), values, which);
}

base::Status VdirContacts::Remove(const base::StoreItem& known) {
    if (auto bytes = ReadUnchanged(known); !bytes) return bytes.Error();
    return m_files.Delete(PathOf(known.id));
}

}  // namespace host::contacts
