#pragma once
// Working tables of one connection: a report run fills, shows and freezes rows that no other
// connection sees, so two runs at once, in one program or two, never mix their rows, and the
// file's own working tables stay as the schema made them.

#include "store/store.h"

#include <QStringList>

namespace tw {

// Makes each of `tables` a temporary table of `con`, with the name, columns, types and text
// rule of the file's table of that name. Every statement on `con` finds it before the file's
// table, so the statements that fill and read a working table stay as they are. Throws
// tw::Error naming a table the file does not hold.
void makeWorkingTables(const ConClass& con, const QStringList& tables);

// Makes the action just begun on `con` a writer of the file before it reads anything: a second
// action that writes waits for it (within the busy timeout) instead of failing because both had
// read first. Call it first thing after the action's Transaction is made.
void writeFirst(const ConClass& con);

} // namespace tw
