#pragma once

#include <Files.h>
#include <MachineProgram.h>

#include <QtCore/QTemporaryDir>
#include <QtTest/QtTest>

/// The archives that archives.py writes, each with what is to be found in it.
class Archives
{
public:
    Archives()
    {
        if (MachineProgram::execute("python3", {ARCHIVES_PY, m_folder.path()}) != 0)
            qFatal("archives.py failed");
    }

    /// A row for each archive in @p folder, which has its name.
    void addRows(const QString& folder) const
    {
        QTest::addColumn<int>("none");
        for (const QFileInfo& file : QDir(m_folder.filePath(folder)).entryInfoList({"*.zip"}))
            QTest::newRow(qPrintable(file.completeBaseName())) << 0;
    }

    /// "%1" in @p name stands for the row.
    QByteArray read(QString name) const
    {
        return readFile(m_folder.filePath(name.replace("%1", QTest::currentDataTag())));
    }

private:
    QTemporaryDir m_folder;
};
