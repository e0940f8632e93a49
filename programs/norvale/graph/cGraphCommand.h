#pragma once

#include "cCommand.h"

#include <QtCore/QByteArray>

/// `norvale graph`: draws the dependencies of a suite or a repository.
class cGraphCommand : public cCommand
{
public:
    CLI::App* addTo(CLI::App& parent) override;
    ExitCode run() override;

private:
    /// Has Graphviz make a picture. @return false when that failed, which has been told.
    static bool makeSvg(const QByteArray& dot, QByteArray* svg);

    std::string m_path;
    std::string m_target;
};
