#include <Norvale/Corvane.h>
#include <Norvale/IPluginMgr.h>
#include <Norvale/IServiceMgr.h>

#include <QtTest/QtTest>

/// Runs the built plugin in the suite of the build, as a host does.
class tst_NewPlugin : public QObject
{
    Q_OBJECT

    QTemporaryDir m_own; // settings and data of this run
    QString m_greeted;

    static QString greet(const QString& name)
    {
        QString greeting;
        IServiceMgr::instance()->invoke("NewPlugin", "greet", Q_RETURN_ARG(QString, greeting), Q_ARG(QString, name));
        return greeting;
    }

public:
    Q_INVOKABLE void onGreeted(const QString& name) { m_greeted = name; }

private slots:
    void initTestCase()
    {
        for (const char* variable : {"XDG_CONFIG_DIRS", "XDG_CONFIG_HOME", "XDG_DATA_HOME"})
            qputenv(variable, QFile::encodeName(m_own.path()));
        QVERIFY(QDir::setCurrent(SUITE)); // taken for the installation where none is set
        QVERIFY(Corvane::initialize());
        if (Corvane::velmiraFolderOrFile(Corvane::CoreFolder) != QDir::currentPath())
            QSKIP("this machine has another installation set, which the test leaves alone");
        QVERIFY2(Corvane::startNormal(), qPrintable(IPluginMgr::instance()->lastOutcome().reasons.join('\n')));
        QVERIFY(IServiceMgr::instance()->serviceExists("NewPlugin"));
    }

    void cleanupTestCase() { Corvane::stopNormal(); }

    void greets() { QCOMPARE(greet("Ada"), QString("Hello, Ada!")); }

    void tellsWhomItHasGreeted()
    {
        IServiceMgr::instance()->addListener("NewPluginEvents", this);
        greet("Grace");
        IServiceMgr::instance()->removeListener("NewPluginEvents", this);
        QCOMPARE(m_greeted, QString("Grace"));
    }

    void hearsOfItsSetting()
    {
        IServiceMgr* const services = IServiceMgr::instance();
        services->invoke("Settings", "setValue", Q_ARG(QString, "NewPlugin/Ending"), Q_ARG(QString, "?"));
        QCOMPARE(greet("Ada"), QString("Hello, Ada?"));
        services->invoke("Settings", "remove", Q_ARG(QString, "NewPlugin/Ending"));
        QCOMPARE(greet("Ada"), QString("Hello, Ada!"));
    }
};

QTEST_GUILESS_MAIN(tst_NewPlugin)
#include "tst_NewPlugin.moc"
