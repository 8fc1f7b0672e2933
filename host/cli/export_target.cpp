#include "host/cli/export_target.h"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <set>
#include <utility>
#include <vector>

#include "host/base/paths.h"
#include "host/mail/compose.h"
#include "host/maildir/folder_name.h"
#include "host/maildir/maildir.h"
#include "host/state/folder_mark.h"
#include "platform/os/safe_write.h"
#include "text/ascii.h"
#include "text/calendar.h"
#include "text/path.h"

namespace host::cli {

namespace {

using maildir::HasFlag;
using platform::OpenMode;
using platform::Share;

// Programs show it as the time at which the mail came. One that the disk does not take is none.
void SetTime(const std::string& path, std::chrono::sys_seconds arrival) {
    namespace fs = std::filesystem;
    using Clock = fs::file_time_type::clock;
    std::error_code ignored;
    fs::last_write_time(base::ToPath(path),
                        Clock::from_sys(std::chrono::time_point_cast<Clock::duration>(arrival)),
                        ignored);
}

class MaildirTarget final : public ExportTarget {
  public:
    MaildirTarget(const sync::RunContext& context, std::string folder, bool isInbox)
        : m_context(context),
          m_folder(std::move(folder)),
          m_isInbox(isInbox),
          m_maildir(context.files, context.clock, m_folder) {}

    base::Status Open() override {
        const auto there = m_maildir.List();
        if (!there) return there.Error();
        for (const auto& entry : *there) m_there.insert(entry.unique);
        if (auto made = m_maildir.Create(); !made || m_isInbox) return made;
        // The mark of a folder in a Maildir++.
        const std::string mark = base::PathIn(m_context.files, m_folder, "maildirfolder");
        if (!m_context.files.IsFree(mark)) return {};
        return platform::WriteWhole(m_context.files, mark, "");
    }
    bool Has(const std::string& unique) const override { return m_there.contains(unique); }
    base::Status Add(const mail::Mail& mail, const mail::MailFacts& facts,
                     bool& isMailAtFault) override {
        m_maildir.Discard(facts.unique);  // what a killed export left
        const auto size = mail::ComposeInto(m_maildir, facts.unique, m_context.files,
                                            m_context.clock, mail, isMailAtFault);
        if (!size) return size.Error();
        isMailAtFault = false;
        if (auto done = m_maildir.Deliver(facts.unique, facts.flags); !done) return done;
        m_unsettled.push_back(m_maildir.EntryOf(facts.unique, facts.flags));
        SetTime(m_maildir.PathOf(m_unsettled.back()), facts.arrival);
        return {};
    }
    base::Status Settle() override { return m_maildir.Settle(std::exchange(m_unsettled, {})); }

  private:
    const sync::RunContext& m_context;
    const std::string m_folder;
    const bool m_isInbox;
    maildir::Maildir m_maildir;
    std::set<std::string> m_there;  // names of the mails that it has
    std::vector<maildir::MaildirEntry> m_unsettled;
};

// The flags as header fields that mutt and others keep in mailbox files.
std::string StatusFields(const std::string& flags) {
    std::string fields = HasFlag(flags, 'S') ? "Status: RO\n" : "Status: O\n";
    std::string more;
    if (HasFlag(flags, 'R')) more += 'A';
    if (HasFlag(flags, 'F')) more += 'F';
    return more.empty() ? fields : fields + "X-Status: " + more + '\n';
}

// Writes a message to a file; `isMailAtFault` is false if the file is.
base::Status Compose(const sync::RunContext& context, const mail::Mail& mail,
                     const mail::MessageSink& write, bool& isMailAtFault) {
    isMailAtFault = true;
    const auto sink = [&](std::string_view piece) {
        auto written = write(piece);
        isMailAtFault = written.HasValue();
        return written;
    };
    auto composed = base::OrOutOfMemory([&] {
        return mail::ComposeMail(context.files, mail, mail::OffsetOf(context.clock, mail), sink);
    });
    if (composed) isMailAtFault = false;
    return composed;
}

// A mailbox file (mboxrd): each mail between a line "From NAME DATE", where NAME is its unique
// name, and a blank line. Composed mails have no lines that look so, nor quoted ones. The name has
// another end until the mail is whole, so that the next export knows what a killed one left of it.
class MboxTarget final : public ExportTarget {
  public:
    MboxTarget(const sync::RunContext& context, std::string path)
        : m_context(context), m_path(std::move(path)) {}

