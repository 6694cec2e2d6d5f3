#include "store/rowwriter.h"

#include "store/history.h"
#include "store/schema.h"
#include "store/server.h"
#include "store/sqlitefile.h"

#include <QDateTime>
#include <QSqlDriver>
#include <QUuid>

#include <algorithm>
#include <cmath>
#include <exception>
#include <optional>

#include <sqlite3.h>

namespace tw {

namespace {

// The values a Qt statement stores as Null: besides a Null, a null text or byte array and a date
// or time that is no date or time.
bool storedAsNull(const QVariant& v) {
    if (v.isNull())
        return true;
    switch (v.typeId()) {
    case QMetaType::QString:
        return static_cast<const QString*>(v.constData())->isNull();
    case QMetaType::QByteArray:
        return static_cast<const QByteArray*>(v.constData())->isNull();
    case QMetaType::QDateTime:
        return !static_cast<const QDateTime*>(v.constData())->isValid();
    case QMetaType::QDate:
        return static_cast<const QDate*>(v.constData())->isNull();
    case QMetaType::QTime:
        return !static_cast<const QTime*>(v.constData())->isValid();
    case QMetaType::QUuid:
        return static_cast<const QUuid*>(v.constData())->isNull();
    default:
        return false;
    }
}

int bindText(sqlite3_stmt* stmt, int at, const QString& text) {
    return sqlite3_bind_text16(stmt, at, text.utf16(), int(text.size() * qsizetype(sizeof(QChar))),
                               SQLITE_TRANSIENT);
}

// Binds `v` as a Qt statement on the file binds it, so a row holds the same types and values
// whichever way it was written: whole numbers of up to 32 bits and yes/no as integers, 64-bit ones
// as such, doubles as reals, bytes as a blob, a date and time as its ISO text, anything else as
// its text (a float or a 16-bit number included, which the column's type then converts).
int bind(sqlite3_stmt* stmt, int at, const QVariant& v) {
    if (storedAsNull(v))
        return sqlite3_bind_null(stmt, at);
    switch (v.typeId()) {
    case QMetaType::QByteArray: {
        const auto* bytes = static_cast<const QByteArray*>(v.constData());
        return sqlite3_bind_blob(stmt, at, bytes->constData(), int(bytes->size()),
                                 SQLITE_TRANSIENT);
    }
    case QMetaType::Int:
    case QMetaType::Bool:
        return sqlite3_bind_int(stmt, at, v.toInt());
    case QMetaType::Double:
        return sqlite3_bind_double(stmt, at, v.toDouble());
    case QMetaType::UInt:
    case QMetaType::LongLong:
        return sqlite3_bind_int64(stmt, at, v.toLongLong());
    case QMetaType::QDateTime:
        return bindText(stmt, at, v.toDateTime().toString(Qt::ISODateWithMs));
    case QMetaType::QTime:
        return bindText(stmt, at, v.toTime().toString(QStringLiteral("hh:mm:ss.zzz")));
    default:
        return bindText(stmt, at, v.toString());
    }
}

// Whether the value `v`, bound as bind() binds it into a column that is numeric or not, is
// recorded in the history by json_array() as the file's triggers record it: a Null, a finite
// number, or outside a numeric column a text with no control character but a tab or a line end.
// The triggers keep a blob, an infinity, a text with another control character and a text a
// numeric column may keep as text by their bytes, which json_array() does not.
bool writtenAsJson(const QVariant& v, bool numeric) {
    if (storedAsNull(v))
        return true;
    const auto plainText = [](const QString& text) {
        return std::none_of(text.begin(), text.end(), [](QChar c) {
            return c.unicode() < 32 && c != u'\t' && c != u'\n' && c != u'\r';
        });
    };
    switch (v.typeId()) {
    case QMetaType::QByteArray:
        return false;
    case QMetaType::Int:
    case QMetaType::Bool:
    case QMetaType::UInt:
    case QMetaType::LongLong:
        return true;
    case QMetaType::Double:
        return std::isfinite(v.toDouble());
    case QMetaType::QDateTime:
    case QMetaType::QTime:
        return !numeric;
    case QMetaType::QString:
        return !numeric && plainText(*static_cast<const QString*>(v.constData()));
    default:
        return !numeric && plainText(v.toString());
    }
}

// The store's text for a failure, worded as a failed Qt statement words it.
QString failure(sqlite3* db, const char* doing) {
    return QString::fromUtf8(sqlite3_errmsg(db)) + u' ' + QLatin1String(doing);
}

} // namespace

struct RowWriter::File {
    sqlite3* db = nullptr;
    sqlite3_stmt* stmt = nullptr;
    // Rows added to a recorded table inside an action are recorded together, in one statement,
    // with the connection's triggers off meanwhile: a trigger a row costs more than the row
    // itself. Rows and their history still stand or fall with the action. Outside an action
    // each row is kept alone, and its triggers record it with it.
    QString recorded; // the table's name, when its rows are recorded together
    QByteArray table;
    sqlite3_int64 lastBefore = 0;
    bool triggersOff = false;
    // The columns written, whether each is numeric, and whether every value written into it
    // so far is one json_array() records as the triggers would: those the recording statement
    // need not look at again, row by row.
    QStringList columns;
    std::vector<char> numeric, plain;

