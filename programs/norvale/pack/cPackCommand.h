#pragma once

#include "cCommand.h"

/// `norvale pack`: makes a plugin's package out of its folder.
class cPackCommand : public cCommand
{
public:
    CLI::App* addTo(CLI::App& parent) override;
    ExitCode run() override;

private:
    bool isOutside(const QString& target, const QString& folder) const;

    std::string m_folder;
    std::string m_target = ".";
    std::vector<std::string> m_excluded;
};
