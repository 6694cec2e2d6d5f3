#include "core/schedules/workbook.h"

#include "core/schedules/workbook_xlsx.h"
#include "store/files.h"

#include <QDataStream>
#include <QDir>
#include <QFile>

#include <freexl.h>
#include <orcus/format_detection.hpp>
#include <orcus/orcus_ods.hpp>
#include <orcus/spreadsheet/import_interface.hpp>
#include <xlsxwriter.h>

#ifdef Q_OS_UNIX
#include <csignal>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#endif

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <chrono>
#include <cstdio>
#include <memory>
#include <stdexcept>
#include <string>
#include <unordered_map>

namespace tw::schedules {
namespace {

namespace iface = orcus::spreadsheet::iface;
using orcus::spreadsheet::col_t;
using orcus::spreadsheet::row_t;

const QString SheetName = QStringLiteral("Sheet1");
// A schedule of a few thousand items is well under a megabyte; anything far larger is not one,
// and reading it whole would only cost the user memory and time.
constexpr qint64 LargestWorkbook = 64 * 1024 * 1024;

[[noreturn]] void badFormat(const QString& why) {
    throw ImportError(ImportFailure::BadFormat, why);
}

// Sheet1's cells go to the sheet; those of the other sheets are dropped.
class SheetSink {
public:
    explicit SheetSink(Sheet* into) : into_(into) {}
    void put(row_t row, col_t col, Cell value) {
        if (into_)
            into_->put(int(row), int(col), std::move(value));
    }

private:
    Sheet* into_; // null for the other sheets
};

Cell textCell(std::string_view s) {
    return QString::fromUtf8(s.data(), qsizetype(s.size()));
}

// A cell typed without a type of its own: a number when the whole text is one.
Cell autoCell(std::string_view s) {
    double v = 0;
    const auto [end, ec] = std::from_chars(s.data(), s.data() + s.size(), v);
    if (ec == std::errc() && end == s.data() + s.size() && !s.empty())
        return v;
    return textCell(s);
}

class SharedStrings : public iface::import_shared_strings {
public:
    size_t append(std::string_view s) override {
        strings_.emplace_back(s);
        return strings_.size() - 1;
    }
    size_t add(std::string_view s) override {
        const auto found = index_.find(std::string(s));
        if (found != index_.end())
            return found->second;
        const size_t i = append(s);
        index_.emplace(strings_.back(), i);
        return i;
    }
    void set_segment_font(size_t) override {}
    void set_segment_bold(bool) override {}
    void set_segment_italic(bool) override {}
    void set_segment_font_name(std::string_view) override {}
    void set_segment_font_size(double) override {}
    void set_segment_font_color(orcus::spreadsheet::color_elem_t, orcus::spreadsheet::color_elem_t,
                                orcus::spreadsheet::color_elem_t,
                                orcus::spreadsheet::color_elem_t) override {}
    void append_segment(std::string_view s) override { segments_ += s; }
    size_t commit_segments() override {
        const size_t i = append(segments_);
        segments_.clear();
        return i;
    }
    Cell at(size_t i) const { return i < strings_.size() ? textCell(strings_[i]) : Cell(); }

private:
    std::vector<std::string> strings_;
    std::unordered_map<std::string, size_t> index_;
    std::string segments_;
};

// A formula cell counts with the result the workbook saved for it.
class FormulaResult : public iface::import_formula {
public:
    explicit FormulaResult(SheetSink& sink) : sink_(sink) {}
    void set_position(row_t row, col_t col) override {
        row_ = row;
        col_ = col;
        value_ = Cell();
    }
    void set_formula(orcus::spreadsheet::formula_grammar_t, std::string_view) override {}
    void set_shared_formula_index(size_t) override {}
    void set_result_string(std::string_view value) override { value_ = textCell(value); }
    void set_result_value(double value) override { value_ = value; }
    void set_result_bool(bool value) override { value_ = value; }
    void set_result_empty() override { value_ = Cell(); }
    void commit() override {
        if (value_.isValid())
            sink_.put(row_, col_, value_);
    }

private:
    SheetSink& sink_;
    row_t row_ = -1;
    col_t col_ = -1;
    Cell value_;
};

// Cell references as the workbook writes them ("B3", "$B$3", "A1:F9"), on the sheet being read.
class References : public iface::import_reference_resolver {
public:
    orcus::spreadsheet::src_address_t resolve_address(std::string_view ref) override {
        const auto at = cellAddress(ref);
        if (!at)
            throw std::invalid_argument("not a cell reference");
        orcus::spreadsheet::src_address_t address{0, 0, 0};
        address.row = row_t(at->first);
        address.column = col_t(at->second);
        return address;
    }
    orcus::spreadsheet::src_range_t resolve_range(std::string_view ref) override {
        const size_t colon = ref.find(':');
        if (colon == std::string_view::npos) {
            const auto one = resolve_address(ref);
            return {one, one};
        }
        return {resolve_address(ref.substr(0, colon)), resolve_address(ref.substr(colon + 1))};
    }
};

class SheetReader : public iface::import_sheet {
public:
    SheetReader(Sheet* into, const SharedStrings& strings)
        : sink_(into), strings_(strings), formula_(sink_) {}
    iface::import_formula* get_formula() override { return &formula_; }
    void set_auto(row_t row, col_t col, std::string_view s) override {
        sink_.put(row, col, autoCell(s));
    }
    void set_string(row_t row, col_t col, orcus::spreadsheet::string_id_t i) override {
        sink_.put(row, col, strings_.at(i));
    }
    void set_value(row_t row, col_t col, double value) override { sink_.put(row, col, value); }
    void set_bool(row_t row, col_t col, bool value) override { sink_.put(row, col, value); }
    void set_date_time(row_t row, col_t col, int year, int month, int day, int, int,
                       double) override {
        sink_.put(row, col,
                  QStringLiteral("%1-%2-%3")
                      .arg(year, 4, 10, QLatin1Char('0'))
                      .arg(month, 2, 10, QLatin1Char('0'))
                      .arg(day, 2, 10, QLatin1Char('0')));
    }
    void set_format(row_t, col_t, size_t) override {}
    void set_format(row_t, col_t, row_t, col_t, size_t) override {}
    void fill_down_cells(row_t, col_t, row_t) override {}
    orcus::spreadsheet::range_size_t get_sheet_size() const override { return {1048576, 16384}; }

private:
    SheetSink sink_;
    const SharedStrings& strings_;
    FormulaResult formula_;
};

class Factory : public iface::import_factory {
public:
    explicit Factory(Sheet& into) : into_(into) {}
    iface::import_shared_strings* get_shared_strings() override { return &strings_; }
    iface::import_reference_resolver*
    get_reference_resolver(orcus::spreadsheet::formula_ref_context_t) override {
        return &references_;
    }
    iface::import_sheet* append_sheet(orcus::spreadsheet::sheet_t, std::string_view name) override {
        // Only the first sheet of that name is read, as a look-up by name finds it.
        const bool wanted = !found_ && textCell(name).toString() == SheetName;
        found_ = found_ || wanted;
        sheets_.push_back({std::string(name),
                           std::make_unique<SheetReader>(wanted ? &into_ : nullptr, strings_)});
        return sheets_.back().second.get();
    }
    iface::import_sheet* get_sheet(std::string_view name) override {
        for (auto& [n, s] : sheets_)
            if (n == name)
                return s.get();
        return nullptr;
    }
    iface::import_sheet* get_sheet(orcus::spreadsheet::sheet_t i) override {
        return i >= 0 && size_t(i) < sheets_.size() ? sheets_[size_t(i)].second.get() : nullptr;
    }
    void finalize() override {}
    bool found() const { return found_; }

private:
    Sheet& into_;
    SharedStrings strings_;
    References references_;
    std::vector<std::pair<std::string, std::unique_ptr<SheetReader>>> sheets_;
    bool found_ = false;
};

Sheet readZipped(const QByteArray& bytes) {
    const auto* data = reinterpret_cast<const unsigned char*>(bytes.constData());
    Sheet sheet;
    Factory factory(sheet);
    try {
        if (auto openXml = readOpenXml(bytes))
            return std::move(*openXml);
        if (orcus::detect(data, size_t(bytes.size())) != orcus::format_t::ods)
            badFormat(QStringLiteral("The file is no workbook."));
        orcus::orcus_ods(&factory).read_stream(
            std::string_view(bytes.constData(), size_t(bytes.size())));
    } catch (const ImportError&) {
        throw;
    } catch (const std::exception& e) {
        badFormat(QString::fromUtf8(e.what()));
    }
    if (!factory.found())
        badFormat(QStringLiteral("The workbook has no sheet named Sheet1."));
    return sheet;
}

// Closes the workbook however the reading ends.
struct XlsHandle {
    const void* h = nullptr;
    ~XlsHandle() {
        if (h)
            freexl_close(h);
    }
};

Sheet readXls(const QString& path) {
    XlsHandle xls;
    if (freexl_open(QFile::encodeName(path).constData(), &xls.h) != FREEXL_OK)
        badFormat(QStringLiteral("The workbook cannot be read."));
    unsigned int info = 0;
    if (freexl_get_info(xls.h, FREEXL_BIFF_PASSWORD, &info) != FREEXL_OK ||
        info == FREEXL_BIFF_OBFUSCATED)
        badFormat(QStringLiteral("The workbook is protected by a password."));
    unsigned int sheets = 0;
    if (freexl_get_info(xls.h, FREEXL_BIFF_SHEET_COUNT, &sheets) != FREEXL_OK)
        badFormat(QStringLiteral("The workbook cannot be read."));
    bool found = false;
    for (unsigned int i = 0; i < sheets && i <= 0xFFFF && !found; ++i) {
        const char* name = nullptr;
        if (freexl_get_worksheet_name(xls.h, static_cast<unsigned short>(i), &name) != FREEXL_OK)
            break;
        found = name && QString::fromUtf8(name) == SheetName &&
                freexl_select_active_worksheet(xls.h, static_cast<unsigned short>(i)) == FREEXL_OK;
    }
    if (!found)
        badFormat(QStringLiteral("The workbook has no sheet named Sheet1."));
    unsigned int rows = 0;
    unsigned short columns = 0;
    if (freexl_worksheet_dimensions(xls.h, &rows, &columns) != FREEXL_OK)
        badFormat(QStringLiteral("The workbook cannot be read."));
    Sheet sheet;
    sheet.columns = rows ? columns : 0;
    const unsigned short read = std::min<unsigned short>(columns, ReadColumns);
    for (unsigned int r = 0; r < rows; ++r) {
        SheetRow row(read);
        bool any = false;
        for (unsigned short c = 0; c < read; ++c) {
            FreeXL_CellValue v;
            if (freexl_get_cell_value(xls.h, r, c, &v) != FREEXL_OK)
                badFormat(QStringLiteral("The workbook cannot be read."));
            switch (v.type) {
            case FREEXL_CELL_INT:
                row[c] = double(v.value.int_value);
                break;
            case FREEXL_CELL_DOUBLE:
                row[c] = v.value.double_value;
                break;
            case FREEXL_CELL_TEXT:
            case FREEXL_CELL_SST_TEXT:
            case FREEXL_CELL_DATE:
            case FREEXL_CELL_DATETIME:
            case FREEXL_CELL_TIME:
                row[c] = v.value.text_value ? QString::fromUtf8(v.value.text_value) : QString();
                break;
            default:
                continue;
            }
            any = true;
        }
        if (any)
            sheet.rows.emplace(int(r), std::move(row));
    }
    return sheet;
}

// Each reader runs in a child process: a damaged or hostile file that makes a reading library
// crash, read out of bounds or loop ends that child, and the user gets the "not in proper
// format" message instead of losing the program. The sheet comes back through a pipe. The
// child may take this long by the clock, and as long again of the processor's time on its own.
constexpr int ReadSeconds = 20;
// How often the one waiting for the child hears of it, so a desktop can draw and show progress.
constexpr int WaitingStepMs = 50;
// The descriptor the child writes the sheet to, the first after the standard three.
constexpr int ReaderOut = 3;

QByteArray pack(const Sheet& sheet) {
    QByteArray out;
    QDataStream s(&out, QIODevice::WriteOnly);
    s << quint8(1) << qint32(sheet.columns) << quint32(sheet.rows.size());
    for (const auto& [index, row] : sheet.rows) {
        s << qint32(index) << qint32(row.size());
        for (const Cell& c : row)
            s << c;
    }
    return out;
}

Sheet unpack(const QByteArray& bytes) {
    QDataStream s(bytes);
    quint8 ok = 0;
    s >> ok;
    if (ok != 1) {
        QString why;
        s >> why;
        badFormat(why);
    }
    Sheet sheet;
    qint32 columns = 0;
    quint32 count = 0;
    s >> columns >> count;
    sheet.columns = columns;
    for (quint32 i = 0; i < count && s.status() == QDataStream::Ok; ++i) {
        qint32 index = 0;
        qint32 width = 0;
        s >> index >> width;
        if (width < 0 || width > ReadColumns)
            badFormat(QStringLiteral("The workbook could not be read."));
        SheetRow row(static_cast<size_t>(width));
        for (Cell& c : row)
            s >> c;
        sheet.rows.emplace(index, std::move(row));
    }
    if (s.status() != QDataStream::Ok)
        badFormat(QStringLiteral("The workbook could not be read."));
    return sheet;
}

Sheet readHere(const QString& path, const QByteArray& bytes) {
    static const QByteArray compound("\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1", 8);
    if (bytes.startsWith(compound))
        return readXls(path);
    if (bytes.startsWith("PK\x03\x04"))
        return readZipped(bytes);
    badFormat(QStringLiteral("The file is no workbook."));
}

#ifdef Q_OS_UNIX
void writeAll(int fd, const QByteArray& bytes) {
    qsizetype done = 0;
    while (done < bytes.size()) {
        const ssize_t n = ::write(fd, bytes.constData() + done, size_t(bytes.size() - done));
        if (n <= 0)
            return;
        done += n;
    }
}

// A few hundred bytes of a damaged workbook can ask a reading library for gigabytes; the child
// may take this much beyond what it already holds, and such a file then fails quickly.
constexpr long long ReadMemory = 512LL * 1024 * 1024;

void limitAddressSpace() {
    long long pages = 0;
    if (FILE* f = std::fopen("/proc/self/statm", "r")) {
        if (std::fscanf(f, "%lld", &pages) != 1)
            pages = 0;
        std::fclose(f);
    }
    const long long used = pages * ::sysconf(_SC_PAGESIZE);
    const rlimit limit{rlim_t(used + ReadMemory), rlim_t(used + ReadMemory)};
    ::setrlimit(RLIMIT_AS, &limit);
}

// The address sanitizer of a fuzzing build reserves far more address space than it uses, so
// such a build reads without the limit.
#if defined(__SANITIZE_ADDRESS__)
#define TW_ADDRESS_SANITIZER 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define TW_ADDRESS_SANITIZER 1
#endif
#endif

void limitMemory() {
#ifndef TW_ADDRESS_SANITIZER
    limitAddressSpace();
#endif
}

// The child ends with the program that started it: one killed in the middle of an import must
// not leave a reader behind it using the processor for many seconds. Its time on the processor
// is limited apart from the clock, for a parent stopped in a debugger or starved of time. A
// reader that fails leaves no core file in the user's folder.
void bindToParent(pid_t parent) {
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (::getppid() != parent) // the parent died before the binding took
        ::_exit(1);
    const rlimit cpu{rlim_t(ReadSeconds), rlim_t(ReadSeconds)};
    ::setrlimit(RLIMIT_CPU, &cpu);
    const rlimit core{0, 0};
    ::setrlimit(RLIMIT_CORE, &core);
}

Sheet readApart(const QString& path, const QByteArray& bytes, const Waiting& whileReading) {
    int fds[2];
    if (::pipe(fds) != 0)
        return readHere(path, bytes);
    const pid_t parent = ::getpid();
    const pid_t child = ::fork();
    if (child < 0) {
        ::close(fds[0]);
        ::close(fds[1]);
        return readHere(path, bytes);
    }
    if (child == 0) {
        bindToParent(parent);
        // The child keeps only the pipe of the descriptors it was born with: the running-copy
        // lock and the database stay the program's alone.
        const int out = ReaderOut;
        if (fds[1] != out && ::dup2(fds[1], out) != out)
            ::_exit(1);
        ::close_range(out + 1, ~0U, 0);
        limitMemory();
        QByteArray sheet;
        try {
            sheet = pack(readHere(path, bytes));
        } catch (const std::exception& e) {
            QDataStream s(&sheet, QIODevice::WriteOnly);
            const auto* failure = dynamic_cast<const Error*>(&e);
            s << quint8(0) << (failure ? failure->text() : QString::fromUtf8(e.what()));
        }
        writeAll(ReaderOut, sheet);
        ::_exit(0);
    }
    ::close(fds[1]);
    QByteArray in;
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(ReadSeconds);
    bool timedOut = false;
    for (;;) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
            deadline - std::chrono::steady_clock::now());
        const int wait = whileReading ? int(std::min<long long>(left.count(), WaitingStepMs))
                                      : int(left.count());
        pollfd p{fds[0], POLLIN, 0};
        const int ready = left.count() > 0 ? ::poll(&p, 1, std::max(wait, 0)) : 0;
        if (ready < 0 && errno == EINTR)
            continue;
        if (ready == 0 && whileReading && left.count() > WaitingStepMs) {
            if (whileReading())
                continue;
            // Stopped: the reader goes at once, and is waited for, so that nothing of it
            // outlives the import it served.
            ::close(fds[0]);
            ::kill(child, SIGKILL);
            while (::waitpid(child, nullptr, 0) < 0 && errno == EINTR) {
            }
            throw ImportCancelled{};
        }
        if (ready <= 0) {
            timedOut = true;
            break;
        }
        char buf[65536];
        const ssize_t n = ::read(fds[0], buf, sizeof buf);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            break;
        in.append(buf, n);
    }
    ::close(fds[0]);
    if (timedOut)
        ::kill(child, SIGKILL);
    int status = 0;
    while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    if (timedOut)
        badFormat(QStringLiteral("Reading the workbook took too long."));
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0 || in.isEmpty())
        badFormat(QStringLiteral("The workbook is damaged."));
    return unpack(in);
}
#endif

} // namespace

