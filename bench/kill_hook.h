#pragma once
// For the kill tests: counts the statements SQLite begins in this process, on every connection
// (Qt's too), and with TW_KILL_AFTER=N kills the process with SIGKILL as the Nth begins, so that
// kills land inside transactions at any statement, not only between them.

#include <sqlite3.h>

#include <atomic>
#include <csignal>
#include <cstdlib>

namespace killhook {

inline std::atomic<long> statements{0};
inline long limit = 0;

inline int onStatement(unsigned, void*, void*, void*) {
    if (++statements == limit)
        std::raise(SIGKILL);
    return 0;
}

inline int attach(sqlite3* db, const char**, const void*) {
    sqlite3_trace_v2(db, SQLITE_TRACE_STMT, onStatement, nullptr);
    return SQLITE_OK;
}

// Call before the first connection opens.
inline void install() {
    if (const char* n = std::getenv("TW_KILL_AFTER"))
        limit = std::atol(n);
    sqlite3_auto_extension(reinterpret_cast<void (*)()>(attach));
}

} // namespace killhook
