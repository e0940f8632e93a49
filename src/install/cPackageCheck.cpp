#include "install/cPackageCheck.h"

QString cPackageFinding::toString() const
{
    return entry.isEmpty() ? text : entry + QLatin1String(": ") + text;
}

QString cPackageFinding::ruleName(Rule rule)
{
    static const char* const names[] = {"readable",    "hash",       "manifest",     "identity",      "entry-name",
                                        "entry-clash", "entry-type", "entry-record", "entry-content", "size"};
    return QString::fromLatin1(names[rule]);
}

cPackageCheck::Limits cPackageCheck::Limits::fromSettings()
{
    return Limits();
}

void cPackageCheck::expectIdentity(const QString& name, const cVersion& version)
{
    m_isIdentityExpected = true;
    m_expectedName = name;
    m_expectedVersion = version;
}

bool cPackageCheck::checkFile(const QString& path)
{
    cPackageFinding finding;
    finding.text = QStringLiteral("%1 is not looked at").arg(path);
    m_findings = {finding};
    return false;
}

bool cPackageCheck::check(const QByteArray&)
{
    return checkFile(QString());
}
