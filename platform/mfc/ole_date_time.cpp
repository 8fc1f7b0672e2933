#include "platform/mfc/ole_date_time.h"

#include <cmath>

#include "text/calendar.h"

COleDateTime::COleDateTime(double date)
    : m_date(date), m_status(text::IsOleDate(date) ? kValid : kInvalid) {}

double COleDateTime::Days() const {
    const double day = std::trunc(m_date);
    return day + std::fabs(m_date - day);
}
