#pragma once

#include "isolation/Frames.h"
#include "services/cMethodCall.h"

#include <QtCore/QVector>

/// The values of calls by name and of events, with their types, on their way from one process to another.
namespace RemoteCalls {

/// Writes the values up to the first empty one. @return why they cannot travel; empty when they can.
QString write(const cMethodCall::Values& values, cFrameWriter* frame);

/// Values that have arrived.
class cReadValues
{
public:
    cReadValues() = default;
    cReadValues(const cReadValues&) = delete;
    cReadValues& operator=(const cReadValues&) = delete;

    /// @return false when they are damaged.
    [[nodiscard]] bool read(cFrameReader& frame);

    /// For a call; they live as long as this object.
    const cMethodCall::Values& values() const { return m_values; }

private:
    std::array<QByteArray, cMethodCall::MaxValues> m_names;
    std::array<QVariant, cMethodCall::MaxValues> m_read;
    cMethodCall::Values m_values;
};

} // namespace RemoteCalls
