#pragma once

/**
 * The operations that the install manager announces.
 */
class IInstallMgr
{
public:
    enum OPERATION {
        OPERATION_START = 0,     ///< an install from a location begins
        OPERATION_LOCATION = 1,  ///< the location's description is about to be read
        OPERATION_EXTRACT = 2,   ///< a package is being unpacked
        OPERATION_INSTALL = 3,   ///< a plugin's install command lines are about to run
        OPERATION_UNINSTALL = 4, ///< a plugin's uninstall command lines are about to run
        OPERATION_REMOVE = 5     ///< a plugin's folder is about to be deleted
    };
};
