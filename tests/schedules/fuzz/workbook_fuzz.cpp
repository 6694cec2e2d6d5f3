// libFuzzer harness over the workbook reader: every input must end in a sheet or an ImportError,
// never a crash, a hang or a leak. Built and run by run.sh beside this file, not by the build.

#include "core/schedules/workbook.h"

#include <QFile>
#include <QString>

#include <cstddef>
#include <cstdint>
#include <unistd.h>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    // The reader takes a path, as the import does; each process keeps one file of its own.
    static const QString path = QStringLiteral("/tmp/workbook_fuzz_%1").arg(getpid());
    {
        QFile f(path);
        if (!f.open(QIODevice::WriteOnly | QIODevice::Truncate))
            return 0;
        f.write(reinterpret_cast<const char*>(data), qint64(size));
    }
    try {
        const tw::schedules::Sheet sheet = tw::schedules::readSheet1(path);
        (void)sheet;
    } catch (const tw::schedules::ImportError&) {
    }
    return 0;
}
