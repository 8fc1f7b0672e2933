#pragma once

#include <exception>
#include <optional>

#include "frame/app_info.h"
#include "frame/interface/host_records.h"
#include "frame/language_bundle.h"
#include "frame/string_id.h"
#include "mapi/mapi.h"
#include "platform/kvutil/kvutil.h"
#include "platform/mfc/collections.h"
#include "platform/os/system.h"

// The module's global state, shared by all translators: one object from load to unload. Paths are
// Windows paths; they and all texts are in the system code page. Not for several threads.
class CEudoraTransUtil {
  public:
    explicit CEudoraTransUtil(const platform::System& theSystem)
        : system(theSystem), bundle(system.libraries), mapi(system) {}

    // The exported functions of these names (frame/interface/exports.h). A null record counts as
    // one of empty texts; a null buffer, or a length below 1 byte, receives nothing.
    RRETURNCODE InitTranslator(const tagRENVSETTINGS* env);
    RRETURNCODE InitTranslatorEx(const tagRENVSETTINGS* env, const tagRTRANSSETTINGS* settings,
                                 const char* language, char* message, int length);

    // Strings of the bundle; a missing one is logged and gives the empty text.
    CString GetString(frame::StringId id);
    // The string with `text`, and `number` if one is given, put in its place. A string whose
    // conversions are not exactly "%s", or "%s" and then "%d", is given unchanged.
    CString FormatString(frame::StringId id, const CString& text,
                         std::optional<int> number = std::nullopt);

    // The message queues, oldest first.
    void AddError(frame::StringId id) { saErrors.Add(GetString(id)); }
    void AddErrorText(LPCTSTR text) { saErrors.Add(text); }
    // Queues the message that the file of the failure could not be opened, then AddCause.
    void AddFileError(const platform::Failure& failure);
    // Queues the reason if the bundle has a text for it: a full disk, or too little memory.
    void AddCause(const platform::Failure& failure);
    void AddWarningText(LPCTSTR text) { saWarnings.Add(text); }
    void ClearErrors() { saErrors.RemoveAll(); }
    // Empties both queues.
    void ClearMessages();
    RRETURNCODE GetNextError(CString& out);  // RRC_NONE, and `out` untouched, if there is none
    RRETURNCODE GetNextWarning(CString& out);

    // Settings files: csSettingsDir\EudoraAppInfoNNNN.cfg with numbers 0001 to FFFE in hexadecimal.
    CString SettingsPath(int number) const;
    bool NextSettingsPath(CString& out) const;  // the first free path; `out` untouched without one
    // False, and logged, if the file is damaged or cannot be read; what was read by then stays.
    bool LoadSettings(LPCTSTR path, CEudoraAppInfo& info) const;
    // False, and logged, if the file keeps its old content.
    bool StoreSettings(CEudoraAppInfo& info, LPCTSTR path);
    void DeleteAllSettings() const;  // up to the first number that is free

    int CheckDefaultClient();  // 0 Eudora is it, 1 Eudora is not installed, 2 another client

    platform::System system;
    CString csNicknamePath;  // default address-book file
    CString csEudoraDir;
    CRLanguageBundle bundle;
    CString csLanguage;
    CString csAltLanguage;
    void* hModule = nullptr;  // this library's own instance, from the initialisation on
    CString csEnvDir, csEnvText;
    CString csSettingsDir, csTransText;
    CStringArray saErrors, saWarnings;
    CMapi mapi;

  private:
    bool LoadBundle();
};

// The module's global object. Made over the native system when the library is loaded; a test puts
// an object of its own in its place (null puts the module's own back).
CEudoraTransUtil& TransUtil();
void UseTransUtil(CEudoraTransUtil* util);

namespace frame {

// Queues `what` as an error message for the host.
void ReportException(const char* operation, const char* what) noexcept;

// Runs an operation of the module and turns an exception into RRC_FAILED and a queued message, so
// that nothing is thrown into the host.
template <class Operation>
RRETURNCODE Guarded(const char* name, Operation&& operation) noexcept {
    try {
        return operation();
    } catch (const std::exception& exception) {
        ReportException(name, exception.what());
    } catch (...) {
        ReportException(name, "unknown exception");
    }
    return RRC_FAILED;
}

// The same with a first log line of `where` and `name`.
template <class Operation>
RRETURNCODE Entered(const char* where, const char* name, Operation&& operation) noexcept {
    return Guarded(name, [&]() -> RRETURNCODE {
        KV_LOG(5, "%s%s\n", where, name);
        return operation();
    });
}

}  // namespace frame
