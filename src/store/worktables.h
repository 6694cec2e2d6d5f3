#pragma once
// Working tables of one connection: a report run fills, shows and freezes rows that no other
// connection sees, so two runs at once, in one program or two, never mix their rows, and the
// file's own working tables stay as the schema made them. And what one action holds while it
// checks and then writes, so that seats at work at once never write what one seat would not.

#include "store/store.h"

#include <QStringList>

namespace tw {

// Makes each of `tables` a temporary table of `con`, with the name, columns, types and text
// rule of the file's table of that name. Every statement on `con` finds it before the file's
// table, so the statements that fill and read a working table stay as they are. Throws
// tw::Error naming a table the file does not hold.
void makeWorkingTables(const ConClass& con, const QStringList& tables);

// Makes the action just begun on `con` the one at work on `what` (a kind and its key: a
// project's bill, a material's description) until it ends: a second action on the same waits
// for it and then reads what it wrote, so a check followed by a write gives what one seat would.
// The key is compared without regard to case. On the file every writer waits for another: the
// action takes the file's write lock before it reads anything, so that a second writer waits for
// it (within the busy timeout) instead of failing because both had read first. On a server only
// those on the same thing wait. Call it first thing after the action's Transaction is made.
void holdFor(const ConClass& con, const QStringList& what);

// What an action that writes a bill of a project holds: its lines, its row in billsraised, its
// payments, its freezing.
inline QStringList billHold(const QString& project, const QString& bill) {
    return {QStringLiteral("bill"), project, bill};
}

// Runs `action`, one whole action with its own Transaction on `con`, and runs it again from its
// start when the server gave it up for another seat's (StoreFailure::Conflict), a few times; an
// action inside another one's Transaction is left to the outer one to run again.
template <class Action> auto asOneAction(const ConClass& con, Action&& action) {
    constexpr int attempts = 5;
    for (int attempt = 1;; ++attempt) {
        try {
            return action();
        } catch (const Error& e) {
            if (attempt == attempts || con.inAction() ||
                failureKind(e.text()) != StoreFailure::Conflict)
                throw;
        }
    }
}

} // namespace tw
