#pragma once

#include <new>
#include <span>

namespace frame {

// The filter records that the host has handed over. They are freed with their texts when others
// come or this object goes.
template <class Record>
class FilterList {
  public:
    FilterList() = default;
    ~FilterList() { TakeOver(nullptr, 0); }
    FilterList(const FilterList&) = delete;
    FilterList& operator=(const FilterList&) = delete;

    // A list without entries is not ours to free: hosts hand in a pointer of their own with
    // count 0.
    void TakeOver(Record* records, int count) {
        for (Record& record : m_records) {
            ::operator delete(record.pszFieldId);
            if constexpr (requires { record.pszText; }) ::operator delete(record.pszText);
        }
        if (!m_records.empty()) ::operator delete(m_records.data());
        m_records = {};
        if (records != nullptr && count > 0) {
            m_records = std::span(records, static_cast<std::size_t>(count));
        }
    }

    auto begin() const { return m_records.begin(); }
    auto end() const { return m_records.end(); }

  private:
    std::span<Record> m_records;
};

}  // namespace frame
