#pragma once

#include <QtCore/QVariant>

class cJsonValue;

/// Turns the JSON arguments of a call into values of the types that a method declares.
namespace ArgumentValue {

enum Fit {
    Exact,    ///< only what JSON itself says: text for text, an integral number in range for an integer
    Converted ///< also what can be read from it: "12" for an integer, 12 for text, "[1]" for a list
};

/**
 * Makes a value of the meta type @p type from @p json.
 * @return false when it does not fit: not a number, out of range, a type that is not registered, or nested deeper than
 * WireText::MaxDepth.
 */
[[nodiscard]] bool make(const cJsonValue& json, int type, Fit fit, QVariant* value);

} // namespace ArgumentValue
