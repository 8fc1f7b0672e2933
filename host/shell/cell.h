#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "host/shell/arguments.h"
#include "platform/os/not_copied.h"

namespace host::shell {

// The type that the interface promises for a field of that data kind, whatever a settings file
// lists. Nothing for a kind without fields.
std::optional<unsigned long> FieldType(unsigned long kind, const std::string& id);

// A value cell of the translator interface, of any field type. It cannot be moved while the module
// knows its address.
class Cell : platform::NotCopied {
  public:
    // An empty cell: number 0, no date, a null text.
    explicit Cell(unsigned long type);
    // Filled from JSON: a text, a number, true or false, or null for no value. Complains if the
    // value does not fit the type.
    Cell(unsigned long type, const Json& value);

    unsigned long Type() const { return m_type; }
    void* Address();
    // The value as JSON. A text that the module stored here is released.
    Json Take();

  private:
    bool IsDate() const { return m_type >= 5 && m_type <= 7; }

    unsigned long m_type;
    // One place for all types: a translator that writes another type than asked for stays inside.
    union {
        char* m_text = nullptr;
        double m_date;
        std::int32_t m_number;
    };
    std::string m_bytes;
};

}  // namespace host::shell
