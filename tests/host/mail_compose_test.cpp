#include <gmime/gmime.h>

#include <cstdint>
#include <map>
#include <memory>
#include <random>

#include <gmock/gmock.h>

#include "host/mail/mail_text.h"
#include "platform/testing/memory_files.h"
#include "tests/host/composed.h"
#include "tests/host/one_of.h"

namespace host::testing {
namespace {

using namespace std::literals;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

struct MessagePart {
    std::string type;      // "text/plain"
    std::string format;    // the parameter of that name
    std::string fileName;  // of an attachment
    std::string bytes;     // decoded
};

// A composed message as a mail program understands it.
struct ReadMessage {
    std::vector<std::string> fieldNames;
    std::map<std::string, std::string> fields;  // decoded
    std::vector<MessagePart> parts;             // leaves, in order
};

template <class T>
auto Own(T* object) {
    return std::unique_ptr<T, decltype(&g_object_unref)>(object, g_object_unref);
}

std::string Taken(char* text) {
    std::string copy = text != nullptr ? text : "";
    g_free(text);
    return copy;
}

void AddLeaf(GMimeObject* /*parent*/, GMimeObject* object, gpointer user) {
    if (!GMIME_IS_PART(object)) return;
    auto* const part = GMIME_PART(object);
    const auto stream = Own(g_mime_stream_mem_new());
    g_mime_data_wrapper_write_to_stream(g_mime_part_get_content(part), stream.get());
    const GByteArray* bytes = g_mime_stream_mem_get_byte_array(GMIME_STREAM_MEM(stream.get()));
    GMimeContentType* const type = g_mime_object_get_content_type(object);
    const char* format = g_mime_content_type_get_parameter(type, "format");
    const char* name = g_mime_part_get_filename(part);
    static_cast<ReadMessage*>(user)->parts.push_back(
        {Taken(g_mime_content_type_get_mime_type(type)), format != nullptr ? format : "",
         name != nullptr ? name : "",
         std::string(reinterpret_cast<const char*>(bytes->data), bytes->len)});
}

ReadMessage ParseMessage(std::string_view text) {
    g_mime_init();
    ReadMessage read;
    const auto stream = Own(g_mime_stream_mem_new_with_buffer(text.data(), text.size()));
    const auto parser = Own(g_mime_parser_new_with_stream(stream.get()));
    const auto message = Own(g_mime_parser_construct_message(parser.get(), nullptr));
    GMimeHeaderList* const headers = g_mime_object_get_header_list(GMIME_OBJECT(message.get()));
    for (int i = 0; i < g_mime_header_list_get_count(headers); ++i) {
        GMimeHeader* const header = g_mime_header_list_get_header_at(headers, i);
        read.fieldNames.push_back(g_mime_header_get_name(header));
        read.fields[read.fieldNames.back()] =
            Taken(g_mime_utils_header_decode_text(nullptr, g_mime_header_get_value(header)));
    }
    const auto to = g_mime_message_get_addresses(message.get(), GMIME_ADDRESS_TYPE_TO);
    read.fields["To"] = Taken(internet_address_list_to_string(to, nullptr, FALSE));
    GMimeObject* const body = g_mime_message_get_mime_part(message.get());
    if (GMIME_IS_MULTIPART(body)) {
        g_mime_multipart_foreach(GMIME_MULTIPART(body), AddLeaf, &read);
    } else {
        AddLeaf(nullptr, body, &read);
    }
    return read;
}

class ComposeTest : public ::testing::Test {
  protected:
    ComposeTest() {
        mail.id = "0x00000012";
        mail.messageId = "tea@example.org";
        mail.from = "ann.harper@example.org";
        mail.to = "tom@example.org";
        mail.subject = "Tea";
        mail.date = 29222.0856943287;
        mail.body = "Come at five.\r\n";
    }

    std::string Compose() {
        auto message = Composed(files, mail, std::chrono::hours(1));
        EXPECT_TRUE(message) << message.Error().Message();
        return message ? *message : std::string();
    }
    ReadMessage Read() { return ParseMessage(Compose()); }
    void Attach(const std::string& name, const std::string& bytes) {
        const std::string path = "C:\\" + std::to_string(mail.attachments.size());
        files.Put(path, bytes);
        mail.attachments.push_back({name, path});
    }

