// Schedule workbooks in and out of a project's own table, and the files an import must refuse
// without harm.

#include "core/schedules/schedules.h"
#include "store/backup.h"
#include "support/core_fixtures.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QRandomGenerator>
#include <QThread>

#include <csignal>
#include <fcntl.h>
#include <future>
#include <sched.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace tw::schedules;

namespace {

const QString Workbooks = QStringLiteral(TW_WORKBOOKS);

// The state letter of a process (R running, S sleeping, Z ended), and its parent; 0 when there
// is no such process.
std::pair<char, pid_t> processState(pid_t pid) {
    QFile stat(QStringLiteral("/proc/%1/stat").arg(pid));
    if (!stat.open(QIODevice::ReadOnly))
        return {0, 0};
    const QByteArray line = stat.readAll();
    const QList<QByteArray> fields = line.mid(line.lastIndexOf(')') + 2).split(' ');
    return {fields.value(0).isEmpty() ? char(0) : fields.value(0).at(0),
            pid_t(fields.value(1).toInt())};
}

class WorkbookImport : public twtest::AppFolderTest {
protected:
    // A project with its own schedule table; the unit is required there, as a table may ask.
    Project project(const QString& number, bool withTable = true) {
        const qint64 key = db().insert(QStringLiteral("contractmaster"),
                                       {{QStringLiteral("tw_contract_num"), number},
                                        {QStringLiteral("tw_contract_name"), number},
                                        {QStringLiteral("tw_units"), QStringLiteral("Metre")}});
        if (withTable)
            db().exec(QStringLiteral("create table Sch_%1 (tw_sch_num text, tw_item_desc text, "
                                     "tw_unit text not null, tw_item_rate real, tw_deduction "
                                     "integer, tw_category_name text)")
                          .arg(key));
        return *findProject(db(), number);
    }
    QStringList table(const Project& p) {
        QStringList out;
        for (const tw::Row& r : db().keyed(QStringLiteral("Sch_") + p.tableKey))
            out << QStringList{r.text(0), r.text(1), r.text(2), tw::numberText(r[3]),
                               r.text(4), r.text(5)}
                       .join(QLatin1Char('|'));
        return out;
    }
    void SetUp() override {
        AppFolderTest::SetUp();
        db().insert(QStringLiteral("CategoryList_Meter"),
                    {{QStringLiteral("tw_category_name"), QStringLiteral("Excavation")}});
    }
    // The failure an import ends with, or nullopt when it went through.
    std::optional<ImportFailure> failure(const Project& p, const QString& path,
                                         ImportCounts* counts = nullptr) {
        try {
            const ImportCounts c = importSchedules(db(), p, path);
            if (counts)
                *counts = c;
            return std::nullopt;
        } catch (const ImportError& e) {
            return e.kind();
        }
    }
};

const QStringList GoodRows{
    "1|Earth work in excavation|Cum|120.5|0|Excavation",
    "Sch-1|Brick work in cement mortar|Cum|300|1|Other Category",
    "3|Plastering|Sqm|45|1|excavation ",
    "7|Flooring|Sqm|12.75|0|Excavation",
};

TEST_F(WorkbookImport, EachFormatGivesTheSameRowsCountsAndMessages) {
    struct Case {
        const char* stem;
        std::optional<ImportFailure> failure;
        qint16 added, toCheck;
        QStringList rows; // the table afterwards: rows added before a failure stay
        QStringList exts = {"xls", "xlsx", "ods"};
    };
    const std::vector<Case> cases{
        {"good", std::nullopt, 4, 1, GoodRows},
        {"empty", std::nullopt, 0, 0, {}},
        {"few_columns", ImportFailure::FewColumns, 0, 0, {}},
        {"null_value", ImportFailure::NullValue, 0, 0, {"1|Earth work|Cum|10|0|Excavation"}},
        {"wrong_data", ImportFailure::WrongData, 0, 0, {"1|Earth work|Cum|10|0|Excavation"}},
        {"no_sheet1", ImportFailure::BadFormat, 0, 0, {}},
        // Texts in their cells (rich runs too), parts named from the package's root.
        {"inline_absolute", std::nullopt, 4, 1, GoodRows, {"xlsx"}},
        {"sheet1_missing", ImportFailure::BadFormat, 0, 0, {}, {"xlsx"}},
    };
    for (const Case& c : cases) {
        for (const QString& ext : c.exts) {
            const QString file = QStringLiteral("%1/%2.%3").arg(Workbooks, c.stem, ext);
            SCOPED_TRACE(file.toStdString());
            const Project p = project(QStringLiteral("%1-%2").arg(c.stem, ext));
            ImportCounts counts{-1, -1};
            EXPECT_EQ(failure(p, file, &counts), c.failure);
            if (!c.failure) {
                EXPECT_EQ(counts.added, c.added);
                EXPECT_EQ(counts.toCheck, c.toCheck);
            }
            EXPECT_EQ(table(p), c.rows);
        }
    }
}

TEST_F(WorkbookImport, ASecondImportAddsOnlyTheRowsWithoutANumberAgain) {
    const Project p = project(QStringLiteral("P1"));
    const QString good = Workbooks + QStringLiteral("/good.xlsx");
    ImportCounts counts;
    ASSERT_EQ(failure(p, good, &counts), std::nullopt);
    ASSERT_EQ(failure(p, good, &counts), std::nullopt);
    // The made-up number follows the count of rows added in this import: none yet.
    EXPECT_EQ(counts.added, 1);
    EXPECT_EQ(counts.toCheck, 1);
    EXPECT_EQ(table(p), GoodRows + QStringList{"Sch-0|Brick work in cement mortar|Cum|300|1|"
                                               "Other Category"});
    EXPECT_EQ(importedMessage(counts).text,
              "1 Schedules Added Successfully.\n1 schedule items need checking");
}

TEST_F(WorkbookImport, ANumberIsFoundAsTheStoreComparesTexts) {
    const Project p = project(QStringLiteral("P4"));
    db().exec(QStringLiteral("insert into Sch_%1 values ('A1','Old','Cum',5,0,'Excavation')")
                  .arg(p.tableKey));
    const QString file = folder() + QStringLiteral("/case.xlsx");
    writeSheet1(file, {{"a1", "New", "Cum", 10.0, 0.0, "Excavation"},
                       {"b2", "Other", "Cum", 20.0, 0.0, "Excavation"},
                       {"B2", "Again", "Cum", 30.0, 0.0, "Excavation"}});
    ImportCounts counts;
    ASSERT_EQ(failure(p, file, &counts), std::nullopt);
    EXPECT_EQ(counts.added, 1);
    EXPECT_EQ(table(p), QStringList({"A1|Old|Cum|5|0|Excavation", "b2|Other|Cum|20|0|Excavation"}));
}

TEST_F(WorkbookImport, ARateBeyondTheMoneyRangeIsWrongData) {
    const std::pair<Cell, std::optional<ImportFailure>> cases[] = {
        {922337203685477.0, std::nullopt},
        {QStringLiteral("-922337203685477"), std::nullopt},
        {922337203685477.5, ImportFailure::WrongData},
        {QStringLiteral("-1000000000000000"), ImportFailure::WrongData}};
    for (const auto& [rate, expected] : cases) {
        const Project p = project(rate.toString());
        const QString file = folder() + QStringLiteral("/rate.xlsx");
        writeSheet1(file, {{"1", "Item", "Cum", rate, 0.0, "Excavation"}});
        EXPECT_EQ(failure(p, file), expected) << rate.toString().toStdString();
        EXPECT_EQ(table(p).size(), expected ? 0 : 1);
    }
}

TEST_F(WorkbookImport, AProjectWithoutItsTableGetsTheStoresFailure) {
    const Project p = project(QStringLiteral("P2"), false);
    EXPECT_EQ(failure(p, Workbooks + QStringLiteral("/good.ods")), ImportFailure::BadFormat);
    EXPECT_EQ(failureMessage(ImportFailure::BadFormat).title, "Excel Sheet");
    EXPECT_THROW(exportSchedules(db(), p), tw::Error);
}

TEST_F(WorkbookImport, ExportThenImportGivesTheTableBack) {
    const Project from = project(QStringLiteral("12/A"));
    const QString fromTable = QStringLiteral("Sch_") + from.tableKey;
    db().exec(QStringLiteral("insert into %1 values ('1','Earth work','Cum',120.5,0,'Excavation'),"
                             "('2','Brick work','Cum',300,1,'Walls'),"
                             "('3','Plaster, 12 mm','Sqm',45.25,0,'Other Category')")
                  .arg(fromTable));
    const QString name = exportSchedules(db(), from);
    EXPECT_EQ(name, tw::AppFolder::file("12-A.xlsx"));
    EXPECT_TRUE(
        exportedMessage(name).text.startsWith("Export Completed Successfully...!\nFile Name is : "
                                              "'12-A.xlsx'\nThe Path is:             "));

    // 12-A writes the same file, replacing the first: its one row is what is read back.
    const Project other = project(QStringLiteral(" 12-A "));
    db().exec(QStringLiteral("insert into Sch_%1 values ('9','Gate','Nos',5,1,'Excavation')")
                  .arg(other.tableKey));
    EXPECT_EQ(exportSchedules(db(), other), name);
    const Project to = project(QStringLiteral("copy"));
    ASSERT_EQ(failure(to, name), std::nullopt);
    EXPECT_EQ(table(to), QStringList{"9|Gate|Nos|5|1|Excavation"});

    exportSchedules(db(), from);
    const Project back = project(QStringLiteral("back"));
    ASSERT_EQ(failure(back, name), std::nullopt);
    EXPECT_EQ(table(back), QStringList({"1|Earth work|Cum|120.5|0|Excavation",
                                        "2|Brick work|Cum|300|1|Other Category",
                                        "3|Plaster, 12 mm|Sqm|45.25|0|Other Category"}));
}

// Runs `action` in a child process that has a disk of 64 KB of its own at `dir` (a tmpfs in a
// mount namespace: as root, or as a user where user namespaces are allowed) and gives what the
// action gave; nullopt when no such disk can be made here.
std::optional<QByteArray> onSmallDisk(const QString& dir,
                                      const std::function<QByteArray()>& action) {
    int fds[2];
    if (::pipe(fds) != 0)
        return std::nullopt;
    const pid_t child = ::fork();
    if (child == 0) {
        ::close(fds[0]);
        const uid_t uid = ::geteuid();
        const gid_t gid = ::getegid();
        if (::unshare(CLONE_NEWNS | (uid ? CLONE_NEWUSER : 0)) != 0)
            ::_exit(2);
        const auto put = [](const char* file, const QByteArray& text) {
            const int fd = ::open(file, O_WRONLY);
            return fd >= 0 && ::write(fd, text.constData(), size_t(text.size())) == text.size() &&
                   ::close(fd) == 0;
        };
        if (uid && !(put("/proc/self/setgroups", "deny") &&
                     put("/proc/self/uid_map", "0 " + QByteArray::number(uid) + " 1") &&
                     put("/proc/self/gid_map", "0 " + QByteArray::number(gid) + " 1")))
            ::_exit(2);
        if (::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
            ::mount("tmpfs", QFile::encodeName(dir).constData(), "tmpfs", 0, "size=64k") != 0)
            ::_exit(2);
        const QByteArray said = action();
        const bool told = ::write(fds[1], said.constData(), size_t(said.size())) == said.size();
        ::_exit(told ? 0 : 1);
    }
    ::close(fds[1]);
    QByteArray said;
    char buf[4096];
    for (ssize_t n; (n = ::read(fds[0], buf, sizeof buf)) > 0;)
        said.append(buf, n);
    ::close(fds[0]);
    int status = 0;
    ::waitpid(child, &status, 0);
    if (!WIFEXITED(status) || WEXITSTATUS(status) == 2)
        return std::nullopt;
    return said;
}

// On a disk that fills, the workbook already there stays as it was, no part of the new one is
// left beside it, and the failure names the workbook and says the disk is full.
TEST_F(WorkbookImport, AFullDiskLeavesTheOldWorkbookAndSaysSo) {
    const QString dir = folder() + QStringLiteral("/disk");
    ASSERT_TRUE(QDir().mkpath(dir));
    const QString target = dir + QStringLiteral("/schedule.xlsx");
    const auto said = onSmallDisk(dir, [&] {
        QFile old(target);
        if (!old.open(QIODevice::WriteOnly) || old.write("old") != 3)
            return QByteArray("no old workbook");
        old.close();
        std::vector<SheetRow> rows;
        for (int i = 0; i < 20000; ++i)
            rows.push_back({QString::number(i), QStringLiteral("Item %1").arg(i * 7919 % 100003),
                            QStringLiteral("Cum"), i * 1.37, false, QStringLiteral("Cat")});
        QByteArray out;
        try {
            writeSheet1(target, rows);
            out = "written";
        } catch (const tw::Error& e) {
            out = e.text().toUtf8();
        }
        if (!old.open(QIODevice::ReadOnly))
            return out + "\nno workbook";
        return out + "\n" + old.readAll() + "\n" +
               QDir(dir).entryList(QDir::Files).join(u',').toUtf8();
    });
    if (!said)
        GTEST_SKIP() << "no small disk can be made here (needs root or user namespaces)";
    EXPECT_EQ(QString::fromUtf8(*said),
              target + QStringLiteral(": No space left on the device\nold\nschedule.xlsx"));
}

// A program killed while it reads a workbook takes its reader with it at once: the reader must
// not go on using the processor, nor keep the running-copy lock, once the program is gone.
TEST_F(WorkbookImport, TheReaderEndsWithTheProgramThatStartedIt) {
    const pid_t program = ::fork();
    if (program == 0) {
        const tw::AppLock running(folder());
        try {
            readSheet1(Workbooks + QStringLiteral("/slow.xlsx"));
        } catch (...) {
        }
        ::_exit(0);
    }
    ASSERT_GT(program, 0);
    pid_t reader = 0;
    for (int i = 0; i < 500 && !reader; ++i) {
        for (const QString& name : QDir(QStringLiteral("/proc")).entryList(QDir::Dirs))
            if (const pid_t pid = name.toInt(); pid > 0 && processState(pid).second == program)
                reader = pid;
        if (!reader)
            QThread::msleep(10);
    }
    ::kill(program, SIGKILL);
    ::waitpid(program, nullptr, 0);
    ASSERT_GT(reader, 0) << "the program started no reader";
    char state = processState(reader).first;
    for (int i = 0; i < 50 && state != 0 && state != 'Z'; ++i) {
        QThread::msleep(10);
        state = processState(reader).first;
    }
    EXPECT_TRUE(state == 0 || state == 'Z') << "the reader still runs: " << state;
    // The next start finds the folder free.
    EXPECT_EQ(tw::AppLock(folder()).state(), tw::AppLock::State::Held);
    ::kill(reader, SIGKILL); // whatever the outcome, nothing is left running
}

// A reading stopped while it goes on writes nothing and leaves no reader behind, not even an
// ended one waiting to be reaped; the same workbook read to its end adds its row.
TEST_F(WorkbookImport, AStoppedReadingWritesNothingAndLeavesNoReader) {
    const Project p = project(QStringLiteral("P9"));
    const QString slow = Workbooks + QStringLiteral("/slow.xlsx");
    const auto children = [] {
        QList<pid_t> found;
        for (const QString& name : QDir(QStringLiteral("/proc")).entryList(QDir::Dirs))
            if (const pid_t pid = name.toInt(); pid > 0 && processState(pid).second == ::getpid())
                found << pid;
        return found;
    };
    int asked = 0;
    EXPECT_THROW(importSchedules(db(), p, slow, [&] { return ++asked < 3; }), ImportCancelled);
    EXPECT_EQ(asked, 3);
    EXPECT_TRUE(children().isEmpty());
    EXPECT_TRUE(table(p).isEmpty());

    ImportCounts counts;
    EXPECT_EQ(failure(p, slow, &counts), std::nullopt);
    EXPECT_EQ(counts.added, 1);
    EXPECT_EQ(table(p), QStringList{"9|Slow work|Cum|15|0|Excavation"});
}

// Each row is told before it is written, of all the sheet holds; an import cancelled among its
// rows takes back those it wrote, and what stood before stays.
TEST_F(WorkbookImport, AnImportCancelledAmongItsRowsTakesThemBack) {
    const Project p = project(QStringLiteral("P10"));
    const QString good = Workbooks + QStringLiteral("/good.xlsx");
    std::vector<std::pair<qsizetype, qsizetype>> told;
    const auto tell = [&](qsizetype written, qsizetype of) {
        told.emplace_back(written, of);
        return true;
    };
    importSchedules(db(), p, good, {}, tell);
    ASSERT_EQ(told.size(), 7u); // the sheet's rows that hold something, spacers among them
    for (size_t i = 0; i < told.size(); ++i)
        EXPECT_EQ(told[i], std::make_pair(qsizetype(i), qsizetype(7)));
    ASSERT_EQ(table(p), GoodRows);

    db().exec(QStringLiteral("delete from Sch_%1 where tw_sch_num <> '1'").arg(p.tableKey));
    EXPECT_THROW(importSchedules(db(), p, good, {},
                                 [](qsizetype written, qsizetype) {
                                     return written < 5; // the fifth row is not written; four were
                                 }),
                 ImportCancelled);
    EXPECT_EQ(table(p), QStringList{GoodRows.front()});

    // Another seat adds an item while the import is among its rows (on the file it waits for
    // the import's write to end): when the import is cancelled, only the import's rows go.
    std::future<void> seat;
    EXPECT_THROW(importSchedules(db(), p, good, {},
                                 [&](qsizetype written, qsizetype) {
                                     if (written == 3)
                                         seat = std::async(std::launch::async, [&] {
                                             tw::ConClass other(twtest::scripted());
                                             other.conopen();
                                             other.exec(
                                                 QStringLiteral("insert into Sch_%1 values ('S2', "
                                                                "'Second seat', 'Cum', 5, 0, 'X')")
                                                     .arg(p.tableKey));
                                         });
                                     return written < 5;
                                 }),
                 ImportCancelled);
    ASSERT_TRUE(seat.valid());
    EXPECT_NO_THROW(seat.get());
    EXPECT_EQ(table(p), (QStringList{GoodRows.front(), "S2|Second seat|Cum|5|0|X"}));
}

// Damaged and foreign files, and every input the fuzzer found hard, end in one of the messages.
TEST_F(WorkbookImport, BadFilesEndInAMessageNeverACrash) {
    const Project p = project(QStringLiteral("P3"));
    QStringList files;
    const auto write = [&](const QString& name, const QByteArray& bytes) {
        QFile f(folder() + QLatin1Char('/') + name);
        ASSERT_TRUE(f.open(QIODevice::WriteOnly));
        f.write(bytes);
        files << f.fileName();
    };
    for (const char* ext : {"xls", "xlsx", "ods"}) {
        QFile good(QStringLiteral("%1/good.%2").arg(Workbooks, ext));
        ASSERT_TRUE(good.open(QIODevice::ReadOnly));
        const QByteArray bytes = good.readAll();
        write(QStringLiteral("truncated.%1").arg(ext), bytes.left(bytes.size() / 2));
        write(QStringLiteral("header_only.%1").arg(ext), bytes.left(16));
    }
    write(QStringLiteral("empty.xlsx"), {});
    write(QStringLiteral("picture.xlsx"), QByteArray("\x89PNG\r\n\x1a\n\0\0\0\rIHDR", 16));
    QByteArray noise(4096, '\0');
    QRandomGenerator rng(12);
    for (char& c : noise)
        c = char(rng.bounded(256));
    write(QStringLiteral("noise.xls"), noise);
    write(QStringLiteral("noise_ole.xls"),
          QByteArray("\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1", 8) + noise);
    write(QStringLiteral("noise_zip.xlsx"), QByteArray("PK\x03\x04") + noise);
    const QDir crashers(Workbooks + QStringLiteral("/crashers"));
    for (const QString& name : crashers.entryList(QDir::Files))
        files << crashers.filePath(name);
    // A damaged file must not hold the user up either: some ask a reading library for gigabytes.
    for (const QString& file : files) {
        SCOPED_TRACE(file.toStdString());
        QElapsedTimer t;
        t.start();
        EXPECT_NE(failure(p, file), std::nullopt);
        EXPECT_LT(t.elapsed(), 2000);
    }
}

} // namespace
