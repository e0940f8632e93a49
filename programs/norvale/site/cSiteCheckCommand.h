#pragma once

#include "cCommand.h"

/// `norvale site check`: verifies all that a site offers.
class cSiteCheckCommand : public cCommand
{
public:
    CLI::App* addTo(CLI::App& parent) override;
    ExitCode run() override;

private:
    std::string m_site;
    bool m_isJson = false;
    bool m_isStrict = false;
};
