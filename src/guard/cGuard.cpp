#include "guard/cGuard.h"

#include "guard/CrashHandler.h"
#include "guard/CrashSystem.h"
#include "guard/cPluginImages.h"
#include "log/cFrameworkLog.h"
#include "version/cPluginId.h"

#include <Norvale/Corvane.h>

#include <QtCore/QFileInfo>

#include <atomic>
#include <cstring>
#include <mutex>

namespace {

using cLocker = std::lock_guard<QBasicMutex>; // whose lock is inline, which that of QMutexLocker is not on Qt 5

bool isNamed(const char (&text)[cGuardSlot::NameSize], const char* plugin)
{
    return std::strncmp(text, plugin, sizeof text - 1) == 0;
}

void setName(char (&text)[cGuardSlot::NameSize], const char* plugin)
{
    qstrncpy(text, plugin, sizeof text);
}

// Names are ASCII but for a few, and these steps are part of every start.
void setName(char (&text)[cGuardSlot::NameSize], const QString& plugin)
{
    int length = 0;
    for (const QChar c : plugin) {
        if (c.unicode() >= 0x80 || length + 1 == cGuardSlot::NameSize)
            return setName(text, plugin.toUtf8().constData());
        text[length++] = char(c.unicode());
    }
    text[length] = '\0';
}

/// What a step is about, as the subject of a sentence.
QString subjectOf(quint32 step)
{
    switch (step) {
    case cGuardSlot::Load:
        return QStringLiteral("the loading of its library");
    case cGuardSlot::Start:
        return QStringLiteral("its start");
    case cGuardSlot::Stop:
        return QStringLiteral("its stop");
    default:
        return QStringLiteral("a call of its service");
    }
}

QString placeOf(const cPluginFailure& failure)
{
    switch (failure.step) {
    case cPluginFailure::Load:
        return QStringLiteral("while the library of %1 was being loaded");
    case cPluginFailure::Start:
        return QStringLiteral("while %1 was being started");
    case cPluginFailure::Stop:
        return QStringLiteral("while %1 was being stopped");
    default:
        return QStringLiteral("in the code of %1");
    }
}

QString endOf(const cPluginFailure& failure)
{
    switch (failure.end) {
    case cPluginFailure::Crashed:
        return QStringLiteral("it crashed (%1)").arg(failure.cause);
    case cPluginFailure::Hung:
        return QStringLiteral("it hung");
    default:
        return QStringLiteral("it crashed, or was ended from outside");
    }
}

QString textOf(const cPluginFailure& failure)
{
    QString text =
        QStringLiteral("the last run ended %1: %2")
            .arg(placeOf(failure).arg(cPluginId(failure.plugin, failure.version).toString()), endOf(failure));
    if (failure.inARow > 1)
        text += QStringLiteral(", %1 times in a row").arg(failure.inARow);
    if (!failure.report.isEmpty())
        text += QStringLiteral("; the report is %1").arg(failure.report);
    return text;
}

} // namespace

cGuard::cGuard() : m_log(cFrameworkLog::plugins()) {}

QString cGuard::folder()
{
    return Corvane::velmiraFolderOrFile(Corvane::DataFolder);
}

QString cGuard::file()
{
    return cGuardFile::pathFor(folder(), Corvane::velmiraFolderOrFile(Corvane::CoreFolder));
}

QString cGuard::reportFolder()
{
    return folder() + QLatin1String("/crashes");
}

void cGuard::begin()
{
    if (m_hasBegun || !m_options.isOn)
        return;
    m_hasBegun = true;
    m_slot = m_file.open(file());
    if (!m_slot) {
        m_slot = &m_ownSlot;
        m_log.info().noquote() << "a crash of this run will not be told by the next one:" << m_file.errorString()
                               << Qt::endl;
    }
    takeOver(*m_slot);
    if (m_lastFailure.step != cPluginFailure::None)
        m_log.error().noquote() << textOf(m_lastFailure) << Qt::endl;
    if (m_options.writesReports)
        CrashHandler::install(m_slot, reportFolder());
}