    platform::testing::MemoryFiles files;
    mail::Mail mail;
};

// A large attachment is nowhere in memory as a whole.
TEST_F(ComposeTest, HandsALargeMailOverInPieces) {
    Attach("large.bin", std::string(10u << 20, 'x'));
    std::size_t largest = 0;
    const auto measure = [&](std::string_view piece) -> platform::Status {
        largest = std::max(largest, piece.size());
        return {};
    };
    ASSERT_TRUE(mail::ComposeMail(files, mail, std::chrono::hours(1), measure));
    EXPECT_LT(largest, 200'000u);
}

TEST_F(ComposeTest, PlainMailIsOnePartAndLeavesOutWhatHasNoValue) {
    EXPECT_EQ(Compose(),
              "From: ann.harper@example.org\n"
              "To: tom@example.org\n"
              "Subject: Tea\n"
              "Date: Wed, 2 Jan 1980 02:03:24 +0100\n"
              "Message-ID: <tea@example.org>\n"
              "MIME-Version: 1.0\n"
              "Content-Type: text/plain; charset=UTF-8\n"
              "Content-Transfer-Encoding: 7bit\n"
              "\n"
              "Come at five.\n");
    mail = mail::Mail();
    mail.id = "0x00000001";
    mail.subject = "";
    mail.cc = " ; ";
    EXPECT_THAT(Read().fieldNames, ElementsAre("Message-ID", "MIME-Version"));
}

TEST_F(ComposeTest, SubjectComesBackAsItReads) {
    const std::string longText(300, 'z');
    std::string japanese;
    for (int i = 0; i < 30; ++i) japanese += "\xE6\x97\xA5\xE3\x81\xAE";
    // The second text is empty where the first comes back as it is.
    const std::pair<std::string, std::string> rows[] = {
        {"K\xC3\xB6ln", ""},
        {"=?iso-8859-1?Q?Gr=FC=DF?=", "Gr\xC3\xBC\xC3\x9F"},
        {"=?iso-2022-jp?B?GyRCOzBHLxsoQg==?= =?utf-8?B?5bm0?=",
         "\xE4\xB8\x89\xE5\xB9\xB4\xE5\xB9\xB4"},
        {"two  blanks   stay " + longText + " " + longText, ""},
        {std::string(5000, 'y'), ""},
        {"a\r\nBcc: thief@example.net\r\n\r\nbody", "a  Bcc: thief@example.net    body"},
        {"tab\tand\x1B[31mescape", "tab and [31mescape"},
        {"=?broken", ""},
        {japanese, ""},
    };
    for (const auto& [given, wanted] : rows) {
        mail.subject = given;
        const ReadMessage read = Read();
        EXPECT_EQ(read.fields.at("Subject"), wanted.empty() ? given : wanted);
        EXPECT_FALSE(read.fields.contains("Bcc")) << given;
        EXPECT_THAT(read.parts, ::testing::SizeIs(1)) << given;
    }
}

TEST_F(ComposeTest, AddressesStayApartAndInTheirField) {
    const std::pair<const char*, const char*> rows[] = {
        {"a@example.org; b@example.net", "a@example.org, b@example.net"},
        {"Tom Harper <tom@example.org>", "Tom Harper <tom@example.org>"},
        {"\"Harper; Tom\" <tom@example.org>;b@x", "\"Harper; Tom\" <tom@example.org>, b@x"},
        {"=?iso-8859-1?Q?J=FCrgen?= <j@example.net>", "J\xC3\xBCrgen <j@example.net>"},
        {"O'Neill, Eve <eve@example.org>", "\"O'Neill, Eve\" <eve@example.org>"},
        {"everybody on floor 2", "everybody on floor 2: ;"},
        {"a@example.org\r\nBcc: b@example.net", "\"a@example.org  Bcc: b@example.net\": ;"},
        {"<>", "\"<>\": ;"},
        {"\"", "\": ;"},
    };
    for (const auto& [given, wanted] : rows) {
        mail.to = given;
        const ReadMessage read = Read();
        EXPECT_EQ(read.fields.at("To"), wanted) << given;
        EXPECT_FALSE(read.fields.contains("Bcc")) << given;
        EXPECT_EQ(read.fields.at("Subject"), "Tea") << given;
    }
    std::string& many = mail.to.emplace();
    for (int i = 0; i < 500; ++i) many += "person" + std::to_string(i) + "@example.org; ";
    const std::string message = Compose();
    EXPECT_THAT(ParseMessage(message).fields.at("To"), HasSubstr("n498@example.org, person499@"));
    for (std::size_t begin = 0, end = 0; (end = message.find('\n', begin)) != message.npos;) {
        EXPECT_LE(end - begin, 78u);
        begin = end + 1;
    }
}

TEST_F(ComposeTest, NoFieldLetsAnotherIn) {
    const std::string bad = "x\r\nX-Evil: 1\n\nevil\rX-Evil: 2";
    mail.from = mail.to = mail.cc = mail.bcc = mail.subject = mail.messageId = bad;
    const ReadMessage read = Read();
    EXPECT_THAT(read.fieldNames, ElementsAre("From", "To", "Cc", "Bcc", "Subject", "Date",
                                             "Message-ID", "MIME-Version"));
    EXPECT_EQ(read.parts.at(0).bytes, "Come at five.\n");
}

TEST_F(ComposeTest, TextIsWhatItsMarksSay) {
    mail.body = "Hello,\r\n<x-html><p>f\xC3\xBCnf</p></x-html>\r\nBye\r\n";
    auto parts = Read().parts;
    ASSERT_EQ(parts.size(), 3U);
    EXPECT_EQ(parts[0].bytes, "Hello,\n");
    EXPECT_EQ(parts[1].type, "text/html");
    EXPECT_EQ(parts[1].bytes, "<p>f\xC3\xBCnf</p>");
    EXPECT_EQ(parts[2].bytes, "\nBye\n");
    mail.body = "<x-rich><bold>five</bold></x-rich>";
    EXPECT_EQ(Read().parts.at(0).type, "text/enriched");
    mail.body =
        "This is a long line of a flowed text, as a wrapping writer made it, \r\nand so on.\r\n";
    EXPECT_EQ(Read().parts.at(0).format, "flowed");
}

TEST_F(ComposeTest, AttachmentsComeWithNameTypeAndBytesAndMissingOnesAreTold) {
    std::string bytes;
    for (int i = 0; i < 200000; ++i) bytes += static_cast<char>((i * 7919) >> 3);
    const std::string longName = std::string(200, 'n') + ".txt";
    Attach("report.pdf", bytes);
    Attach("\xE5\x86\x99\xE7\x9C\x9F 1.JPG", "");
    Attach("..\\..\\evil\n.exe", "MZ");
    Attach(longName, "From me\nto you");
    mail.attachments.push_back({"gone.txt", "C:\\T\\gone"});
    mail.notes = {"reading field 8 failed: no file"};
    const auto parts = Read().parts;
    ASSERT_EQ(parts.size(), 6U);
    EXPECT_EQ(parts[0].bytes, "Come at five.\n");
    EXPECT_EQ(parts[1].fileName, "report.pdf");
    EXPECT_EQ(parts[1].type, "application/pdf");
    EXPECT_TRUE(parts[1].bytes == bytes);
    EXPECT_EQ(parts[2].fileName, "\xE5\x86\x99\xE7\x9C\x9F 1.JPG");
    EXPECT_EQ(parts[2].bytes, "");
    EXPECT_EQ(parts[3].fileName, "evil_.exe");
    EXPECT_EQ(parts[4].fileName, longName);
    EXPECT_EQ(parts[4].bytes, "From me\nto you");
    EXPECT_EQ(parts[5].bytes,
              "[The attachment gone.txt is missing.]\n"
              "[Not all could be read: reading field 8 failed: no file]\n");
}

TEST_F(ComposeTest, ATextThatHoldsTheBoundaryGetsAnotherOne) {
    Attach("a.txt", "a");
    const std::string first = Compose();
    const auto begin = first.find("boundary=\"") + 10;
    const std::string boundary = first.substr(begin, first.find('"', begin) - begin);
    mail.body = "--" + boundary + "\n--" + boundary + "--\n";
    const auto parts = Read().parts;
    ASSERT_EQ(parts.size(), 2U);
    EXPECT_EQ(parts[0].bytes, *mail.body);
}

// Bytes that encodings stumble over: line ends, blanks in front of them, "From ", dots, escapes,
// NUL, long lines, UTF-8 and what is none.
std::string RandomBody(std::mt19937& random) {
    constexpr std::string_view kPieces =
        "\n|\r|\r\n| |  \n|\t\n|From |\nFrom x\n|.\n|=|=20|=\n|--|=_|\xC3\xA9|\xE6\x97\xA5|\x80|"
        "\xFF|\0|word|a longer run of words, |\x1B[0m|\x7F|>From "sv;
    const std::string favourite = OneOf(random, kPieces);
    std::string body;
    for (unsigned i = random() % 60; i > 0; --i) {
        body += random() % 3 == 0 ? favourite : OneOf(random, kPieces);
        if (random() % 30 == 0) body += std::string(1100, 'l');
    }
    return body;
}

bool IsClean(const std::string& message) {
    for (std::size_t begin = 0, end = 0; begin < message.size(); begin = end + 1) {
        end = std::min(message.find('\n', begin), message.size());
        if (end - begin > 998 || message.compare(begin, 5, "From ") == 0) return false;
    }
    return message.find_first_of(std::string("\r\0", 2)) == std::string::npos;
}

TEST_F(ComposeTest, AnyBodyComesBackAndTheSameMailGivesTheSameBytes) {
    std::mt19937 random(20261124);
    for (int round = 0; round < 5000; ++round) {
        mail.body = RandomBody(random);
        mail.attachments.clear();
        if (round % 3 == 0) Attach("a.txt", "attached");
        const std::string message = Compose();
        EXPECT_TRUE(IsClean(message)) << message;
        EXPECT_EQ(Compose(), message);
        const ReadMessage read = ParseMessage(message);
        ASSERT_EQ(read.parts.size(), mail.attachments.size() + 1) << message;
        ASSERT_EQ(read.parts[0].bytes, mail::NormalLineEnds(*mail.body)) << message;
        EXPECT_TRUE(mail.attachments.empty() || read.parts[1].bytes == "attached");
    }
}

}  // namespace
}  // namespace host::testing
