#include "tests/host/mail_message.h"

#include <memory>

#include <gmime/gmime.h>

namespace host {

namespace {

template <class T>
using Owned = std::unique_ptr<T, decltype(&g_object_unref)>;

template <class T>
Owned<T> Own(T* object) {
    return {object, g_object_unref};
}

std::string OrEmpty(const char* text) {
    return text != nullptr ? text : "";
}

std::string Taken(char* text) {
    std::string copy = OrEmpty(text);
    g_free(text);
    return copy;
}

std::string Addresses(GMimeMessage* message, GMimeAddressType type) {
    return Taken(internet_address_list_to_string(g_mime_message_get_addresses(message, type),
                                                 nullptr, FALSE));
}

std::string Bytes(GMimePart* part) {
    const auto stream = Own(g_mime_stream_mem_new());
    g_mime_data_wrapper_write_to_stream(g_mime_part_get_content(part), stream.get());
    const GByteArray* bytes = g_mime_stream_mem_get_byte_array(GMIME_STREAM_MEM(stream.get()));
    return {reinterpret_cast<const char*>(bytes->data), bytes->len};
}

void AddLeaf(GMimeObject* /*parent*/, GMimeObject* object, gpointer user) {
    if (!GMIME_IS_PART(object)) return;
    auto* const part = GMIME_PART(object);
    GMimeContentType* const type = g_mime_object_get_content_type(object);
    static_cast<ReadMessage*>(user)->parts.push_back(
        {Taken(g_mime_content_type_get_mime_type(type)),
         OrEmpty(g_mime_content_type_get_parameter(type, "format")),
         OrEmpty(g_mime_part_get_filename(part)), Bytes(part)});
}

}  // namespace

ReadMessage ParseMessage(std::string_view text) {
    g_mime_init();
    ReadMessage read;
    const auto stream = Own(g_mime_stream_mem_new_with_buffer(text.data(), text.size()));
    const auto parser = Own(g_mime_parser_new_with_stream(stream.get()));
    const auto message = Own(g_mime_parser_construct_message(parser.get(), nullptr));
    if (message == nullptr) return read;
    GMimeHeaderList* const headers = g_mime_object_get_header_list(GMIME_OBJECT(message.get()));
    for (int i = 0; i < g_mime_header_list_get_count(headers); ++i) {
        read.fieldNames.push_back(
            g_mime_header_get_name(g_mime_header_list_get_header_at(headers, i)));
    }
    read.from = Addresses(message.get(), GMIME_ADDRESS_TYPE_FROM);
    read.to = Addresses(message.get(), GMIME_ADDRESS_TYPE_TO);
    read.cc = Addresses(message.get(), GMIME_ADDRESS_TYPE_CC);
    read.bcc = Addresses(message.get(), GMIME_ADDRESS_TYPE_BCC);
    read.subject = OrEmpty(g_mime_message_get_subject(message.get()));
    read.messageId = OrEmpty(g_mime_message_get_message_id(message.get()));
    read.date = OrEmpty(g_mime_object_get_header(GMIME_OBJECT(message.get()), "Date"));
    GMimeObject* const body = g_mime_message_get_mime_part(message.get());
    if (GMIME_IS_MULTIPART(body)) {
        g_mime_multipart_foreach(GMIME_MULTIPART(body), AddLeaf, &read);
    } else {
        AddLeaf(nullptr, body, &read);
    }
    read.isWhole = !read.parts.empty();
    return read;
}

}  // namespace host
