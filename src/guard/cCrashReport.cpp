#include "guard/cCrashReport.h"

#include "guard/cPluginImages.h"
#include "log/cLastLines.h"
#include "version/Shown.h"

#include <Norvale/Corvane.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QSysInfo>

#include <cstring>

namespace {

constexpr int MostReports = 10; // that are kept, with the one that may come

cCrashReport s_report; // constant from the start, and never destroyed: a crash may come at any time

/// The day of a time, by the calendar that counts days from March on, so that the leap day is a year's last.
struct cDay
{
    explicit cDay(qint64 daysSince1970)
    {
        const qint64 days = daysSince1970 + 719468; // since 0000-03-01
        const qint64 era = days / 146097;           // of 400 years
        const qint64 ofEra = days % 146097;
        const qint64 yearOfEra = (ofEra - ofEra / 1460 + ofEra / 36524 - ofEra / 146096) / 365;
        const qint64 ofYear = ofEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
        const qint64 fromMarch = (5 * ofYear + 2) / 153;
        day = quint64(ofYear - (153 * fromMarch + 2) / 5 + 1);
        month = quint64(fromMarch < 10 ? fromMarch + 3 : fromMarch - 9);
        year = quint64(yearOfEra + era * 400 + (month <= 2 ? 1 : 0));
    }

    quint64 year, month, day;
};

/// Writes text into fixed memory, as far as there is room.
class cFixedText
{
public:
    cFixedText(char* to, int size) : m_to(to), m_end(to + size - 1) { *to = '\0'; }

    cFixedText& text(const char* from)
    {
        while (*from && m_to < m_end)
            *m_to++ = *from++;
        *m_to = '\0';
        return *this;
    }

    cFixedText& number(quint64 value, int width)
    {
        char digits[24];
        char* first = digits + sizeof digits - 1;
        *first = '\0';
        for (; value > 0 || width > 0; value /= 10, --width)
            *--first = char('0' + value % 10);
        return text(first);
    }

private:
    char* m_to;
    char* const m_end;
};

/// "2026-11-25 23:04:36", or with other separators.
void appendTime(cFixedText& to, qint64 time, const char* ofDate, const char* between, const char* ofTime)
{
    const qint64 seconds = time / 1000;
    const cDay day(seconds / 86400);
    const quint64 ofDay = quint64(seconds % 86400);
    to.number(day.year, 4).text(ofDate).number(day.month, 2).text(ofDate).number(day.day, 2).text(between);
    to.number(ofDay / 3600, 2).text(ofTime).number(ofDay / 60 % 60, 2).text(ofTime).number(ofDay % 60, 2);
}

const char* nameOf(cGuardSlot::Step step)
{
    switch (step) {
    case cGuardSlot::Load:
        return "load";
    case cGuardSlot::Start:
        return "start";
    case cGuardSlot::Stop:
        return "stop";
    case cGuardSlot::Running:
        return "running";
    case cGuardSlot::None:
        break;
    }
    return "none";
}

/// What a report says of the process, whenever it crashes.
QString about()
{
    const QString text =
        QStringLiteral("Host: %1 %2\nSuite: %3 in %4\nNorvale: " NORVALE_VERSION "\nQt: %5\nSystem: %6, %7 %8, %9\n");
    return text.arg(QCoreApplication::applicationName(), QCoreApplication::applicationVersion(),
                    Corvane::currentVersion(), Corvane::velmiraFolderOrFile(Corvane::CoreFolder),
                    QLatin1String(qVersion()), QSysInfo::prettyProductName(), QSysInfo::kernelType(),
                    QSysInfo::kernelVersion(), QSysInfo::currentCpuArchitecture());
}

/// Copies as much of @p text as there is room for, without half a character at the end.
template <int Size>
void copy(const QString& text, char (&to)[Size])
{
    QByteArray bytes = text.toUtf8();
    if (bytes.size() >= Size) {
        int length = Size - 1;
        while (length > 0 && (bytes.at(length) & 0xc0) == 0x80)
            --length;
        bytes.truncate(length);
    }
    std::memcpy(to, bytes.constData(), size_t(bytes.size()) + 1);
}

} // namespace

cCrashText& cCrashText::text(const char* text)
{
    return bytes(text, int(std::strlen(text)));
}

cCrashText& cCrashText::bytes(const char* text, int length)
{
    for (; length > 0; --length) {
        if (m_length == int(sizeof m_buffer))
            flush();
        m_buffer[m_length++] = *text++;
    }
    return *this;
}

cCrashText& cCrashText::number(quint64 value, int width, int base)
{
    char digits[24];
    char* const end = digits + sizeof digits;
    char* first = end;
    for (; value > 0 || width > 0; value /= quint64(base), --width)
        *--first = "0123456789abcdef"[value % quint64(base)];
    return bytes(first, int(end - first));
}

void cCrashText::flush()
{
    CrashSystem::write(m_buffer, m_length);
    m_length = 0;
}

cCrashReport& cCrashReport::instance()
{
    return s_report;
}

