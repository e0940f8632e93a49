#include "plugins/cPluginInstance.h"

#include "core/cXmlTree.h"
#include "plugins/LibrarySuffix.h"
#include "plugins/cManifestReader.h"
#include "plugins/cTranslationLocale.h"
#include "plugins/cVariableExpander.h"

#include <Norvale/IPlugin.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QDir>
#include <QtCore/QFileInfo>

#include <exception>

namespace {

/// Calls into a plugin. @return what was thrown, empty when nothing was. The text is copied before the exception goes,
/// for its type lives in the library, which may be unloaded next.
template <typename Call>
QString whatIsThrownBy(Call call)
{
    try {
        call();
        return QString();
    } catch (const std::exception& exception) {
        return QStringLiteral("threw an exception: %1").arg(QString::fromLocal8Bit(exception.what()));
    } catch (...) {
        return QStringLiteral("threw an exception of unknown type");
    }
}

} // namespace

cPluginInstance::cPluginInstance(const QString& name, const cVersion& version)
    : m_name(name), m_version(version), m_context(*this)
{
    // A symbol that is missing is to be found out when the library is loaded, not in the middle of a call.
    m_library.setLoadHints(QLibrary::ResolveAllSymbolsHint);
}

cPluginInstance::~cPluginInstance() = default;

QStringList cPluginInstance::dependencies() const
{
    return m_manifest.dependencies;
}

void cPluginInstance::setState(qint32 state)
{
    m_state = state;
}

qint32 cPluginInstance::state() const
{
    return m_state;
}

bool cPluginInstance::readManifest()
{
    m_manifest = cManifest();
    cManifestReader reader(cPluginId(m_name, m_version), m_folder, m_manifest);
    return reader.readFile(m_folder + QLatin1String("/Manifest.xml")) || fail(reader.errorString());
}

bool cPluginInstance::readCommandLines(const cXmlElement& element, QList<cCmdLine>& target)
{
    cManifestReader reader(cPluginId(m_name, m_version), m_folder, m_manifest);
    for (cXmlElement line = element; !line.isNull(); line = line.nextSibling(u"cmdline"))
        target.append(reader.readCommandLine(line));
    return true;
}

QString cPluginInstance::expandVariables(const QString& text) const
{
    return cVariableExpander(cPluginId(m_name, m_version), m_folder).expand(text);
}

bool cPluginInstance::loadLibrary()
{
    if (m_manifest.libraryPath.isEmpty())
        return fail(QStringLiteral("its manifest names no library"));
    const QFileInfo file(m_manifest.libraryPath + QLatin1String(LibrarySuffix));
    // QLibrary would go on to look for similar names.
    if (!file.exists())
        return fail(QStringLiteral("its library %1 does not exist").arg(file.absoluteFilePath()));
    m_library.setFileName(file.absoluteFilePath());
    if (!m_library.load())
        return fail(QStringLiteral("its library cannot be loaded: %1").arg(m_library.errorString()));
    return callEntryFunction();
}

bool cPluginInstance::callEntryFunction()
{
    using EntryFunction = IPlugin* (*)();
    const QString text = QStringLiteral("the entry function \"%1\" of its library %2 %3");
    const auto entry =
        reinterpret_cast<EntryFunction>(m_library.resolve(m_manifest.entryFunction.toLatin1().constData()));
    if (!entry)
        return fail(text.arg(m_manifest.entryFunction, m_library.fileName(), QStringLiteral("does not exist")));
    const QString thrown = whatIsThrownBy([&] { m_object = entry(); });
    if (m_object)
        return true;
    return fail(text.arg(m_manifest.entryFunction, m_library.fileName(),
                         thrown.isEmpty() ? QStringLiteral("answers null") : thrown));
}

bool cPluginInstance::unloadLibrary()
{
    m_object = nullptr;
    return m_library.unload();
}

bool cPluginInstance::isLibraryLoaded() const
{
    return m_library.isLoaded();
}

bool cPluginInstance::start()
{
    if (!m_object)
        return fail(QStringLiteral("it has no plugin object"));
    registerSearchPath();
    installTranslation();
    bool isStarted = false;
    const QString thrown = whatIsThrownBy([&] { isStarted = m_object->start(&m_context); });
    if (isStarted)
        return true;
    return fail(QStringLiteral("its start %1").arg(thrown.isEmpty() ? QStringLiteral("returned false") : thrown));
}

bool cPluginInstance::stop()
{
    if (!m_object)
        return true;
    const QString thrown = whatIsThrownBy([&] { m_object->stop(&m_context); });
    return thrown.isEmpty() || fail(QStringLiteral("its stop %1").arg(thrown));
}

QString cPluginInstance::identity() const
{
    return m_name + QLatin1Char('-') + m_version.toString();
}

void cPluginInstance::setFolder(const QString& path)
{
    m_folder = path == QLatin1String("#default") ? QLatin1String("core:plugins/") + identity() : path;
}

void cPluginInstance::registerSearchPath()
{
    // A plugin that is started again after a failure has its folder there already.
    if (!QDir::searchPaths(m_name).contains(m_folder))
        QDir::addSearchPath(m_name, m_folder);
}

void cPluginInstance::installTranslation()
{
    const QString file =
        m_folder + QLatin1String("/ts/strings_") + cTranslationLocale::current() + QLatin1String(".qm");
    if (QFileInfo::exists(file) && m_translator.load(file))
        QCoreApplication::installTranslator(&m_translator);
}

bool cPluginInstance::fail(const QString& reason)
{
    m_errorString = reason;
    return false;
}
