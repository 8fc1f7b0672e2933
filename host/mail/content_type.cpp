#include "host/mail/content_type.h"

#include <algorithm>
#include <iterator>
#include <string>

#include "text/ascii.h"

namespace host::mail {

namespace {

struct TypeRow {
    std::string_view extension, type;
};

constexpr TypeRow kTypes[] = {
    {"avi", "video/x-msvideo"},
    {"bmp", "image/bmp"},
    {"bz2", "application/x-bzip2"},
    {"css", "text/css"},
    {"csv", "text/csv"},
    {"doc", "application/msword"},
    {"docx", "application/vnd.openxmlformats-officedocument.wordprocessingml.document"},
    {"gif", "image/gif"},
    {"gz", "application/gzip"},
    {"htm", "text/html"},
    {"html", "text/html"},
    {"ics", "text/calendar"},
    {"jpeg", "image/jpeg"},
    {"jpg", "image/jpeg"},
    {"js", "text/javascript"},
    {"json", "application/json"},
    {"m4a", "audio/mp4"},
    {"mid", "audio/midi"},
    {"mov", "video/quicktime"},
    {"mp3", "audio/mpeg"},
    {"mp4", "video/mp4"},
    {"mpeg", "video/mpeg"},
    {"mpg", "video/mpeg"},
    {"odp", "application/vnd.oasis.opendocument.presentation"},
    {"ods", "application/vnd.oasis.opendocument.spreadsheet"},
    {"odt", "application/vnd.oasis.opendocument.text"},
    {"ogg", "audio/ogg"},
    {"pdf", "application/pdf"},
    {"png", "image/png"},
    {"ppt", "application/vnd.ms-powerpoint"},
    {"pptx", "application/vnd.openxmlformats-officedocument.presentationml.presentation"},
    {"ps", "application/postscript"},
    {"rtf", "application/rtf"},
    {"svg", "image/svg+xml"},
    {"tar", "application/x-tar"},
    {"tif", "image/tiff"},
    {"tiff", "image/tiff"},
    {"txt", "text/plain"},
    {"vcf", "text/vcard"},
    {"wav", "audio/x-wav"},
    {"webp", "image/webp"},
    {"xls", "application/vnd.ms-excel"},
    {"xlsx", "application/vnd.openxmlformats-officedocument.spreadsheetml.sheet"},
    {"xml", "application/xml"},
    {"zip", "application/zip"}};
static_assert(std::ranges::is_sorted(kTypes, {}, &TypeRow::extension));

}  // namespace

std::string_view ContentTypeOf(std::string_view fileName) {
    const auto dot = fileName.rfind('.');
    const std::string extension =
        text::Lowered(dot == std::string_view::npos ? "" : fileName.substr(dot + 1));
    const auto row = std::ranges::lower_bound(kTypes, extension, {}, &TypeRow::extension);
    if (row == std::end(kTypes) || row->extension != extension) return "application/octet-stream";
    return row->type;
}

std::string_view ExtensionOf(std::string_view contentType) {
    const auto found = std::ranges::find(kTypes, contentType, &TypeRow::type);
    return found != std::end(kTypes) ? found->extension : std::string_view();
}

}  // namespace host::mail
