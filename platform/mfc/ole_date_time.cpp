#include "platform/mfc/ole_date_time.h"

#include <cmath>

namespace {

constexpr double kBeforeFirstDay = -657435.0;  // 0100-01-01 is -657434, whatever the time of day
constexpr double kAfterLastDay = 2958466.0;    // 9999-12-31 is 2958465

}  // namespace

COleDateTime::COleDateTime(double date)
    : m_date(date), m_status(date > kBeforeFirstDay && date < kAfterLastDay ? kValid : kInvalid) {}

double COleDateTime::Days() const {
    const double day = std::trunc(m_date);
    return day + std::fabs(m_date - day);
}
