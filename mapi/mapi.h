#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "frame/interface/field_ids.h"
#include "mapi/entry_points.h"
#include "mapi/records.h"
#include "platform/os/not_copied.h"
#include "platform/os/system.h"

// The module's only access to Eudora's Simple MAPI library EUMAPI32.DLL. Its operations queue no
// messages for the host; LastError has the reason of a failure. Texts and paths, which are Windows
// paths, are in the system code page.
class CMapi : platform::NotCopied {
  public:
    // Values of LastError beside the library's own result codes.
    static constexpr std::uint32_t kNotAvailable = 1000;
    static constexpr std::uint32_t kNotLoaded = 1001;

    explicit CMapi(const platform::System& system) : m_system(system) {}
    // Neither logs off nor unloads the library, nor frees the current message: at process end the
    // library may be gone already.
    virtual ~CMapi() { (void)m_hMapiLib.release(); }

    // Loads EUMAPI32.DLL of Eudora's folder (a Windows path in the system code page): 1 if this
    // system has Simple MAPI and the library is loaded and has all entry points, else 0. With an
    // entry point missing it stays loaded.
    int LoadMapiLibrary(const char* folder);
    // Opens a session: 1 on success, else 0. With an open session it gives 0 and the session stays.
    // LoadMapiLibrary must have given 1.
    int MapiLogon();
    // Ends the session, if there is one, after freeing a current message of the library's.
    void MapiLogoff();
    // Unloads the library, if it is loaded, after freeing a current message of the library's.
    void UnloadMapiLibrary();

    std::uint32_t LastError() const { return m_ulLastError; }

    // The cursor over the mailbox. Results: 1 found (and read), 0 no such message or no more of
    // them, -1 failed; LastError is kNotLoaded without a library. A call is repeated up to ten
    // times while it fails with the general error, and not after any other error.
    int MoveFirst();
    int MoveNext();
    // Goes to a message by walking: from the seek point, and from the first message if the end came
    // before the target.
    int GoToEmail(const char* target);
    // Finds the message behind `seed`, or the first one for none, and names it in MsgID.
    int FindNextMail(const std::optional<std::string>& seed);
    // Reads the message that MsgID names, without marking it as read. The former current message is
    // released first.
    int ReadCurrentMail();
    // 1 and the current message, which this object keeps; else 0 and null.
    int GetCurrentMessage(MapiMessage*& message);

    const char* MsgID() const { return m_szMsgID.c_str(); }
    void ClearMsgID() { SetMsgID(nullptr); }
    // Names a new mail; the id is cut to the room that a library has for one.
    void SetMsgID(const char* id);
    // Sets the seek point, from which GoToEmail walks: the message that MsgID names, if there is
    // none yet. ConfirmSeek makes it valid.
    void NoteSeek();
    void ConfirmSeek() { m_bSeekValid = true; }

    // A text of the current message: the address of kFrom, the addresses of kTo, kCc or kBcc joined
    // by "; ", kSubject. Nothing for other fields, without a message, and where it has none.
    std::optional<std::string> MailText(MailField field) const;

    // Sets the flags of the current message, if there is one, as they stand.
    void SetMailStatus(std::uint32_t status);
    // One edit of the current message; another message ends it. FinishEdit gives the status that
    // SetMailStatus has stored since BeginEdit, if it has: from then on the message counts as
    // having it.
    void BeginEdit() { m_editStatus.reset(); }
    std::optional<std::uint32_t> FinishEdit();
    // The flags that the current message came with or that a finished edit has given it, whatever
    // SetMailStatus has stored since.
    std::uint32_t MailFlags() const { return m_flags; }
    // Whether MsgID names the current message. It may name instead a message that a walk stopped
    // at, a record under construction or waiting to be sent, or a deleted mail.
    bool NamesCurrent() const { return m_isNamed && m_lpMessage != nullptr; }

    // Makes a built record the current message, and sends it first if its status says so. 1, or -1
    // with LastError. The caller keeps the record, which is borrowed until the next read or until
    // ReleaseBorrowed.
    int UpdateMail(MapiMessage* record);
    // The owner of a borrowed record calls it before freeing the record.
    void ReleaseBorrowed(const MapiMessage* record);
    // Has the library delete the message that MsgID names. 1, or -1 with LastError.
    int DeleteMail();

    // Makes an empty record for the module to fill, owned by the caller: 1, or 0 without memory.
    // Each text of it is a block from `new char[]`; recipients and files are arrays from `new[]`.
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
    enum class Owner { kLibrary, kQueue };

    // Calls the library; kNotLoaded if it is not there.
    template <class Function, class... Arguments>
    std::uint32_t Call(mapi::Entry entry, Arguments... arguments) {
        const auto function = m_hMapiLib ? m_entries.Get<Function>(entry) : nullptr;
        return function != nullptr ? function(arguments...) : kNotLoaded;
    }
    bool IsMapiAvailable();
    void PeekQueue();
    void Yield();
    // Logs the error of the last call, if there is one.
    bool WorthAnotherTry();
    int FindAndRead(const std::optional<std::string>& seed);
    // Goes to a message from the seek point, or from the first one without it. Nothing if the walk
    // came to the end.
    std::optional<int> Seek(const std::string& target);
    // Walks from `seed` on until MsgID is the target or the library finds no message. A walk that
    // comes round to where it was counts as ended.
    void WalkTo(const std::string& target, std::string seed);
    // A message becomes the current one, in the place of one that is released.
    void Arrive(MapiMessage* message, Owner owner);
    // A message of the library's is given back, its files are deleted.
    void ReleaseCurrent();
    void Send(MapiMessage& record);
    bool DeleteFileOf(const MapiFileDesc& file) noexcept;  // true if there was one

    platform::System m_system;
    std::uint32_t m_ulLastError = 0;
    std::unique_ptr<platform::Library> m_hMapiLib;
    mapi::EntryPoints m_entries;
    mapi::Session m_lhSession = 0;
    std::string m_szMsgID;
    bool m_isNamed = false;
    // The current message: the library's, which has to be given back, or a queue's.
    MapiMessage* m_lpMessage = nullptr;
    Owner m_owner = Owner::kQueue;
    std::uint32_t m_flags = 0;
    std::optional<std::uint32_t> m_editStatus;
    bool m_bSeekValid = false;
    std::string m_szSeekFirst;
};
