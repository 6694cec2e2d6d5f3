// The import/export screen and its file picker, with the messages a user meets.

#include "core/schedules/workbook.h"
#include "screens/schedules/frm_impfile.h"
#include "screens/schedules/frm_import.h"
#include "support/fixtures.h"

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QProgressDialog>
#include <QPushButton>
#include <QTest>
#include <QTimer>

using twtest::messages;

namespace {

const QString Workbooks = QStringLiteral(TW_WORKBOOKS);

class FrmImport : public twtest::ScreenTest<Frm_Import> {
protected:
    void SetUp() override {
        ScreenTest::SetUp();
        const qint64 key =
            db().insert(QStringLiteral("contractmaster"),
                        {{QStringLiteral("tw_contract_num"), QStringLiteral("12/A")},
                         {QStringLiteral("tw_contract_name"), QStringLiteral("Hall")},
                         {QStringLiteral("tw_units"), QStringLiteral("Feet")}});
        db().exec(QStringLiteral("create table Sch_%1 (tw_sch_num text, tw_item_desc text, tw_unit "
                                 "text not null, tw_item_rate real, tw_deduction integer, "
                                 "tw_category_name text)")
                      .arg(key));
        table = QStringLiteral("Sch_%1").arg(key);
    }
    QString table;
};

TEST_F(FrmImport, ModeDecidesWhichWayTheScreenWorks) {
    for (const bool exportOnly : {true, false}) {
        open();
        screen->setImportMode(exportOnly);
        EXPECT_EQ(screen->CmdExport->isEnabled(), exportOnly);
        for (QWidget* w : std::initializer_list<QWidget*>{screen->CmdImport, screen->Txt_FileName,
                                                          screen->CmdBrowse})
            EXPECT_EQ(w->isEnabled(), !exportOnly) << w->objectName().toStdString();
    }
}

TEST_F(FrmImport, ImportTellsTheOutcomeOfEachFile) {
    struct Case {
        bool pickProject;
        QString file;
        QString message;
        QString title;
        bool focusOnFile;
    };
    const std::vector<Case> cases{
        {false, Workbooks + "/good.xls", "Please Select a Contract Number...!",
         "Select Contract Number", false},
        {true, "", "Please Select a File Name (Excel File)...", "Select File Name", true},
        {true, Workbooks + "/missing.xlsx", "File Not Found...", "File Name", true},
        {true, Workbooks + "/good.xls",
         "4 Schedules Added Successfully.\n1 schedule items need checking", "New Schedules Added",
         false},
        {true, Workbooks + "/few_columns.ods",
         "You Selected Incorrect Excel File...!\nPlease Select Correct File", "Tallywright", true},
        {true, Workbooks + "/null_value.xlsx",
         "Some Values contain Null Values...\nAborting..."
         "Please Check",
         "Null Values", false},
        {true, Workbooks + "/wrong_data.xls", "Incorrect Data in the File...Please Check",
         "Wrong Data", false},
        {true, Workbooks + "/no_sheet1.xlsx",
         "Excel Sheet is not in proper Format - Refer Help for proper format", "Excel Sheet",
         false},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.file.toStdString());
        open();
        QApplication::setActiveWindow(screen.get());
        if (c.pickProject)
            twtest::pick(screen->CmbCntrctNm, QStringLiteral("12/A"));
        screen->Txt_FileName->setText(c.file);
        messages().clear();
        click("CmdImport");
        ASSERT_EQ(messages().shown.size(), 1u);
        EXPECT_EQ(messages().shown[0].text, c.message);
        EXPECT_EQ(messages().shown[0].title, c.title);
        EXPECT_EQ(twtest::hasFocus(screen->Txt_FileName), c.focusOnFile);
    }
    // good.xls added four rows; the failing files met rows it had added already.
    EXPECT_EQ(db().keyed(table).size(), 4u);
}

// While a workbook is read the desktop goes on: its timers fire and draw, and a box shows the
// progress once the reading takes long.
TEST_F(FrmImport, TheDesktopGoesOnWhileAWorkbookIsRead) {
    open();
    twtest::pick(screen->CmbCntrctNm, QStringLiteral("12/A"));
    screen->Txt_FileName->setText(Workbooks + "/slow.xlsx");
    int ticks = 0;
    bool progressShown = false;
    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, [&] {
        ++ticks;
        if (const auto* p = screen->findChild<QProgressDialog*>(); p && p->isVisible())
            progressShown = true;
    });
    timer.start(20);
    messages().clear();
    click("CmdImport");
    timer.stop();
    EXPECT_GT(ticks, 5);
    EXPECT_TRUE(progressShown);
    EXPECT_EQ(
        messages().texts(),
        std::vector<QString>{"1 Schedules Added Successfully.\n0 schedule items need checking"});
}

