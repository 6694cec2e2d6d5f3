#include "store/serverrows.h"

#include "store/server.h"

#include <QSqlDriver>
#include <QSqlField>

#include <bit>
#include <cstring>

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

// The server sends its numbers most significant byte first.
quint64 bigEndian64(const char* p) {
    quint64 v = 0;
    std::memcpy(&v, p, sizeof v);
    return std::endian::native == std::endian::little ? __builtin_bswap64(v) : v;
}
qint32 bigEndian32(const char* p) {
    quint32 v = 0;
    std::memcpy(&v, p, sizeof v);
    return qint32(std::endian::native == std::endian::little ? __builtin_bswap32(v) : v);
}
qint16 bigEndian16(const char* p) {
    quint16 v = 0;
    std::memcpy(&v, p, sizeof v);
    return qint16(std::endian::native == std::endian::little ? __builtin_bswap16(v) : v);
}

// What a column holds, as the driver types it: the program's server tables have these alone.
enum class Kind { Integer, Real, Text };

// The rows as they arrive, in pieces that need not end where a row does.
class Stream {
public:
    Stream(std::vector<Kind> kinds, std::shared_ptr<const QSqlRecord> columns)
        : kinds_(std::move(kinds)), columns_(std::move(columns)), above_(kinds_.size()),
          aboveText_(kinds_.size()) {}

    void add(const char* data, int size) {
        buffer_.append(data, size);
        qsizetype at = 0;
        if (!headerRead_) {
            // "PGCOPY\n\377\r\n\0", the flags, and the length of an extension to pass over
            constexpr qsizetype fixed = 11 + 4 + 4;
            if (buffer_.size() < fixed)
                return;
            const qsizetype extension = bigEndian32(buffer_.constData() + 15);
            if (buffer_.size() < fixed + extension)
                return;
            at = fixed + extension;
            headerRead_ = true;
        }
        while (const qsizetype used = row(at))
            at += used;
        buffer_.remove(0, at);
    }
    bool ended() const { return ended_; }
    Rows take() { return std::move(rows_); }

private:
    // Reads the row at `at` into the rows; gives the bytes it took, 0 when it is not all here.
    qsizetype row(qsizetype at) {
        const char* p = buffer_.constData() + at;
        const char* end = buffer_.constData() + buffer_.size();
        if (ended_ || end - p < 2)
            return 0;
        const qint16 fields = bigEndian16(p);
        if (fields == -1) { // the end of the rows
            ended_ = true;
            return 2;
        }
        if (size_t(fields) != kinds_.size() + 1)
            throw Error(QStringLiteral("The server sent a row of %1 columns for %2.")
                            .arg(fields)
                            .arg(kinds_.size() + 1));
        const char* q = p + 2;
        // Every field must be here before any value is made.
        for (int f = 0; f < fields; ++f) {
            if (end - q < 4)
                return 0;
            const qint32 length = bigEndian32(q);
            q += 4;
            if (length > 0) {
                if (end - q < length)
                    return 0;
                q += length;
            }
        }
        q = p + 2;
        const auto next = [&q](qint32& length) {
            length = bigEndian32(q);
            const char* data = q + 4;
            q = data + std::max(length, 0);
            return data;
        };
        qint32 length = 0;
        const qint64 id = qint64(bigEndian64(next(length)));
        QVariantList values;
        values.reserve(qsizetype(kinds_.size()));
        for (size_t c = 0; c < kinds_.size(); ++c) {
            const char* data = next(length);
            if (length < 0) {
                // a Null of the column's type, as the driver gives it
                values.append(QVariant(columns_->field(int(c)).metaType()));
                continue;
            }
            switch (kinds_[c]) {
            case Kind::Integer: {
                // The driver reads a number that is not negative as unsigned.
                const auto n = qlonglong(bigEndian64(data));
                values.append(n < 0 ? QVariant(n) : QVariant(qulonglong(n)));
                break;
            }
            case Kind::Real:
                values.append(QVariant(std::bit_cast<double>(bigEndian64(data))));
                break;
            case Kind::Text: {
                const QByteArrayView bytes(data, length);
                if (above_[c].isNull() || bytes != aboveText_[c]) {
                    aboveText_[c] = bytes.toByteArray();
                    above_[c] = QString::fromUtf8(bytes);
                }
                values.append(QVariant(above_[c]));
                break;
            }
            }
        }
        rows_.emplace_back(columns_, std::move(values), id);
        return q - p;
    }

    std::vector<Kind> kinds_;
    std::shared_ptr<const QSqlRecord> columns_;
    std::vector<QString> above_;
    std::vector<QByteArray> aboveText_;
    QByteArray buffer_;
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
