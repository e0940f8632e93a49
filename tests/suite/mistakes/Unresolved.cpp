// Calls a function that no library has, as does who forgets to link one.
#include <Norvale/IPlugin.h>

extern "C" int missingFunction();

extern "C" Q_DECL_EXPORT IPlugin* create()
{
    missingFunction();
    return nullptr;
}
