#include "store/filerows.h"

#include "store/lasttexts.h"

#include <condition_variable>
#include <deque>
#include <exception>
#include <mutex>
#include <thread>

#include <sqlite3.h>

namespace tw::sqlite {

namespace {

// A value as the statement gave it, before Qt's value is made of it.
struct Cell {
    enum Kind : quint8 { Null, Integer, Real, Text, SameText, Blob } kind = Null;
    qint64 integer = 0;
    double real = 0;
    qsizetype made = 0; // a text's or blob's place among the batch's own
};

// A run of rows read, handed from the reading thread to the one making the rows.
struct Batch {
    std::vector<qint64> ids;
    std::vector<Cell> cells; // row after row, a cell for each column
    std::vector<QString> texts;
    std::vector<QByteArray> blobs;
};

constexpr size_t batchRows = 2048;
constexpr size_t batchesAhead = 4; // held at most while the rows are made: a few MB

// The batches between the two threads.
class Queue {
public:
    void put(Batch batch) {
        std::unique_lock lock(mutex_);
        room_.wait(lock, [&] { return batches_.size() < batchesAhead || stopped_; });
        batches_.push_back(std::move(batch));
        ready_.notify_one();
    }
    void end(std::exception_ptr failure = {}) {
        const std::lock_guard lock(mutex_);
        ended_ = true;
        failure_ = failure;
        ready_.notify_one();
    }
    // The next batch; false once all were taken. Rethrows the reading thread's failure.
    bool take(Batch& batch) {
        std::unique_lock lock(mutex_);
        ready_.wait(lock, [&] { return !batches_.empty() || ended_; });
        if (batches_.empty()) {
            if (failure_)
                std::rethrow_exception(failure_);
            return false;
        }
        batch = std::move(batches_.front());
        batches_.pop_front();
        room_.notify_one();
        return true;
    }
    // The reading stops at its next batch: the rows are no longer wanted.
    void stop() {
        const std::lock_guard lock(mutex_);
        stopped_ = true;
        room_.notify_one();
    }
    bool stopped() {
        const std::lock_guard lock(mutex_);
        return stopped_;
    }

private:
    std::mutex mutex_;
    std::condition_variable ready_, room_;
    std::deque<Batch> batches_;
    bool ended_ = false, stopped_ = false;
    std::exception_ptr failure_;
};

// Steps the statement to its end, a batch at a time.
void read(sqlite3* file, sqlite3_stmt* q, Queue& queue) {
    const auto count = static_cast<size_t>(sqlite3_column_count(q) - 1);
    LastTexts texts(count);
    Batch batch;
    int step = SQLITE_ROW;
    while ((step = sqlite3_step(q)) == SQLITE_ROW) {
        batch.ids.push_back(sqlite3_column_int64(q, 0));
        for (size_t i = 0; i < count; ++i) {
            // The value itself, read without the connection's lock that each column call
            // takes: the statement is stepped on this thread alone and stands on the row while
            // it is read.
            sqlite3_value* v = sqlite3_column_value(q, int(i) + 1);
            Cell& cell = batch.cells.emplace_back();
            switch (sqlite3_value_type(v)) {
            case SQLITE_INTEGER:
                cell.kind = Cell::Integer;
                cell.integer = sqlite3_value_int64(v);
                break;
            case SQLITE_FLOAT:
                cell.kind = Cell::Real;
                cell.real = sqlite3_value_double(v);
                break;
            case SQLITE_NULL:
                break;
            case SQLITE_BLOB:
                cell.kind = Cell::Blob;
                cell.made = qsizetype(batch.blobs.size());
                batch.blobs.emplace_back(static_cast<const char*>(sqlite3_value_blob(v)),
                                         sqlite3_value_bytes(v));
                break;
            default: {
                const auto* stored = reinterpret_cast<const char*>(sqlite3_value_text(v));
                const QByteArrayView bytes(stored, sqlite3_value_bytes(v));
                if (texts.repeats(i, bytes)) {
                    cell.kind = Cell::SameText;
                    break;
                }
                cell.kind = Cell::Text;
                cell.made = qsizetype(batch.texts.size());
                // As Qt's reader makes it: SQLite's own UTF-16 of the text.
                const auto* text = static_cast<const QChar*>(sqlite3_value_text16(v));
                batch.texts.emplace_back(text, sqlite3_value_bytes16(v) / qsizetype(sizeof(QChar)));
            }
            }
        }
        if (batch.ids.size() == batchRows) {
            if (queue.stopped())
                return;
            queue.put(std::exchange(batch, Batch()));
        }
    }
    if (step != SQLITE_DONE)
        throw Error(QString::fromUtf8(sqlite3_errmsg(file)));
    if (!batch.ids.empty())
        queue.put(std::move(batch));
}

} // namespace

Rows readRows(sqlite3* file, const QString& select,
              const std::shared_ptr<const QSqlRecord>& columns) {
    const QByteArray text = select.toUtf8();
    sqlite3_stmt* q = nullptr;
    if (sqlite3_prepare_v2(file, text.constData(), int(text.size()), &q, nullptr) != SQLITE_OK)
        throw Error(QString::fromUtf8(sqlite3_errmsg(file)));
    const std::unique_ptr<sqlite3_stmt, int (*)(sqlite3_stmt*)> statement(q, sqlite3_finalize);
    const auto count = size_t(sqlite3_column_count(q) - 1);

    Queue queue;
    std::jthread reader([&] {
        try {
            read(file, q, queue);
            queue.end();
        } catch (...) {
            queue.end(std::current_exception());
        }
    });
    // However the making ends, the reading stops before the statement goes.
    const std::unique_ptr<Queue, void (*)(Queue*)> stopping(&queue, [](Queue* q) { q->stop(); });

    Rows out;
    std::vector<QString> last(count); // the last text of each column
    Batch batch;
    while (queue.take(batch)) {
        const Cell* cell = batch.cells.data();
        for (const qint64 id : batch.ids) {
            QVariantList values;
            values.reserve(qsizetype(count));
            for (size_t i = 0; i < count; ++i, ++cell) {
                switch (cell->kind) {
                case Cell::Null:
                    values.append(QVariant(QMetaType::fromType<QString>()));
                    break;
                case Cell::Integer:
                    values.append(QVariant(qlonglong(cell->integer)));
                    break;
                case Cell::Real:
                    values.append(QVariant(cell->real));
                    break;
                case Cell::Text:
                    last[i] = std::move(batch.texts[size_t(cell->made)]);
                    values.append(QVariant(last[i]));
                    break;
                case Cell::SameText:
                    values.append(QVariant(last[i]));
                    break;
                case Cell::Blob:
                    values.append(QVariant(std::move(batch.blobs[size_t(cell->made)])));
                    break;
                }
            }
            out.emplace_back(columns, std::move(values), id);
        }
    }
    return out;
}

} // namespace tw::sqlite
