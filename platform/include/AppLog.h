// The platform's log. Safe from any thread, with or without the cache's lock; never fails and never calls back.
#pragma once

/// Writes one message. `level` 2 is an error and is always written; 3, 5 and 6 are notices and traces, which callers guard
/// with loggingOnAppUni. `module` names the component, `sourceFile` the unit, `line` the source line; the rest is as for printf.
#if defined(__GNUC__)
__attribute__((format(printf, 5, 6)))
#endif
void logAppUni(char const* module, char const* sourceFile, int level, int line, char const* format, ...);

/// True when messages of `module` at `level` are wanted.
bool loggingOnAppUni(char const* module, int level);
