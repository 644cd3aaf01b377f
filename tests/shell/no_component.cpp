// A library without the entry points of a component.

#ifdef _WIN32
extern "C" __declspec(dllexport) int Nothing()
#else
extern "C" __attribute__((visibility("default"))) int Nothing()
#endif
{
    return 0;
}
