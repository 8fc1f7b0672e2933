#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "frame/interface/host_records.h"
#include "frame/interface/translators.h"
#include "host/base/failure.h"
#include "host/translator/translator_host.h"

// Working with one translator of the module (frame/interface/translators.h).
namespace host::translator {

// Data kinds.
inline constexpr unsigned long kContactsKind = 1;
inline constexpr unsigned long kMailKind = 20;

// Types of fields, as the interface numbers them.
inline constexpr unsigned long kNumberType = 1, kTextType = 4, kDateType = 7;

// The context that the module asks its host for values. This host gives the module's own object
// back and 0 for all values that are the host's own.
class HostContext final : public CRHostContext {
  public:
    explicit HostContext(CEudoraTransUtil* util) : m_util(util) {}

    void GetContextValue1(RWORD* value) override { *value = 0; }
    void GetContextValue2(RWORD* value) override { *value = 0; }
    void GetContextValue3(RWORD* value) override { *value = 0; }
    void GetContextValue4(RWORD* value) override { *value = 0; }
    void GetUtil(RWORD* value) override { *value = reinterpret_cast<RWORD>(m_util); }
    void GetContextValue5(RWORD* value) override { *value = 0; }
    void GetContextValue6(RWORD* value) override { *value = 0; }
    void GetContextValue7(RWORD* value) override { *value = 0; }

  private:
    CEudoraTransUtil* m_util;
};

// The records that BatchUpdate stored and deleted, in its order. Texts are in the system code page.
struct BatchReport {
    struct Stored {
        std::string id;
        std::string modifiedInfo;
    };
    std::vector<Stored> stored;
    std::vector<std::string> deleted;
};

// The sink of BatchUpdate; it keeps the report.
class CollectingSink final : public CRBatchSink {
  public:
    void Reserved() override {}
    void RecordStored(const char* id, const char* /*sameId*/, const char* modifiedInfo) override {
        report.stored.push_back({id, modifiedInfo});
    }
    void RecordDeleted(const char* id) override { report.deleted.emplace_back(id); }

    BatchReport report;
};

// The answer of IsOkToSetRecord about the values of a record.
struct Verdict {
    bool ok = false;                    // may be stored, perhaps with a warning
    std::vector<std::string> messages;  // UTF-8: why not, or the warnings
};

struct TextValue {
    std::string fieldId;
    std::string text;  // system code page
};

struct NumberValue {
    std::string fieldId;
    std::int32_t number = 0;
};

// One translator object in use, from selection to close. Ids, markers and field values are bytes in
// the system code page, as the module gives them: base::ToUtf8 and base::FromUtf8 convert. A
// failure is kFailed with what was tried and the texts of the module's error queue, in UTF-8. The
// destructor closes an open store: changes of contacts are lost without a BatchUpdate, while
// waiting mails and read states are carried out.
class TranslatorSession {
  public:
    // `host` outlives the session.
    static base::Result<TranslatorSession> Create(TranslatorHost& host, unsigned long kind);
    // One with a nickname file (Windows path) selected and opened.
    static base::Result<TranslatorSession> OpenContacts(TranslatorHost& host,
                                                        std::string nicknameFile);
    TranslatorSession(TranslatorSession&&) = default;
    TranslatorSession& operator=(TranslatorSession&&) = delete;
    ~TranslatorSession();

    // Chooses the store by a Windows path: of contacts the nickname file, of mails the settings
    // file. An empty `selection` is the default; it becomes the path that was chosen. With
    // `configure` the module shows its dialog. False if the user cancelled it.
    base::Result<bool> Select(std::string& selection, bool configure = false);
    // Stores the settings in the file that was selected.
    base::Status SaveSettings(const std::string& selection);
    // Fails also if the module opened the store and queued an error: then a part of its content
    // could not be read.
    base::Status Open();
    base::Status Close();

    // Walking: true on a record, false behind the last one.
    base::Result<bool> MoveFirst();
    base::Result<bool> MoveNext();
    // False if there is no such record.
    base::Result<bool> GoTo(const std::string& id);
    // Id and change marker of the current record.
    base::Result<std::string> RecordId();
    base::Result<std::string> ModifiedInfo();
    // A text field of the current record; nothing for a field without value.
    base::Result<std::optional<std::string>> Text(const std::string& fieldId);
    base::Result<std::int32_t> Number(const std::string& fieldId);
    // An OLE automation date; nothing for no date.
    base::Result<std::optional<double>> Date(const std::string& fieldId);

    // Asks whether a record with these values may be stored.
    base::Result<Verdict> Check(const std::vector<TextValue>& values,
                                const std::vector<NumberValue>& numbers = {});
    // Each begins a record, which Store ends. BeginEdit fails for an unknown id.
    base::Status BeginAdd();
    base::Status BeginEdit(const std::string& id);
    // Set a field of the record that was begun; the types are those of the interface.
    base::Status SetText(const std::string& fieldId, const std::string& text);
    base::Status SetNumber(const std::string& fieldId, std::int32_t number);
    base::Status SetDate(const std::string& fieldId, double date);  // OLE automation date
    // Gives the id and the change marker; the id can differ from the values.
    base::Result<BatchReport::Stored> Store();
    // Deletes a record: a contact at the next BatchUpdate, a mail at once.
    base::Status Delete(const std::string& id);
    // Closes the store and ends the module's session with Eudora's MAPI library, which may have
    // kept deletions back until now. It is the last call; another session needs TranslatorHost's
    // Init first.
    base::Status SignOff();
    // Writes the collected changes into Eudora's files.
    base::Result<BatchReport> BatchUpdate();

  private:
    TranslatorSession(std::unique_ptr<CRRecordTranslator> translator, TranslatorHost& host,
                      unsigned long kind);
    base::Failure Explain(std::string_view what);
    base::Status StatusOf(RRETURNCODE code, std::string_view what);
    base::Result<bool> Found(RRETURNCODE code, RRETURNCODE none, std::string_view what);
    base::Status GetCell(const std::string& fieldId, unsigned long type, void* cell);
    base::Status SetCell(const std::string& fieldId, unsigned long type, void* cell);

    TranslatorHost* m_host;
    std::unique_ptr<HostContext> m_context;
    std::unique_ptr<CRRecordTranslator> m_translator;
    unsigned long m_kind;
    std::string m_store = "Eudora's in-box";  // as a person knows it, once it is selected
    bool m_open = false;
};

}  // namespace host::translator
