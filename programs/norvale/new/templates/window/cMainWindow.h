#pragma once

#include <QtWidgets/QMainWindow>

class QAction;
class QPlainTextEdit;
class QProgressBar;
class QTreeWidget;
class cHost;

/// Shows the plugins of the suite and its log, and updates it. It works on the host, which lives longer.
class cMainWindow : public QMainWindow
{
    Q_OBJECT

public:
    explicit cMainWindow(cHost& host);

    /// Shows @p text until something else is said.
    void say(const QString& text);

protected:
    /// Cancels an update that is under way.
    void closeEvent(QCloseEvent* event) override;

private:
    void showPlugins();
    void showProgress(const QString& what, qint64 done, qint64 total);
    void update();

    cHost& m_host;
    QTreeWidget* m_plugins;
    QPlainTextEdit* m_log;
    QProgressBar* m_progress;
    QAction* m_update;
};
