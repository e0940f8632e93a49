// Stands for the core library of another Qt, and for a plugin that is built with it.
#ifdef _WIN32
#define EXPORTED __declspec(dllexport)
#else
#define EXPORTED __attribute__((visibility("default")))
#endif

#ifdef AS_QT
extern "C" EXPORTED void* functionOfOtherQt()
{
    return nullptr;
}
#else
extern "C" void* functionOfOtherQt();

extern "C" EXPORTED void* create()
{
    return functionOfOtherQt();
}
#endif
