#include "core/schedules/schedules.h"

#include "core/projects/projects.h"
#include "core/reports/fill_support.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QHash>
#include <QSet>
#include <QSqlError>

#include <algorithm>
#include <limits>

namespace tw::schedules {

// ---- copying items between projects ---------------------------------------------------------

std::vector<StagedItem> scheduleItems(const ConClass& con, const QString& contractNum) {
    std::vector<StagedItem> items;
    for (const Row& r : con.keyed(QStringLiteral("sch_master"), QStringLiteral("tw_contract_num=?"),
                                  {contractNum}))
        items.push_back({r.text("tw_sch_num"), r.text("tw_item_desc"), r.text("tw_unit"),
                         r.isNull("tw_unit_lable") ? QStringLiteral("  ") : r.text("tw_unit_lable"),
                         r["tw_item_rate"], r.text("tw_category_name"), QString()});
    return items;
}

namespace {
// A column of the grid as it is written: what the grid shows, so an empty cell is an empty
// text and never Null (a Null type of measure would list as "xxx").
QVariant gridText(const QString& text) {
    return text.isNull() ? QStringLiteral("") : text;
}

// The messages are the copy screen's, and are translated with it.
QString trCopy(const char* text) {
    return QCoreApplication::translate("Frm_Schdls", text);
}
} // namespace

std::optional<Message> checkDestination(const QString& destination, const QString& source) {
    if (destination.trimmed() != source.trimmed())
        return std::nullopt;
    return Message{
        trCopy("The source and destination project are same. Select different projects."), Ok,
        defaultTitle()};
}

std::variant<std::vector<StagedItem>, Refusal> stageOne(const ConClass& con, const QString& source,
                                                        const std::vector<StagedItem>& staged,
                                                        const std::optional<QString>& picked) {
    const QString grid = QStringLiteral("Lst_Schd");
    if (!picked)
        return Refusal{grid, trCopy("Please Select a Schedule From Schedule List"), Ok,
                       trCopy("Investigation Information")};
    if (std::any_of(staged.begin(), staged.end(),
                    [&](const StagedItem& s) { return s.number == *picked; }))
        return Refusal{grid, trCopy("This Schedule is already Added..."), Ok, trCopy("Schedules")};
    std::vector<StagedItem> one;
    for (StagedItem& item : scheduleItems(con, source))
        if (item.number == *picked) {
            one.push_back(std::move(item));
            break;
        }
    return one;
}

std::variant<std::vector<StagedItem>, Message> stageAll(const ConClass& con,
                                                        const QString& source) {
    std::vector<StagedItem> items = scheduleItems(con, source);
    if (items.empty())
        return Message{trCopy("There are no schedules to copy from this porject"), Information,
                       defaultTitle()};
    return items;
}

std::optional<Refusal> saveStaged(const ConClass& con, const QString& sourceName,
                                  const QString& destination,
                                  const std::vector<StagedItem>& items) {
    if (sourceName.trimmed().isEmpty())
        return Refusal{QStringLiteral("CmbSchItm"),
                       trCopy("Please Select Schedule Master from the list to Copy From..."), Ok,
                       trCopy("Schedule Master")};
    if (items.empty())
        return Refusal{QStringLiteral("Lst_Schd"), trCopy("There are no Schedules to SAVE...!"), Ok,
                       trCopy("Empty Schedules Grid")};
    Transaction action(con);
    const QString table = QStringLiteral("sch_master");
    for (const StagedItem& item : items) {
        const Values values{{QStringLiteral("tw_item_desc"), gridText(item.description)},
                            {QStringLiteral("tw_unit"), gridText(item.unit)},
                            {QStringLiteral("tw_item_rate"), item.rate},
                            {QStringLiteral("tw_deduction"), 0},
                            {QStringLiteral("tw_category_name"), gridText(item.category)},
                            {QStringLiteral("tw_unit_lable"), gridText(item.unitLabel)},
                            {QStringLiteral("tw_volarea"), gridText(item.measureType)}};
        const auto found = con.find(table, QStringLiteral("tw_contract_num=? and tw_sch_num=?"),
                                    {destination, item.number});
        if (found) {
            con.update(table, found->id(), values);
        } else {
            Values added{{QStringLiteral("tw_contract_num"), destination},
                         {QStringLiteral("tw_sch_num"), item.number}};
            added.insert(added.end(), values.begin(), values.end());
            con.insert(table, added);
        }
    }
    action.commit();
    return std::nullopt;
}

// ---- the project's own schedule table ---------------------------------------------------------

std::optional<Project> findProject(const ConClass& con, const QString& number) {
    const auto r = projects::findByNumber(con, number);
    if (!r)
        return std::nullopt;
    return Project{number, r->text(QStringLiteral("tw_pkey")), r->text(QStringLiteral("tw_units"))};
}

QString fileStem(const QString& number) {
    QString stem = number.trimmed();
    for (QChar& c : stem)
        if (c == u'.' || c == u'\\' || c == u'/' || c == u' ')
            c = u'-';
    return stem;
}

namespace {

// The only identifier built at run time: Sch_ and the digits of the project's key.
QString scheduleTable(const Project& project) {
    const QString& key = project.tableKey;
    if (key.isEmpty() || !std::all_of(key.begin(), key.end(), [](QChar c) { return c.isDigit(); }))
        throw Error(QStringLiteral("The project %1 has no schedule table.").arg(project.number));
    return QStringLiteral("Sch_") + key;
}

bool isEmpty(const Cell& c) {
    return !c.isValid();
}
// A cell counts as blank when it is empty or holds exactly one blank.
bool isOneBlank(const Cell& c) {
    return c.typeId() == QMetaType::QString && c.toString() == QLatin1String(" ");
}
bool isBlank(const Cell& c) {
    return isEmpty(c) || isOneBlank(c);
}

QString cellText(const Cell& c) {
    switch (c.typeId()) {
    case QMetaType::Double:
        return doubleText(c.toDouble());
    case QMetaType::Bool:
        return c.toBool() ? QStringLiteral("TRUE") : QStringLiteral("FALSE");
    default:
        return c.toString();
    }
}

// A text cell goes in as its text, an empty one as Null, which a required column refuses.
QVariant textValue(const Cell& c) {
    return isEmpty(c) ? QVariant() : QVariant(cellText(c));
}

// The rate must be a figure the bills can sum: a text that is none is wrong data, not a rate of
// nought, and so is a rate beyond the money type.
QVariant rateValue(const Cell& c, int row) {
    if (isEmpty(c))
        return {};
    double rate = c.typeId() == QMetaType::Bool ? (c.toBool() ? 1.0 : 0.0) : c.toDouble();
    if (c.typeId() == QMetaType::QString) {
        const auto v = strictNumber(c.toString());
        if (!v)
            throw ImportError(
                ImportFailure::WrongData,
                QStringLiteral("Row %1: the rate %2 is no number.").arg(row + 1).arg(c.toString()));
        rate = *v;
    }
    if (!fitsMoney(rate))
        throw ImportError(ImportFailure::WrongData,
                          QStringLiteral("Row %1: %2")
                              .arg(row + 1)
                              .arg(tooLargeText(QStringLiteral("Unit Rate"), rate)));
    return rate;
}

// 0 means no deduction; anything else, an empty cell too, means one.
bool deductionFlag(const Cell& c) {
    switch (c.typeId()) {
    case QMetaType::Double:
        return c.toDouble() != 0;
    case QMetaType::Bool:
        return c.toBool();
    case QMetaType::QString: {
        const auto v = strictNumber(c.toString());
        return !v || *v != 0;
    }
    default:
        return true;
    }
}

// How a failure of the store reads to the user: a required column left empty, or a value the
// column cannot hold; anything else (a missing table) is a workbook the import cannot take.
ImportFailure storeFailure(const QString& text) {
    switch (failureKind(text)) {
    case StoreFailure::NotNull:
        return ImportFailure::NullValue;
    case StoreFailure::WrongType:
        return ImportFailure::WrongData;
    default:
        return ImportFailure::BadFormat;
    }
}

void countOne(qint16& count) {
    if (count == std::numeric_limits<qint16>::max())
        throw Error(QStringLiteral("Overflow"));
    ++count;
}

class Importer {
public:
    Importer(const ConClass& con, const Project& project)
        : con_(con), table_(scheduleTable(project)),
          categoryTable_(project.units == QLatin1String("Feet")
                             ? QStringLiteral("CategoryList_Feet")
                             : QStringLiteral("CategoryList_Meter")) {}

