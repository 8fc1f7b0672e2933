// The dates of mails on the machine's own clock, in zones that the variable TZ sets.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <random>

#include "mailstore/mail_date.h"
#include "platform/os/system.h"

namespace {

// The machine's zone while it lives.
class Zone {
  public:
    explicit Zone(const char* name) {
        setenv("TZ", name, 1);
        tzset();
    }
    ~Zone() {
        unsetenv("TZ");
        tzset();
    }
};

// The C library's own functions, step by step, against any minute of 130 or 2900 years.
TEST(MailDateNative, AgreesWithTheStepsOfTheCLibrary) {
    std::mt19937 random(4);
    for (const char* name : {"Europe/Berlin", "America/St_Johns", "Australia/Lord_Howe",
                             "Asia/Tokyo", "Pacific/Chatham", "America/Sao_Paulo", "UTC"}) {
        const Zone zone(name);
        for (int i = 0; i < 1000; ++i) {
            const long days = i % 2 == 0 ? 73'000 : 1'100'000;
            const auto minute =
                std::uniform_int_distribution<long>(36525L * 1440, days * 1440)(random);
            const std::string text = std::to_string(static_cast<double>(minute) / 1440);
            time_t wall = (minute - 25569L * 1440) * 60;
            tm fields{};
            gmtime_r(&wall, &fields);
            fields.tm_isdst = 0;
            const time_t t = mktime(&fields);
            gmtime_r(&t, &fields);
            const time_t u = mktime(&fields);
            const auto date =
                mailstore::ConvertMailDate(text.c_str(), platform::NativeSystem().clock, true);
            char shown[64];
            std::snprintf(shown, sizeof shown, "%02d:%02d:%2d %d/%d/%d %c%02ld%02ld",
                          fields.tm_hour, fields.tm_min, fields.tm_sec, fields.tm_mon + 1,
                          fields.tm_mday, fields.tm_year, t < u ? '-' : '+', labs(t - u) / 3600,
                          labs(t - u) % 3600 / 60);
            ASSERT_EQ(date.dwSeconds, std::min<time_t>(u, 0xFFFFFFFF)) << name << ' ' << text;
            ASSERT_EQ(date.szDate, shown) << name << ' ' << text;
        }
    }
}

// Where they fail, what holds at that time counts: this zone has left out 40 minutes.
TEST(MailDateNative, ATimeThatIsNone) {
    const Zone zone("Pacific/Kiritimati");
    auto& clock = platform::NativeSystem().clock;
    const auto date = mailstore::ConvertMailDate("29129", clock, false);
    EXPECT_EQ(date.line, "Date: Mon, 01 Oct 1979 00:00:00 -1000");
}

}  // namespace
