#include "cJournal.h"

#include <Norvale/cJsonValue.h>
#include <QtCore/QDateTime>
#include <QtCore/QDir>
#include <QtCore/QFileInfo>

cJournal::cJournal(int keptLines, const cLog& log) : m_keptLines(qMax(1, keptLines)), m_log(log) {}

bool cJournal::open(const QString& path, qint64 largestFile)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    if (QFileInfo(path).size() > largestFile) {
        QFile::remove(path + QStringLiteral(".old"));
        QFile::rename(path, path + QStringLiteral(".old"));
    }
    m_file.setFileName(path);
    if (m_file.open(QIODevice::WriteOnly | QIODevice::Append | QIODevice::Text))
        return true;
    m_log.error().noquote() << path << "cannot be written:" << m_file.errorString() << Qt::endl;
    return false;
}

void cJournal::note(const QString& who, const QString& what)
{
    const QString time = QDateTime::currentDateTime().toString(QStringLiteral("yyyy-MM-dd HH:mm:ss"));
    // a text from outside must not look like a line of its own
    const QString line = QStringLiteral("%1  %2: %3").arg(time, who.simplified(), what.simplified());
    m_lines.append(line);
    if (m_lines.size() > m_keptLines)
        m_lines.removeFirst();
    m_file.write(line.toUtf8() + '\n');
    m_file.flush();
}

QStringList cJournal::last(int count) const
{
    return m_lines.mid(qMax(0, m_lines.size() - qMax(0, count)));
}

void cJournal::handleMessage(int, const cJsonValue& message)
{
    if (message.get("command", cJsonValue()).toString() == QLatin1String("NEWSERVICE"))
        note(QStringLiteral("services"), message.get("service_id", cJsonValue()).toString() + " is there");
}

void cJournal::hostLoadPluginCategoryCompleted(const QString& category)
{
    note(QStringLiteral("plugins"), "the category " + category + " is loaded");
}

void cJournal::settingsChanged(const QString& key, const QString& value)
{
    note(QStringLiteral("settings"), QStringLiteral("%1 is now \"%2\"").arg(key, value));
}

void cJournal::heartbeatBeat(int count)
{
    note(QStringLiteral("heartbeat"), QStringLiteral("beat %1").arg(count));
}

void cJournal::greeterGreeted(const QString& name)
{
    note(QStringLiteral("greeter"), "has greeted " + name);
}
