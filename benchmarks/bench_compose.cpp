#include <benchmark/benchmark.h>

#include "host/mail/compose.h"
#include "host/mail/mail.h"
#include "platform/testing/memory_files.h"

// What it costs to make one Internet message of a mail that the translator has told.
namespace host {
namespace {

// About `bytes` of text as the translator gives it, with an accent in every `every`-th line.
std::string TextOf(std::size_t bytes, unsigned every) {
    std::string text;
    for (unsigned line = 0; text.size() < bytes; ++line) {
        text += "The tide is right at ten, so we meet at the boat house; number ";
        text += std::to_string(line) + (line % every == 0 ? ", caf\xC3\xA9" : "") + ".\r\n";
    }
    return text;
}

mail::Mail MailOf(std::string body) {
    mail::Mail mail;
    mail.id = "0x00000012";
    mail.messageId = "20260901081500.1a2b@example.com";
    mail.from = "ann.harper@example.org";
    mail.to = "bob.smith@example.com; carla.vance@example.net";
    mail.subject = "Thursday at the boat house";
    mail.date = 46266.34375;
    mail.body = std::move(body);
    return mail;
}

void Run(benchmark::State& state, platform::Files& files, const mail::Mail& mail) {
    std::size_t bytes = 0;
    for (auto step : state) {
        const auto count = [&](std::string_view piece) -> platform::Status {
            bytes += piece.size();
            return {};
        };
        benchmark::DoNotOptimize(
            mail::ComposeMail(files, mail, std::chrono::hours(1), count).HasValue());
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(bytes));
}

void BM_Ascii(benchmark::State& state) {
    platform::testing::MemoryFiles files;
    Run(state, files, MailOf(TextOf(static_cast<std::size_t>(state.range(0)), ~0U)));
}
BENCHMARK(BM_Ascii)->Arg(1 << 10)->Arg(10 << 10)->Arg(1 << 20);

void BM_Accents(benchmark::State& state) {
    platform::testing::MemoryFiles files;
    Run(state, files, MailOf(TextOf(static_cast<std::size_t>(state.range(0)), 3)));
}
BENCHMARK(BM_Accents)->Arg(10 << 10)->Arg(1 << 20);

void BM_Html(benchmark::State& state) {
    platform::testing::MemoryFiles files;
    Run(state, files, MailOf("Look:\r\n<x-html><p>" + TextOf(10 << 10, 3) + "</p></x-html>\r\n"));
}
BENCHMARK(BM_Html);

void BM_Attachment(benchmark::State& state) {
    platform::testing::MemoryFiles files;
    files.Put("C:\\a", std::string(static_cast<std::size_t>(state.range(0)), 'a'));
    mail::Mail mail = MailOf(TextOf(1 << 10, 3));
    mail.attachments = {{"picture.png", "C:\\a"}};
    Run(state, files, mail);
}
BENCHMARK(BM_Attachment)->Arg(1 << 20);

}  // namespace
}  // namespace host

BENCHMARK_MAIN();
