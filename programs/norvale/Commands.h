#pragma once

class cProgram;

// What norvale does; each adds commands with the files of one folder.

/// Adds `norvale new plugin` and `norvale new host`, which write a project to begin with.
void addNewCommands(cProgram& program);

/// Adds `norvale pack`, which makes a plugin's package out of its folder.
void addPackCommand(cProgram& program);

/// Adds `norvale lint`, which holds manifests, catalogues, packages and folders of them against the rules.
void addLintCommand(cProgram& program);

/// Adds `norvale graph`, which draws the dependencies of a suite or a repository.
void addGraphCommand(cProgram& program);

/// Adds the group `norvale site` with the commands that list and verify a site, promote and retire; and `site add`.
void addSiteCommands(cProgram& program);

/// Adds `norvale site sign` and `site refresh`, and the group `norvale site keys`, which make what an installation
/// trusts.
void addSigningCommands(cProgram& program);

/// Adds `norvale site add`, which publishes a feature or a runtime.
void addSiteAddCommand(cProgram& program);

/// Adds `norvale trust`, which follows signed metadata and fetches what it vouches for.
void addTrustCommand(cProgram& program);