    base::Status Open() override {
        auto& files = m_context.files;
        if (auto made = base::MakeFolders(files, base::ParentFolder(files, m_path)); !made)
            return made;
        auto file = files.Open(m_path, OpenMode::kReadWriteOrCreate, Share::kRead);
        if (!file) return file.Error();
        m_file = *std::move(file);
        return ReadNames();
    }
    bool Has(const std::string& unique) const override { return m_there.contains(unique); }
    base::Status Add(const mail::Mail& mail, const mail::MailFacts& facts,
                     bool& isMailAtFault) override {
        std::string line = kFromLine + facts.unique + ' ' +
                           text::Format("%a %b %d %H:%M:%S %Y\n", text::CivilTime(facts.arrival));
        const std::size_t end = kFromLine.size() + facts.unique.size() - kUnfinished.size();
        line.replace(end, kUnfinished.size(), kUnfinished);
        m_pending = 0;
        auto written = Write(line + StatusFields(facts.flags));
        isMailAtFault = false;
        if (written) {
            written = Compose(
                m_context, mail, [&](std::string_view piece) { return Write(piece); },
                isMailAtFault);
        }
        if (written) written = Write(m_lastByte == '\n' ? "\n" : "\n\n");
        if (written) written = Place(m_size + end);
        if (written) written = m_file->Write(mail::kExported);
        if (!written) (void)m_file->Truncate(m_size);
        if (auto placed = Place(m_size += written ? m_pending : 0); !placed) {
            isMailAtFault = false;
            return placed;
        }
        return written;
    }
    base::Status Settle() override { return m_file->Flush(); }

  private:
    inline static const std::string kFromLine = "From ";
    static constexpr std::string_view kUnfinished = ".partly";
    static_assert(kUnfinished.size() == std::string_view(mail::kExported).size());
    static constexpr std::size_t kLongest = 1 << 12;  // more than a line of ours has

    base::Status Write(std::string_view bytes) {
        m_pending += bytes.size();
        if (!bytes.empty()) m_lastByte = bytes.back();
        return m_file->Write(bytes);
    }
    base::Status Place(std::uint64_t offset) {
        const auto placed =
            m_file->Seek(static_cast<std::int64_t>(offset), platform::SeekFrom::kBegin);
        return placed ? base::Status() : base::Status(placed.Error());
    }

    // Learns which mails are there, and cuts off the last one if it is not whole.
    base::Status ReadNames() {
        const auto size = m_file->Size();
        if (!size) return size.Error();
        std::string line, piece(1 << 20, '\0');
        std::string last;                      // name of the last mail
        std::uint64_t lastBegin = 0, end = 0;  // where it begins, and where the lines so far end
        while (end < *size) {
            const auto count = m_file->ReadAt(end, piece);
            if (!count) return count.Error();
            if (*count == 0) break;
            for (std::string_view rest(piece.data(), *count); !rest.empty();) {
                if (line.ends_with('\n')) line.clear();
                const auto part = text::TakeLine(rest);
                end += part.size();
                line += part;
                // Of a line that is none of ours the end is enough.
                if (line.size() > kLongest) line.replace(0, line.size() - 1, ">");
                if (!line.ends_with('\n') || !line.starts_with(kFromLine)) continue;
                lastBegin = end - line.size();
                if (last.ends_with(kUnfinished)) return Foreign();
                last = line.substr(kFromLine.size(),
                                   line.find(' ', kFromLine.size()) - kFromLine.size());
                if (!last.ends_with(kUnfinished) && !last.ends_with(mail::kExported))
                    return Foreign();
                m_there.insert(last);
            }
        }
        const bool isTorn = last.ends_with(kUnfinished) || line != "\n";
        if (*size > 0 && last.empty()) return Foreign();
        m_size = *size;
        if (m_size > 0 && isTorn) {
            m_there.erase(last);
            m_size = lastBegin;
            if (auto cut = m_file->Truncate(m_size); !cut) return cut;
        }
        return Place(m_size);
    }
    base::Failure Foreign() const {
        return base::RefusedFor(m_path, "is there, and no export wrote it",
                                "name another folder with --to");
    }

