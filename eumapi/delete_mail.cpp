#include "eumapi/delete_mail.h"

#include "eumapi/mailbox.h"
#include "platform/os/safe_write.h"

namespace eumapi {

namespace {

// A count of blocks as large as it can be, and room for what may lie behind them.
constexpr std::uint64_t kLargestToc = 1u << 26;

Code PutIntoTrash(const platform::System& system, const std::string& eudoraFolder,
                  std::string_view text, const std::string& block) {
    Mailbox trash(system);
    const Code code = trash.Open(eudoraFolder, mailbox::kTrash);
    if (code != mapi::kSuccess) return code;
    const auto isThere = trash.Contains(mailbox::MailPlace::Decode(block).dwMsgId, text);
    if (!isThere) return CodeOf(isThere.Error());
    return *isThere ? mapi::kSuccess : trash.Append(text, block);
}

// The file's bytes without one block. What is counted stays counted, also a block that is cut
// short.
std::string WithoutBlock(std::string toc, std::uint32_t block) {
    auto header = mailbox::TocHeader::Decode(toc);
    --header.wNumberOfMsgs;
    toc.replace(0, mailbox::kTocHeaderSize, header.Encode());
    toc.erase(static_cast<std::size_t>(mailbox::BlockOffset(block)), mailbox::kMsgBlockSize);
    return toc;
}

}  // namespace

Code DeleteMail(const platform::System& system, const std::string& eudoraFolder,
                const MailIndex& index, MailReader& reader, const IndexedMail& mail) {
    auto toc = platform::ReadWhole(system.files, index.Path(), kLargestToc);
    if (!toc) return CodeOf(toc.Error());
    const auto at = static_cast<std::size_t>(mailbox::BlockOffset(mail.block));
    if (toc->size() < at + mailbox::kMsgBlockSize) return mapi::kFailure;
    const auto block = toc->substr(at, mailbox::kMsgBlockSize);
    if (mailbox::MailPlace::Decode(block).dwMsgId != mail.dwMsgId) return mapi::kFailure;
    const auto text = reader.ReadBytes(index, mail);
    if (!text) return CodeOf(text.Error());
    if (const Code code = PutIntoTrash(system, eudoraFolder, *text, block);
        code != mapi::kSuccess) {
        return code;
    }
    reader.LetGo();
    return CodeOf(platform::WriteWhole(system.files, index.Path(),
                                       WithoutBlock(*std::move(toc), mail.block)));
}

}  // namespace eumapi