void Sheet::put(int row, int col, Cell value) {
    if (row < 0 || col < 0)
        return;
    columns = std::max(columns, col + 1);
    if (col >= ReadColumns)
        return;
    SheetRow& cells = rows[row];
    if (cells.size() <= size_t(col))
        cells.resize(size_t(col) + 1);
    cells[size_t(col)] = std::move(value);
}

SheetRow firstCells(const SheetRow& row, int width) {
    SheetRow cells(row.begin(), row.begin() + std::min<qsizetype>(qsizetype(row.size()), width));
    cells.resize(size_t(width));
    return cells;
}

Sheet readSheet1(const QString& path, const Waiting& whileReading) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        badFormat(file.errorString());
    if (file.size() > LargestWorkbook)
        badFormat(QStringLiteral("The file is too large for a schedule workbook."));
    const QByteArray bytes = file.readAll();
#ifdef Q_OS_UNIX
    return readApart(path, bytes, whileReading);
#else
    Q_UNUSED(whileReading);
    return readHere(path, bytes);
#endif
}

void writeSheet1(const QString& path, const RowSource& next) {
    // Written beside the target and put in place whole: a full disk or a failure midway leaves
    // the file that was there, never a part of a workbook under its name.
    AtomicFile out(path);
    const QByteArray file = QFile::encodeName(out.path());
    // Rows go to a temporary file as they are written instead of staying in memory till the
    // end, which keeps a schedule of a million rows to a few megabytes.
    lxw_workbook_options options{};
    options.constant_memory = LXW_TRUE;
    lxw_workbook* book = workbook_new_opt(file.constData(), &options);
    if (!book)
        throw Error(QStringLiteral("The workbook %1 cannot be made.").arg(path));
    lxw_worksheet* sheet = workbook_add_worksheet(book, "Sheet1");
    lxw_error failed = sheet ? LXW_NO_ERROR : LXW_ERROR_MEMORY_MALLOC_FAILED;
    SheetRow values;
    try {
        for (lxw_row_t row = 0; failed == LXW_NO_ERROR && next(values); ++row) {
            for (size_t c = 0; c < values.size() && failed == LXW_NO_ERROR; ++c) {
                const Cell& v = values[c];
                const auto col = lxw_col_t(c);
                switch (v.typeId()) {
                case QMetaType::UnknownType:
                    break;
                case QMetaType::Bool:
                    failed = worksheet_write_boolean(sheet, row, col, v.toBool(), nullptr);
                    break;
                case QMetaType::Double:
                case QMetaType::Int:
                case QMetaType::LongLong:
                    failed = worksheet_write_number(sheet, row, col, v.toDouble(), nullptr);
                    break;
                default:
                    failed = worksheet_write_string(sheet, row, col,
                                                    v.toString().toUtf8().constData(), nullptr);
                }
            }
        }
    } catch (...) {
        workbook_close(book);
        throw;
    }
    errno = 0;
    const lxw_error closed = workbook_close(book);
    const int err = errno;
    if (failed == LXW_NO_ERROR)
        failed = closed;
    if (failed != LXW_NO_ERROR) {
        // The writer tells no more than which step failed; a disk that filled is told as such.
        if (err == ENOSPC || err == EDQUOT)
            throw Error(QStringLiteral("%1: %2").arg(QDir::toNativeSeparators(out.target()),
                                                     systemErrorText(err)));
        throw Error(QStringLiteral("The workbook %1 cannot be written: %2")
                        .arg(path, QString::fromUtf8(lxw_strerror(failed))));
    }
    out.commit();
}

void writeSheet1(const QString& path, const std::vector<SheetRow>& rows) {
    size_t i = 0;
    writeSheet1(path, [&](SheetRow& row) {
        if (i == rows.size())
            return false;
        row = rows[i++];
        return true;
    });
}

} // namespace tw::schedules
