#pragma once

#include "cCommand.h"

#include <QtCore/QMap>

struct cSiteAddition;

/// `norvale site add`: publishes a feature or a runtime.
class cSiteAddCommand : public cCommand
{
public:
    CLI::App* addTo(CLI::App& parent) override;
    ExitCode run() override;

private:
    void addFeatureOptions(CLI::App& app);
    void addRepositoryOptions(CLI::App& app);

    /// What is wrong with the options; empty when they make an addition.
    QString complaint() const;
    cSiteAddition addition() const;
    static QMap<QString, QString> pairs(const std::vector<std::string>& words);

    std::string m_site;
    std::vector<std::string> m_packages;
    std::string m_feature;
    std::string m_featureVersion;
    std::vector<std::string> m_displayNames;
    std::vector<std::string> m_dependencies;
    std::vector<std::string> m_shared;
    std::string m_repository;
    std::string m_repositoryVersion;
    std::string m_status = "release";
    std::string m_content;
    std::string m_coreVersion;
    std::string m_runtime;
    std::string m_runtimeVersion;
    bool m_mayReplace = false;
    CLI::App* m_app = nullptr;
};
