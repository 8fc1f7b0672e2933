#include "host/state/mail_state.h"

#include <SQLiteCpp/SQLiteCpp.h>

#include "host/state/state_database.h"
#include "host/state/state_schema.h"

namespace host::state {

namespace {

RememberedMail FromRow(SQLite::Statement& row) {
    RememberedMail mail;
    mail.key = row.getColumn(0).getInt64();
    mail.link = static_cast<MailLink>(row.getColumn(1).getInt());
    mail.id = BlobOf(row.getColumn(2));
    mail.marker = BlobOf(row.getColumn(3));
    mail.messageId = BlobOf(row.getColumn(4));
    mail.unique = BlobOf(row.getColumn(5));
    mail.flags = BlobOf(row.getColumn(6));
    mail.size = static_cast<std::uint64_t>(row.getColumn(7).getInt64());
    mail.content = BlobOf(row.getColumn(8));
    mail.name = BlobOf(row.getColumn(9));
    mail.fileId = BlobOf(row.getColumn(10));
    return mail;
}

void Put(SQLite::Statement& statement, const RememberedMail& mail, const std::string& scope) {
    statement.reset();
    statement.clearBindings();
    if (mail.key != 0) statement.bind(1, mail.key);
    BindBlob(statement, 2, scope);
    statement.bind(3, static_cast<int>(mail.link));
    BindBlob(statement, 4, mail.id);
    BindBlob(statement, 5, mail.marker);
    BindBlob(statement, 6, mail.messageId);
    BindBlob(statement, 7, mail.unique);
    BindBlob(statement, 8, mail.flags);
    statement.bind(9, static_cast<std::int64_t>(mail.size));
    BindBlob(statement, 10, mail.content);
    BindBlob(statement, 11, mail.name);
    BindBlob(statement, 12, mail.fileId);
    statement.exec();
}

}  // namespace

MailState::MailState(std::unique_ptr<SQLite::Database> database, std::string path,
                     std::string scope)
    : m_database(std::move(database)), m_path(std::move(path)), m_scope(std::move(scope)) {}

MailState::~MailState() = default;

platform::Result<std::unique_ptr<MailState>> MailState::Open(platform::Files& files,
                                                             const std::string& path,
                                                             const std::string& scope,
                                                             bool mayWrite) {
    auto database = OpenStateDatabase(files, path, mayWrite);
    if (!database) return database.Error();
    return std::unique_ptr<MailState>(new MailState(*std::move(database), path, scope));
}

platform::Result<std::vector<RememberedMail>> MailState::Load() {
    std::vector<RememberedMail> mails;
    if (m_database == nullptr) return mails;
    try {
        if (!m_database->tableExists("mail")) return mails;
        const bool isOld = m_database->execAndGet("PRAGMA user_version").getInt() < 3;
        SQLite::Statement rows(*m_database, isOld ? kSelectOldMails : kSelectMails);
        BindBlob(rows, 1, m_scope);
        while (rows.executeStep()) mails.push_back(FromRow(rows));
    } catch (const SQLite::Exception& error) {
        return ExplainState(m_path, error);
    }
    return mails;
}

platform::Status MailState::Save(MailMemoryChange& change) {
    return InTransaction(m_database.get(), m_path, [&](SQLite::Database& database) {
        SQLite::Statement put(database, kPutMail), forget(database, kForgetMail);
        for (const std::int64_t key : change.forget) {
            forget.reset();
            forget.bind(1, key);
            forget.exec();
        }
        for (RememberedMail& mail : change.put) {
            Put(put, mail, m_scope);
            if (mail.key == 0) mail.key = database.getLastInsertRowid();
        }
        if (!change.settle) return;
        SQLite::Statement settle(database, kSettleMails);
        settle.bind(1, static_cast<int>(MailLink::kInStep));
        BindBlob(settle, 2, m_scope);
        settle.bind(3, static_cast<int>(MailLink::kPending));
        settle.exec();
    });
}

platform::Status MailState::ForgetInBox(platform::Files& files, const std::string& path,
                                        const std::string& inbox) {
    if (!files.Exists(path)) return {};
    auto database = OpenStateDatabase(files, path, true);
    if (!database) return database.Error();
    return InTransaction(database->get(), path, [&](SQLite::Database& opened) {
        SQLite::Statement forget(opened, kForgetInBox);
        const std::string start = inbox + '\n';
        BindBlob(forget, 1, start);
        BindBlob(forget, 2, start);
        forget.exec();
    });
}

}  // namespace host::state
