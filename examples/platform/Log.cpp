// The log: errors on standard error. To do: the telephone's own.
#include <AppLog.h>

#include <cstdarg>
#include <cstdio>

bool loggingOnAppUni(char const*, int level)
{
    return level <= 2;
}

void logAppUni(char const* module, char const* sourceFile, int level, int line, char const* format, ...)
{
    if (!loggingOnAppUni(module, level))
        return;
    std::fprintf(stderr, "%s %s:%d ", module, sourceFile, line);
    std::va_list arguments;
    va_start(arguments, format);
    std::vfprintf(stderr, format, arguments);
    va_end(arguments);
}