    ~File() { sqlite3_finalize(stmt); }

    void turnTriggers(bool on) {
        sqlite3_db_config(db, SQLITE_DBCONFIG_ENABLE_TRIGGER, on ? 1 : 0, nullptr);
        triggersOff = !on;
    }
    // The value of a one-value query, with `bound` bound to its ?; throws tw::Error.
    sqlite3_int64 single(const QByteArray& sql, sqlite3_int64 bound = 0) {
        sqlite3_stmt* q = nullptr;
        if (sqlite3_prepare_v2(db, sql.constData(), int(sql.size()), &q, nullptr) != SQLITE_OK)
            throw Error(failure(db, "Unable to execute statement"));
        if (sqlite3_bind_parameter_count(q) > 0)
            sqlite3_bind_int64(q, 1, bound);
        const int rc = sqlite3_step(q);
        const sqlite3_int64 value = rc == SQLITE_ROW ? sqlite3_column_int64(q, 0) : 0;
        if (rc != SQLITE_ROW && rc != SQLITE_DONE) {
            const QString text = failure(db, "Unable to fetch row");
            sqlite3_finalize(q);
            throw Error(text);
        }
        sqlite3_finalize(q);
        return value;
    }
    // Turns the triggers back on and records the rows added since they went off.
    void record() {
        if (!triggersOff)
            return;
        turnTriggers(true);
        if (single("select exists (select 1 from main." + table + " where rowid > ?)",
                   lastBefore) == 0)
            return;
        QStringList known;
        for (qsizetype c = 0; c < columns.size(); ++c)
            if (plain[size_t(c)])
                known << columns[c];
        single(history::claimActorStatement().toUtf8());
        single(history::addedRowsStatement(recorded, known).toUtf8(), lastBefore);
    }
};

// The server's side: rows held until there are enough for one statement.
struct RowWriter::Server {
    // About this many values go in one statement: the statement's text grows with them.
    static constexpr qsizetype valuesPerStatement = 2000;

    Server(const ConClass& c, QString h, qsizetype columns)
        : con(c), head(std::move(h)),
          rowMarks(u'(' + QStringList(columns, QStringLiteral("?")).join(u',') + u')'),
          rowsPerStatement(std::max<qsizetype>(1, valuesPerStatement / columns)) {}
    QString sql(qsizetype rows) const { return head + QStringList(rows, rowMarks).join(u','); }

