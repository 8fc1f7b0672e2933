#include "eumapi/message_record.h"

namespace eumapi {

namespace {

MapiRecipDesc Described(Recipient& recipient) {
    MapiRecipDesc out{};
    out.ulRecipClass = recipient.recipientClass;
    out.lpszName = recipient.name.data();
    out.lpszAddress = recipient.address.data();
    return out;
}

MapiFileDesc Described(AttachmentCopy& file) {
    MapiFileDesc out{};
    out.nPosition = 0xFFFFFFFF;
    out.lpszPathName = file.path.data();
    out.lpszFileName = file.name.data();
    return out;
}

// Tells what describes the parts; null for none, as callers expect.
template <class Description, class Part>
void DescribeAll(std::vector<Part>& parts, std::vector<Description>& descriptions,
                 std::uint32_t& count, Description*& first) {
    for (Part& part : parts) descriptions.push_back(Described(part));
    count = static_cast<std::uint32_t>(descriptions.size());
    first = descriptions.empty() ? nullptr : descriptions.data();
}

}  // namespace

MapiMessage* MessageRecord::Describe() {
    m_message.lpszSubject = subject.data();
    if (note) m_message.lpszNoteText = note->data();
    if (date) m_message.lpszDateReceived = date->data();
    m_message.flFlags = flags;
    if (originator) {
        m_originator = Described(*originator);
        m_message.lpOriginator = &m_originator;
    }
    DescribeAll(recipients, m_recipients, m_message.nRecipCount, m_message.lpRecips);
    DescribeAll(files.Files(), m_files, m_message.nFileCount, m_message.lpFiles);
    return &m_message;
}

}  // namespace eumapi
