#pragma once

#include <string>
#include <string_view>
#include <vector>

// The 8-bit text class that crosses the translator interface. It wraps one std::string and may
// hold any bytes; the encoding is the system code page.
// A null text counts as the empty one.
class CString {
  public:
    CString() = default;
    CString(const char* text) : m_text(text != nullptr ? text : "") {}
    CString(std::string text) : m_text(std::move(text)) {}
    CString(std::string_view text) : m_text(text) {}

    operator const char*() const { return m_text.c_str(); }
    const std::string& Str() const { return m_text; }
    std::string& Str() { return m_text; }
    int GetLength() const { return static_cast<int>(m_text.size()); }
    bool IsEmpty() const { return m_text.empty(); }
    void Empty() { m_text.clear(); }

    friend bool operator==(const CString& a, const CString& b) { return a.m_text == b.m_text; }
    friend bool operator==(const CString& a, const char* b) { return a.m_text == b; }

  private:
    std::string m_text;
};

// A growable array with the element access that the given data models name.
template <class T>
class CArray {
  public:
    int GetSize() const { return static_cast<int>(m_items.size()); }
    bool IsEmpty() const { return m_items.empty(); }
    // Gives the position of the new element.
    int Add(T item) {
        m_items.push_back(std::move(item));
        return GetSize() - 1;
    }
    // Reserves the memory for the next Add, so that it cannot fail.
    void MakeRoom() {
        if (m_items.size() == m_items.capacity()) m_items.reserve(2 * m_items.size() + 1);
    }
    T GetAt(int index) const { return m_items[static_cast<std::size_t>(index)]; }
    void SetAt(int index, T item) { m_items[static_cast<std::size_t>(index)] = std::move(item); }
    void RemoveAt(int index) { m_items.erase(m_items.begin() + index); }
    void RemoveAll() { m_items.clear(); }
    auto begin() const { return m_items.begin(); }
    auto end() const { return m_items.end(); }

  private:
    std::vector<T> m_items;
};

using CStringArray = CArray<CString>;