// The progress box's Cancel, pressed while the workbook is read or while its rows are written,
// leaves the schedule as it was: nothing is added and nothing is said, and the screen is ready
// for another file.
TEST_F(FrmImport, CancelWhileAWorkbookIsReadOrWrittenLeavesTheScheduleAsItWas) {
    db().exec(
        QStringLiteral("insert into %1 values ('1','Earth work','Cum',120.5,0,'X')").arg(table));
    // A workbook whose rows take the desktop a while to write, written as an export writes one.
    const QString many = QDir(folder()).filePath(QStringLiteral("many.xlsx"));
    int next = 0;
    tw::schedules::writeSheet1(many, [&](tw::schedules::SheetRow& row) {
        row = {QString::number(++next + 1),
               QStringLiteral("Work %1").arg(next),
               QStringLiteral("Cum"),
               10.0,
               0.0,
               QStringLiteral("X")};
        return next <= 30000;
    });
    // Cancel is pressed once the box shows what is being done and, of the rows, how many were
    // written (no count while the workbook is read).
    const struct {
        QString file, whileShowing;
        int written;
    } cases[] = {{Workbooks + "/slow.xlsx", "Reading slow.xlsx ...", -1},
                 {many, "Adding the rows of many.xlsx ...", 1000}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.file.toStdString());
        open();
        twtest::pick(screen->CmbCntrctNm, QStringLiteral("12/A"));
        screen->Txt_FileName->setText(c.file);
        bool pressed = false;
        QTimer timer;
        QObject::connect(&timer, &QTimer::timeout, [&] {
            auto* p = screen->findChild<QProgressDialog*>();
            if (!p || !p->isVisible() || pressed || p->labelText() != c.whileShowing ||
                p->value() < c.written)
                return;
            for (auto* b : p->findChildren<QPushButton*>())
                if (b->text() == QLatin1String("Cancel")) {
                    QTest::mouseClick(b, Qt::LeftButton);
                    pressed = true;
                }
        });
        timer.start(20);
        messages().clear();
        click("CmdImport");
        timer.stop();
        EXPECT_TRUE(pressed);
        EXPECT_TRUE(messages().shown.empty());
        EXPECT_EQ(db().keyed(table).size(), 1u);
        const auto* p = screen->findChild<QProgressDialog*>();
        EXPECT_TRUE(!p || !p->isVisible());
        EXPECT_TRUE(screen->CmdImport->isEnabled());
    }
}

TEST_F(FrmImport, ExportWritesTheWorkbookBesideTheProgram) {
    db().exec(
        QStringLiteral("insert into %1 values ('1','Earth work','Cum',120.5,0,'X')").arg(table));
    open();
    screen->setImportMode(true);
    twtest::pick(screen->CmbCntrctNm, QStringLiteral("12/A"));
    const QStringList shown = twtest::withRealBoxes({"OK"}, [&] { click("CmdExport"); });
    ASSERT_EQ(shown.size(), 1);
    EXPECT_TRUE(
        shown[0].startsWith("Export Completed Successfully...!\nFile Name is : '12-A.xlsx'"));
    EXPECT_TRUE(QFile::exists(tw::AppFolder::file(QStringLiteral("12-A.xlsx"))));
}

TEST_F(FrmImport, ThePickerTakesOnlyAFileThatExists) {
    const std::vector<std::pair<QString, QString>> cases{
        {"", "select the Correct Path and File Name"},
        {Workbooks + "/missing.xls", "File Not Found..."},
        {Workbooks + "/good.ods", ""},
    };
    for (const auto& [path, message] : cases) {
        Frm_ImpFile picker;
        picker.show();
        picker.txt_destname->setText(path);
        messages().clear();
        picker.cmd_ok->click();
        EXPECT_EQ(messages().texts(),
                  message.isEmpty() ? std::vector<QString>{} : std::vector<QString>{message});
        EXPECT_EQ(picker.result(), message.isEmpty() ? QDialog::Accepted : QDialog::Rejected);
    }
}

} // namespace
