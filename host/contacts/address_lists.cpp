#include "host/contacts/address_lists.h"

#include <limits>

#include "addressbook/record_text.h"
#include "platform/os/code_page.h"

namespace host::contacts {

std::vector<AddressList> AddressListsIn(platform::Files& files, const std::string& path,
                                        unsigned codePage) {
    const auto text = platform::ReadWhole(files, path, std::numeric_limits<std::uint64_t>::max(),
                                          platform::Share::kReadWrite);
    std::vector<AddressList> lists;
    addressbook::RecordText record;
    for (std::size_t at = 0; text && at < text->size();) {
        const addressbook::Entry entry = addressbook::EntryAt(*text, at);
        at = entry.next;
        if (entry.head.nickname.empty()) continue;
        addressbook::Leftover ignored;
        addressbook::ParseRecord(entry, record, ignored);
        const auto& mails = record.mails;
        const bool isOneAddress = mails.size() == 1 && mails[0].find('@') != std::string_view::npos;
        if (mails.empty() || isOneAddress) continue;
        AddressList& list = lists.emplace_back();
        list.nickname = platform::ToUtf8(entry.head.nickname, codePage);
        list.isGroup = addressbook::IsGroupName(entry.head.nickname);
        for (std::string_view mail : mails) {
            const bool isQuoted = mail.size() > 2 && mail.front() == '"' && mail.back() == '"';
            if (isQuoted) mail = mail.substr(1, mail.size() - 2);
            list.addresses.push_back(platform::ToUtf8(mail, codePage));
        }
    }
    return lists;
}

}  // namespace host::contacts