void cCrashReport::prepare(cGuardSlot* slot, const QString& folder)
{
    QDir reports(folder);
    if (reports.mkpath(QStringLiteral(".")))
        QFile::setPermissions(folder, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    QStringList names = reports.entryList({QStringLiteral("crash-*-*-*.txt")}, QDir::Files, QDir::Name);
    while (names.size() >= MostReports)
        reports.remove(names.takeFirst());
    copy(about(), m_about);
    m_message[0] = '\0';
    CrashSystem::setFolder(folder);
    m_slot = slot;
    cLastLines::instance().keep();
}

void cCrashReport::setMessage(const QString& message)
{
    copy(shown(message), m_message);
}

bool cCrashReport::isOfPlugin(const cCrash& crash) const
{
    if (m_slot && m_slot->step != cGuardSlot::None)
        return true;
    for (int i = 0; i < crash.frameCount; ++i) {
        if (cPluginImages::instance().pluginAt(crash.frames[i]))
            return true;
    }
    return false;
}

void cCrashReport::begin(const cCrash& crash, void (*walk)(cCrash& crash))
{
    m_crash = crash;
    m_walk = walk;
    m_time = CrashSystem::now();
    m_stage = Mark;
}

void cCrashReport::write()
{
    if (m_isOpen)
        cCrashText().text("(this could not be told any further)\n");
    m_isWalkCut = m_isWalkCut || m_stage == Walk + 1;
    while (m_stage < Done)
        take(Stage(m_stage++));
    if (m_isOpen)
        CrashSystem::close();
    m_isOpen = false;
}

void cCrashReport::take(Stage stage)
{
    switch (stage) {
    case Mark:
        return mark();
    case Walk:
        return m_walk(m_crash);
    case Name:
        return name();
    case Head:
        return head();
    case Stack:
        cCrashText().text("\nStack\n");
        CrashSystem::writeStack(m_crash);
        if (m_isWalkCut)
            cCrashText().text("(the stack could not be followed any further)\n");
        return;
    case Log:
        return log();
    case Libraries:
        cCrashText().text("\nLibraries\n");
        return CrashSystem::writeLibraries();
    case Done:
        return;
    }
}

/// Before anything else is tried: what the slot needs is known, when a step is at hand.
void cCrashReport::mark()
{
    if (!m_slot || m_slot->step == cGuardSlot::None)
        return;
    m_plugin = m_slot->plugin;
    m_step = cGuardSlot::Step(m_slot->step);
    m_slot->cause = m_crash.cause;
    if (m_slot->end != cGuardSlot::Hung)
        m_slot->end = cGuardSlot::Crashed;
}

/// The step at hand is that of the main thread. Where there is none, and in other threads, the plugin is named by the
/// code that crashed.
void cCrashReport::name()
{
    const char* const plugin = pluginOnStack();
    const bool isKnown = m_step != cGuardSlot::None && m_crash.isOfMainThread;
    if (!plugin || isKnown || (m_plugin && std::strcmp(plugin, m_plugin) == 0))
        return;
    m_plugin = plugin;
    m_step = cGuardSlot::Running;
    if (!m_slot)
        return;
    const bool isToldBefore = std::strcmp(m_slot->toldPlugin, plugin) == 0;
    m_slot->step = cGuardSlot::None;
    std::atomic_signal_fence(std::memory_order_seq_cst);
    cFixedText(m_slot->plugin, sizeof m_slot->plugin).text(plugin);
    m_slot->began = m_time;
    m_slot->inARow = isToldBefore ? m_slot->toldInARow : 0;
    m_slot->cause = m_crash.cause;
    m_slot->end = cGuardSlot::Crashed;
    std::atomic_signal_fence(std::memory_order_seq_cst);
    m_slot->step = cGuardSlot::Running;
}

const char* cCrashReport::pluginOnStack() const
{
    for (int i = 0; i < m_crash.frameCount; ++i) {
        if (const char* const plugin = cPluginImages::instance().pluginAt(m_crash.frames[i]))
            return plugin;
    }
    return nullptr;
}

void cCrashReport::head()
{
    char name[sizeof cGuardSlot::report];
    cFixedText file(name, sizeof name);
    file.text("crash-");
    appendTime(file, m_time, "", "-", "");
    file.text("-").number(CrashSystem::processId(), 1).text(".txt");
    m_isOpen = CrashSystem::open(name);
    if (!m_isOpen) {
        m_stage = Done;
        return;
    }
    if (m_slot && m_step != cGuardSlot::None)
        std::memcpy(m_slot->report, name, sizeof name);
    char time[24];
    cFixedText when(time, sizeof time);
    appendTime(when, m_time, "-", " ", ":");
    cCrashText out;
    out.text("Crash report\n\nPlugin: ").text(m_plugin ? m_plugin : "none at hand");
    out.text("\nStep: ").text(nameOf(m_step)).text("\nCause: ");
    if (const char* const cause = CrashSystem::nameOf(m_crash.cause))
        out.text(cause);
    else
        out.text("0x").number(quint32(m_crash.cause), 8, 16);
    if (m_crash.hasAddress)
        out.text(" at ").address(quintptr(m_crash.address));
    if (m_message[0])
        out.text("\nMessage: ").text(m_message);
    out.text("\nTime: ").text(time).text(" UTC\nProcess: ").number(CrashSystem::processId());
    out.text(m_crash.isOfMainThread ? ", main thread " : ", another thread, ").number(m_crash.thread);
    out.text("\n").text(m_about);
}

void cCrashReport::log()
{
    cCrashText().text("\nLog\n");
    cLastLines::instance().forEach([](const char* text, int length) { cCrashText().bytes(text, length).text("\n"); });
}
