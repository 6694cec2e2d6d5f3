// tallywright-cli measurements import against the measurements entry screen: the same lines
// typed on the screen and read from a file are stored alike, and a file goes in whole or not at
// all.

#include "cli.h"
#include "core/measurements/import.h"
#include "core/schedules/workbook.h"
#include "measurements/screen_texts.h"
#include "screens/measurements/frm_dims.h"
#include "store/history.h"

#include <QFile>

namespace {

using twtest::pick;

struct Result {
    int code;
    QString out, err;
};

class MeasurementsImport : public twtest::ScreenTest<frm_dims> {
protected:
    void SetUp() override {
        ScreenTest::SetUp();
        db().exec("insert into ContractMaster (tw_contract_num, tw_contract_name, tw_units) "
                  "values (?, ?, ?), (?, ?, ?)",
                  {"P-1", "Ring Road", "Feet", "M-7", "Metro Depot", "Metre"});
        db().exec("insert into Sch_master (tw_contract_num, tw_sch_num, tw_item_desc, "
                  "tw_category_name) values (?, ?, ?, ?), (?, ?, ?, ?), (?, ?, ?, ?)",
                  {"P-1", "1.1", "Item 1.1", "BW-1", "P-1", "A2", "Item A2", "PL-2", "M-7", "7",
                   "Item 7", "CC"});
        open();
    }
    Result import(const QString& project, const QString& bill, const QString& file) {
        QString out, err;
        QTextStream o(&out), e(&err);
        const int code = cli::run({"--folder", folder(), "measurements", "import", "--project",
                                   project, "--bill", bill, file},
                                  o, e);
        o.flush();
        e.flush();
        return {code, out, err};
    }
    // Types the line on the screen and saves it, as a user does.
    void typeLine(const QString& project, const QString& bill, const QStringList& c) {
        pick(screen->cmb_proj_name, project);
        screen->cmb_bill_num->setEditText(bill);
        const auto* list = screen->Lst_Schd;
        for (int i = 0; i < list->topLevelItemCount(); ++i)
            if (list->topLevelItem(i)->text(0) == c[0])
                meastest::clickRow(screen->Lst_Schd, i);
        screen->txt_narration->setText(c[1]);
        pick(screen->cmb_shape, c[2]);
        for (int i = 0; i < 4; ++i) {
            const QByteArray n = QByteArray::number(i + 1);
            if (edit(("txtdim" + n).constData())->isEnabled()) {
                edit(("txtdim" + n).constData())->setText(c[3 + 2 * i]);
                edit(("txtdim" + n + n).constData())->setText(c[4 + 2 * i]);
            }
        }
        screen->txt_qty->setText(c[11]);
        const bool deduction = QStringList{"yes", "true", "1"}.contains(c[12].toLower());
        pick(screen->cmbbillded, deduction ? "Yes" : "No");
        click("cmd_mes_save");
    }
    // Each stored line of the bill, column by column, without its key and its bill.
    std::vector<QStringList> stored(const QString& project, const QString& bill) {
        std::vector<QStringList> lines;
        for (const auto& r :
             db().keyed("BillMaster", "tw_contract_num=? and tw_bill_num=?", {project, bill})) {
            QStringList cells;
            for (int i = 0; i < r.count(); ++i)
                if (r.columnName(i) != "tw_recordkey" && r.columnName(i) != "tw_bill_num")
                    cells << r.columnName(i) + "=" + r.value(i).typeName() + ":" +
                                 r.value(i).toString();
            lines.push_back(cells);
        }
        return lines;
    }
    QString file(const QString& name, const QByteArray& text) {
        QFile f(folder() + "/" + name);
        EXPECT_TRUE(f.open(QIODevice::WriteOnly));
        f.write(text);
        return f.fileName();
    }
};

// The same lines typed on the screen, read from a CSV file (with its heading row, quoted cells
// and the deduction spelt in several ways) and from an .xlsx workbook (numbers and truth values
// as such), are stored column for column alike.
TEST_F(MeasurementsImport, StoresWhatTheScreenStores) {
    const std::vector<std::pair<const char*, QStringList>> lines = {
        {"Ring Road",
         {"1.1", "North wall, east", "rectangle_area", "10", "6", "8", "3", "", "", "", "", "2",
          "no"}},
        {"Ring Road",
         {"A2", "Ram's \"raft\"", "cuboid_volume", "2", "11.5", "3", "", "1", "0", "", "", "1.5",
          "YES"}},
        // A pair the shape doesn't ask for is stored as 0, whatever its cells hold.
        {"Ring Road",
         {"1.1", "sum", "lumpsum", "1500", "6", "9", "9", "9", "9", "", "", "2", "True"}},
        {"Metro Depot",
         {"7", "slab", "rectangle_area", "2", "5", "3", "25", "", "", "", "", "1", "0"}},
        {"Metro Depot",
         {"7", "ring", "CIRCULAR_RING_AREA", "3", "", "1", "05", "", "", "", "", "2", "1"}},
    };
    for (const auto& [project, c] : lines)
        typeLine(project, "S", c);
    ASSERT_TRUE(twtest::messages().shown.empty()) << twtest::messages().shown[0].text.toStdString();

    for (const auto& [name, number] : {std::pair{"Ring Road", "P-1"}, {"Metro Depot", "M-7"}}) {
        SCOPED_TRACE(name);
        const QString heading = "Item,Narration,Shape,Dim1,,Dim2,,Dim3,,Dim4,,Quantity,Deduction";
        QByteArray csv = heading.toUtf8() + "\r\n";
        std::vector<tw::schedules::SheetRow> sheet(1);
        for (const QString& name : heading.split(','))
            sheet[0].push_back(name.isEmpty() ? QVariant() : QVariant(name));
        for (const auto& [project, c] : lines) {
            if (QString(project) != name)
                continue;
            QStringList quoted;
            for (QString cell : c)
                quoted << "\"" + cell.replace("\"", "\"\"") + "\"";
            csv += quoted.join(',').toUtf8() + "\r\n";
            tw::schedules::SheetRow row;
            for (int i = 0; i < c.size(); ++i) {
                const auto n = tw::strictNumber(c[i]);
                row.push_back(i == 12                       ? QVariant(c[i] != "no" && c[i] != "0")
                              : n && i >= 3 && c[i] != "05" ? QVariant(*n)
                                                            : QVariant(c[i]));
            }
            sheet.push_back(row);
        }
        const QString xlsx = folder() + "/lines.xlsx";
        tw::schedules::writeSheet1(xlsx, sheet);
        for (const auto& [bill, path] :
             {std::pair{"C", file("lines.csv", csv)}, std::pair{"X", xlsx}}) {
            const Result r = import(number, bill, path);
            EXPECT_EQ(r.code, 0) << r.err.toStdString();
            EXPECT_TRUE(r.out.startsWith("Row 1 holds column names and was skipped.\n"))
                << r.out.toStdString();
            EXPECT_EQ(stored(number, bill), stored(number, "S")) << bill;
            // Each line imported is in the history, added, with its figures.
            const auto h = tw::history::read(db(), {number, bill, "BillMaster", {}, {}});
            EXPECT_EQ(h.size(), size_t(stored(number, bill).size())) << bill;
            for (const auto& e : h)
                EXPECT_TRUE(
                    e.action == "added" && e.who == tw::history::user() &&
                    e.after.startsWith(QString("[%1,\"%2\",\"%3\",").arg(e.row).arg(number, bill)))
                    << e.after.toStdString();
        }
    }
}

// A row that fails is named with its number, its column and the screen's message, and nothing
// of the file stays: not the rows before it, nor the line an earlier row overwrote.
TEST_F(MeasurementsImport, BadRowLeavesNothingBehind) {
    typeLine("Ring Road", "B",
             {"1.1", "wall", "rectangle_area", "3", "0", "4", "0", "", "", "", "", "1", "no"});
    const QByteArray good = "1.1,wall,rectangle_area,5,0,6,0,,,,,2,no\n"
                            "A2,floor,rectangle_area,7,0,8,0,,,,,1,no\n";
    const std::pair<const char*, const char*> cases[] = {
        {"1.1,x,rectangle_area,1,12,1,0,,,,,1,no",
         "row 3, column E: Inches can not be equal to or greater than 12"},
        {"1.1,,rectangle_area,1,0,1,0,,,,,1,no", "row 3, column B: Please Enter the Narration"},
        {"1.1,x,rectangle_area,1,0,,0,,,,,1,no", "row 3, column F: Please Enter the Breadth feet"},
        {"9.9,x,rectangle_area,1,0,1,0,,,,,1,no",
         "row 3, column A: Please Select the Schedule Item "},
        {"1.1,x,triangle_area,1,0,1,0,5,0,,,1,no", "row 3: Invalid procedure call or argument"},
        {"1.1,x,rectangle_area,1,0,1,0,,,,,2 nos,no", "row 3: Type mismatch"},
        {"1.1,x,square,1,0,1,0,,,,,1,no", "row 3, column C: no shape is named \"square\""},
        {"1.1,x,rectangle_area,1O,0,1,0,,,,,1,no",
         "row 3, column D: Length takes digits only, not \"1O\""},
        {"1.1,x,rectangle_area,1,1.5.,1,0,,,,,1,no",
         "row 3, column E: Inches takes digits and one point, not \"1.5.\""},
        {"1.1,x,rectangle_area,1,0,1,0,,,,,1,maybe",
         "row 3, column M: a deduction is yes or no, not \"maybe\""},
        {"1.1,\"x,rectangle_area,1,0,1,0,,,,,1,no", "row 3: a quoted cell is not closed"},
    };
    const auto before = stored("P-1", "B");
    for (const auto& [bad, message] : cases) {
        SCOPED_TRACE(message);
        const Result r = import("P-1", "B", file("bad.csv", good + bad + "\n" + good));
        EXPECT_EQ(r.code, 1);
        EXPECT_EQ(r.err.section('\n', 0, 0), QString("tallywright-cli: ") + message);
        EXPECT_TRUE(r.out.isEmpty());
        EXPECT_EQ(stored("P-1", "B"), before);
    }
}

TEST(MeasurementsCsv, ReadsQuotedCellsAsWritten) {
    const auto records = tw::measurements::readCsv(
        QString::fromUtf8("a,\"b,c\",\"d\"\"e\"\r\n\"f\ng\",,\"\"\nlast"));
    ASSERT_EQ(records.size(), 3u);
    EXPECT_EQ(records[0], (QStringList{"a", "b,c", "d\"e"}));
    EXPECT_EQ(records[1], (QStringList{"f\ng", "", ""}));
    EXPECT_EQ(records[2], QStringList{"last"});
    EXPECT_THROW(tw::measurements::readCsv("a,\"b\"c"), tw::Error);
}

} // namespace
