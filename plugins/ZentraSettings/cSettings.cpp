#include "cSettings.h"

#include <Norvale/IServiceMgr.h>
#include <Norvale/cJsonReader.h>
#include <Norvale/cJsonWriter.h>
#include <QtCore/QDir>
#include <QtCore/QFileInfo>
#include <QtCore/QRegularExpression>
#include <QtCore/QSaveFile>

namespace {
/// The JSON writer writes member names as they stand, so only harmless ones are taken.
bool isKey(const QString& key)
{
    static const QRegularExpression harmless(QStringLiteral("\\A[A-Za-z0-9/._~%-]+\\z"));
    return harmless.match(key).hasMatch();
}

void tellChange(const QString& key, const QString& value)
{
    IServiceMgr::instance()->notify("SettingsEvents", "Changed", Q_ARG(QString, key), Q_ARG(QString, value));
}
} // namespace

cSettings::cSettings(const QString& path, const cLog& log) : m_path(path), m_log(log), m_values(ObjectType) {}

bool cSettings::load()
{
    QFile file(m_path);
    if (!file.exists())
        return true;
    if (!file.open(QIODevice::ReadOnly)) {
        m_log.error().noquote() << m_path << "cannot be read:" << file.errorString() << Qt::endl;
        return false;
    }
    cJsonValue values;
    if (cJsonReader::parse(file.readAll(), values) && values.isObject()) {
        m_values = values;
        return true;
    }
    file.close();
    const QString aside = m_path + QStringLiteral(".broken");
    QFile::remove(aside);
    const bool isSetAside = file.rename(aside);
    m_log.warning().noquote() << m_path << "is not a JSON object;"
                              << (isSetAside ? "set aside as " + aside : "it could not be set aside") << Qt::endl;
    return isSetAside;
}

QString cSettings::value(const QString& key, const QString& fallback) const
{
    if (!m_values.contains(key))
        return fallback;
    const cJsonValue& value = m_values[key];
    return value.isString() ? value.toString() : QString::fromLatin1(cJsonWriter::serialize(value));
}

bool cSettings::setValue(const QString& key, const QString& value)
{
    if (!isKey(key)) {
        m_log.warning() << "a key cannot be" << key << Qt::endl;
        return false;
    }
    if (m_values.get(key, cJsonValue()) == cJsonValue(value))
        return true;
    cJsonValue values = m_values;
    if (!replaceValues(values.insert(key, value)))
        return false;
    tellChange(key, value);
    return true;
}

bool cSettings::remove(const QString& key)
{
    cJsonValue values = m_values;
    if (!m_values.contains(key) || !replaceValues(values.deleteKey(key)))
        return false;
    tellChange(key, QString());
    return true;
}

QStringList cSettings::keys() const
{
    return m_values.keys();
}

/// Writes beside the file and renames, so that a crash leaves the old or the new file, never half of one.
bool cSettings::replaceValues(const cJsonValue& values)
{
    QDir().mkpath(QFileInfo(m_path).absolutePath());
    QSaveFile file(m_path);
    if (!file.open(QIODevice::WriteOnly) || file.write(values.prettyPrint(2).toUtf8() + '\n') < 0 || !file.commit()) {
        m_log.error().noquote() << m_path << "cannot be written:" << file.errorString() << Qt::endl;
        return false;
    }
    m_values = values;
    return true;
}