    const sync::RunContext& m_context;
    const std::string m_path;
    std::unique_ptr<platform::File> m_file;
    std::uint64_t m_size = 0, m_pending = 0;  // bytes of whole mails, and of the one being written
    char m_lastByte = '\0';                   // of that one
    std::set<std::string> m_there;
};

// A folder of files, one for each mail.
class EmlTarget final : public ExportTarget {
  public:
    EmlTarget(const sync::RunContext& context, std::string folder)
        : m_context(context), m_folder(std::move(folder)) {}

    base::Status Open() override {
        if (auto made = base::MakeFolders(m_context.files, m_folder); !made) return made;
        const auto there = m_context.files.List(m_folder, "*.eml");
        if (!there) return there.Error();
        for (const auto& entry : *there) m_there.insert(entry.name);
        return {};
    }
    bool Has(const std::string& unique) const override { return m_there.contains(unique + ".eml"); }
    base::Status Add(const mail::Mail& mail, const mail::MailFacts& facts,
                     bool& isMailAtFault) override {
        auto& files = m_context.files;
        const std::string path = base::PathIn(files, m_folder, facts.unique + ".eml");
        const std::string part = path + ".part";
        isMailAtFault = false;
        (void)files.Delete(part);  // what a killed export left
        auto file = files.Open(part, OpenMode::kCreateNew, Share::kNone);
        if (!file) return file.Error();
        base::Status done = (*file)->Write(StatusFields(facts.flags));
        if (done) {
            done = Compose(
                m_context, mail, [&](std::string_view piece) { return (*file)->Write(piece); },
                isMailAtFault);
        }
        if (done) done = (*file)->Close();
        file->reset();
        if (done) done = files.MoveLazily(part, path);
        if (!done) (void)files.Delete(part);
        if (!done) return done;
        SetTime(path, facts.arrival);
        m_unsettled.push_back(path);
        return {};
    }
    base::Status Settle() override {
        return base::SettleFiles(m_context.files, m_folder, std::exchange(m_unsettled, {}));
    }

  private:
    const sync::RunContext& m_context;
    const std::string m_folder;
    std::set<std::string> m_there;
    std::vector<std::string> m_unsettled;
};

// A name that every file system takes.
std::string FileNameOf(std::string name) {
    std::ranges::replace_if(name, text::IsForbiddenInNames, '_');
    if (name.ends_with('.') || name.ends_with(' ')) name.back() = '_';
    const bool isOdd = name.empty() || name.starts_with('.') || text::IsDevice(name);
    return isOdd ? '_' + name : name;
}

}  // namespace

base::Status OpenExportFolder(const sync::RunContext& context, const std::string& folder,
                              ExportFormat format) {
    auto& files = context.files;
    if (!files.IsFree(base::PathIn(files, folder, state::kMarkName))) {
        return base::Refused(folder + " is kept in step with Eudora",
                             "name another folder with --to");
    }
    if (format != ExportFormat::kMaildir) return base::MakeFolders(files, folder);
    maildir::Maildir maildir(files, context.clock, folder);
    const auto there = maildir.List();
    if (!there) return there.Error();
    const bool isOurs = std::ranges::all_of(*there, [](const maildir::MaildirEntry& entry) {
        return entry.isFolder || entry.unique.ends_with(mail::kExported);
    });
    if (isOurs) return maildir.Create();
    return base::Refused(folder + " holds mails already that no export wrote",
                         "name another folder with --to");
}

std::unique_ptr<ExportTarget> MakeTarget(const sync::RunContext& context, const std::string& folder,
                                         const eudora::Mailbox& mailbox, ExportFormat format) {
    auto& files = context.files;
    if (format == ExportFormat::kMaildir) {
        const bool isInbox = mailbox.IsInBox();
        return std::make_unique<MaildirTarget>(
            context,
            isInbox ? folder : base::PathIn(files, folder, maildir::FolderName(mailbox.names)),
            isInbox);
    }
    std::string path = folder;
    for (const std::string& name : mailbox.names) {
        path = base::PathIn(files, path, FileNameOf(name));
    }
    if (format == ExportFormat::kEml) return std::make_unique<EmlTarget>(context, path);
    return std::make_unique<MboxTarget>(context, path + ".mbox");
}

}  // namespace host::cli
