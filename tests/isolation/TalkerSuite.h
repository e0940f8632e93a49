#pragma once

#include "isolation/Frames.h"
#include "isolation/cPluginProcess.h"
#include "isolation/cPluginProcesses.h"
#include "plugins/cPluginInstance.h"
#include "services/cServiceMgr.h"

#include <LogFile.h>
#include <Norvale/Corvane.h>
#include <Norvale/cJsonReader.h>
#include <Norvale/cLogCentral.h>
#include <PluginFolder.h>
#include <PublishedPlugins.h>
#include <SettingsSandbox.h>

#include <QtTest/QtTest>

/// A service of the suite, and a listener; it notes in which thread it is called.
class cSuiteService : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("service", "Suite")

public:
    Q_INVOKABLE QString say(const QString& text)
    {
        threads.append(QThread::currentThread());
        said.append(text);
        return "heard " + text;
    }
    /// Calls the plugin back, which calls this again, so many times.
    Q_INVOKABLE QString nest(const QString& depth)
    {
        if (depth == "0")
            return "bottom";
        QString answer;
        IServiceMgr::instance()->invoke("Talker", "ask", Q_RETURN_ARG(QString, answer), Q_ARG(QString, "Suite"),
                                        Q_ARG(QString, "nest"), Q_ARG(QString, QString::number(depth.toInt() - 1)));
        return answer + "<" + depth;
    }

    QStringList said;
    QVector<QThread*> threads;

public slots:
    void onSaid(const QString& text)
    {
        threads.append(QThread::currentThread());
        said.append("event " + text);
    }
};

/// Plugins of the one library, in processes of their own.
class cTalkers
{
public:
    explicit cTalkers(const QString& params = "{}", const QString& library = "talker", int limit = 30)
    {
        sandbox.setInstallDir(sandbox.path());
        sandbox.setMachineValue(SettingsKey::IsolatedCallLimit, limit);
        Corvane::initializeFolderOrFile();
        manager.setServiceMgr(&serviceMgr);
        manager.setProcesses(&processes);
        services.registerService(&suite);
        services.addListener("SuiteEvents", &suite);
        install("Talker", params, library);
    }
    ~cTalkers() { manager.StopNormal(); }

    void install(const QString& name, const QString& params, const QString& library = "talker")
    {
        const QString file = QFileInfo(TALKER).path() + '/' + library + cPluginInstance::LibrarySuffix;
        writePlugin(sandbox.path(), name + "-1.00.000", "auto isolated " + params, file);
        plugins.names.append(name);
    }
    bool start() { return manager.StartNormal(); }

    qint64 process()
    {
        qint64 process = 0;
        services.invoke("Talker", "process", Q_RETURN_ARG(qint64, process));
        return process;
    }
    template <typename... Values>
    QString call(const char* method, Values... values)
    {
        QString answer = "untouched";
        const bool isCalled =
            services.invoke("Talker", method, Q_RETURN_ARG(QString, answer), Q_ARG(QString, values)...);
        return isCalled ? answer : "false";
    }
    template <typename... Values>
    bool tell(const char* method, Values... values)
    {
        return services.invoke("Talker", method, Q_ARG(QString, values)...);
    }
    QStringList list(const char* method)
    {
        QStringList list;
        services.invoke("Talker", method, Q_RETURN_ARG(QStringList, list));
        return list;
    }
    QString plugin() const
    {
        const char* const states[] = {"registered", "ordered", "loaded", "started", "stopped"};
        const cPluginInfo info = manager.plugins().first();
        return QString(states[info.state]) + (info.hasFailed ? " but " + info.reason : "");
    }

    SettingsSandbox sandbox;
    LogFile log;
    cServiceMgr serviceMgr;
    IServiceMgr& services = serviceMgr; // has the shorter forms
    cPluginProcesses processes{cPluginPrograms(VPLUGIN, NORVALE_LIBRARY)};
    cSuiteService suite;
    cPluginMgr manager;
    cPublishedPlugins plugins{manager};
};
