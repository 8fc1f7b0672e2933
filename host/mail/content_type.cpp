#include "host/mail/content_type.h"

#include "text/ascii.h"

namespace host::mail {

namespace {

// Extensions, each with its media type behind it.
constexpr std::string_view kTypes =
    "bz2 application/x-bzip2 doc application/msword "
    "docx application/vnd.openxmlformats-officedocument.wordprocessingml.document "
    "gz application/gzip json application/json "
    "odp application/vnd.oasis.opendocument.presentation "
    "ods application/vnd.oasis.opendocument.spreadsheet "
    "odt application/vnd.oasis.opendocument.text pdf application/pdf "
    "ppt application/vnd.ms-powerpoint "
    "pptx application/vnd.openxmlformats-officedocument.presentationml.presentation "
    "ps application/postscript rtf application/rtf tar application/x-tar "
    "xls application/vnd.ms-excel "
    "xlsx application/vnd.openxmlformats-officedocument.spreadsheetml.sheet "
    "xml application/xml zip application/zip "
    "m4a audio/mp4 mid audio/midi mp3 audio/mpeg ogg audio/ogg wav audio/x-wav "
    "bmp image/bmp gif image/gif jpeg image/jpeg jpg image/jpeg png image/png "
    "svg image/svg+xml tif image/tiff tiff image/tiff webp image/webp "
    "css text/css csv text/csv htm text/html html text/html ics text/calendar "
    "js text/javascript txt text/plain vcf text/vcard "
    "avi video/x-msvideo mov video/quicktime mp4 video/mp4 mpeg video/mpeg mpg video/mpeg ";

// The type of an extension, or the first extension of a type; empty if it is not known.
std::string_view Partner(std::string_view known, bool isType) {
    for (std::string_view rest = kTypes; const auto extension = text::TakeToken(rest, " ");) {
        const auto type = text::TakeToken(rest, " ").value_or("");
        if (known == (isType ? type : *extension)) return isType ? *extension : type;
    }
    return {};
}

}  // namespace

std::string_view ContentTypeOf(std::string_view fileName) {
    const auto dot = fileName.rfind('.');
    const auto type =
        dot == fileName.npos ? "" : Partner(text::Lowered(fileName.substr(dot + 1)), false);
    return type.empty() ? "application/octet-stream" : type;
}

std::string_view ExtensionOf(std::string_view contentType) {
    return Partner(contentType, true);
}

}  // namespace host::mail