void cGuard::end()
{
    m_watchdog.reset();
    m_calls.reset();
    if (!m_slot || CrashHandler::hasBegun)
        return;
    CrashHandler::remove();
    show(nullptr);
    m_slot = nullptr;
    m_file.close();
}

/// What the last run left becomes what has been told of it.
void cGuard::takeOver(cGuardSlot& slot)
{
    m_lastFailure = failureIn(slot);
    if (m_lastFailure.step != cPluginFailure::None) {
        slot.toldStep = slot.step;
        slot.toldInARow = quint32(m_lastFailure.inARow);
        std::memcpy(slot.toldPlugin, slot.plugin, sizeof slot.plugin);
    }
    slot.step = cGuardSlot::None;
    slot.end = cGuardSlot::Unknown;
    slot.report[0] = '\0';
    cGuardFile::setBoot(slot);
}

cPluginFailure cGuard::lastFailure() const
{
    if (m_hasBegun)
        return m_lastFailure;
    if (!m_options.isOn)
        return cPluginFailure();
    const auto slot = cGuardFile::peek(file());
    return slot ? failureIn(*slot) : cPluginFailure();
}

// What the memory of a mapped file held comes to the disk when the system likes. After a power cut an old step may
// stand there, so across a start of the machine only what a handler or the watchdog has marked counts.
cPluginFailure cGuard::failureIn(const cGuardSlot& slot)
{
    cPluginFailure failure;
    if (slot.step == cGuardSlot::None || (slot.end == cGuardSlot::Unknown && !cGuardFile::isOfThisBoot(slot)))
        return failure;
    const cPluginId id = cPluginId::parse(QString::fromUtf8(slot.plugin));
    if (id.isNull())
        return failure;
    failure.plugin = id.name();
    failure.version = id.version();
    failure.step = cPluginFailure::Step(slot.step);
    failure.end = cPluginFailure::End(slot.end);
    if (slot.end == cGuardSlot::Crashed)
        failure.cause = CrashHandler::causeText(slot.cause);
    failure.when = QDateTime::fromMSecsSinceEpoch(slot.began, Qt::UTC);
    failure.inARow = 1 + (isNamed(slot.toldPlugin, slot.plugin) ? int(slot.toldInARow) : 0);
    const QString report = reportFolder() + QLatin1Char('/') + QString::fromUtf8(slot.report);
    if (slot.report[0] != '\0' && QFileInfo(report).isFile())
        failure.report = report;
    return failure;
}

cGuard::cStep::cStep(cGuard& guard, cGuardSlot::Step step, const QString& plugin)
    : m_guard(guard.m_slot ? &guard : nullptr), m_step(step), m_plugin(plugin)
{
    if (!m_guard)
        return;
    m_began = CrashSystem::now();
    m_guard->enter(*this);
}

cGuard::cStep::~cStep()
{
    if (m_guard)
        m_guard->leave(*this);
}

void cGuard::enter(cStep& step)
{
    if (!m_watchdog)
        watch();
    const cLocker locker(m_lock);
    step.m_outer = m_innermost;
    m_innermost = &step;
    show(&step);
}

void cGuard::leave(const cStep& step)
{
    {
        const cLocker locker(m_lock);
        m_innermost = step.m_outer;
        if (!m_slot)
            return; // the run has ended meanwhile
        if (m_slot->toldInARow != 0)
            pass(step);
        show(m_innermost);
    }
    if (step.m_isHung)
        tellHungNoLonger(step);
}

// The step is written last, and taken away first: a crash finds a whole slot or none.
void cGuard::show(const cStep* step)
{
    if (CrashHandler::hasBegun)
        return; // another thread has crashed, and the slot tells of it
    volatile quint32& shown = m_slot->step;
    shown = cGuardSlot::None;
    std::atomic_signal_fence(std::memory_order_seq_cst);
    m_slot->end = step && step->m_isHung ? cGuardSlot::Hung : cGuardSlot::Unknown;
    if (!step)
        return;
    m_slot->began = step->m_began;
    setName(m_slot->plugin, step->m_plugin);
    m_slot->inARow = m_slot->toldInARow == 0 ? 0 : failuresBefore();
    std::atomic_signal_fence(std::memory_order_seq_cst);
    shown = step->m_step;
}

