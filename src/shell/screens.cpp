#include "shell/screens.h"

#include "measurements/frm_dims.h"
#include "measurements/frm_reinforcement.h"
#include "payments/frm_payment.h"
#include "projects/frm_proj.h"
#include "projects/frm_schentry.h"
#include "rates/catrateanal.h"
#include "rates/frm_rateanalysis.h"
#include "rates/matls.h"
#include "reports/frm_reports.h"
#include "schedules/frm_import.h"
#include "schedules/frm_schdls.h"
#include "shell/frm_backup.h"
#include "shell/frm_customize.h"
#include "shell/frm_setup.h"
#include "shell/tallyframe.h"

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
