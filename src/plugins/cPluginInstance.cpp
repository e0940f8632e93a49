#include "plugins/cPluginInstance.h"

#include "core/cXmlTree.h"
#include "plugins/ManifestRules.h"
#include "plugins/cLibraryFile.h"
#include "plugins/cManifestReader.h"
#include "plugins/cVariableExpander.h"
#include "version/ForeignCode.h"

#include <Norvale/IPlugin.h>
#include <Norvale/cJsonValue.h>
#include <Norvale/cLogCentral.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QDir>
#include <QtCore/QFileInfo>
#include <QtCore/QRegularExpression>

namespace {

using Stage = cPluginInstance::Stage;

bool isMove(Stage from, Stage to)
{
    switch (to) {
    case Stage::Known:
        return from == Stage::Faulty || from == Stage::Read;
    case Stage::Faulty:
        return from == Stage::Known;
    case Stage::Read:
        return from == Stage::Known || from == Stage::Loading || from == Stage::Loaded;
    case Stage::Loading:
        return from == Stage::Read;
    case Stage::Loaded:
        return from == Stage::Loading;
    case Stage::Started:
        return from == Stage::Loaded;
    case Stage::Stopped:
        return from == Stage::Started;
    }
    return false;
}

/// What may be wrong where a library does not exist: build systems put "lib" before the name.
QString hintAt(const QString& path)
{
    const QFileInfo wanted(path);
    const QString prefixed = QStringLiteral("lib") + wanted.fileName();
    return wanted.dir().exists(prefixed) ? QStringLiteral("; %1 does, but names have no prefix").arg(prefixed)
                                         : QString();
}

} // namespace

#ifdef Q_OS_WIN
const char* const cPluginInstance::LibrarySuffix = ".dll";
#else
const char* const cPluginInstance::LibrarySuffix = ".so";
#endif

QString cPluginContext::name() const
{
    return m_plugin.name();
}

cJsonValue cPluginContext::params() const
{
    return m_plugin.params();
}

cLog cPluginContext::log() const
{
    return cLogCentral::log(m_plugin.name());
}

cTranslationLocale* cTranslationLocale::s_innermost = nullptr;

QString cTranslationLocale::current()
{
    const auto read = [](const QSettings& settings) {
        return settings.value(QLatin1String(SettingsKey::Locale)).toString();
    };
    return s_innermost ? read(s_innermost->m_settings) : read(cMachineSettings());
}

cPluginInstance::cPluginInstance(const cPluginId& id) : m_id(id), m_context(*this) {}

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
    cManifestReader reader(m_id, m_folder, m_manifest);
    const bool isRead = reader.readFile(manifestFile());
    m_warnings = reader.warnings();
    return isRead || fail(reader.errorString());
}

QStringList cPluginInstance::takeManifestWarnings()
{
    if (m_warnings == m_takenWarnings)
        return QStringList();
    m_takenWarnings = m_warnings;
    return m_warnings;
}

QString cPluginInstance::manifestFile() const
{
    return m_folder + QLatin1Char('/') + ManifestRules::FileName;
}

bool cPluginInstance::readCommandLines(const cXmlElement& element, QList<cCmdLine>& target)
{
    cManifestReader reader(m_id, m_folder, m_manifest);
    for (cXmlElement line = element; !line.isNull(); line = line.nextSibling(u"cmdline"))
        target.append(reader.readCommandLine(line));
    return true;
}

QString cPluginInstance::expandVariables(const QString& text) const
{
    return cVariableExpander(m_id, m_folder).expand(text);
}

cPluginInfo::State cPluginInstance::progress() const
{
    switch (m_stage) {
    case Stage::Loaded:
        return cPluginInfo::Loaded;
    case Stage::Started:
        return cPluginInfo::Started;
    case Stage::Stopped:
        return cPluginInfo::Stopped;
    default: // not loaded yet
        return m_state != 0 ? cPluginInfo::Ordered : cPluginInfo::Registered;
    }
}

bool cPluginInstance::takeNews()
{
    std::pair<cPluginInfo::State, QString> now(progress(), m_failure.isEmpty() ? whyDown() : m_failure);
    now.swap(m_told);
    return now != m_told;
}

bool cPluginInstance::reconsider()
{
    if (m_stage == Stage::Faulty)
        m_failure.clear();
    if (m_stage == Stage::Faulty || m_stage == Stage::Read)
        moveTo(Stage::Known);
    return m_stage == Stage::Known;
}

bool cPluginInstance::loadLibrary()
{
    if (m_stage == Stage::Known || m_stage == Stage::Faulty)
        return fail(QStringLiteral("its manifest has not been accepted"));
    if (m_manifest.libraryPath.isEmpty())
        return fail(QStringLiteral("its manifest names no library"));
    const QString path = QFileInfo(libraryFile()).absoluteFilePath();
    const cLibraryFile file(path);
    // On Windows the system would go on to look for similar names.
    if (!file.exists())
        return fail(QStringLiteral("its library %1 does not exist%2").arg(path, hintAt(path)));
    if (!file.fault().isEmpty())
        return fail(QStringLiteral("its library %1 is cut short: it %2").arg(path, file.fault()));
    if (!file.refusal().isEmpty())
        return fail(file.refusal());
    if (m_process)
        return loadElsewhere();
    m_library.setFileName(path);
    moveTo(Stage::Loading);
    const bool isLoaded = m_library.load();
    moveTo(isLoaded ? Stage::Loaded : Stage::Read);
    if (!isLoaded)
        return fail(QStringLiteral("its library cannot be loaded: %1").arg(m_library.errorString()));
    return callEntryFunction();
}