    void importRow(int index, const SheetRow& cells) {
        const SheetRow row = firstCells(cells, ScheduleColumns);
        const Cell& a = row[0];
        const Cell& b = row[1];
        if (isBlank(a) && (isEmpty(b) || cellText(b).size() <= 2))
            return; // a spacer row or a short page mark
        if (isBlank(a)) {
            // A description without a number: the row gets a made-up one to be checked.
            const QString sch = QStringLiteral("Sch-%1").arg(counts.added);
            countOne(counts.toCheck);
            add(index, sch, row);
        } else if (!isEmpty(b)) {
            add(index, cellText(a), row);
        }
    }

    ImportCounts counts;

private:
    void add(int index, const QString& sch, const SheetRow& row) {
        // The existence test looks at cell A as it stands, so a made-up number is never found
        // and a second import adds such rows again.
        if (!isEmpty(row[0]) && numbers().contains(reports::nocaseKey(cellText(row[0]))))
            return;
        if (std::any_of(row.begin(), row.end(), isOneBlank))
            return;
        const QStringList& cols = columns();
        con_.insert(table_, {{cols[0], sch},
                             {cols[1], textValue(row[1])},
                             {cols[2], textValue(row[2])},
                             {cols[3], rateValue(row[3], index)},
                             {cols[4], deductionFlag(row[4]) ? 1 : 0},
                             {cols[5], knownCategory(cellText(row[5]).trimmed())
                                           ? textValue(row[5])
                                           : QVariant(QStringLiteral("Other Category"))}});
        numbers_.insert(reports::nocaseKey(sch));
        countOne(counts.added);
    }

