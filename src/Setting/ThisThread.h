// What each thread knows of itself.
#pragma once

namespace Data {

/// How many notification passes the thread is in. Its address is the thread's name. It lies where the loader put it, so that
/// readers find it without a call.
[[gnu::visibility("hidden"), gnu::tls_model("initial-exec")]] extern constinit thread_local int passesOfThisThread;

} // namespace Data