bool cPluginInstance::loadElsewhere()
{
    moveTo(Stage::Loading);
    const bool isLoaded = m_process->load();
    moveTo(isLoaded ? Stage::Loaded : Stage::Read);
    if (!isLoaded)
        m_errorString = m_process->errorString();
    return isLoaded;
}

QString cPluginInstance::libraryFile() const
{
    return m_manifest.libraryPath.isEmpty() ? QString() : m_manifest.libraryPath + QLatin1String(LibrarySuffix);
}

bool cPluginInstance::callEntryFunction()
{
    using EntryFunction = IPlugin* (*)();
    const QString text = QStringLiteral("the entry function \"%1\" of its library %2 %3");
    const QString absent =
        QStringLiteral("does not exist: is it extern \"C\", exported, and named so in the manifest?");
    const auto entry =
        reinterpret_cast<EntryFunction>(m_library.resolve(m_manifest.entryFunction.toLatin1().constData()));
    m_code = reinterpret_cast<const void*>(entry);
    if (!entry)
        return fail(text.arg(m_manifest.entryFunction, m_library.fileName(), absent));
    const QString thrown = whatIsThrownBy([&] { m_object = entry(); });
    if (m_object)
        return true;
    return fail(text.arg(m_manifest.entryFunction, m_library.fileName(),
                         thrown.isEmpty() ? QStringLiteral("answers null") : thrown));
}

bool cPluginInstance::unloadLibrary()
{
    m_object = nullptr;
    m_code = nullptr;
    if (m_stage == Stage::Loaded)
        moveTo(Stage::Read);
    if (m_process) {
        m_process.reset();
        return true;
    }
    return m_library.unload();
}

bool cPluginInstance::isLibraryLoaded() const
{
    return m_library.isLoaded() || (m_process && m_stage >= Stage::Loaded);
}

bool cPluginInstance::start()
{
    if (!hasPluginObject())
        return fail(QStringLiteral("it has no plugin object"));
    const bool isSearched = registerSearchPath();
    if (!m_process)
        installTranslation();
    if (startObject()) {
        moveTo(Stage::Started);
        m_failure.clear();
        return true;
    }
    QCoreApplication::removeTranslator(&m_translator);
    if (isSearched)
        removeSearchPath();
    return false;
}

bool cPluginInstance::startObject()
{
    if (m_process)
        return m_process->start() || fail(m_process->errorString());
    bool isStarted = false;
    const QString thrown = whatIsThrownBy([&] { isStarted = m_object->start(&m_context); });
    if (isStarted)
        return true;
    const QString hint = QStringLiteral("; the log channel \"%1\" is where the plugin can say why").arg(name());
    return fail(QStringLiteral("its start %1 (%2)%3")
                    .arg(thrown.isEmpty() ? QStringLiteral("returned false") : thrown, m_library.fileName(),
                         thrown.isEmpty() ? hint : QString()));
}

bool cPluginInstance::stop()
{
    moveTo(Stage::Stopped);
    if (m_process)
        return m_process->stop() || fail(m_process->errorString());
    if (!m_object)
        return true;
    const QString thrown = whatIsThrownBy([&] { m_object->stop(&m_context); });
    return thrown.isEmpty() || fail(QStringLiteral("its stop %1").arg(thrown));
}

void cPluginInstance::setFolder(const QString& path)
{
    m_folder = path == QLatin1String("#default") ? QLatin1String("core:plugins/") + m_id.toString() : path;
}

/// @return whether it was not there before.
bool cPluginInstance::registerSearchPath()
{
    if (QDir::searchPaths(name()).contains(m_folder))
        return false;
    QDir::addSearchPath(name(), m_folder);
    return true;
}

// Qt gives up no path of a prefix of one letter; such a name keeps it.
void cPluginInstance::removeSearchPath()
{
    QStringList paths = QDir::searchPaths(name());
    paths.removeOne(m_folder);
    if (name().size() > 1)
        QDir::setSearchPaths(name(), paths);
}

void cPluginInstance::installTranslation()
{
    const QString file =
        m_folder + QLatin1String("/ts/strings_") + cTranslationLocale::current() + QLatin1String(".qm");
    if (QFileInfo::exists(file) && m_translator.load(file))
        QCoreApplication::installTranslator(&m_translator);
}

QString cPluginInstance::misnamedTranslation() const
{
    const QString locale = cTranslationLocale::current();
    const QString wanted = QStringLiteral("strings_%1.qm").arg(locale);
    const QDir folder(m_folder + QLatin1String("/ts"));
    if (locale.isEmpty() || folder.exists(wanted))
        return QString();
    const QString language = locale.section(QLatin1Char('_'), 0, 0);
    static const QRegularExpression ofALocale(QStringLiteral("^strings_[a-z]+_[A-Z]+\\.qm$")); // of another country
    for (const QString& name : folder.entryList({QStringLiteral("*.qm")}, QDir::Files, QDir::Name)) {
        if (QFileInfo(name).baseName().split(QRegularExpression(QStringLiteral("[_-]"))).contains(language) &&
            !ofALocale.match(name).hasMatch())
            return QStringLiteral("%1: its translation ts/%2 is not used: the locale \"%3\" asks for ts/%4")
                .arg(m_id.toString(), name, locale, wanted);
    }
    return QString();
}

// Which stage follows which is a matter of this program alone: a wrong move is a mistake in it.
void cPluginInstance::moveTo(Stage next)
{
    Q_ASSERT_X(isMove(m_stage, next), "cPluginInstance::moveTo", qPrintable(m_id.toString()));
    m_stage = next;
}

bool cPluginInstance::fail(const QString& reason)
{
    m_errorString = reason;
    return false;
}