/// How often the plugin in the slot has failed before, in a row.
quint32 cGuard::failuresBefore() const
{
    return isNamed(m_slot->toldPlugin, m_slot->plugin) ? m_slot->toldInARow : 0;
}

/// The plugin has got through a step; if it is the one that had failed, it has not failed in a row. Whoever stops has
/// got through its run, too.
void cGuard::pass(const cStep& step)
{
    const quint32 told = m_slot->toldStep;
    const bool isTheSame = told == step.m_step || (told == cGuardSlot::Running && step.m_step == cGuardSlot::Stop);
    if (isTheSame && isNamed(m_slot->toldPlugin, step.m_plugin.toUtf8().constData()))
        m_slot->toldInARow = 0;
}

void cGuard::watch()
{
    constexpr int LooksPerHang = 8; // so one is told an eighth of the time late at most
    if (m_options.hangSeconds <= 0)
        return;
    m_calls = std::make_unique<cCallWatch>();
    const qint64 interval = m_options.hangSeconds * qint64(1000) / LooksPerHang;
    m_watchdog =
        std::make_unique<cWatchdog>(int(qMin<qint64>(interval, 60000)), [this](int elapsed) { look(elapsed); });
}

void cGuard::look(int elapsed)
{
    if (CrashHandler::hasBegun)
        return;
    if (!lookAtStep(elapsed))
        lookAtCall(elapsed);
}

/// @return whether there is a step at hand.
bool cGuard::lookAtStep(int elapsed)
{
    QString text;
    {
        const cLocker locker(m_lock);
        if (!m_innermost)
            return false;
        cStep& step = *m_innermost;
        step.m_elapsed += elapsed;
        if (step.m_isHung || step.m_elapsed / 1000 < m_options.hangSeconds)
            return true;
        step.m_isHung = true;
        m_slot->end = cGuardSlot::Hung;
        text = QStringLiteral("%1 hangs: %2 has not ended for %3 s")
                   .arg(step.m_plugin, subjectOf(step.m_step))
                   .arg(step.m_elapsed / 1000);
    }
    tellHung(text);
    return true;
}

void cGuard::lookAtCall(int elapsed)
{
    const int silence = m_calls->look(elapsed);
    if (silence / 1000 < m_options.hangSeconds) {
        m_isCallTold = false;
        return;
    }
    if (m_isCallTold)
        return;
    m_isCallTold = true;
    const char* const plugin = cPluginImages::instance().pluginAt(cMainCall::code());
    if (plugin)
        markCall(plugin, silence);
    const QString who = plugin ? QString::fromUtf8(plugin) : QStringLiteral("the program");
    tellHung(QStringLiteral("%1 hangs: a call of its service has kept the main thread for %2 s")
                 .arg(who)
                 .arg(silence / 1000));
}

/// The slot tells of a call that does not come back, until a call does.
void cGuard::markCall(const char* plugin, int silence)
{
    const cLocker locker(m_lock);
    if (m_innermost || CrashHandler::hasBegun)
        return;
    m_slot->began = CrashSystem::now() - silence;
    m_slot->end = cGuardSlot::Hung;
    setName(m_slot->plugin, plugin);
    m_slot->inARow = failuresBefore();
    std::atomic_signal_fence(std::memory_order_seq_cst);
    m_slot->step = cGuardSlot::Running;
    cMainCall::mark(m_slot);
}

void cGuard::tellHungNoLonger(const cStep& step)
{
    m_log.warning().noquote() << step.m_plugin << "hangs no longer:" << subjectOf(step.m_step) << "has ended"
                              << Qt::endl;
}

void cGuard::tellHung(const QString& text)
{
    m_log.error().noquote() << (m_options.endsHungProcess ? text + QStringLiteral("; the process is ended") : text)
                            << Qt::endl;
    if (m_options.endsHungProcess)
        CrashHandler::abortMainThread();
}
