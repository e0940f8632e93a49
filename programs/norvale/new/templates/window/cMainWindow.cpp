#include "cMainWindow.h"

#include "cHost.h"

#include <Norvale/IConfigMgr.h>
#include <Norvale/IPluginMgr.h>

#include <QAction> // of Qt Widgets in Qt 5, of Qt Gui in Qt 6
#include <QtWidgets/QMessageBox>
#include <QtWidgets/QPlainTextEdit>
#include <QtWidgets/QProgressBar>
#include <QtWidgets/QSplitter>
#include <QtWidgets/QStatusBar>
#include <QtWidgets/QToolBar>
#include <QtWidgets/QTreeWidget>

namespace {
constexpr int KeptLines = 10000; // of the log; the file has all
constexpr int Steps = 1000;      // of the progress bar, whose numbers have fewer bits than those of bytes
} // namespace

cMainWindow::cMainWindow(cHost& host)
    : m_host(host), m_plugins(new QTreeWidget), m_log(new QPlainTextEdit), m_progress(new QProgressBar)
{
    m_plugins->setHeaderLabels({tr("Plugin"), tr("Version"), tr("State"), tr("Reason")});
    m_plugins->setRootIsDecorated(false);
    m_log->setReadOnly(true);
    m_log->setMaximumBlockCount(KeptLines);
    m_progress->setRange(0, Steps);
    m_progress->hide();
    statusBar()->addPermanentWidget(m_progress);

    auto* const splitter = new QSplitter(Qt::Vertical);
    splitter->addWidget(m_plugins);
    splitter->addWidget(m_log);
    setCentralWidget(splitter);
    resize(800, 600);

    QToolBar* const bar = addToolBar(tr("Suite"));
    m_update = bar->addAction(tr("Update"), this, &cMainWindow::update);
    bar->addAction(tr("Restart"), &m_host, &cHost::restart);

    // Queued: a line comes while the log is locked, and drawing it might log.
    connect(&m_host, &cHost::logged, m_log, &QPlainTextEdit::appendPlainText, Qt::QueuedConnection);
    connect(&m_host, &cHost::pluginsChanged, this, &cMainWindow::showPlugins, Qt::QueuedConnection);
    connect(&m_host, &cHost::progressed, this, &cMainWindow::showProgress);
}

void cMainWindow::say(const QString& text)
{
    statusBar()->showMessage(text);
}

void cMainWindow::closeEvent(QCloseEvent* event)
{
    IConfigMgr::cancelUpdate();
    QMainWindow::closeEvent(event);
}

void cMainWindow::showPlugins()
{
    m_plugins->clear();
    for (const cPluginInfo& plugin : IPluginMgr::instance()->plugins()) {
        new QTreeWidgetItem(m_plugins, {plugin.name, plugin.version.toString(), cHost::stateOf(plugin), plugin.reason});
    }
    for (int column = 0; column < m_plugins->columnCount(); ++column)
        m_plugins->resizeColumnToContents(column);
}

void cMainWindow::showProgress(const QString& what, qint64 done, qint64 total)
{
    say(tr("Fetching %1").arg(what));
    m_progress->setValue(total > 0 ? int(done * Steps / total) : 0);
}

void cMainWindow::update()
{
    m_update->setEnabled(false); // events are served meanwhile
    m_progress->setValue(0);
    m_progress->show();
    QString said;
    const bool isReady = m_host.update(&said);
    m_progress->hide();
    m_update->setEnabled(true);
    say(said);
    if (isReady && isVisible() &&
        QMessageBox::question(this, tr("Update"), said + '\n' + tr("Restart now?")) == QMessageBox::Yes)
        m_host.restart();
}
