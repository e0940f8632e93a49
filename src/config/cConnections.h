#pragma once

#include <QtCore/QElapsedTimer>
#include <QtNetwork/QNetworkAccessManager>

#include <functional>

/**
 * Access to the network over connections that stay open from one transfer to the next, for a short while. A server may
 * close such a connection just as the next request goes out on it; whoever sends one asks areKept().
 *
 * Lives on one thread.
 */
class cConnections : public QNetworkAccessManager
{
    Q_OBJECT

public:
    explicit cConnections(QObject* parent = nullptr);

    /// Closes the connections if none has been in use for MostIdle. To be called before a request.
    void closeIdle();

    /// Whether a request may get a connection over which one has been answered before.
    bool areKept() const { return m_areKept; }

    /// Serves the events of this thread, on which transfers run, while @p goesOn; that is asked again after at most a
    /// tenth of a second.
    static void waitWhile(const std::function<bool()>& goesOn);

    /// Milliseconds. Servers that close what is idle do so after 5 seconds or more, as they come; a request shall not
    /// meet one that is about to.
    static constexpr int MostIdle = 3000;

protected:
    QNetworkReply* createRequest(Operation operation, const QNetworkRequest& request, QIODevice* outgoing) override;

private:
    void note(const QNetworkReply* reply);

    int m_running = 0;
    bool m_areKept = false;
    QElapsedTimer m_idle; // since the last reply has ended
};
