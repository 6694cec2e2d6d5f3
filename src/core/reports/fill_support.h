#pragma once
// What the fill routines share: reading numbers the way the bills read them, look-up tables
// read once per run, one prepared insert reused for every row of a working table, and the rows
// of dummy_estimation built from measurement lines.

#include "core/reports/bulk_insert.h"
#include "core/reports/report_run.h"
#include "store/store.h"
#include "values/values.h"

#include <QHash>
#include <QSqlQuery>
#include <QString>
#include <QStringList>
#include <QVariant>
#include <QVariantList>

#include <array>
#include <optional>
#include <vector>

namespace tw::reports {

// The numeric value of a stored figure: a number as it stands, a text by its leading number.
// A Null has no value and throws "Invalid use of Null".
double numericValue(const QVariant& v);

// A stored figure taken as it stands in arithmetic: a Null stays Null, a text must be a number
// as a whole ("Type mismatch" otherwise).
Nullable storedNumber(const QVariant& v);

// Whether a yes/no column holds yes. A Null is no.
bool isYes(const QVariant& v);

// The key under which a text is found as the store compares texts: ASCII letters without
// regard to case, everything else (blanks too) as it stands.
QString nocaseKey(const QString& text);

// The first row the store gives for each text of `column`, found as the store compares texts.
class FirstRows {
public:
    void add(const QString& key, Row row); // keeps the first row of each key
    const Row* find(const QString& key) const;
    qsizetype size() const { return rows_.size(); }

private:
    QHash<QString, Row> rows_;
};
FirstRows firstRowsBy(const Rows& rows, const QString& column);

// The row of a project, found by name or by number as the report screen finds it: the first the
// store returns. Throws when there is none.
Row projectByName(const ConClass& con, const QString& name);
Row projectByNumber(const ConClass& con, const QString& number);

// One measurement line of BillMaster, with the columns a report row copies.
struct Line {
    QVariant bill, sch, contract, narration;
    std::array<QVariant, 8> dims; // tw_dim1, tw_dim1_inches, ..., tw_dim4_inches
    QVariant deduction, quantity, calArea, shape;
};

// Measurement lines read one at a time from a statement over BillMaster.
class LineReader {
public:
    LineReader(const ConClass& con, const QString& sql, const QVariantList& params);
    bool next(Line& line);

private:
    QSqlQuery query_;
    int bill_, sch_, contract_, narration_, deduction_, quantity_, calArea_, shape_;
    std::array<int, 8> dims_{};
};

// The running net quantity of the item groups of dummy_estimation, row after row: a group is a
// run of rows with the same tw_recordkey, and its figures start again from 0.
class NetQuantity {
public:
    // Takes one row and gives the group's net quantity up to and including it.
    Currency take(const QVariant& recordkey, const QVariant& test, const QVariant& ndamt,
                  const QVariant& damt);
    Currency net() const { return net_; }

private:
    std::optional<QVariant> key_;
    Currency added_, deducted_, net_;
};

// Writes the rows of dummy_estimation for measurement lines taken in order: the detailed
// estimate of one bill and the final bill of a project.
class EstimateRows {
public:
    struct Rules {
        QString missingItem;   // the message when a line's item has no details
        bool unitLabel = true; // units_label from the shape's row in `shapes`
        bool net = false;      // the final bill's net quantity and amount on every row
    };
    // Empties dummy_estimation and starts the first group at the first line's item.
    EstimateRows(ReportRun& run, const ConClass& con, Messenger& messages, Rules rules,
                 QString units, const Line& first);
    // Writes the row of one line with the schedule item found for it (nullptr when none). Gives
    // false when the item has no details: the message is shown, the row is not written and the
    // run ends there, keeping the rows before it. Throws when the line's shape has no row.
    bool add(const Line& line, const Row* item);
    // A failure of the amount stays back until every row is written, as the amounts are worked
    // out after the rows: throws it now if there was one.
    void finish();

private:
    ReportRun& run_;
    const ConClass& con_;
    Messenger& messages_;
    Rules rules_;
    QString units_;
    QString item_; // the item number of the current group
    FirstRows shapes_;
    BulkInsert insert_;
    NetQuantity net_;
    std::optional<Error> netFailure_;
};

} // namespace tw::reports
