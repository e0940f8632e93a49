#pragma once

#include <Norvale/cJsonValue.h>

#include <QtCore/QMetaType>
#include <QtCore/QObject>
#include <QtCore/QStringList>
#include <QtCore/QThread>
#include <QtCore/QUrl>
#include <QtCore/QVariant>

#include <stdexcept>

/// Methods of the kinds that calls by name have to cope with.
class cTextService : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("service", SERVICE_NAME)

public:
    Q_INVOKABLE QString name() { return QStringLiteral(PLUGIN_NAME); }
    Q_INVOKABLE QString upper(const QString& text) { return text.toUpper(); }
    Q_INVOKABLE QString kind(int) { return QStringLiteral("int"); }
    Q_INVOKABLE QString kind(const QString&) { return QStringLiteral("text"); }
    Q_INVOKABLE QString kind(bool, double) { return QStringLiteral("bool, double"); }
    Q_INVOKABLE int add(int a, int b = 1) { return a + b; }
    Q_INVOKABLE qlonglong longer(qlonglong number) { return number; }
    Q_INVOKABLE double third() { return 1.0 / 3; }
    Q_INVOKABLE QString digits() { return QStringLiteral("007"); }
    Q_INVOKABLE void nothing() {}
    Q_INVOKABLE QStringList reversed(const QStringList& list) { return {list.crbegin(), list.crend()}; }
    Q_INVOKABLE QVariantMap pair(const QVariant& a, const QVariant& b) { return {{"a \"a\"", a}, {"b", b}}; }
    Q_INVOKABLE cJsonValue member(const cJsonValue& object) { return object.get("member", cJsonValue()); }
    Q_INVOKABLE QString host(const QUrl& url) { return url.host(); }
    Q_INVOKABLE QStringList ten(int a, int b, int c, int d, int e, int f, int g, int h, int i, const QString& j)
    {
        return {QString::number(a + b + c + d + e + f + g + h + i), j};
    }
    Q_INVOKABLE QString filled(int size) { return QString(size, QLatin1Char('x')); }
    Q_INVOKABLE void sleep(int milliseconds) { QThread::msleep(ulong(milliseconds)); }
    Q_INVOKABLE void fail() { throw std::runtime_error("out of ink"); }
    Q_INVOKABLE QThread* unknown() { return nullptr; }

signals:
    void changed();
};
