#include "host/mail/content_type.h"

#include <algorithm>
#include <array>
#include <string>

namespace host::mail {

namespace {

struct TypeRow {
    std::string_view extension, type;
};

constexpr std::array kTypes = {
    TypeRow{"avi", "video/x-msvideo"},
    TypeRow{"bmp", "image/bmp"},
    TypeRow{"bz2", "application/x-bzip2"},
    TypeRow{"css", "text/css"},
    TypeRow{"csv", "text/csv"},
    TypeRow{"doc", "application/msword"},
    TypeRow{"docx", "application/vnd.openxmlformats-officedocument.wordprocessingml.document"},
    TypeRow{"gif", "image/gif"},
    TypeRow{"gz", "application/gzip"},
    TypeRow{"htm", "text/html"},
    TypeRow{"html", "text/html"},
    TypeRow{"ics", "text/calendar"},
    TypeRow{"jpeg", "image/jpeg"},
    TypeRow{"jpg", "image/jpeg"},
    TypeRow{"js", "text/javascript"},
    TypeRow{"json", "application/json"},
    TypeRow{"m4a", "audio/mp4"},
    TypeRow{"mid", "audio/midi"},
    TypeRow{"mov", "video/quicktime"},
    TypeRow{"mp3", "audio/mpeg"},
    TypeRow{"mp4", "video/mp4"},
    TypeRow{"mpeg", "video/mpeg"},
    TypeRow{"mpg", "video/mpeg"},
    TypeRow{"odp", "application/vnd.oasis.opendocument.presentation"},
    TypeRow{"ods", "application/vnd.oasis.opendocument.spreadsheet"},
    TypeRow{"odt", "application/vnd.oasis.opendocument.text"},
    TypeRow{"ogg", "audio/ogg"},
    TypeRow{"pdf", "application/pdf"},
    TypeRow{"png", "image/png"},
    TypeRow{"ppt", "application/vnd.ms-powerpoint"},
    TypeRow{"pptx", "application/vnd.openxmlformats-officedocument.presentationml.presentation"},
    TypeRow{"ps", "application/postscript"},
    TypeRow{"rtf", "application/rtf"},
    TypeRow{"svg", "image/svg+xml"},
    TypeRow{"tar", "application/x-tar"},
    TypeRow{"tif", "image/tiff"},
    TypeRow{"tiff", "image/tiff"},
    TypeRow{"txt", "text/plain"},
    TypeRow{"vcf", "text/vcard"},
    TypeRow{"wav", "audio/x-wav"},
    TypeRow{"webp", "image/webp"},
    TypeRow{"xls", "application/vnd.ms-excel"},
    TypeRow{"xlsx", "application/vnd.openxmlformats-officedocument.spreadsheetml.sheet"},
    TypeRow{"xml", "application/xml"},
    TypeRow{"zip", "application/zip"},
};
static_assert(std::ranges::is_sorted(kTypes, {}, &TypeRow::extension));

}  // namespace

std::string_view ContentTypeOf(std::string_view fileName) {
    const auto dot = fileName.rfind('.');
    std::string extension(dot == std::string_view::npos ? "" : fileName.substr(dot + 1));
    for (char& letter : extension) {
        if (letter >= 'A' && letter <= 'Z') letter = static_cast<char>(letter + ('a' - 'A'));
    }
    const auto row = std::ranges::lower_bound(kTypes, extension, {}, &TypeRow::extension);
    if (row == kTypes.end() || row->extension != extension) return "application/octet-stream";
    return row->type;
}

std::string_view ExtensionOf(std::string_view contentType) {
    const auto found = std::ranges::find(kTypes, contentType, &TypeRow::type);
    return found != kTypes.end() ? found->extension : std::string_view();
}

}  // namespace host::mail
