// Loaded ahead of tallywright-cli (LD_PRELOAD) by bench/history.sh: every SQLite connection of
// the process is opened with its triggers off, so the same program makes the same sample with no
// history written, for the time it takes without one.

#include <sqlite3.h>

namespace {

int triggersOff(sqlite3* db, char**, const sqlite3_api_routines*) {
    return sqlite3_db_config(db, SQLITE_DBCONFIG_ENABLE_TRIGGER, 0, nullptr);
}

[[gnu::constructor]] void registerForEveryConnection() {
    sqlite3_auto_extension(reinterpret_cast<void (*)()>(&triggersOff));
}

} // namespace
