#pragma once

#include <cstdint>

// An OLE automation date: days since 1899-12-30 as a double, time as fraction. Valid from
// 0100-01-01 to 9999-12-31.
class COleDateTime {
  public:
    enum Status : std::int32_t { kValid = 0, kInvalid = 1, kNull = 2 };

    COleDateTime() = default;
    explicit COleDateTime(double date);

    Status GetStatus() const { return m_status; }
    void SetStatus(Status status) { m_status = status; }
    double Value() const { return m_date; }

    // Earlier in time; not the order of the numbers, since before 1899-12-30 the fraction of a
    // date still counts forward from midnight.
    friend bool operator<(const COleDateTime& a, const COleDateTime& b) {
        return a.Days() < b.Days();
    }

    double m_date = 0.0;
    Status m_status = kValid;

  private:
    double Days() const;
};
