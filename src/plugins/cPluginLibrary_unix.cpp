#include "plugins/cPluginLibrary.h"

#include <QtCore/QFile>

#include <dlfcn.h>

bool cPluginLibrary::load()
{
    if (!m_handle)
        m_handle = dlopen(QFile::encodeName(m_path).constData(), RTLD_NOW | RTLD_LOCAL);
    if (!m_handle)
        m_errorString = QStringLiteral("Cannot load library %1: (%2)").arg(m_path, QString::fromLocal8Bit(dlerror()));
    return m_handle;
}

bool cPluginLibrary::unload()
{
    if (!m_handle)
        return false;
    if (dlclose(m_handle) != 0) {
        m_errorString = QStringLiteral("Cannot unload library %1: (%2)").arg(m_path, QString::fromLocal8Bit(dlerror()));
        return false;
    }
    m_handle = nullptr;
    return true;
}

QFunctionPointer cPluginLibrary::resolve(const char* symbol) const
{
    return m_handle ? reinterpret_cast<QFunctionPointer>(dlsym(m_handle, symbol)) : nullptr;
}
