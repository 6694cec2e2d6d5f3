#pragma once
// Moving the books between the local file and a server database, the way a one-seat office
// becomes a several-seat office (and back).

#include "store/server.h"

#include <QString>

#include <optional>
#include <vector>

namespace tw {

// One table as it was copied: its rows and the checksum both sides agreed on.
struct CopiedTable {
    QString name;
    qint64 rows = 0;
    QString checksum; // of every row with its identity, in the order of the identities
};

// Copies the books from `from` to `to` (nullopt: the application folder's file): every table of
// the program and every per-project table, every row with its identity, and where each table's
// next identity stands. The target must be empty: no file (or an empty one), or a server
// database without tables. Everything is written in one transaction on the target (a file is
// made beside its name and takes it only when complete), and each table is read back and
// compared with the source by its row count and a checksum of its rows before the transaction
// commits. Throws tw::Error naming what failed; the target is then as it was.
std::vector<CopiedTable> copyStore(const std::optional<ServerAddress>& from,
                                   const std::optional<ServerAddress>& to);

} // namespace tw
