#include "cSampleSuite.h"

#include <Norvale/IPlugin.h>

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QRandomGenerator>

namespace {

constexpr int PluginsPerFeature = 20;

QString nameOf(int number)
{
    return QStringLiteral("Sample%1").arg(number);
}

QString folderOf(const QString& root, int number)
{
    return root + QStringLiteral("/plugins/%1-1.02.000").arg(nameOf(number));
}

/// Up to four plugins of lower number. Features list them from the highest on, so that every one is in the way.
QByteArray dependenciesOf(int number)
{
    QRandomGenerator random(quint32(number) + 1);
    QByteArray text;
    for (int n = number ? random.bounded(5) : 0; n > 0; --n)
        text += "      <dependency>" + nameOf(random.bounded(number)).toUtf8() + "</dependency>\n";
    return text;
}

} // namespace

cSampleSuite::cSampleSuite(int count)
{
    for (int number = 0; number < count; ++number)
        installPlugin(number);
    writeFeatures(count);
    writeInstallDir();
}

void cSampleSuite::installPlugin(int number) const
{
    const QByteArray name = nameOf(number).toUtf8();
    write(folderOf(m_dir.path(), number) + QStringLiteral("/Manifest.xml"),
          "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<manifest>\n"
          "  <plugin name=\"" +
              name +
              "\" version=\"1.2.0\" autoload=\"true\" api_version=\"4\""
              " runtime_api_version=\"" +
              QByteArray::number(IPlugin::RuntimeApiVersion) +
              "\">\n    <start>\n"
              "      <library filename=\"small\" function=\"createPlugin\"/>\n"
              "      <params>{\"unit\": \"celsius\", \"stations\": [10384, 10488]}</params>\n    </start>\n"
              "    <dependencies>\n" +
              dependenciesOf(number) +
              "      <dependency>Core:Network</dependency>\n"
              "    </dependencies>\n    <services>\n      <service>" +
              name +
              "</service>\n    </services>\n"
              "    <deployment>\n      <install>\n"
              "        <cmdline program=\"$(PluginDir)/register\" condition=\"OSBitness() == 64\">\n"
              "          <param>$(PluginName)</param>\n        </cmdline>\n      </install>\n    </deployment>\n"
              "  </plugin>\n</manifest>\n");
    QFile::copy(QStringLiteral(SMALL_PLUGIN), folderOf(m_dir.path(), number) + QStringLiteral("/small.so"));
}

void cSampleSuite::writeFeatures(int count) const
{
    QByteArray xml = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<repository version=\"1.2.3\">\n"
                     "  <feature name=\"Core\" version=\"1.0.0\" active=\"true\"/>\n";
    for (int number = count - 1; number >= 0; --number) {
        const int feature = number / PluginsPerFeature;
        if (number % PluginsPerFeature == PluginsPerFeature - 1 || number == count - 1)
            xml += "  <feature name=\"Feature" + QByteArray::number(feature) +
                   "\" version=\"1.0.0\" active=\"true\">\n"
                   "    <displayname lang=\"en-us\">Feature</displayname>\n    <plugins>\n";
        xml += "      <plugin name=\"" + nameOf(number).toUtf8() +
               "\" version=\"1.2.0\" size=\"1000\">"
               "<hash method=\"sha1\">da39a3ee5e6b4b0d3255bfef95601890afd80709</hash></plugin>\n";
        if (number % PluginsPerFeature == 0)
            xml += "    </plugins>\n  </feature>\n";
    }
    write(m_dir.filePath(QStringLiteral("plugins/features.xml")), xml + "</repository>\n");
}

void cSampleSuite::writeInstallDir() const
{
    write(m_dir.filePath(QStringLiteral("machine/Varkel/Pelmora.conf")),
          "[General]\nInstallDir=" + QFile::encodeName(m_dir.path()) + "\n");
}

void cSampleSuite::write(const QString& path, const QByteArray& bytes) const
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
        qFatal("cannot write %s", qPrintable(path));
}

QProcessEnvironment cSampleSuite::environment() const
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("SAMPLE_SUITE"), m_dir.path());
    environment.insert(QStringLiteral("XDG_CONFIG_DIRS"), m_dir.filePath(QStringLiteral("machine")));
    environment.insert(QStringLiteral("XDG_CONFIG_HOME"), m_dir.filePath(QStringLiteral("user")));
    environment.insert(QStringLiteral("XDG_DATA_HOME"), m_dir.filePath(QStringLiteral("data")));
    return environment;
}

QString cSampleSuite::rootOfThisProcess()
{
    return qEnvironmentVariable("SAMPLE_SUITE");
}

QStringList cSampleSuite::folders(const QString& root, int count)
{
    QStringList folders;
    for (int number = 0; number < count; ++number)
        folders.append(folderOf(root, number));
    return folders;
}
