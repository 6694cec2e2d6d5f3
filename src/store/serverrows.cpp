#include "store/serverrows.h"

#include "store/lasttexts.h"
#include "store/server.h"

#include <QSqlDriver>
#include <QSqlField>
#include <QtEndian>

#include <bit>

#include <libpq-fe.h>

namespace tw::server {

PGconn* connectionOf(const QSqlDatabase& db) {
    const QVariant handle = db.driver()->handle();
    // Qt hands the driver's connection over as a pg_conn*, libpq's own name for a PGconn.
    return handle.isValid() && qstrcmp(handle.typeName(), "pg_conn*") == 0
               ? *static_cast<PGconn* const*>(handle.constData())
               : nullptr;
}

namespace {

// What a column holds, as the driver types it: the program's server tables have these alone.
enum class Kind { Integer, Real, Text };

// The rows as they arrive. libpq hands over one message of the copy at a time, each a whole row
// (the first one after the copy's header, the last one its end mark).
class Stream {
public:
    Stream(std::vector<Kind> kinds, std::shared_ptr<const QSqlRecord> columns)
        : kinds_(std::move(kinds)), columns_(std::move(columns)), texts_(kinds_.size()),
          last_(kinds_.size()) {}

    void add(const char* data, int size) {
        const char* end = data + size;
        const auto take = [&](qsizetype bytes) {
            if (end - data < bytes)
                throw Error(QStringLiteral("The server sent a row cut short."));
            const char* at = data;
            data += bytes;
            return at;
        };
        if (!headerRead_) {
            // "PGCOPY\n\377\r\n\0", the flags, and an extension to pass over
            take(11 + 4);
            take(qFromBigEndian<qint32>(take(4)));
            headerRead_ = true;
        }
        while (data < end) {
            const auto fields = qFromBigEndian<qint16>(take(2));
            if (fields == -1) { // the end of the rows
                ended_ = true;
                continue;
            }
            if (size_t(fields) != kinds_.size() + 1)
                throw Error(QStringLiteral("The server sent a row of %1 columns for %2.")
                                .arg(fields)
                                .arg(kinds_.size() + 1));
            // A field: its length, or -1 for a Null, and its bytes.
            const auto field = [&](qint32& length) {
                length = qFromBigEndian<qint32>(take(4));
                return take(std::max(length, 0));
            };
            qint32 length = 0;
            const auto id = qFromBigEndian<qint64>(field(length));
            QVariantList values;
            values.reserve(qsizetype(kinds_.size()));
            for (size_t c = 0; c < kinds_.size(); ++c) {
                const char* value = field(length);
                if (length < 0) {
                    // a Null of the column's type, as the driver gives it
                    values.append(QVariant(columns_->field(int(c)).metaType()));
                    continue;
                }
                switch (kinds_[c]) {
                case Kind::Integer: {
                    // The driver reads a number that is not negative as unsigned.
                    const auto n = qFromBigEndian<qint64>(value);
                    values.append(n < 0 ? QVariant(qlonglong(n)) : QVariant(qulonglong(n)));
                    break;
                }
                case Kind::Real:
                    values.append(QVariant(std::bit_cast<double>(qFromBigEndian<quint64>(value))));
                    break;
                case Kind::Text: {
                    const QByteArrayView bytes(value, length);
                    if (!texts_.repeats(c, bytes))
                        last_[c] = QString::fromUtf8(bytes);
                    values.append(QVariant(last_[c]));
                    break;
                }
                }
            }
            rows_.emplace_back(columns_, std::move(values), id);
        }
    }
    bool ended() const { return ended_; }
    Rows take() { return std::move(rows_); }

private:
    std::vector<Kind> kinds_;
    std::shared_ptr<const QSqlRecord> columns_;
    LastTexts texts_;
    std::vector<QString> last_;
    bool headerRead_ = false, ended_ = false;
    Rows rows_;
};

QString serverText(PGconn* conn) {
    return QString::fromUtf8(PQerrorMessage(conn)).trimmed();
}

} // namespace

std::optional<Rows> copiedRows(const QSqlDatabase& db, const QString& select,
                               const std::shared_ptr<const QSqlRecord>& columns) {
    PGconn* conn = connectionOf(db);
    if (!conn)
        return std::nullopt;
    std::vector<Kind> kinds;
    for (int i = 0; i < columns->count(); ++i) {
        switch (columns->field(i).metaType().id()) {
        case QMetaType::LongLong:
            kinds.push_back(Kind::Integer);
            break;
        case QMetaType::Double:
            kinds.push_back(Kind::Real);
            break;
        case QMetaType::QString:
            kinds.push_back(Kind::Text);
            break;
        default:
            return std::nullopt;
        }
    }
    const QByteArray sql =
        QStringLiteral("copy (%1) to stdout (format binary)").arg(statement(select)).toUtf8();
    Stream stream(std::move(kinds), columns);
    QString failure;
    // A failure leaves the transaction under way as it was, as any failed statement does.
    atomically(db, [&] {
        const std::unique_ptr<PGresult, void (*)(PGresult*)> started(PQexec(conn, sql.constData()),
                                                                     PQclear);
        if (PQresultStatus(started.get()) != PGRES_COPY_OUT) {
            failure = serverText(conn);
            return false;
        }
        for (;;) {
            char* data = nullptr;
            const int size = PQgetCopyData(conn, &data, 0);
            if (size < 0) {
                if (size == -2)
                    failure = serverText(conn);
                break;
            }
            const std::unique_ptr<char, void (*)(void*)> piece(data, PQfreemem);
            if (failure.isEmpty()) {
                try {
                    stream.add(data, size);
                } catch (const Error& e) {
                    failure = e.text(); // the rest is still taken, for the connection to go on
                }
            }
        }
        // The copy's own end, and the connection ready for the next statement.
        while (PGresult* r = PQgetResult(conn)) {
            if (PQresultStatus(r) != PGRES_COMMAND_OK && failure.isEmpty())
                failure = QString::fromUtf8(PQresultErrorMessage(r)).trimmed();
            PQclear(r);
        }
        if (failure.isEmpty() && !stream.ended())
            failure = QStringLiteral("The server ended its rows early.");
        return failure.isEmpty();
    });
    if (!failure.isEmpty())
        throw Error(failure);
    return stream.take();
}

} // namespace tw::server