    // The numbers the table holds, read once and kept up to date as rows go in: a schedule of
    // thousands of rows would otherwise be searched whole for each of its rows. They are kept as
    // the store compares texts, so "a1" finds the item "A1".
    const QSet<QString>& numbers() {
        if (!numbersRead_) {
            for (const Row& r : con_.rows(QStringLiteral("select tw_sch_num from %1").arg(table_)))
                if (!r.isNull(0))
                    numbers_.insert(reports::nocaseKey(r.text(0)));
            numbersRead_ = true;
        }
        return numbers_;
    }

    bool knownCategory(const QString& name) {
        const auto cached = categories_.constFind(name);
        if (cached != categories_.constEnd())
            return *cached;
        const bool known =
            con_.first(QStringLiteral("select tw_category_name from %1 where tw_category_name=?")
                           .arg(categoryTable_),
                       {name})
                .has_value();
        categories_.insert(name, known);
        return known;
    }

    // The table's columns by position: rows go in by place, whatever the columns are called.
    const QStringList& columns() {
        if (columns_.isEmpty()) {
            columns_ = con_.columns(table_);
            if (columns_.size() < ScheduleColumns)
                throw Error(QStringLiteral("The table %1 has fewer than six columns.").arg(table_));
        }
        return columns_;
    }

