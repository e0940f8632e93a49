#pragma once

#include <Norvale/cJsonValue.h>

#include <QtCore/QJsonValue>
#include <QtCore/QVariant>

// Lets services take and return the library's JSON values in calls by name.
Q_DECLARE_METATYPE(cJsonValue)

/// Turns the JSON arguments of a call into values of the types that a method declares, and what it returned into JSON.
namespace CallValues {

enum Fit {
    Exact,    // only what JSON itself says: text for text, an integral number in range for an integer
    Converted // also what can be read from it: "12" for an integer, 12 for text, "[1]" for a list
};

/**
 * Makes a value of the meta type @p type from @p json.
 * @return false when it does not fit: not a number, out of range, a type that is not registered, or nested deeper than
 * WireText::MaxDepth.
 */
[[nodiscard]] bool fromJson(const cJsonValue& json, int type, Fit fit, QVariant* value);

/**
 * Makes JSON from @p value, by its type: texts stay texts, whatever they look like; bytes are shown as UTF-8, times in
 * ISO form, lists and maps element by element, other types by their own conversion to text.
 * @return false when the type has no JSON form, or the value is nested deeper than WireText::MaxDepth.
 */
[[nodiscard]] bool toJson(const QVariant& value, QJsonValue* json, int depth = 0);

} // namespace CallValues
