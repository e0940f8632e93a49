// A million levels, on a thread with Qt's default stack.

#include <Norvale/cJsonReader.h>
#include <Norvale/cJsonValue.h>
#include <Norvale/cJsonWriter.h>
#include <Rows.h>

#include <QtCore/QThread>

namespace {

constexpr int Levels = 1000000;

QByteArray repeated(const QByteArray& part)
{
    return part.repeated(Levels / (part.count('[') + part.count('{')));
}

/// Runs @p task on a thread of its own and waits for it.
template <typename Task>
bool onThread(Task task)
{
    bool isDone = false;
    const QScopedPointer<QThread> thread(QThread::create([&] { isDone = task(); }));
    thread->start();
    return thread->wait() && isDone;
}

} // namespace

class tst_JsonDepth : public QObject
{
    Q_OBJECT

private slots:
    void levels_data()
    {
        const Rows<QByteArray, bool> row("text", "ok");
        row("arrays", repeated("[") + '1' + QByteArray(Levels, ']'), true);
        row("objects", repeated("{\"a\":") + '1' + QByteArray(Levels, '}'), true);
        row("mixed", repeated("[1,{\"a\":2,\"b\":") + "null" + QByteArray("}]").repeated(Levels / 2), true);
        // Each open level fails and looks for its closing bracket: that must not cost a walk over the rest for each.
        row("not closed", repeated("[{\"a\":"), false);
        row("closed the wrong way", repeated("[{\"a\":") + QByteArray("]}").repeated(Levels / 2), false);
        row("tokens behind", repeated("[") + "1 2" + QByteArray("\"x\" /* c */ ").repeated(Levels / 10), false);
        row("quotes behind", repeated("[") + "1 2" + QByteArray(Levels, '"'), false);
        row("comments behind", repeated("{\"a\":") + "?" + QByteArray("/* ").repeated(Levels / 10), false);
    }
    void levels()
    {
        QFETCH(QByteArray, text);
        QFETCH(bool, ok);
        QVERIFY(onThread([&] {
            cJsonValue value;
            cJsonValue again;
            if (cJsonReader::parse(text, value) != ok || cJsonReader::parse(text, again) != ok)
                return false;
            cJsonValue copy = value;
            copy.append(1);
            const bool isSame = value == again && value.equivalentTo(again) && value.notEqualTo(copy, true);
            again = cJsonValue();
            return isSame && (!ok || cJsonWriter::serialize(value) == text) && value.toVariant().isValid() &&
                   value.prettyPrint(0).size() > 2 * Levels;
        }));
    }
};

QTEST_APPLESS_MAIN(tst_JsonDepth)
#include "tst_JsonDepth.moc"
