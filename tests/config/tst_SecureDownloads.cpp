#include "config/cDownloader.h"

#include <HttpSite.h>
#include <Rows.h>

#include <QtNetwork/QNetworkAccessManager>

/// Where Qt has HTTPS.
class tst_SecureDownloads : public QObject
{
    Q_OBJECT

private slots:
    void neverLeavesHttps_data()
    {
        const Rows<bool, bool, int> row("isToHttp", "isTrusted", "error");
        row("to itself", false, true, 0);
        row("to HTTP", true, true, QNetworkReply::InsecureRedirectError);
        row("to a server that nobody vouches for", false, false, QNetworkReply::SslHandshakeFailedError);
    }
    void neverLeavesHttps()
    {
        const auto [isToHttp, isTrusted] = cells<bool, bool>("isToHttp", "isTrusted");
        // Much more than what may lie between the network and the device.
        const QByteArray whole = "hello world" + QByteArray(3000000, '\0');
        QVERIFY(m_secureSite.write("a", whole));
        cDownloader downloader;
        if (isTrusted)
            trust(downloader);
        QBuffer device;
        QVERIFY(device.open(QIODevice::WriteOnly));
        const QString target = (isToHttp ? m_site : m_secureSite).url().toString(QUrl::StripTrailingSlash);
        m_site.takeRequests();
        (void)downloader.download(m_secureSite.url("a", "~redirect=" + QUrl::toPercentEncoding(target)), &device);
        QTEST(downloader.error(), "error");
        QVERIFY(!downloader.hasSucceeded() || device.data() == whole);
        QVERIFY(m_site.takeRequests().isEmpty());
    }

private:
    static void trust(cDownloader& downloader)
    {
        connect(downloader.findChild<QNetworkAccessManager*>(), &QNetworkAccessManager::sslErrors, &downloader,
                [](QNetworkReply* reply) { reply->ignoreSslErrors(); });
    }

    HttpSite m_site;
    HttpSite m_secureSite{true};
};

QTEST_GUILESS_MAIN(tst_SecureDownloads)
#include "tst_SecureDownloads.moc"
