#include "install/cConditionEngine.h"

#include <Rows.h>

/// One table of conditions, held against each script engine that is there.
class tst_cConditionEngine : public QObject
{
    Q_OBJECT

private slots:
    void evaluates_data()
    {
        const Rows<QString, bool, QString> row("condition", "isTrue", "error");
        row("bitness", "OSBitness() == 64", true, "");
        row("bitness is a number", "OSBitness() + 1", true, "");
        row("no such Windows", "isWinXP() || isVista() || isWin7()", false, "");
        row("functions answer booleans", "isWin7() === false && typeof isVista == 'function'", true, "");
        row("the last value counts", "var wanted = 'x';\nfalse; wanted == 'x'", true, "");
        row("a text is true", "'no'", true, "");
        row("an empty text is false", "''", false, "");
        row("nothing is false", "var nothing", false, "");
        row("an object is true", "({})", true, "");
        row("not a number is false", "0 / 0", false, "");
        row("blank text is false", " ", false, "");
        row("a branch", "if (OSBitness() == 64) { true } else { false }", true, "");
        row("no branch taken", "if (OSBitness() == 32) true", false, "");
        row("a variable is no value", "var fits = false; if (OSBitness() == 64) fits = true; fits", true, "");
        row("a function is no value", "7; function f() { return 0 }", true, "");
        row("what is printed is no value", "print('bits:', OSBitness())", false, "");
        row("a member of nothing", "null.x", false, "line 1: TypeError");
        row("unknown name", "true;\nisWin12()", false, "line 2: ReferenceError");
        row("no script", "1 +", false, "line 1: SyntaxError");
        row("return outside of a function", "return true", false, "line 1: SyntaxError");
        row("thrown text", "throw 'down'", false, "line 1: down");
        row("thrown false value", "throw 0", false, "line 1: 0");
        row("calls without end", "function f() { return f() } f()", false, "line 1: RangeError");
        for (const char* loop : {"while (true);", "for (;;) {}", "[1].map(function() { do {} while (1) })"})
            row(loop, loop, false, "interrupted");
    }
    void evaluates()
    {
        const auto [condition, error] = cells<QString, QString>("condition", "error");
        for (cConditionEngine::ScriptMaker maker : engines()) {
            cConditionEngine engine(maker, error == "interrupted" ? 100 : 30000);
            QTEST(engine.isTrue(condition), "isTrue");
            QVERIFY2(error.isEmpty() ? engine.errorString().isEmpty() : engine.errorString().contains(error),
                     qPrintable(engine.errorString()));
            QVERIFY2(engine.isTrue("OSBitness() > 63"), "the engine goes on");
            QCOMPARE(engine.errorString(), QString());
        }
    }
    void keepsWhatConditionsDeclare()
    {
        for (cConditionEngine::ScriptMaker maker : engines()) {
            cConditionEngine engine(maker);
            QVERIFY(!engine.isTrue("var seen = 7; function twice(x) { return 2 * x }"));
            QVERIFY(engine.isTrue("twice(seen) == 14"));
        }
    }

private:
    static QList<cConditionEngine::ScriptMaker> engines()
    {
        return {
#ifdef WITH_QTSCRIPT
            cConditionScript::makeWithQtScript,
#endif
#ifdef WITH_QTQML
            cConditionScript::makeWithQtQml,
#endif
        };
    }
};

QTEST_GUILESS_MAIN(tst_cConditionEngine)
#include "tst_cConditionEngine.moc"
