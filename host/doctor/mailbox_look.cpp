#include "host/doctor/mailbox_look.h"

#include <memory>

#include "host/base/failure.h"
#include "host/base/output.h"
#include "mailbox/toc_file.h"

namespace host::doctor {

namespace {

using platform::File;
using platform::OpenMode;
using platform::Share;

class Looker {
  public:
    explicit Looker(platform::Files& files) : m_files(files) {}

    MailboxLook Look(const std::string& text, const std::string& table) {
        const auto mbx = Open(text, "its text");
        const auto toc = Open(table, "its table");
        if (mbx != nullptr) m_look.bytes = mbx->Size().ValueOr(0);
        if (toc != nullptr && mbx != nullptr && IsOurs(*toc)) {
            const auto state = mailbox::ExamineMailbox(*mbx, *toc, [](std::string_view, bool) {});
            state ? Take(*state) : Fail(state.Error());
        } else if (mbx != nullptr) {
            const auto count = mailbox::CountSeparators(*mbx);
            if (count) m_look.inText = *count;
            if (!count) Fail(count.Error());
        }
        return std::move(m_look);
    }

  private:
    std::unique_ptr<File> Open(const std::string& path, const char* what) {
        auto file = m_files.Open(path, OpenMode::kRead, Share::kReadWrite);
        if (file) return *std::move(file);
        if (file.Error().code == platform::ErrorCode::kNotFound) {
            m_look.faults.push_back(std::string(what) + " is missing: " + path);
        } else {
            Fail(file.Error());
        }
        return nullptr;
    }
    void Fail(const platform::Failure& failure) {
        m_look.isUnreadable = true;
        m_look.faults.push_back(base::Failure(failure).Cause());
    }
    // Whether the table is one that can be read here.
    bool IsOurs(File& toc) {
        const auto header = mailbox::ReadTocHeader(toc);
        const auto size = toc.Size();
        if (!header || !size) {
            Fail(header ? size.Error() : header.Error());
        } else if (header->IsMacintosh()) {
            m_look.faults.emplace_back("its table was written by Eudora for Macintosh");
        } else if (*size < mailbox::kTocHeaderSize) {
            m_look.faults.push_back("its table is cut short (" + std::to_string(*size) + " bytes)");
        } else {
            return true;
        }
        return false;
    }
    void Take(const mailbox::MailboxState& state) {
        m_look.inTable = state.inHeader;
        m_look.unread = state.unread;
        m_look.inText = state.separators;
        for (std::string& fault : FaultsOf(state)) m_look.faults.push_back(std::move(fault));
    }

    platform::Files& m_files;
    MailboxLook m_look;
};

}  // namespace

std::vector<std::string> FaultsOf(const mailbox::MailboxState& state) {
    std::vector<std::string> faults;
    if (state.inHeader > state.blocks) {
        faults.push_back("the table is cut short: " + base::Counted(state.blocks, "block") +
                         " for " + base::Counted(state.inHeader, "mail"));
    }
    if (state.misplaced > 0) {
        faults.push_back(base::Counted(state.misplaced, "block") + " without a mail");
    }
    if (state.beyond > 0) {
        faults.push_back(base::Counted(state.beyond, "mail") + " longer than the text goes");
    }
    if (state.unknown > 0) {
        faults.push_back("the table is older than the text: it lacks the last " +
                         base::Counted(state.unknown, "mail"));
    }
    if (!state.takesMails) {
        faults.emplace_back("what stands behind the counted blocks is none of ours");
    }
    return faults;
}

MailboxLook LookAt(platform::Files& files, const std::string& text, const std::string& table) {
    return Looker(files).Look(text, table);
}

}  // namespace host::doctor
