#include "screens/shell/screens.h"

#include "screens/measurements/frm_dims.h"
#include "screens/measurements/frm_reinforcement.h"
#include "screens/payments/frm_payment.h"
#include "screens/projects/frm_proj.h"
#include "screens/projects/frm_schentry.h"
#include "screens/rates/catrateanal.h"
#include "screens/rates/frm_rateanalysis.h"
#include "screens/rates/matls.h"
#include "screens/reports/frm_reports.h"
#include "screens/schedules/frm_import.h"
#include "screens/schedules/frm_schdls.h"
#include "screens/shell/frm_backup.h"
#include "screens/shell/frm_customize.h"
#include "screens/shell/frm_setup.h"
#include "screens/shell/tallyframe.h"

// Every screen the frame can open, by the class name its menu entries and the board use.
void registerScreens() {
    auto& f = TallyFrame::factories();
    f[QStringLiteral("frm_proj")] = [] { return new frm_proj; };
    f[QStringLiteral("frm_schentry")] = [] { return new frm_schentry; };
    f[QStringLiteral("frm_dims")] = [] { return new frm_dims; };
    f[QStringLiteral("Frm_Reinforcement")] = [] { return new Frm_Reinforcement; };
    f[QStringLiteral("Frm_Reports")] = [] { return new Frm_Reports; };
    f[QStringLiteral("frm_payment")] = [] { return new frm_payment; };
    f[QStringLiteral("frm_setup")] = [] { return new frm_setup; };
    f[QStringLiteral("frm_backup")] = [] { return new frm_backup; };
    f[QStringLiteral("Frm_Customize")] = [] { return new Frm_Customize; };
    f[QStringLiteral("matls")] = [] { return new matls; };
    f[QStringLiteral("catrateanal")] = [] { return new catrateanal; };
    f[QStringLiteral("Frm_RateAnalysis")] = [] { return new Frm_RateAnalysis; };
    f[QStringLiteral("Frm_Schdls")] = [] { return new Frm_Schdls; };
    f[QStringLiteral("Frm_Import")] = [] { return new Frm_Import; };
}