    const ConClass& con;
    const QString head; // "insert into t (a,b) values "
    const QString rowMarks;
    const qsizetype rowsPerStatement;
    std::optional<Statement> full; // prepared once, for a statement of rowsPerStatement rows
    QVariantList held;
};

RowWriter::RowWriter(const ConClass& con, const QString& table, const QStringList& columns)
    : columns_(columns.size()), exceptionsAtStart_(std::uncaught_exceptions()) {
    if (!con.db().isOpen())
        throw Error(QStringLiteral("Operation is not allowed when the object is closed."));
    // The names as they are spelled, unquoted: the server folds them as it folds every statement.
    const QString head =
        QStringLiteral("insert into %1 (%2) values ").arg(table, columns.join(u','));
    sqlite3* db = server::isServer(con.db()) ? nullptr : sqlite::handleOf(con.db());
    if (!db) {
        server_ = std::make_unique<Server>(con, head, columns_);
        // A statement the store refuses is refused now, before any row is taken.
        Statement(con, server_->sql(1));
        return;
    }
    const QString sql = head + u'(' + QStringList(columns_, QStringLiteral("?")).join(u',') + u')';
    file_ = std::make_unique<File>();
    file_->db = db;
    const QByteArray text = sql.toUtf8();
    if (sqlite3_prepare_v2(db, text.constData(), int(text.size()), &file_->stmt, nullptr) !=
        SQLITE_OK)
        throw Error(failure(db, "Unable to execute statement"));
    const QString record = history::addedRowsStatement(table);
    int triggersOn = 0;
    sqlite3_db_config(db, SQLITE_DBCONFIG_ENABLE_TRIGGER, -1, &triggersOn);
    if (!record.isEmpty() && sqlite3_get_autocommit(db) == 0 && triggersOn) {
        file_->table = (u'"' + table + u'"').toUtf8();
        file_->lastBefore = file_->single("select ifnull(max(rowid), 0) from main." + file_->table);
        file_->recorded = table;
        file_->columns = columns;
        const schema::Table* t = schema::programTable(table);
        for (const QString& name : columns) {
            const auto c = std::find_if(t->columns.begin(), t->columns.end(), [&](const auto& c) {
                return c.name.compare(name, Qt::CaseInsensitive) == 0;
            });
            // A column the table does not know is looked at with every row.
            file_->numeric.push_back(c == t->columns.end() || history::numericType(c->type));
            file_->plain.push_back(c != t->columns.end());
        }
        file_->turnTriggers(false);
    }
}

RowWriter::~RowWriter() noexcept(false) {
    if (std::uncaught_exceptions() == exceptionsAtStart_) {
        flush();
        return;
    }
    try {
        flush();
    } catch (const Error&) {
        // The exception on its way says what went wrong first.
    }
}

void RowWriter::add(const QVariantList& values) {
    Q_ASSERT(values.size() == columns_);
    if (server_) {
        server_->held.append(values);
        if (server_->held.size() >= server_->rowsPerStatement * columns_)
            flush();
        return;
    }
    sqlite3_stmt* stmt = file_->stmt;
    for (qsizetype i = 0; i < values.size(); ++i) {
        if (bind(stmt, int(i + 1), values[i]) != SQLITE_OK)
            throw Error(failure(file_->db, "Unable to bind parameters"));
        if (file_->triggersOff && file_->plain[size_t(i)])
            file_->plain[size_t(i)] = writtenAsJson(values[i], file_->numeric[size_t(i)]);
    }
    if (sqlite3_step(stmt) != SQLITE_DONE) {
        const QString text = failure(file_->db, "Unable to fetch row");
        sqlite3_reset(stmt);
        throw Error(text);
    }
    sqlite3_reset(stmt);
}

void RowWriter::flush() {
    if (file_)
        file_->record();
    if (!server_ || server_->held.isEmpty())
        return;
    Server& s = *server_;
    QVariantList values;
    values.swap(s.held);
    const qsizetype rows = values.size() / columns_;
    try {
        if (rows == s.rowsPerStatement) {
            if (!s.full)
                s.full.emplace(s.con, s.sql(rows));
            s.full->run(values);
        } else {
            Statement(s.con, s.sql(rows)).run(values);
        }
    } catch (const Error&) {
        // The statement is undone whole. Written one at a time, the rows before the one the
        // store refuses stay, and the failure is that row's, as when every row was its own.
        Statement one(s.con, s.sql(1));
        for (qsizetype r = 0; r < rows; ++r)
            one.run(values.mid(r * columns_, columns_));
    }
}

} // namespace tw
