#include "core/reports/fill_support.h"

namespace tw::reports {

// The net pass over the final bill's rows takes each row as it stands, so it runs as the rows
// are written: the rows come out as if the pass had run after them, without reading them back.
void BuildFinalBill(ReportRun& run, const ConClass& con, Messenger& messages) {
    finalBillRows(run, con, messages, true);
}

} // namespace tw::reports
