#pragma once

#include <Norvale/IInstallMgr.h>

#include <QtCore/QElapsedTimer>
#include <QtCore/QObject>
#include <QtCore/QQueue>
#include <QtCore/QString>

/// How fast bytes arrive, by those of the last seconds: a stall shows soon, a single burst not at all.
class cTransferRate
{
public:
    /// Notes that @p bytes have arrived in all at @p time (milliseconds since any fixed moment, never going back).
    void note(qint64 bytes, qint64 time);

    /// Bytes in a second; 0 as long as too little is known.
    qint64 bytesPerSecond() const;

    void clear() { m_samples.clear(); }

private:
    static constexpr qint64 Window = 3000;  // milliseconds that are looked back
    static constexpr qint64 Spacing = 100;  // milliseconds between two samples, so that few are kept
    static constexpr qint64 Shortest = 300; // milliseconds below which a rate would be a guess

    struct Sample
    {
        qint64 bytes;
        qint64 time;
    };

    QQueue<Sample> m_samples; // oldest first; the last one is always the newest that was noted
};

/// What one line says of a transfer: a bar, size, rate and the time that is left.
class cProgressLine
{
public:
    /// Takes in that @p done bytes of @p total (0 or less: nobody knows) have arrived at @p time (milliseconds).
    void update(const QString& label, qint64 done, qint64 total, qint64 time);

    /// False for a transfer that is so small that it ends before anybody has read the line.
    bool isWorthShowing() const;

    bool isComplete() const { return m_total > 0 && m_done >= m_total; }

    /// The line for a terminal of so many columns. Where they are few, the figures are left out from the end, then the
    /// label is cut short; the bar and the share of it that is done are there from 40 columns on.
    QString bar(int columns) const;

    /**
     * The line for where nothing can be drawn over: something at each tenth of the whole, and where the whole is not
     * known, at each doubling. Empty when it is not yet time for the next one.
     */
    QString step();

    /// Bytes as people read them: "812 B", "9.4 kB", "1.2 MB".
    static QString sizeText(qint64 bytes);

    /// A bar of @p width characters between brackets, of which @p done of @p total are filled.
    static QString barText(qint64 done, qint64 total, int width);

private:
    QStringList figures() const;
    QString sizes() const;
    QString timeLeft() const;

    QString m_label;
    qint64 m_done = 0;
    qint64 m_total = 0;
    qint64 m_nextStep = 0; // bytes that the next step() waits for
    cTransferRate m_rate;
};

/// Shows the progress of downloads while it lives: one bar where standard error is a terminal, else a line now and
/// then.
class cProgressBar : public QObject
{
    Q_OBJECT

public:
    /// Connects itself to the configuration manager.
    cProgressBar();
    ~cProgressBar() override;

public slots:
    void onProgress(const QString& label, qint64 done, qint64 total);

private:
    cProgressLine m_line;
    QElapsedTimer m_clock;
    qint64 m_drawnAt = 0; // milliseconds of m_clock
};

/// Tells on standard output what the install manager does while this object lives, and shows on a terminal how far it
/// has come.
class cInstallReport : public QObject
{
    Q_OBJECT

public:
    /// Connects itself to the install manager. @p label says what is done; a quiet one shows only how far it has come.
    explicit cInstallReport(const QString& label = QStringLiteral("Installing"), bool isQuiet = false);
    ~cInstallReport() override;

public slots:
    void onStart(IInstallMgr::OPERATION operation, const QString& name, const QString& version);
    void onProgress(int current, int total);
    void onFinished() {} // there is nothing to tell

private:
    QString m_label;
    bool m_isQuiet;
};
