#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "frame/interface/field_ids.h"
#include "mapi/entry_points.h"
#include "mapi/message_id.h"
#include "mapi/message_slot.h"
#include "mapi/records.h"
#include "platform/os/system.h"

// The module's one door to Eudora's Simple MAPI library EUMAPI32.DLL. Its operations report
// nothing to the host; LastError tells the caller what went wrong.
class CMapi {
  public:
    // Values of LastError beside the library's own result codes.
    static constexpr std::uint32_t kNotAvailable = 1000;
    static constexpr std::uint32_t kNotLoaded = 1001;

    explicit CMapi(const platform::System& system) : m_system(system) {}
    // Neither logs off nor unloads, nor touches the current message: at process end the library
    // may be gone already.
    virtual ~CMapi() { (void)m_hMapiLib.release(); }
    CMapi(const CMapi&) = delete;
    CMapi& operator=(const CMapi&) = delete;

    // Not 0 if this system has Simple MAPI.
    int IsMapiAvailable();
    // Loads EUMAPI32.DLL of Eudora's folder: 1 if it is loaded and has all entry points, else 0.
    // With an entry point missing it stays loaded.
    int LoadMapiLibrary(const char* folder);
    // Opens a session: 1 on success, else 0, also if there is a session, which goes on. Needs a
    // library that LoadMapiLibrary gave 1 for.
    int MapiLogon();
    // Ends the session, if there is one; a current message that is the library's goes first.
    void MapiLogoff();
    // Frees the library, if it is loaded; a current message that is the library's goes first.
    void UnloadMapiLibrary();

    std::uint32_t LastError() const { return m_ulLastError; }

    // The cursor over the mailbox. Results: 1 found (and read), 0 no such message or no more of
    // them, -1 failed with LastError: kNotLoaded without a library. A call that fails with the
    // general error is tried ten times, with every other error once.
    int MoveFirst();
    int MoveNext();
    // Goes to a message by walking: from the seek point, and from the first message if the end came
    // before the target.
    int GoToEmail(const char* target);
    int GoToEmailFromStart(const char* target);
    // Finds the message behind `seed`, or the first one for null, and names it in MsgID.
    int FindNextMail(const char* seed);
    // Reads the message that MsgID names; before the first try the current message is gone.
    int ReadCurrentMail();
    // 1 and the current message, which stays this object's; else 0 and null.
    int GetCurrentMessage(MapiMessage*& message);

    const char* MsgID() const { return m_szMsgID; }
    int ClearMsgID();
    // Names a new mail; the id is cut to the room there is.
    void SetMsgID(const char* id) {
        mapi::CopyMessageId(m_szMsgID, id);
        m_isNamed = false;
    }
    bool SeekValid() const { return m_bSeekValid != 0; }
    // What a walk in order does: the message that MsgID names becomes the seek point if there is
    // none yet; ConfirmSeek makes it valid.
    void NoteSeek();
    void ConfirmSeek() { m_bSeekValid = 1; }

    // Raw field access to the current message, null for what is no field. The result is always
    // 1. kTo, kCc, kBcc, kSize and kStatus hand out a block that the caller deletes with
    // `delete[]`, kFrom a text that is valid until it is asked for again, the others something of
    // the message's own.
    int GetMailField(MailField field, void*& data);
    // The recipients of the class kTo, kCc or kBcc, joined by "; "; null if there are none. The
    // caller deletes the text with `delete[]`.
    void GetRecipientList(MailField field, char*& text);

    // The flags of the current message, as they stand: 1 and set, or 0 if no message is current;
    // -1 if no message is current.
    int SetMailStatus(unsigned long status);
    long GetMailStatus();
    // One edit of the current message; another message ends it. FinishEdit gives the status that
    // SetMailStatus has stored since BeginEdit, if it has: from then on the message counts as
    // having it.
    void BeginEdit() { m_editStatus.reset(); }
    std::optional<std::uint32_t> FinishEdit();
    // The flags that the current message came with or that a finished edit has given it, whatever
    // SetMailStatus has stored since.
    std::uint32_t MailFlags() const { return m_flags; }
    // Whether MsgID names the current message, and not one that a walk has stopped at, a record
    // that is under construction or waits to be sent, or a mail that is deleted.
    bool NamesCurrent() const { return m_isNamed && m_lpMessage.Get() != nullptr; }

    // Makes a built record the current message, and sends it first if its status says so. 1, or -1
    // with LastError. The record stays its owner's: the slot borrows it until the next read or
    // until ReleaseBorrowed.
    int UpdateMail(MapiMessage* record);
    // To be called before the owner of a borrowed record frees it.
    void ReleaseBorrowed(const MapiMessage* record);
    // Has the library delete the message that MsgID names. 1, or -1 with LastError.
    int DeleteMail();

    // Records that the module builds: every text a block of its own from `new char[]`, recipients
    // and files arrays from `new[]`.
    static int AllocMessage(MapiMessage*& record);
    // Frees a built record. The files that it names are deleted with it unless `keepFiles` says
    // that a stored mail points to them. If it is the current message, there is none afterwards.
    // 0 for null, else 1.
    int FreeMessage(MapiMessage* record, bool keepFiles = false);
    // Deletes the files that a record names, as far as they exist; the record stays as it is.
    // NOLINTNEXTLINE(bugprone-reserved-identifier,readability-identifier-naming)
    void _DeleteAttachments(const MapiMessage* record);
    // Deletes the files of the current message if the library made them.
    void DeleteCurrentAttachments();

  private:
    // Calls the library; kNotLoaded if it is not there.
    template <class Function, class... Arguments>
    std::uint32_t Call(mapi::Entry entry, Arguments... arguments) {
        const auto function = m_hMapiLib ? m_entries.Get<Function>(entry) : nullptr;
        return function != nullptr ? function(arguments...) : kNotLoaded;
    }
    void PeekQueue();
    void Yield();
    // Logs the error of the last call, if there is one.
    bool WorthAnotherTry();
    int FindAndRead(const char* seed);
    int ReadTarget();
    // Walks from `seed` on until MsgID is the target or the library finds no message. A walk that
    // comes round to where it was counts as ended.
    void WalkTo(const std::string& target, const char* seed);
    // Empties the slot; a message of the library's is given back, its files are deleted.
    void ReleaseCurrent();
    void Arrive(const MapiMessage& message);
    char* Originator(const MapiMessage& message);
    void Send(MapiMessage& record);
    bool DeleteFileOf(const MapiFileDesc& file) noexcept;  // true if there was one

    platform::System m_system;
    std::uint32_t m_ulLastError = 0;
    mapi::MessageIdText m_szMsgID = {};
    std::unique_ptr<platform::Library> m_hMapiLib;
    mapi::Session m_lhSession = 0;
    mapi::MessageSlot m_lpMessage;
    bool m_isNamed = false;
    std::uint32_t m_flags = 0;
    std::optional<std::uint32_t> m_editStatus;
    std::int32_t m_bSeekValid = 0;
    mapi::MessageIdText m_szSeekFirst = {};
    mapi::EntryPoints m_entries;
    std::string m_address;  // of the originator, as handed out last
};
