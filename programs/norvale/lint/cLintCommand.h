#pragma once

#include "cCommand.h"

/// `norvale lint`: holds manifests, catalogues, packages and folders of them against the rules.
class cLintCommand : public cCommand
{
public:
    CLI::App* addTo(CLI::App& parent) override;
    ExitCode run() override;

private:
    std::vector<std::string> m_paths;
    std::string m_plugin;
    std::string m_function;
    bool m_isJson = false;
    bool m_isStrict = false;
    bool m_isQuiet = false;
    bool m_wantsRules = false;
};
