#pragma once

#include <chrono>
#include <stdexcept>
#include <string>

#include <gtest/gtest.h>

#include "host/base/failure.h"
#include "host/mail/compose.h"
#include "host/mail/parse.h"
#include "platform/testing/fixed_clock.h"
#include "platform/testing/memory_files.h"

namespace host {

// Files, a clock and a code page to compose and to read mails with.
struct MailFiles {
    unsigned codePage = 1252;
    platform::testing::MemoryFiles files;
    platform::testing::FixedClock clock;

    // The message in one text. No attachment is in memory as a whole.
    std::string Compose(const mail::Mail& mail) {
        std::string message;
        const auto take = [&](std::string_view piece) -> host::base::Status {
            message += piece;
            EXPECT_LT(piece.size(), 200'000u);
            return {};
        };
        auto status = mail::ComposeMail(files, mail, clock.offset, take);
        if (!status) throw std::runtime_error(status.Error().Message());
        return message;
    }
    mail::NewMail Parse(std::string_view message) {
        files.MakeFolders("C:\\in\\");
        auto mail = mail::ParseMail(message, {files, "C:\\in", codePage, clock}, "the mail");
        if (!mail) throw std::runtime_error(mail.Error().Message());
        return *std::move(mail);
    }
    std::string Content(const mail::NewAttachment& attachment) {
        return *platform::ReadWhole(files, attachment.path, 1u << 30);
    }
};

}  // namespace host
