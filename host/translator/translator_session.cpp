#include "host/translator/translator_session.h"

#include <algorithm>
#include <iterator>

#include "host/base/paths.h"
#include "platform/kvutil/kvutil.h"
#include "platform/os/system.h"
#include "text/ascii.h"

namespace host::translator {

namespace {

// Shows the values of a record to IsOkToSetRecord. The cell of a text is a pointer to it.
struct ShownValues {
    struct Value {
        std::string_view fieldId;
        unsigned long type;
        const char* text;
        std::int32_t number;
    };
    std::vector<Value> values;

    static RRETURNCODE Show(void* context, const char* fieldId, void** cell, unsigned long* type,
                            BOOL* hasField) {
        auto& values = static_cast<ShownValues*>(context)->values;
        const auto found = std::ranges::find(values, fieldId, &Value::fieldId);
        *hasField = found != values.end();
        if (!*hasField) return RRC_OK;
        *type = found->type;
        *cell = found->type == kTextType ? static_cast<void*>(&found->text) : &found->number;
        return RRC_OK;
    }
};

// Empties one of the module's queues; UTF-8.
std::vector<std::string> Taken(CRRecordTranslator& translator,
                               RRETURNCODE (CRRecordTranslator::*first)(CString&),
                               RRETURNCODE (CRRecordTranslator::*next)(CString&)) {
    std::vector<std::string> messages;
    CString message;
    for (RRETURNCODE code = (translator.*first)(message); code == RRC_OK;
         code = (translator.*next)(message)) {
        messages.push_back(base::ToUtf8(message.Str()));
    }
    return messages;
}

std::vector<std::string> ErrorsOf(CRRecordTranslator& translator) {
    return Taken(translator, &CRRecordTranslator::GetFirstErrorMessage,
                 &CRRecordTranslator::GetNextErrorMessage);
}

// The module's message with native paths in the place of its Windows paths, which are in quotes or
// end in front of a colon.
std::string WithNativePaths(std::string text) {
    for (std::size_t at = text.find(":\\"); at != std::string::npos;
         at = text.find(":\\", at + 1)) {
        const std::size_t begin = at > 0 ? at - 1 : 0;
        const bool isQuoted = begin > 0 && text[begin - 1] == '"';
        const std::size_t end = std::min(text.find(isQuoted ? "\"" : ": ", at + 1), text.size());
        const auto native = platform::NativePathOf(base::FromUtf8(text.substr(begin, end - begin)));
        if (!native) continue;
        text.replace(begin, end - begin, *native);
        at = begin + native->size();
    }
    return text;
}

// "WHAT failed: SENTENCE SENTENCE".
base::Failure Unsuccessful(std::string what, const std::vector<std::string>& reasons) {
    what += reasons.empty() ? " failed" : " failed: ";
    return base::Failed(what + WithNativePaths(text::Joined(reasons, " ")));
}

}  // namespace

TranslatorSession::TranslatorSession(std::unique_ptr<CRRecordTranslator> translator,
                                     TranslatorHost& host, unsigned long kind)
    : m_host(&host),
      m_context(std::make_unique<HostContext>(host.Util())),
      m_translator(std::move(translator)),
      m_kind(kind) {}

TranslatorSession::~TranslatorSession() {
    if (m_translator != nullptr && m_open) m_translator->Close(0);
}

base::Result<TranslatorSession> TranslatorSession::Create(TranslatorHost& host,
                                                          unsigned long kind) {
    std::unique_ptr<CRRecordTranslator> translator;
    if (host.NewTranslator(kind, translator) != RRC_OK) {
        return base::Failed("the translator library gives no translator for data kind " +
                            std::to_string(kind));
    }
    return TranslatorSession(std::move(translator), host, kind);
}

base::Result<TranslatorSession> TranslatorSession::OpenContacts(TranslatorHost& host,
                                                                std::string nicknameFile) {
    auto session = Create(host, kContactsKind);
    if (!session) return session;
    if (auto selected = session->Select(nicknameFile); !selected) return selected.Error();
    if (auto opened = session->Open(); !opened) return opened.Error();
    return session;
}

base::Result<bool> TranslatorSession::Select(std::string& selection, bool configure) {
    CString chosen(selection), text;
    const RRETURNCODE code =
        m_translator->GetAppInfo(configure ? 1 : 0, m_context.get(), chosen, 0, text, 0);
    if (code == RRC_CANCELLED) return false;
    if (code != RRC_OK) {
        const std::string usual = m_kind == kContactsKind ? "a nickname file" : m_store;
        return Explain("choosing " + (chosen.IsEmpty() ? usual : base::ToUtf8(chosen.Str())));
    }
    selection = chosen.Str();
    if (m_kind == kContactsKind) {
        m_store = platform::NativePathOf(selection).value_or(base::ToUtf8(selection));
    }
    return true;
}

base::Status TranslatorSession::SaveSettings(const std::string& selection) {
    tagRAPPINFO info{0, selection.c_str()};
    return StatusOf(m_translator->SaveSettings(0, &info, 0), "saving the settings");
}

base::Status TranslatorSession::Open() {
    (void)ErrorsOf(*m_translator);  // of something else
    const RRETURNCODE code = m_translator->Open(0, 0, 0, 0, m_context.get(), 0);
    m_open = m_open || code == RRC_OK;
    const auto errors = ErrorsOf(*m_translator);
    if (code == RRC_OK && errors.empty()) return {};
    return Unsuccessful("reading " + m_store, errors);
}

base::Status TranslatorSession::Close() {
    m_open = false;
    return StatusOf(m_translator->Close(0), "closing " + m_store);
}

base::Status TranslatorSession::SignOff() {
    auto closed = m_open ? Close() : base::Status();
    m_translator.reset();
    m_host->Uninit();
    return closed;
}

base::Result<bool> TranslatorSession::MoveFirst() {
    return Found(m_translator->MoveFirst(), RRC_EOF, "going to the first record");
}

base::Result<bool> TranslatorSession::MoveNext() {
    return Found(m_translator->MoveNext(), RRC_EOF, "going to the next record");
}

base::Result<bool> TranslatorSession::GoTo(const std::string& id) {
    return Found(m_translator->GoToRecord(id.c_str()), RRC_NONE, "finding a record");
}

base::Result<std::string> TranslatorSession::RecordId() {
    CString id;
    if (m_translator->GetRecordID(id) != RRC_OK) return Explain("reading a record's id");
    return id.Str();
}

base::Result<std::string> TranslatorSession::ModifiedInfo() {
    CString info;
    if (m_translator->GetModifiedInfo(info) != RRC_OK) return Explain("reading a change marker");
    return info.Str();
}

base::Status TranslatorSession::GetCell(const std::string& fieldId, unsigned long type,
                                        void* cell) {
    if (m_translator->GetField(fieldId.c_str(), &type, cell) == RRC_OK) return {};
    return Explain("reading field " + fieldId);
}

base::Status TranslatorSession::SetCell(const std::string& fieldId, unsigned long type,
                                        void* cell) {
    return StatusOf(m_translator->SetField(fieldId.c_str(), &type, cell),
                    "setting field " + fieldId);
}

base::Result<std::optional<std::string>> TranslatorSession::Text(const std::string& fieldId) {
    char* cell = nullptr;
    const auto got = GetCell(fieldId, kTextType, &cell);
    std::optional<std::string> text;
    if (cell != nullptr) text = cell;
    FreeVornString(cell);
    if (!got) return got.Error();
    return text;
}

base::Result<std::int32_t> TranslatorSession::Number(const std::string& fieldId) {
    std::int32_t cell = 0;
    if (auto got = GetCell(fieldId, kNumberType, &cell); !got) return got.Error();
    return cell;
}

base::Result<std::optional<double>> TranslatorSession::Date(const std::string& fieldId) {
    double cell = kNoDate;
    if (auto got = GetCell(fieldId, kDateType, &cell); !got) return got.Error();
    return cell == kNoDate ? std::optional<double>() : cell;
}

base::Result<Verdict> TranslatorSession::Check(const std::vector<TextValue>& values,
                                               const std::vector<NumberValue>& numbers) {
    ShownValues shown;
    for (const auto& [id, text] : values) {
        shown.values.push_back({id, kTextType, text.c_str(), 0});
    }
    for (const auto& [id, number] : numbers) {
        shown.values.push_back({id, kNumberType, nullptr, number});
    }
    BOOL ok = 0;
    Verdict verdict;
    const RRETURNCODE code = m_translator->IsOkToSetRecord(0, &ShownValues::Show, &shown, &ok);
    verdict.ok = code == RRC_OK || code == RRC_WARNING;
    verdict.messages = ErrorsOf(*m_translator);
    auto warnings = Taken(*m_translator, &CRRecordTranslator::GetFirstWarningMessage,
                          &CRRecordTranslator::GetNextWarningMessage);
    std::ranges::move(warnings, std::back_inserter(verdict.messages));
    return verdict;
}

base::Status TranslatorSession::BeginAdd() {
    return StatusOf(m_translator->AddNewRecord(0), "beginning a new record");
}

base::Status TranslatorSession::BeginEdit(const std::string& id) {
    return StatusOf(m_translator->EditRecord(id.c_str()), "editing " + base::ToUtf8(id));
}

base::Status TranslatorSession::SetText(const std::string& fieldId, const std::string& text) {
    const char* cell = text.c_str();
    return SetCell(fieldId, kTextType, &cell);
}

base::Status TranslatorSession::SetNumber(const std::string& fieldId, std::int32_t number) {
    return SetCell(fieldId, kNumberType, &number);
}

base::Status TranslatorSession::SetDate(const std::string& fieldId, double date) {
    return SetCell(fieldId, kDateType, &date);
}

base::Result<BatchReport::Stored> TranslatorSession::Store() {
    CString id, info;
    if (m_translator->UpdateRecord(id, info) != RRC_OK) return Explain("storing a record");
    return BatchReport::Stored{id.Str(), info.Str()};
}

base::Status TranslatorSession::Delete(const std::string& id) {
    return StatusOf(m_translator->DeleteRecord(id.c_str()), "deleting " + base::ToUtf8(id));
}

base::Result<BatchReport> TranslatorSession::BatchUpdate() {
    CollectingSink sink;
    if (m_translator->BatchUpdate(&sink) != RRC_OK) return Explain("writing " + m_store);
    return std::move(sink.report);
}

base::Failure TranslatorSession::Explain(std::string_view what) {
    return Unsuccessful(std::string(what), ErrorsOf(*m_translator));
}

base::Status TranslatorSession::StatusOf(RRETURNCODE code, std::string_view what) {
    if (code == RRC_OK) return {};
    return Explain(what);
}

base::Result<bool> TranslatorSession::Found(RRETURNCODE code, RRETURNCODE none,
                                            std::string_view what) {
    if (code == RRC_OK) return true;
    if (code == none) return false;
    return Explain(what);
}

}  // namespace host::translator
