#include "host/contacts/eudora_contacts.h"

#include <algorithm>
#include <array>

#include "frame/interface/field_ids.h"
#include "platform/os/code_page.h"
#include "text/ascii.h"
#include "text/double_byte.h"
#include "text/latin.h"
#include "text/utf.h"

namespace host::contacts {

namespace {

constexpr char kLineBreak = '\x03';
constexpr std::string_view kRawId = "bytes:";

std::string FieldId(base::Field field) {
    static_assert(static_cast<int>(ContactField::kNote) == base::kFieldCount);
    return ::FieldId(static_cast<ContactField>(static_cast<int>(field) + 1));
}

std::string FromHex(std::string_view hex) {
    std::string bytes;
    for (std::size_t i = 0; i + 1 < hex.size(); i += 2) {
        bytes += static_cast<char>(text::HexValue(hex[i]) << 4 | text::HexValue(hex[i + 1]));
    }
    return bytes;
}

// The text in characters of the code page: what it lacks becomes what reads like it, else "?".
std::string InCodePage(std::string_view text, unsigned codePage) {
    bool isLossy = false;
    const std::string bytes = platform::FromUtf8(text, codePage, &isLossy);
    if (!isLossy) return platform::ToUtf8(bytes, codePage);
    std::string all;
    while (!text.empty()) {
        std::string_view character = text;
        const auto plain = text::PlainForm(text::TakeUtf8(text));
        character.remove_suffix(text.size());
        const std::string held = platform::FromUtf8(character, codePage, &isLossy);
        if (isLossy && plain) {
            all += *plain;
        } else {
            all += platform::ToUtf8(held, codePage);
        }
    }
    return all;
}

char Replacement(char byte, base::Field field) {
    const bool isControl = static_cast<unsigned char>(byte) < 0x20 && byte != '\t';
    if (isControl) return byte == '\n' && base::HoldsLines(field) ? byte : ' ';
    if (byte == '<' || byte == '>') return ' ';
    if (byte == ',' && (field == base::Field::kNickname || field == base::Field::kEmail))
        return ' ';
    if (byte == '"' && field == base::Field::kNickname) return '\'';
    return byte;
}

std::string CutNickname(const std::string& nickname, std::size_t limit, unsigned codePage) {
    const std::string bytes = platform::FromUtf8(nickname, codePage);
    if (bytes.size() <= limit) return nickname;
    const auto size = text::WholeCharacterPrefix(bytes, limit, codePage);
    return base::Canonical(platform::ToUtf8(std::string_view(bytes).substr(0, size), codePage));
}

}  // namespace

std::string IdOf(const std::string& bytes, unsigned codePage) {
    std::string id = platform::ToUtf8(bytes, codePage);
    const bool isFaithful = platform::FromUtf8(id, codePage) == bytes;
    return isFaithful && !id.starts_with(kRawId)
               ? id
               : std::string(kRawId) + text::Lowered(text::Hex(bytes));
}

std::string BytesOf(const std::string& id, unsigned codePage) {
    if (id.starts_with(kRawId)) return FromHex(std::string_view(id).substr(kRawId.size()));
    return platform::FromUtf8(id, codePage);
}

base::Status EudoraContacts::Reopen() {
    m_session.reset();
    auto session = m_open();
    if (!session) return session.Error();
    m_session = std::make_unique<translator::TranslatorSession>(*std::move(session));
    return {};
}

base::Result<std::vector<base::StoreItem>> EudoraContacts::List() {
    if (auto status = Reopen(); !status) return status.Error();
    std::vector<base::StoreItem> items;
    auto found = m_session->MoveFirst();
    while (found && *found) {
        auto id = m_session->RecordId();
        if (!id) return id.Error();
        auto marker = m_session->ModifiedInfo();
        if (!marker) return marker.Error();
        items.push_back({IdOf(*id, m_codePage), *std::move(marker)});
        found = m_session->MoveNext();
    }
    if (!found) return found.Error();
    return items;
}

base::Result<StoredContact> EudoraContacts::Read(const std::string& id) {
    auto found = m_session->GoTo(BytesOf(id, m_codePage));
    if (!found) return found.Error();
    if (!*found) return base::Failed("Eudora has no contact " + id + " any more");
    StoredContact stored;
    auto marker = m_session->ModifiedInfo();
    if (!marker) return marker.Error();
    stored.item = {id, *std::move(marker)};
    for (base::Field field : base::kAllFields) {
        auto text = m_session->Text(FieldId(field));
        if (!text) return text.Error();
        std::string bytes = std::move(*text).value_or("");
        std::replace(bytes.begin(), bytes.end(), kLineBreak, '\n');
        stored.contact[field] = base::Canonical(platform::ToUtf8(bytes, m_codePage));
    }
    return stored;
}

base::Contact EudoraContacts::Hold(const base::Contact& contact) const {
    return HoldInEudora(contact, m_codePage);
}

std::string EudoraContacts::ToBytes(base::Field field, const std::string& text) const {
    std::string bytes = platform::FromUtf8(text, m_codePage);
    // An empty value means "keep" to the translator; one blank is the way to clear a field. The
    // first address is cleared by an empty one.
    if (bytes.empty() && field != base::Field::kEmail) return " ";
    if (field == base::Field::kNote) {
        // Behind a tag such a note would be read back as a tag.
        for (const auto* tag : {"name:", "address:", "phone:", "fax:"}) {
            if (bytes.starts_with(tag)) return " " + bytes;
        }
    }
    return bytes;
}

std::optional<std::string> EudoraContacts::Refusal(const base::Contact& values,
                                                   base::FieldSet which) {
    std::vector<translator::TextValue> shown;
    for (base::Field field : base::kAllFields) {
        if (which.Has(field)) shown.push_back({FieldId(field), ToBytes(field, values[field])});
    }
    auto verdict = m_session->Check(shown);
    if (!verdict) return verdict.Error().Message();
    if (verdict->ok) return std::nullopt;
    return verdict->messages.empty() ? "no reason given" : text::Joined(verdict->messages, "; ");
}

base::Result<std::string> EudoraContacts::StoreFields(const base::Contact& values,
                                                      base::FieldSet which) {
    for (base::Field field : base::kAllFields) {
        if (!which.Has(field)) continue;
        auto status = m_session->SetText(FieldId(field), ToBytes(field, values[field]));
        if (!status) return status.Error();
    }
    auto stored = m_session->Store();
    if (!stored) return stored.Error();
    return IdOf(stored->id, m_codePage);
}

base::Result<std::string> EudoraContacts::Add(const std::string&, const base::Contact& values,
                                              const std::string&) {
    if (auto status = m_session->BeginAdd(); !status) return status.Error();
    return StoreFields(values, base::NonEmpty(values));
}

base::Result<std::string> EudoraContacts::Change(const base::StoreItem& known,
                                                 const base::Contact& values,
                                                 base::FieldSet which) {
    if (auto status = m_session->BeginEdit(BytesOf(known.id, m_codePage)); !status)
        return status.Error();
    return StoreFields(values, which);
}

base::Status EudoraContacts::Remove(const base::StoreItem& known) {
    return m_session->Delete(BytesOf(known.id, m_codePage));
}

base::Status EudoraContacts::Commit() {
    if (auto report = m_session->BatchUpdate(); !report) return report.Error();
    return Reopen();
}

base::Contact HoldInEudora(const base::Contact& contact, unsigned codePage) {
    base::Contact held;
    for (base::Field field : base::kAllFields) {
        std::string text = InCodePage(contact[field], codePage);
        for (char& byte : text) byte = Replacement(byte, field);
        held[field] = base::Canonical(text);
    }
    std::string& nickname = held[base::Field::kNickname];
    if (text::StartsWithNoCase(nickname, "group")) nickname.insert(0, "_");
    nickname = CutNickname(nickname, kNicknameLimit, codePage);
    return held;
}

std::string NicknameWithSuffix(const std::string& base, const std::string& suffix,
                               unsigned codePage) {
    return CutNickname(base, kNicknameLimit - suffix.size(), codePage) + suffix;
}

}  // namespace host::contacts
