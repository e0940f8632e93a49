#include "version/ForeignCode.h"

#include <exception>

QString whatWasThrown()
{
    try {
        throw;
    } catch (const std::exception& exception) {
        return QStringLiteral("threw an exception: %1").arg(QString::fromLocal8Bit(exception.what()));
    } catch (...) {
        return QStringLiteral("threw an exception of unknown type");
    }
}

thread_local cStartJournal* cStartJournal::s_innermost = nullptr;

QStringList cStartJournal::undo(const std::function<bool(const void* code)>& isKept)
{
    QStringList undone;
    while (!m_entries.isEmpty()) {
        const Entry entry = m_entries.takeLast();
        const QString text = isKept(entry.code) ? QString() : entry.undo();
        if (!text.isEmpty())
            undone.append(text);
    }
    return undone;
}
