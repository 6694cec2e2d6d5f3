#include "core/reports/rows_file.h"

#include "core/schedules/workbook.h"
#include "store/files.h"

#include <QDir>

#include <cerrno>

namespace tw::reports {

QString csvField(QString text) {
    if (text.contains(u',') || text.contains(u'"') || text.contains(u'\n') || text.contains(u'\r'))
        text = u'"' + text.replace(u'"', QStringLiteral("\"\"")) + u'"';
    return text;
}

namespace {
// A value as the store holds it: a text as it stands, a number printed with no format.
QVariant cell(const QVariant& v) {
    bool number = false;
    const double d = v.typeId() == QMetaType::QString ? 0 : v.toDouble(&number);
    return v.isNull() ? QVariant() : number ? QVariant(d) : QVariant(v.toString());
}

QByteArray csvCell(const QVariant& v) {
    const QVariant c = cell(v);
    return csvField(c.typeId() == QMetaType::Double ? doubleText(c.toDouble()) : c.toString())
        .toUtf8();
}

void writeCsv(const LayoutRows& rows, const QString& path) {
    AtomicFile file(path);
    const auto line = [&](const QVariantList& values) {
        QByteArray text;
        for (qsizetype i = 0; i < values.size(); ++i)
            text += (i ? "," : "") + csvCell(values[i]);
        file.write(text + "\r\n");
    };
    line(QVariantList(rows.columns.begin(), rows.columns.end()));
    for (const Row& r : rows.rows) {
        QVariantList values;
        for (int i = 0; i < r.count(); ++i)
            values << r.value(i);
        line(values);
    }
    file.commit();
}

// The workbook is written whole or not at all by writeSheet1, which also names a full disk.
void writeXlsx(const LayoutRows& rows, const QString& path) {
    size_t next = 0;
    schedules::writeSheet1(path, [&](schedules::SheetRow& cells) {
        cells.clear();
        if (next == 0)
            cells.assign(rows.columns.begin(), rows.columns.end());
        else if (next <= rows.rows.size())
            for (int i = 0; i < rows.rows[next - 1].count(); ++i)
                cells.push_back(cell(rows.rows[next - 1].value(i)));
        else
            return false;
        ++next;
        return true;
    });
}
} // namespace

void writeRows(const LayoutRows& rows, const QString& path) {
    if (path.endsWith(QLatin1String(".xlsx"), Qt::CaseInsensitive))
        writeXlsx(rows, path);
    else
        writeCsv(rows, path);
}

} // namespace tw::reports
