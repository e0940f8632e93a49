#include "LogScenario.h"

#include <QtCore/QByteArray>

#include <spdlog/sinks/basic_file_sink.h>
#include <spdlog/spdlog.h>

namespace {

std::shared_ptr<spdlog::logger> logger;

/// The thread id is the system's number here, in decimal: this library prints no other.
void openFile(const QString& path)
{
    logger = spdlog::basic_logger_mt("bench", path.toStdString());
    logger->set_pattern("%a %b %d %H:%M:%S %Y-%n(%t):%v ");
}

void writeOneItem()
{
    logger->info("{}", LogItems::started);
}

/// It knows no QString, so the string is at hand in UTF-8.
void writeSevenItems(int number)
{
    static const std::string plugin = LogItems::plugin().toStdString();
    logger->info("{} {} {} \"{}\" {} {} {}", LogItems::started, number, LogItems::milliseconds, plugin, true,
                 LogItems::bytes, LogItems::took);
}

void closeFile()
{
    logger->flush();
    spdlog::drop("bench");
    logger.reset();
}

} // namespace

const LogPeer& spdlogPeer()
{
    static const LogPeer peer{"spdlog", openFile, writeOneItem, writeSevenItems, closeFile};
    return peer;
}
