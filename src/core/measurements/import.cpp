#include "core/measurements/import.h"

#include "core/schedules/workbook.h"
#include "store/worktables.h"
#include "values/values.h"

#include <QFile>
#include <QFileInfo>

#include <algorithm>

namespace tw::measurements {

namespace {

// The column of the file each field of the screen is read from.
QString columnOf(const QString& field) {
    static const std::pair<const char*, const char*> columns[] = {
        {"rt_sch_item", "A"}, {"txt_narration", "B"},    {"cmb_shape", "C"}, {"txtdim1", "D"},
        {"txtdim11", "E"},    {"txtdim2", "F"},          {"txtdim22", "G"},  {"txtdim3", "H"},
        {"txtdim33", "I"},    {"txtdim4", "J"},          {"txtdim44", "K"},  {"txt_qty", "L"},
        {"cmbbillded", "M"},  {"cmb_bill_num", "--bill"}};
    for (const auto& [name, column] : columns) {
        if (field == QLatin1String(name))
            return QString::fromLatin1(column);
    }
    return {};
}

// A row the import refuses, named as a user finds it in the spreadsheet.
[[noreturn]] void refuse(const FileRow& row, const QString& field, const QString& text) {
    const QString column = columnOf(field);
    if (column.isEmpty())
        throw Error(QStringLiteral("row %1: %2").arg(row.number).arg(text));
    throw Error(
        QStringLiteral("row %1, %2%3: %4")
            .arg(row.number)
            .arg(column.startsWith(u'-') ? QString() : QStringLiteral("column "), column, text));
}

bool isEmptyRow(const QStringList& cells) {
    return std::all_of(cells.begin(), cells.end(),
                       [](const QString& c) { return c.trimmed().isEmpty(); });
}

void addRow(std::vector<FileRow>& rows, int number, QStringList cells) {
    while (cells.size() < FileColumns)
        cells << QString();
    cells = cells.mid(0, FileColumns);
    if (!isEmptyRow(cells))
        rows.push_back({number, cells});
}

// A deduction is said as the screen's list says it, or as spreadsheets and scripts write a
// truth value; an empty cell is no deduction, as the list starts on "No".
std::optional<bool> deductionOf(const QString& cell) {
    const QString v = cell.trimmed().toLower();
    for (const char* yes : {"yes", "true", "1"}) {
        if (v == QLatin1String(yes))
            return true;
    }
    for (const char* no : {"no", "false", "0", ""}) {
        if (v == QLatin1String(no))
            return false;
    }
    return std::nullopt;
}

// What the screen's fields can be typed with: a whole part digits only, a fractional part
// digits and one point. Letters would otherwise be read as a number they only begin with.
bool typeable(const QString& text, bool fraction) {
    qsizetype points = 0;
    for (const QChar c : text) {
        if (c == u'.' && fraction)
            ++points;
        else if (c < u'0' || c > u'9')
            return false;
    }
    return points <= 1;
}

} // namespace

std::vector<QStringList> readCsv(const QString& text) {
    std::vector<QStringList> records;
    QStringList record;
    QString cell;
    bool inQuotes = false;
    bool closedQuote = false; // the cell was quoted and its closing quote has passed
    const auto endCell = [&] {
        record << cell;
        cell.clear();
        closedQuote = false;
    };
    const auto endRecord = [&] {
        endCell();
        records.push_back(record);
        record.clear();
    };
    const qsizetype n = text.size();
    for (qsizetype i = 0; i < n; ++i) {
        const QChar c = text[i];
        if (inQuotes) {
            if (c != u'"') {
                cell += c;
            } else if (i + 1 < n && text[i + 1] == u'"') {
                cell += c;
                ++i;
            } else {
                inQuotes = false;
                closedQuote = true;
            }
        } else if (c == u',') {
            endCell();
        } else if (c == u'\n' || c == u'\r') {
            if (c == u'\r' && i + 1 < n && text[i + 1] == u'\n')
                ++i;
            endRecord();
        } else if (closedQuote) {
            throw Error(QStringLiteral("row %1: a quoted cell goes on after its closing quote")
                            .arg(records.size() + 1));
        } else if (c == u'"' && cell.isEmpty()) {
            inQuotes = true;
        } else {
            cell += c;
        }
    }
    if (inQuotes)
        throw Error(QStringLiteral("row %1: a quoted cell is not closed").arg(records.size() + 1));
    if (!cell.isEmpty() || !record.isEmpty() || closedQuote)
        endRecord();
    return records;
}

std::vector<FileRow> readMeasurementFile(const QString& path) {
    std::vector<FileRow> rows;
    if (QFileInfo(path).suffix().compare(QLatin1String("csv"), Qt::CaseInsensitive) == 0) {
        QFile file(path);
        if (!file.open(QIODevice::ReadOnly))
            throw Error(QStringLiteral("%1 can not be read: %2").arg(path, file.errorString()));
        QString text = QString::fromUtf8(file.readAll());
        if (text.startsWith(QChar(0xFEFF)))
            text.remove(0, 1);
        int number = 0;
        for (QStringList& record : readCsv(text))
            addRow(rows, ++number, std::move(record));
        return rows;
    }
    const schedules::Sheet sheet = schedules::readSheet1(path);
    for (const auto& [index, cells] : sheet.rows) {
        QStringList texts;
        // A truth value reads "true" or "false", which a deduction takes.
        for (const auto& c : schedules::firstCells(cells, FileColumns))
            texts << (c.typeId() == QMetaType::Double ? doubleText(c.toDouble()) : c.toString());
        addRow(rows, index + 1, texts);
    }
    return rows;
}

Imported importLines(const ConClass& con, const Project& project, const QString& bill,
                     const std::vector<FileRow>& rows) {
    Imported done;
    Transaction all(con);
    // Before anything is read: a second seat importing into the bill waits for this one, and the
    // file's write lock is not asked for by two readers at once.
    holdFor(con, billHold(project.number, bill));
    for (const FileRow& row : rows) {
        const QStringList& c = row.cells;
        const auto shape = findShape(con, c[2]);
        if (&row == &rows.front() && !shape && !strictNumber(c[11])) {
            done.headingRow = row.number;
            continue;
        }
        const auto deduction = deductionOf(c[12]);
        if (!deduction)
            refuse(row, QStringLiteral("cmbbillded"),
                   QStringLiteral("a deduction is yes or no, not \"%1\"").arg(c[12]));
        if (!shape)
            refuse(row, QStringLiteral("cmb_shape"),
                   QStringLiteral("no shape is named \"%1\"").arg(c[2]));

        Line line;
        line.contract = project.number;
        line.units = project.units;
        line.bill = bill;
        line.sch = c[0];
        if (const auto item = findItem(con, project.number, c[0])) {
            line.sch = item->number;
            line.item = item->description;
        }
        line.narration = c[1];
        line.takeShape(*shape);
        // A pair the shape doesn't ask for holds nothing, as on the screen.
        for (int i = 0; i < 4; ++i) {
            if (!line.asked[i])
                continue;
            line.whole[i] = c[3 + 2 * i].trimmed();
            line.frac[i] = c[4 + 2 * i].trimmed();
            if (!typeable(line.whole[i], false))
                refuse(row, QStringLiteral("txtdim%1").arg(i + 1),
                       QStringLiteral("%1 takes digits only, not \"%2\"")
                           .arg(line.captions[i], line.whole[i]));
            if (!typeable(line.frac[i], true))
                refuse(row, QStringLiteral("txtdim%1%1").arg(i + 1),
                       QStringLiteral("%1 takes digits and one point, not \"%2\"")
                           .arg(fractionCaption(line.units), line.frac[i]));
        }
        line.qty = c[11].trimmed();
        line.deduction = *deduction;
        std::optional<Refusal> refused;
        try {
            refused = saveLine(con, line);
        } catch (const Error& e) { // the arithmetic's failure, as the screen shows it
            refuse(row, {}, e.text());
        }
        if (refused)
            refuse(row, refused->field, refused->text);
        ++done.lines;
    }
    all.commit();
    return done;
}

} // namespace tw::measurements
