#include "trust/cTrustClient.h"
#include "trust/cTrustKey.h"

#include <QtCore/QTemporaryDir>
#include <QtTest/QtTest>

/// A build without libgcrypt runs, verifies nothing, and says why no root is pinned.
class tst_WithoutLibrary : public QObject
{
    Q_OBJECT

private slots:
    void pinsNothing()
    {
        QVERIFY(!Cryptography::isAvailable());
        QVERIFY(!cTrustKey::ofEd25519(QByteArray(32, 'x')).verify({}, QByteArray(64, '\0')));
        const QTemporaryDir folder;
        cTrustClient client(folder.path());
        QVERIFY(!client.trust("{}"));
        QVERIFY2(client.errorString().contains("built without libgcrypt"), qPrintable(client.errorString()));
    }
};

QTEST_GUILESS_MAIN(tst_WithoutLibrary)
#include "tst_WithoutLibrary.moc"
