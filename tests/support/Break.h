#pragma once

#include <QtCore/QString>
#include <QtCore/QThread>

#include <csignal>
#include <cstdlib>
#include <stdexcept>

/// What is wrong with a plugin: ends its process, or keeps it for ever, in the way that is asked for. Sanitizers take
/// no part in it.
inline void breakDown(const QString& how)
{
    if (how == "segv") {
#ifdef Q_OS_WIN
        *static_cast<volatile int*>(nullptr) = 0;
#else
        std::raise(SIGSEGV);
#endif
    }
    if (how == "abort")
        std::abort();
    if (how == "fatal")
        qFatal("out of ink");
    if (how == "throw")
        throw std::runtime_error("out of paper");
    if (how.startsWith("exit"))
        std::_Exit(how == "exit 0" ? 0 : 3);
    while (how == "hang")
        QThread::msleep(5);
}