    const ConClass& con_;
    QString table_;
    QString categoryTable_;
    QStringList columns_;
    QSet<QString> numbers_;
    bool numbersRead_ = false;
    QHash<QString, bool> categories_;
};

} // namespace

namespace {
// The messages are the import screen's, and are translated with it.
QString trImport(const char* text) {
    return QCoreApplication::translate("Frm_Import", text);
}

Refusal noProject(const char* text) {
    return {QStringLiteral("CmbCntrctNm"), trImport(text), Ok, trImport("Select Contract Number")};
}
} // namespace

std::optional<Refusal> checkImport(bool projectPicked, const QString& file) {
    const QString field = QStringLiteral("Txt_FileName");
    if (!projectPicked)
        return noProject("Please Select a Contract Number...!");
    if (file.isEmpty())
        return Refusal{field, trImport("Please Select a File Name (Excel File)..."), Ok,
                       trImport("Select File Name")};
    if (!QFileInfo(file).isFile())
        return Refusal{field, trImport("File Not Found..."), Ok, trImport("File Name")};
    return std::nullopt;
}

std::optional<Refusal> checkExport(bool projectPicked) {
    if (!projectPicked)
        return noProject("Please Select A Contract Number...!");
    return std::nullopt;
}

ImportCounts importSchedules(const ConClass& con, const Project& project, const QString& path,
                             const Waiting& whileReading, const Writing& whileWriting) {
    const Sheet sheet = readSheet1(path, whileReading);
    if (!sheet.rows.empty() && sheet.columns < ScheduleColumns)
        throw ImportError(ImportFailure::FewColumns,
                          QStringLiteral("Sheet1 has %1 columns, not six.").arg(sheet.columns));
    // What was added before a failure stays, so the rows are committed either way.
    Transaction action(con);
    try {
        Importer importer(con, project);
        const auto of = qsizetype(sheet.rows.size());
        qsizetype written = 0;
        for (const auto& [index, row] : sheet.rows) {
            // Cancelled: the guard takes back what was written (a failure keeps it, below).
            if (whileWriting && !whileWriting(written++, of))
                throw ImportCancelled{};
            importer.importRow(index, row);
        }
        action.commit();
        return importer.counts;
    } catch (const ImportError&) {
        action.commit();
        throw;
    } catch (const Error& e) {
        action.commit();
        throw ImportError(storeFailure(e.text()), e.text());
    }
}

Message importedMessage(const ImportCounts& counts) {
    return {QStringLiteral("%1 Schedules Added Successfully.\n%2 schedule items need checking")
                .arg(counts.added)
                .arg(counts.toCheck),
            Ok, QStringLiteral("New Schedules Added")};
}

Refusal failureRefusal(ImportFailure kind) {
    const Message m = failureMessage(kind);
    return {kind == ImportFailure::FewColumns ? QStringLiteral("Txt_FileName") : QString(), m.text,
            m.flags, m.title};
}

Message failureMessage(ImportFailure kind) {
    switch (kind) {
    case ImportFailure::FewColumns:
        return {QStringLiteral("You Selected Incorrect Excel File...!\nPlease Select Correct File"),
                Ok, defaultTitle()};
    case ImportFailure::NullValue:
        return {QStringLiteral("Some Values contain Null Values...\nAborting...Please Check"), Ok,
                QStringLiteral("Null Values")};
    case ImportFailure::WrongData:
        return {QStringLiteral("Incorrect Data in the File...Please Check"), Ok,
                QStringLiteral("Wrong Data")};
    case ImportFailure::BadFormat:
        break;
    }
    return {QStringLiteral("Excel Sheet is not in proper Format - Refer Help for proper format"),
            Ok, QStringLiteral("Excel Sheet")};
}

QString exportSchedules(const ConClass& con, const Project& project, const QString& path) {
    // The table is read a row at a time as the workbook takes it: a schedule of any length is
    // never held whole.
    QSqlQuery rows =
        prepared(con.db(), QStringLiteral("select * from %1").arg(scheduleTable(project)), {});
    const auto stored = [&](int i) {
        const QVariant v = rows.value(i);
        return v.isNull() ? Cell() : v;
    };
    const QString file =
        path.isEmpty() ? AppFolder::file(fileStem(project.number) + QStringLiteral(".xlsx")) : path;
    writeSheet1(file, [&](SheetRow& row) {
        if (!rows.next()) {
            // A read that failed midway ends the rows early: the workbook would lack the rest.
            if (rows.lastError().isValid())
                throw Error(rows.lastError().text());
            return false;
        }
        const QVariant deduction = rows.value(4);
        row = {stored(0),
               stored(1),
               stored(2),
               stored(3),
               Cell(!deduction.isNull() && deduction.toDouble() != 0),
               stored(5)};
        return true;
    });
    return file;
}

Message exportedMessage(const QString& path) {
    const QFileInfo file(path);
    return {QStringLiteral("Export Completed Successfully...!\nFile Name is : '%1'\nThe Path is:  "
                           "           %2")
                .arg(file.fileName(), QDir::toNativeSeparators(file.absolutePath())),
            Ok, QStringLiteral("Export Schedules")};
}

} // namespace tw::schedules
