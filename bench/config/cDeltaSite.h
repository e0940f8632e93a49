#pragma once

#include "cNginx.h"

#include "version/cPluginId.h"

#include <QtCore/QStringList>

/**
 * Real libraries in two versions (corpus.py says which) as plugins of an update site, which `norvale` has made and
 * nginx serves, and an installation of the old ones, which `VCore` has made: in a folder of its own, with settings of
 * its own.
 */
class cDeltaSite
{
public:
    /// Makes all of it; the packages of the libraries are fetched into the folder @p corpus, unless they are there.
    explicit cDeltaSite(const QString& corpus);

    /// Why there is none; empty when there is one.
    const QString& fault() const { return m_fault; }

    int count() const { return m_names.size(); }
    /// Of library @p i: its old files, its new package, and the patch between them, which need not be there.
    QString folder(int i) const { return m_dir.filePath("suite/plugins/" + id(i, m_from).toString()); }
    QString package(int i) const { return m_server.path("main/packages/" + id(i, m_to).packageFileName()); }
    QString patch(int i) const { return m_server.path("main/packages/" + id(i, m_to).deltaFileName(m_from)); }

    /// Lets the installation fetch its update. @return the bytes of packages and patches that came over the network; 0
    /// when that failed.
    qint64 fetchUpdate();

private:
    cPluginId id(int i, const cVersion& version) const { return cPluginId(m_names[i], version); }
    bool make(const QString& corpus);
    bool publish(const QString& version, const QStringList& options);
    bool run(const QString& program, const QStringList& arguments, QByteArray* output = nullptr);

    cNginx m_server;
    QTemporaryDir m_dir;
    QStringList m_names;
    const cVersion m_from{"1.0.0"};
    const cVersion m_to{"1.1.0"};
    QString m_fault;
};
